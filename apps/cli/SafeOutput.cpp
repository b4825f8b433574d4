#include "apps/cli/SafeOutput.h"

#include "apps/common/Errors.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/random.h>
#include <tuple>
#include <unistd.h>
#include <utility>

namespace {

// The one temporary file in flight, for the signal handler: a plain buffer it may read.
char g_pending[4096];
volatile std::sig_atomic_t g_hasPending = 0;

extern "C" void removePendingAndDie(int sig) {
    if (g_hasPending) unlink(g_pending);
    signal(sig, SIG_DFL);
    raise(sig);
}

// Every signal whose default action ends the process and that can be caught, except the faults
// of the program itself, which are left to the default (and to the sanitizers).
void installHandlers() {
    static bool installed = false;
    if (installed) return;
    installed = true;
    for (int sig : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGUSR1, SIGUSR2, SIGALRM, SIGVTALRM, SIGPROF,
                    SIGXCPU, SIGXFSZ, SIGIO, SIGPWR, SIGSTKFLT, SIGABRT}) {
        struct sigaction action = {};
        action.sa_handler = removePendingAndDie;
        sigfillset(&action.sa_mask);
        sigaction(sig, &action, nullptr);
    }
    signal(SIGPIPE, SIG_IGN);
}

[[noreturn]] void fail(std::string const& path, int error) {
    throw Failure("cannot write " + inQuotes(path) + ": " + std::strerror(error));
}

std::string randomPart() {
    static char const letters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    unsigned char raw[8] = {};
    if (getrandom(raw, sizeof raw, 0) != ssize_t(sizeof raw)) {
        // Exclusive creation keeps a guessed name safe; the name only has to differ.
        static unsigned long counter = 0;
        unsigned long v = (unsigned long)getpid() * 2654435761u + ++counter;
        std::memcpy(raw, &v, sizeof raw);
    }
    std::string s;
    for (unsigned char c : raw) s += letters[c % (sizeof letters - 1)];
    return s;
}

// Keeps the temporary file registered for the signal handler while it exists.
struct Pending {
    explicit Pending(std::string const& p) {
        if (p.size() < sizeof g_pending) {
            std::memcpy(g_pending, p.c_str(), p.size() + 1);
            g_hasPending = 1;
        }
    }
    ~Pending() { g_hasPending = 0; }
};

} // namespace

std::string tempNamePrefix(std::string const& fileName, long nameMax) {
    std::string const head = ".", tail = ".mirrel-";
    long const room = nameMax - long(head.size() + tail.size()) - 8 - 4; // random part and ".tmp"
    std::string name = fileName;
    if (long(name.size()) > room) name.resize(size_t(room > 0 ? room : 0));
    return head + name + tail;
}

namespace {

// A new temporary file beside the output, opened for writing: its name and descriptor.
std::pair<std::string, int> createTemp(std::string const& path) {
    installHandlers();
    std::filesystem::path const p(path);
    std::string const folder = p.has_parent_path() ? p.parent_path().string() : ".";
    long nameMax = pathconf(folder.c_str(), _PC_NAME_MAX);
    if (nameMax <= 0) nameMax = 255;
    std::string const prefix = folder + "/" + tempNamePrefix(p.filename().string(), nameMax);

    std::string temp;
    int fd = -1;
    for (int attempt = 0; fd < 0 && attempt < 100; ++attempt) {
        temp = prefix + randomPart() + ".tmp";
        fd = open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
        if (fd < 0 && errno != EEXIST) fail(path, errno);
    }
    if (fd < 0) fail(path, EEXIST);
    return {temp, fd};
}

} // namespace

void writeFileSafely(std::string const& path, std::vector<unsigned char> const& bytes) {
    auto [temp, fd] = createTemp(path);
    Pending pending(temp);

    auto abandon = [&](int error) {
        if (fd >= 0) close(fd);
        unlink(temp.c_str());
        fail(path, error);
    };
    for (size_t done = 0; done < bytes.size();) {
        ssize_t const n = write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) abandon(n < 0 ? errno : EIO);
        done += size_t(n);
    }
    if (fsync(fd) != 0) abandon(errno);
    int const closed = close(fd);
    fd = -1;
    if (closed != 0) abandon(errno);
    if (rename(temp.c_str(), path.c_str()) != 0) abandon(errno);
}

PendingOutput::PendingOutput(std::string const& path) : m_path(path) {
    std::tie(m_temp, m_fd) = createTemp(path);
    if (m_temp.size() < sizeof g_pending) {
        std::memcpy(g_pending, m_temp.c_str(), m_temp.size() + 1);
        g_hasPending = 1;
    }
}

PendingOutput::~PendingOutput() {
    if (m_fd >= 0) close(m_fd);
    if (!m_temp.empty()) unlink(m_temp.c_str());
    g_hasPending = 0;
}

void PendingOutput::commit() {
    int error = fsync(m_fd) != 0 ? errno : 0;
    if (close(m_fd) != 0 && !error) error = errno;
    m_fd = -1;
    if (!error && rename(m_temp.c_str(), m_path.c_str()) != 0) error = errno;
    if (error) fail(m_path, error); // the destructor removes the temporary file
    m_temp.clear();
}
