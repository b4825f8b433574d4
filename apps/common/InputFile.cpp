#include "apps/common/InputFile.h"

#include "apps/common/Errors.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

long long checkInputFile(std::string const& what, std::string const& path) {
    struct stat st;
    std::string const named = what + " " + inQuotes(path);
    if (stat(path.c_str(), &st) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) throw Failure(named + " does not exist");
        throw Failure("cannot read " + named + ": " + std::strerror(errno));
    }
    if (S_ISDIR(st.st_mode)) throw Failure(named + " is a folder, not a file");
    if (!S_ISREG(st.st_mode)) throw Failure(named + " is not a regular file");
    return (long long)st.st_size;
}
