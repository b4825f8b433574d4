#include "apps/preview/SafeWrite.h"

#include "apps/common/Errors.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <unistd.h>

namespace {

[[noreturn]] void fail(std::string const& path, int error) {
    throw Failure("cannot write " + inQuotes(path) + ": " + std::strerror(error));
}

// A fresh name in the same folder (so that rename stays on one file system), short enough for
// any file name limit.
std::string temporaryName(std::filesystem::path const& path, std::mt19937_64& random) {
    std::string base = path.filename().string().substr(0, 200);
    char suffix[24];
    std::snprintf(suffix, sizeof suffix, ".%016llx", static_cast<unsigned long long>(random()));
    return (path.parent_path() / ("." + base + suffix + ".tmp")).string();
}

} // namespace

void writeFileSafely(std::string const& path, std::string const& content) {
    std::mt19937_64 random(std::random_device{}());
    std::string temp;
    int fd = -1;
    for (int attempt = 0; fd < 0 && attempt < 16; ++attempt) {
        temp = temporaryName(path, random);
        // Exclusive creation follows no link that someone may have planted at the name.
        fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666);
        if (fd < 0 && errno != EEXIST) fail(path, errno);
    }
    if (fd < 0) fail(path, EEXIST);
    size_t done = 0;
    int error = 0;
    while (done < content.size() && !error) {
        ssize_t n = ::write(fd, content.data() + done, content.size() - done);
        if (n < 0 && errno != EINTR) error = errno;
        if (n > 0) done += size_t(n);
    }
    if (!error && ::fsync(fd) != 0) error = errno;
    if (::close(fd) != 0 && !error) error = errno;
    if (!error && ::rename(temp.c_str(), path.c_str()) != 0) error = errno;
    if (error) {
        ::unlink(temp.c_str());
        fail(path, error);
    }
}
