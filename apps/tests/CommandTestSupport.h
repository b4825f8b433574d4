#pragma once
#include "AppTestSupport.h"
#include "apps/cli/ImageFile.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sys/wait.h>

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
