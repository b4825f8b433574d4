#pragma once
#include <chrono>
#include <cstdio>
#include <string>

// The progress line of a sequence: frame, frames per second and time left, rewritten in place.
// Shown only when the stream is a terminal, so that logs and pipes stay quiet.
class Progress {
  public:
    Progress(long total, std::FILE* stream);
    ~Progress();
    void frameDone(long frame); // `frame` is the one just completed
    void finish();              // ends the line, so that what follows starts on its own
    void clearLine();           // empties the line for a message; the next frame shows it again

    // The line after `done` of `total` frames took `seconds`; for the terminal and for tests.
    static std::string line(long frame, long done, long total, double seconds);

  private:
    long m_total;
    long m_done = 0;
    std::FILE* m_stream; // null when quiet
    std::chrono::steady_clock::time_point m_start;
};
