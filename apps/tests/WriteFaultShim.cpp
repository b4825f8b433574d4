// Preloaded into the mirrel command by tests, to fail or hold its writes to regular files:
//   MIRREL_FAULT_ENOSPC_AFTER=N  writes fail with ENOSPC once N bytes have gone to files
//   MIRREL_FAULT_PAUSE=FILE      the first write to a file creates FILE, then waits 3 seconds
//   MIRREL_FAULT_SLOW_FSYNC=MS   every fsync first waits MS milliseconds, as a slow disk does
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

bool isFile(int fd) {
    struct stat st;
    return fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
}

// Shared by the workers of a --jobs run.
std::atomic<long> g_written{0};
std::atomic<bool> g_paused{false};

} // namespace

extern "C" ssize_t write(int fd, void const* buf, size_t n) {
    if (isFile(fd)) {
        if (char const* marker = std::getenv("MIRREL_FAULT_PAUSE");
            marker && !g_paused.exchange(true)) {
            close(open(marker, O_WRONLY | O_CREAT, 0600));
            sleep(3);
        }
        if (char const* limit = std::getenv("MIRREL_FAULT_ENOSPC_AFTER")) {
            long const room = std::atol(limit) - g_written;
            if (room <= 0) {
                errno = ENOSPC;
                return -1;
            }
            if (long(n) > room) n = size_t(room);
        }
    }
    ssize_t const done = syscall(SYS_write, fd, buf, n);
    if (done > 0 && isFile(fd)) g_written += done;
    return done;
}

extern "C" int fsync(int fd) {
    if (char const* ms = std::getenv("MIRREL_FAULT_SLOW_FSYNC"))
        usleep(useconds_t(std::atol(ms)) * 1000);
    return int(syscall(SYS_fsync, fd));
}
