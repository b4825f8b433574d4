#pragma once
#include <string>

// A temporary file beside the final one, renamed into place by commit() and removed otherwise,
// also when the process is interrupted by SIGINT or SIGTERM.
class TempFile {
  public:
    explicit TempFile(std::string finalPath);
    ~TempFile();
    TempFile(TempFile const&) = delete;
    TempFile& operator=(TempFile const&) = delete;

    std::string const& path() const { return m_temp; }
    void commit(); // throws Failure naming the final file

  private:
    std::string m_final, m_temp;
    bool m_done = false;
};
