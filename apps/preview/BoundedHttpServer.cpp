#include "apps/preview/BoundedHttpServer.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <optional>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

// A connection whose reads and writes each end by a deadline, or as soon as the server ends
// its connections; it reads through a small buffer, as httplib reads a request line byte by
// byte.
class DeadlineStream : public httplib::Stream {
  public:
    DeadlineStream(int sock, int ended, std::chrono::milliseconds limit, size_t maxBytes)
        : m_sock(sock), m_ended(ended), m_limit(limit), m_left(maxBytes),
          m_readBy(Clock::now() + limit) {}

    bool is_readable() const override { return m_at < m_end || wait(POLLIN, m_readBy); }
    bool is_writable() const override { return wait(POLLOUT, writeBy()); }

    ssize_t read(char* ptr, size_t size) override {
        if (m_at == m_end) {
            if (m_left == 0 || !wait(POLLIN, m_readBy)) return -1;
            ssize_t got = ::recv(m_sock, m_buffer, std::min(sizeof m_buffer, m_left), 0);
            if (got <= 0) return got;
            m_left -= size_t(got);
            m_at = 0;
            m_end = size_t(got);
        }
        size_t n = std::min(size, m_end - m_at);
        std::memcpy(ptr, m_buffer + m_at, n);
        m_at += n;
        return ssize_t(n);
    }
    ssize_t write(char const* ptr, size_t size) override {
        if (!wait(POLLOUT, writeBy())) return -1;
        return ::send(m_sock, ptr, size, MSG_NOSIGNAL);
    }

    void get_remote_ip_and_port(std::string& ip, int& port) const override {
        address(::getpeername, ip, port);
    }
    void get_local_ip_and_port(std::string& ip, int& port) const override {
        address(::getsockname, ip, port);
    }
    socket_t socket() const override { return m_sock; }

  private:
    // The answer has its own time, from its first write: the handler may take long.
    Clock::time_point writeBy() const {
        if (!m_writeBy) m_writeBy = Clock::now() + m_limit;
        return *m_writeBy;
    }
    bool wait(short events, Clock::time_point by) const {
        for (;;) {
            auto left = std::chrono::ceil<std::chrono::milliseconds>(by - Clock::now()).count();
            if (left <= 0) return false;
            pollfd fds[2] = {{m_sock, events, 0}, {m_ended, POLLIN, 0}};
            int n = ::poll(fds, 2, int(left));
            if (n < 0 && errno == EINTR) continue;
            return n > 0 && fds[1].revents == 0;
        }
    }
    template <class Query> void address(Query query, std::string& ip, int& port) const {
        sockaddr_storage a{};
        socklen_t n = sizeof a;
        char text[INET6_ADDRSTRLEN] = "";
        if (query(m_sock, reinterpret_cast<sockaddr*>(&a), &n) != 0) return;
        if (a.ss_family == AF_INET) {
            auto const* v4 = reinterpret_cast<sockaddr_in const*>(&a);
            inet_ntop(AF_INET, &v4->sin_addr, text, sizeof text);
            port = ntohs(v4->sin_port);
        } else if (a.ss_family == AF_INET6) {
            auto const* v6 = reinterpret_cast<sockaddr_in6 const*>(&a);
            inet_ntop(AF_INET6, &v6->sin6_addr, text, sizeof text);
            port = ntohs(v6->sin6_port);
        }
        ip = text;
    }

    int m_sock, m_ended;
    std::chrono::milliseconds m_limit;
    size_t m_left;
    Clock::time_point m_readBy;
    mutable std::optional<Clock::time_point> m_writeBy;
    char m_buffer[4096];
    size_t m_at = 0, m_end = 0;
};

} // namespace

BoundedHttpServer::BoundedHttpServer(Limits limits)
    : m_limits(limits), m_ended(::eventfd(0, EFD_CLOEXEC)) {
    set_payload_max_length(limits.requestBytes);
    set_keep_alive_max_count(1);
    // Workers beyond the limit only answer 503, so that a full house is told at once.
    new_task_queue = [n = size_t(limits.connections) + 8] { return new httplib::ThreadPool(n); };
    // No SO_REUSEPORT, unlike httplib's default: a port another program listens on is refused
    // (SO_REUSEADDR on Linux only lets a port whose old connections linger be bound again).
    set_socket_options([](socket_t sock) {
        int yes = 1;
        ::setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
}

BoundedHttpServer::~BoundedHttpServer() {
    if (m_ended >= 0) ::close(m_ended);
}

void BoundedHttpServer::endConnections() {
    uint64_t one = 1;
    [[maybe_unused]] ssize_t n = ::write(m_ended, &one, sizeof one);
}

bool BoundedHttpServer::process_and_close_socket(socket_t sock) {
    bool done = false;
    if (++m_active <= m_limits.connections) {
        // The body's limit, and as much again for the request line and headers.
        DeadlineStream stream(sock, m_ended, m_limits.requestTime, 2 * m_limits.requestBytes);
        bool closed = false;
        done = process_request(stream, true, closed, nullptr);
    } else {
        std::string const body = "{\"error\":\"the preview is busy; try again\"}";
        std::string const busy = "HTTP/1.1 503 Service Unavailable\r\nContent-Type: "
                                 "application/json\r\nRetry-After: 1\r\nConnection: close\r\n"
                                 "Content-Length: " +
                                 std::to_string(body.size()) + "\r\n\r\n" + body;
        DeadlineStream stream(sock, m_ended, std::chrono::milliseconds(1000), 0);
        stream.write(busy.data(), busy.size());
    }
    --m_active;
    ::shutdown(sock, SHUT_RDWR);
    ::close(sock);
    return done;
}
