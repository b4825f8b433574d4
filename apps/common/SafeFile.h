#pragma once
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Writing a file whole or not at all: the bytes go to a temporary file created anew beside the
// destination (glibc's mkostemps: exclusive creation, never through a link; the umask's mode),
// every write is checked, then the file is synced and renamed over the destination. On any
// failure, a full disk included, the temporary file is removed, an earlier file at the
// destination is left as it was, and Failure names the destination.
//
// While a temporary file (or folder) exists, a signal that would end the process removes it
// first, whichever thread holds it; SIGPIPE is ignored, so that a closed pipe is a write error.
// SIGKILL cannot be caught: it leaves the temporary file (a hidden ".NAME.mirrel-XXXXXX.tmp"
// beside the destination) and never a partial destination.
class TempFile {
  public:
    // Throws Failure naming the destination when the file cannot be created.
    explicit TempFile(std::string destination);
    ~TempFile(); // discards the file unless committed
    TempFile(TempFile const&) = delete;
    TempFile& operator=(TempFile const&) = delete;

    int fd() const { return m_fd; }
    std::string const& path() const { return m_path; }
    std::string const& destination() const { return m_destination; }

    void write(void const* data, size_t size); // all of it, or throws
    void commit();                             // sync, close and rename over the destination
    void discard();                            // close and remove; nothing at the destination

  private:
    std::string m_destination, m_path;
    int m_fd = -1;
    int m_slot = -1; // its place in the signal handler's list
};

// A private folder in the system's temporary folder for a library that can only write a file by
// name; it and `fileName` in it are removed on destruction and by the signal handler.
class TempFolder {
  public:
    // Throws Failure naming `destination` (what the folder is for).
    TempFolder(std::string const& destination, std::string const& fileName);
    ~TempFolder();
    TempFolder(TempFolder const&) = delete;
    TempFolder& operator=(TempFolder const&) = delete;
    std::string const& file() const { return m_file; }

  private:
    std::string m_folder, m_file;
    int m_folderSlot = -1, m_fileSlot = -1;
};

// The whole write above, for bytes already in memory.
void writeFileSafely(std::string const& path, void const* data, size_t size);
inline void writeFileSafely(std::string const& path, std::string_view bytes) {
    writeFileSafely(path, bytes.data(), bytes.size());
}
inline void writeFileSafely(std::string const& path, std::vector<unsigned char> const& bytes) {
    writeFileSafely(path, bytes.data(), bytes.size());
}

// The name of the temporary file before its random part: ".NAME.mirrel-" with NAME cut so that
// the whole name, "XXXXXX.tmp" included, fits a folder's file-name limit.
std::string tempNamePrefix(std::string const& fileName, long nameMax);
