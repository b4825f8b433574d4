#include "apps/preview/PreviewCommand.h"

#include "apps/common/Errors.h"
#include "apps/preview/PreviewServer.h"
#include "apps/preview/PreviewSession.h"

#include <CLI/CLI.hpp>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <ostream>
#include <pthread.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace {

bool onPath(std::string const& program) {
    char const* path = std::getenv("PATH");
    std::string dirs = path ? path : "/usr/bin:/bin";
    for (size_t start = 0; start <= dirs.size();) {
        size_t colon = dirs.find(':', start);
        std::string dir = dirs.substr(start, colon - start);
        if (!dir.empty() && ::access((dir + "/" + program).c_str(), X_OK) == 0) return true;
        if (colon == std::string::npos) break;
        start = colon + 1;
    }
    return false;
}

// Starts the desktop's browser on the address, quietly, and reaps it in the background.
bool openBrowser(std::string const& address) {
    if (!onPath("xdg-open")) return false;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    char const* argv[] = {"xdg-open", address.c_str(), nullptr};
    pid_t pid = 0;
    int rc = posix_spawnp(&pid, "xdg-open", &actions, nullptr, const_cast<char**>(argv), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (rc != 0) return false;
    std::thread([pid] { ::waitpid(pid, nullptr, 0); }).detach();
    return true;
}

void checkSavePath(PreviewOptions const& o, PreviewSession const& session) {
    if (o.savePath.empty()) return;
    namespace fs = std::filesystem;
    fs::path folder = fs::path(o.savePath).parent_path();
    std::error_code ec;
    if (!folder.empty() && !fs::is_directory(folder, ec))
        throw UsageError("--save " + inQuotes(o.savePath) + ": the folder does not exist");
    if (fs::is_directory(o.savePath, ec))
        throw UsageError("--save " + inQuotes(o.savePath) + " is a folder");
    for (PreviewFrame const& f : session.frames())
        if (fs::equivalent(f.path, o.savePath, ec))
            throw UsageError("--save " + inQuotes(o.savePath) +
                             " is the input; choose another file");
}

} // namespace

CLI::App* addPreviewCommand(CLI::App& app, PreviewOptions& o) {
    CLI::App* cmd = app.add_subcommand(
        "preview", "place the reflection by hand in a browser page (127.0.0.1 only)");
    cmd->footer("Serves the effect's canvas with its on-screen controls and its inspector; prints "
                "the address and ends on Ctrl-C. The page exports the preset, the equivalent "
                "`mirrel render` command line and the ffmpeg filter string.");
    cmd->add_option("INPUT", o.input, "a picture, or a numbered sequence (%04d, #)")->required();
    cmd->add_option("--preset", o.preset, "start from the values of a preset file")
        ->type_name("FILE.json");
    cmd->add_option("--save", o.savePath, "the one file the page's Save writes the preset to")
        ->type_name("FILE.json");
    cmd->add_option("--port", o.port, "the port on 127.0.0.1 (default: a free one)")
        ->check(CLI::Range(0, 65535))
        ->type_name("N");
    cmd->add_flag("--open", o.open, "open the page in the default browser");
    return cmd;
}

void previewCommand(PreviewOptions const& o, PreviewPictures const& pictures, std::ostream& out) {
    PreviewSession session(o.input, pictures, o.savePath);
    checkSavePath(o, session);
    if (!o.preset.empty()) session.applyPreset(o.preset);

    // The signals that end the preview are taken by one thread; the server's threads, started
    // after this, inherit the mask and never see them.
    sigset_t ending;
    sigemptyset(&ending);
    for (int s : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&ending, s);
    pthread_sigmask(SIG_BLOCK, &ending, nullptr);

    PreviewServer server(session);
    server.bind(o.port);
    server.start();
    out << "mirrel preview: " << o.input << " at " << server.address() << " (Ctrl-C ends)"
        << std::endl;
    if (o.open && !openBrowser(server.address()))
        out << "mirrel preview: no xdg-open to start a browser; open the address by hand"
            << std::endl;
    int signal = 0;
    sigwait(&ending, &signal);
    if (!server.stop(std::chrono::milliseconds(500))) {
        // A frame is still being drawn, which cannot be interrupted; nothing it does needs
        // finishing, so the process ends without it.
        server.abandon();
        out << "mirrel preview: stopped (the frame being drawn was abandoned)" << std::endl;
        std::_Exit(0);
    }
    out << "mirrel preview: stopped" << std::endl;
}
