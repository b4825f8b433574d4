#pragma once
#include "AppTestSupport.h"
#include "apps/cli/ImageFile.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

struct Outcome {
    int status;
    std::string err;
};

// Exit status and standard error of a command, run by the shell.
inline Outcome run(std::string const& command) {
    std::string err = scratchPath("run.err");
    int raw = std::system((command + " >/dev/null 2>" + err).c_str());
    std::ifstream e(err);
    Outcome r{WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, {std::istreambuf_iterator<char>(e), {}}};
    fs::remove(err);
    return r;
}

// Runs the mirrel program with the arguments as the shell reads them.
inline Outcome mirrel(std::string const& args) {
    return run(MIRREL_BINARY " " + args);
}

// A folder of its own for each test, removed afterwards.
struct Scratch {
    fs::path dir;
    Scratch() {
        dir = scratchPath(testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(dir);
        fs::create_directories(dir);
    }
    ~Scratch() { fs::remove_all(dir); }
    std::string operator()(std::string const& name) const { return (dir / name).string(); }
    std::vector<unsigned char> pixels(std::string const& name) const {
        return readImage((*this)(name), 0).picture.bytes;
    }
    std::set<std::string> names() const {
        std::set<std::string> n;
        for (auto const& e : fs::directory_iterator(dir)) n.insert(e.path().filename().string());
        return n;
    }
};

#ifdef MIRREL_WRITE_FAULT
// The command with the write faults preloaded; the sanitizers' runtime need not come first.
inline std::string const kFaulty =
    "ASAN_OPTIONS=verify_asan_link_order=0 LD_PRELOAD=" MIRREL_WRITE_FAULT " ";

// Starts the command with the write faults and `env` (NAME=VALUE...); answers its process.
inline pid_t startFaulty(std::vector<std::string> const& env, std::vector<std::string> args) {
    pid_t const child = fork();
    if (child == 0) {
        for (std::string const& e : env) putenv(strdup(e.c_str()));
        setenv("LD_PRELOAD", MIRREL_WRITE_FAULT, 1);
        setenv("ASAN_OPTIONS", "verify_asan_link_order=0", 1);
        std::vector<char*> argv = {const_cast<char*>("mirrel")};
        for (std::string& a : args) argv.push_back(a.data());
        argv.push_back(nullptr);
        execv(MIRREL_BINARY, argv.data());
        _exit(127);
    }
    return child;
}

// Whether the file a paused writer makes appears within ten seconds.
inline bool appears(std::string const& marker) {
    for (int i = 0; i < 200 && !fs::exists(marker); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    return fs::exists(marker);
}

inline int finish(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return status;
}
#endif
