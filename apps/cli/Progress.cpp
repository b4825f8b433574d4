#include "apps/cli/Progress.h"

#include <unistd.h>

Progress::Progress(long total, std::FILE* stream)
    : m_total(total), m_stream(stream && isatty(fileno(stream)) ? stream : nullptr),
      m_start(std::chrono::steady_clock::now()) {}

Progress::~Progress() {
    finish();
}

void Progress::finish() {
    if (m_stream && m_done > 0) std::fputc('\n', m_stream);
    m_stream = nullptr;
}

void Progress::clearLine() {
    if (!m_stream) return;
    std::fputs("\r\033[K", m_stream);
    std::fflush(m_stream);
}

void Progress::frameDone(long frame) {
    ++m_done;
    if (!m_stream) return;
    double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
    std::fprintf(m_stream, "\r%s\033[K", line(frame, m_done, m_total, seconds).c_str());
    std::fflush(m_stream);
}

std::string Progress::line(long frame, long done, long total, double seconds) {
    double fps = seconds > 0 ? double(done) / seconds : 0.0;
    long left = fps > 0 ? long(double(total - done) / fps + 0.5) : 0;
    char buf[128];
    std::snprintf(buf, sizeof buf, "frame %ld (%ld of %ld)  %.1f fps  %ld:%02ld left", frame, done,
                  total, fps, left / 60, left % 60);
    return buf;
}
