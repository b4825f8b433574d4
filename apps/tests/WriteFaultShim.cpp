// Preloaded into the mirrel command by tests, to fail or hold its writes to regular files:
//   MIRREL_FAULT_ENOSPC_AFTER=N  writes fail with ENOSPC once N bytes have gone to files
//   MIRREL_FAULT_PAUSE=FILE      the first write to a file creates FILE, then waits 3 seconds
//   MIRREL_FAULT_RANDOM=1        8-byte getrandom calls give bytes 0, then 1, 2, ... each
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

long g_written = 0;
bool g_paused = false;
unsigned char g_random = 0;

} // namespace

extern "C" ssize_t write(int fd, void const* buf, size_t n) {
    if (isFile(fd)) {
        if (char const* marker = std::getenv("MIRREL_FAULT_PAUSE"); marker && !g_paused) {
            g_paused = true;
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

extern "C" ssize_t getrandom(void* buf, size_t n, unsigned flags) {
    if (n == 8 && std::getenv("MIRREL_FAULT_RANDOM")) {
        auto* b = static_cast<unsigned char*>(buf);
        for (size_t i = 0; i < n; ++i) b[i] = g_random;
        ++g_random;
        return ssize_t(n);
    }
    return syscall(SYS_getrandom, buf, n, flags);
}
