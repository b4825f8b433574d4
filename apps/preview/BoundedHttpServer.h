#pragma once
#include <httplib.h>

#include <atomic>
#include <chrono>
#include <cstddef>

// httplib's server with every connection bounded, so that slow or many clients cannot hold it:
// one request per connection, which must arrive whole (a body of at most `requestBytes`) within
// `requestTime`, and whose answer must be taken within `requestTime` again; at most
// `connections` at once, any more answered 503 at once rather than queued. endConnections()
// ends every read and write in progress, so that only a handler still running delays a stop.
// (httplib bounds each read, not a whole request: a client sending a byte a second would hold a
// thread for ever.)
class BoundedHttpServer : public httplib::Server {
  public:
    struct Limits {
        std::chrono::milliseconds requestTime{10000};
        size_t requestBytes = 64 * 1024;
        int connections = 16;
    };
    explicit BoundedHttpServer(Limits limits);
    ~BoundedHttpServer() override;

    // Safe from any thread; new connections still need httplib's stop().
    void endConnections();

  private:
    bool process_and_close_socket(socket_t sock) override;

    Limits m_limits;
    int m_ended; // an eventfd, readable once the connections are to end
    std::atomic<int> m_active{0};
};
