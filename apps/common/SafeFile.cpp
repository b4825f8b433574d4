#include "apps/common/SafeFile.h"

#include "apps/common/Errors.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// What the signal handler removes: a fixed table it can read without allocating. A slot is
// written only by the thread that claims it, with the handled signals blocked in that thread
// and `g_busy` raised; the handler first stops new claims (`g_dying`), waits for the busy
// sections in other threads to end, then reads the table alone.
constexpr int kSlots = 256;
struct Slot {
    std::atomic<int> state{0}; // 0 free, 1 a file, 2 a folder (removed after the files)
    char path[4096];
};
Slot g_slots[kSlots];
std::atomic<int> g_busy{0};
std::atomic<bool> g_dying{false};

constexpr int kHandled[] = {SIGHUP,  SIGINT,  SIGQUIT,   SIGTERM,   SIGUSR1,
                            SIGUSR2, SIGALRM, SIGVTALRM, SIGPROF,   SIGXCPU,
                            SIGXFSZ, SIGIO,   SIGPWR,    SIGSTKFLT, SIGABRT};

extern "C" void removeTemporariesAndDie(int sig) {
    if (!g_dying.exchange(true)) {
        // Busy sections are a few system calls; a thread stuck in one must not hold the exit.
        timespec const tick{0, 1'000'000};
        for (int i = 0; i < 2000 && g_busy.load() > 0; ++i) nanosleep(&tick, nullptr);
        for (int kind : {1, 2})
            for (Slot& s : g_slots)
                if (s.state.load() == kind) kind == 1 ? unlink(s.path) : rmdir(s.path);
    }
    signal(sig, SIG_DFL);
    raise(sig);
}

// Every signal whose default action ends the process and that can be caught, except the faults
// of the program itself, which are left to the default (and to the sanitizers).
void installHandlers() {
    static std::once_flag once;
    std::call_once(once, [] {
        for (int sig : kHandled) {
            struct sigaction action = {};
            action.sa_handler = removeTemporariesAndDie;
            sigfillset(&action.sa_mask);
            sigaction(sig, &action, nullptr);
        }
        signal(SIGPIPE, SIG_IGN);
    });
}

// A section in which this thread changes files the handler knows of and the table: the
// handled signals wait until it ends, and the handler waits for it in other threads.
class Busy {
  public:
    Busy() {
        sigset_t set;
        sigemptyset(&set);
        for (int sig : kHandled) sigaddset(&set, sig);
        pthread_sigmask(SIG_BLOCK, &set, &m_old);
        ++g_busy;
        // The process is ending on another thread: start nothing it would not remove.
        while (g_dying.load()) pause();
    }
    ~Busy() {
        --g_busy;
        pthread_sigmask(SIG_SETMASK, &m_old, nullptr);
    }
    Busy(Busy const&) = delete;
    Busy& operator=(Busy const&) = delete;

  private:
    sigset_t m_old;
};

// Inside a Busy section.
int claimSlot(std::string const& path, int kind) {
    if (path.size() >= sizeof g_slots[0].path) return -1;
    for (int i = 0; i < kSlots; ++i) {
        int free = 0;
        if (g_slots[i].state.compare_exchange_strong(free, -1)) {
            std::memcpy(g_slots[i].path, path.c_str(), path.size() + 1);
            g_slots[i].state.store(kind);
            return i;
        }
    }
    return -1;
}

void releaseSlot(int slot) {
    if (slot >= 0) g_slots[slot].state.store(0);
}

[[noreturn]] void fail(std::string const& path, int error) {
    throw Failure("cannot write " + inQuotes(path) + ": " + std::strerror(error));
}

// The process's umask, read without changing it (umask() would race with other threads).
mode_t currentUmask() {
    static mode_t const mask = [] {
        std::ifstream status("/proc/self/status");
        for (std::string line; std::getline(status, line);)
            if (line.rfind("Umask:", 0) == 0)
                return mode_t(std::strtol(line.c_str() + 6, nullptr, 8));
        return mode_t(022);
    }();
    return mask;
}

} // namespace

