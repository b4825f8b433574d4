#include "apps/cli/TempFile.h"

#include "apps/common/Errors.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <unistd.h>

namespace {

// The one temporary file in flight, for the signal handler; a plain buffer it may read.
char g_pending[4096];
volatile std::sig_atomic_t g_hasPending = 0;

extern "C" void removePendingAndExit(int sig) {
    if (g_hasPending) unlink(g_pending);
    std::signal(sig, SIG_DFL);
    std::raise(sig);
}

void installHandlers() {
    static bool installed = false;
    if (installed) return;
    installed = true;
    std::signal(SIGINT, removePendingAndExit);
    std::signal(SIGTERM, removePendingAndExit);
}

} // namespace

TempFile::TempFile(std::string finalPath) : m_final(std::move(finalPath)) {
    std::filesystem::path p(m_final);
    std::string name = "." + p.filename().string() + ".mirrel-" + std::to_string(getpid()) + ".tmp";
    m_temp = (p.parent_path() / name).string();
    installHandlers();
    if (m_temp.size() < sizeof g_pending) {
        std::memcpy(g_pending, m_temp.c_str(), m_temp.size() + 1);
        g_hasPending = 1;
    }
}

TempFile::~TempFile() {
    g_hasPending = 0;
    if (!m_done) std::remove(m_temp.c_str());
}

void TempFile::commit() {
    if (std::rename(m_temp.c_str(), m_final.c_str()) != 0)
        throw Failure("cannot write " + inQuotes(m_final) + ": " + std::strerror(errno));
    m_done = true;
}
