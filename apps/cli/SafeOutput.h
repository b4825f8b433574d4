#pragma once
#include <string>
#include <vector>

// Writing a file whole or not at all. The bytes go to a temporary file created anew in the
// output's folder (never through a link, with the umask's mode), every write checked, then
// synced and renamed over the output. On any failure, a full disk included, the temporary file
// is removed, any earlier output is left as it was, and Failure names the output. A signal that
// would end the process removes the temporary file first; SIGPIPE is ignored, so that a closed
// pipe is a write error.
void writeFileSafely(std::string const& path, std::vector<unsigned char> const& bytes);

// The same for an output written piece by piece (a video): the temporary file is created and
// registered for the signal handler at construction; commit() syncs it and renames it over the
// output; dropped uncommitted, it is removed. Failures throw Failure naming the output.
class PendingOutput {
  public:
    explicit PendingOutput(std::string const& path);
    ~PendingOutput();
    PendingOutput(PendingOutput const&) = delete;
    PendingOutput& operator=(PendingOutput const&) = delete;
    int fd() const { return m_fd; }
    void commit();

  private:
    std::string m_path, m_temp;
    int m_fd = -1;
};

// The temporary name for an output, before its random part: ".NAME.mirrel-" with NAME cut so
// that the whole name, "XXXXXXXX.tmp" included, fits the folder's file-name limit.
std::string tempNamePrefix(std::string const& fileName, long nameMax);