std::string tempNamePrefix(std::string const& fileName, long nameMax) {
    std::string const head = ".", tail = ".mirrel-";
    long const room = nameMax - long(head.size() + tail.size()) - 6 - 4; // random part and ".tmp"
    std::string name = fileName;
    if (long(name.size()) > room) name.resize(size_t(room > 0 ? room : 0));
    return head + name + tail;
}

TempFile::TempFile(std::string destination) : m_destination(std::move(destination)) {
    installHandlers();
    // A FIFO or a device at the destination is someone's, not a file to replace.
    struct stat st;
    if (stat(m_destination.c_str(), &st) == 0 && !S_ISREG(st.st_mode))
        throw Failure("cannot write " + inQuotes(m_destination) +
                      (S_ISDIR(st.st_mode) ? ": it is a folder" : ": not a regular file"));
    std::filesystem::path const p(m_destination);
    std::string const folder = p.has_parent_path() ? p.parent_path().string() : ".";
    long nameMax = pathconf(folder.c_str(), _PC_NAME_MAX);
    if (nameMax <= 0) nameMax = 255;
    std::string name = folder + "/" + tempNamePrefix(p.filename().string(), nameMax) + "XXXXXX.tmp";
    Busy busy;
    m_fd = mkostemps(name.data(), 4, O_CLOEXEC);
    if (m_fd < 0) fail(m_destination, errno);
    m_path = name;
    m_slot = claimSlot(m_path, 1);
    if (m_slot < 0 || fchmod(m_fd, 0666 & ~currentUmask()) != 0) {
        int const error = m_slot < 0 ? ENAMETOOLONG : errno;
        close(m_fd);
        unlink(m_path.c_str());
        releaseSlot(m_slot);
        m_fd = -1, m_path.clear(), m_slot = -1;
        fail(m_destination, error);
    }
}

TempFile::~TempFile() {
    discard();
}

void TempFile::discard() {
    if (m_path.empty()) return;
    Busy busy;
    if (m_fd >= 0) close(m_fd);
    unlink(m_path.c_str());
    releaseSlot(m_slot);
    m_fd = -1, m_path.clear(), m_slot = -1;
}

void TempFile::write(void const* data, size_t size) {
    auto const* bytes = static_cast<unsigned char const*>(data);
    for (size_t done = 0; done < size;) {
        ssize_t const n = ::write(m_fd, bytes + done, size - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            int const error = n < 0 ? errno : EIO;
            discard();
            fail(m_destination, error);
        }
        done += size_t(n);
    }
}

void TempFile::commit() {
    int error = fsync(m_fd) != 0 ? errno : 0;
    if (close(m_fd) != 0 && !error) error = errno;
    m_fd = -1;
    if (error) {
        discard();
        fail(m_destination, error);
    }
    Busy busy;
    if (rename(m_path.c_str(), m_destination.c_str()) != 0) {
        error = errno;
        unlink(m_path.c_str());
    }
    releaseSlot(m_slot);
    m_path.clear(), m_slot = -1;
    if (error) fail(m_destination, error);
}

TempFolder::TempFolder(std::string const& destination, std::string const& fileName) {
    installHandlers();
    std::error_code ec;
    std::string folder = (std::filesystem::temp_directory_path(ec) / "mirrel-XXXXXX").string();
    if (ec) fail(destination, ENOENT);
    Busy busy;
    if (!mkdtemp(folder.data())) fail(destination, errno);
    m_folder = folder;
    m_file = folder + "/" + fileName;
    m_folderSlot = claimSlot(m_folder, 2);
    m_fileSlot = claimSlot(m_file, 1);
    if (m_folderSlot < 0 || m_fileSlot < 0) {
        releaseSlot(m_fileSlot);
        releaseSlot(m_folderSlot);
        rmdir(m_folder.c_str());
        throw Failure("cannot write " + inQuotes(destination) + ": no private temporary folder");
    }
}

TempFolder::~TempFolder() {
    Busy busy;
    std::error_code ec;
    std::filesystem::remove_all(m_folder, ec);
    releaseSlot(m_fileSlot);
    releaseSlot(m_folderSlot);
}

void writeFileSafely(std::string const& path, void const* data, size_t size) {
    TempFile file(path);
    file.write(data, size);
    file.commit();
}
