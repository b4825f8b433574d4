#include "CommandTestSupport.h"
#include "apps/cli/ImageFile.h"
#include "apps/cli/SafeOutput.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <set>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <tuple>
#include <unistd.h>

namespace {

// The command with the write faults preloaded; the sanitizers' runtime need not come first.
std::string const kFaulty =
    "ASAN_OPTIONS=verify_asan_link_order=0 LD_PRELOAD=" MIRREL_WRITE_FAULT " ";

// A scratch folder holding the demo picture as in.png.
struct Folder : Scratch {
    Folder() { EXPECT_EQ(mirrel("demo -o " + (*this)("in.png")).status, 0); }
    std::string bytes(std::string const& name) const {
        std::ifstream in((*this)(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
};

std::string render(Folder const& f, std::string const& out) {
    return MIRREL_BINARY " render " + f("in.png") + " -o " + f(out);
}

TEST(SafeOutput, AFullDiskFailsNamingTheOutputAndKeepsTheEarlierFile) {
    Folder f;
    // PNG and TIFF encode in memory; JPEG's library must not end the process; SGI goes through a
    // private file first.
    for (std::string out : {"o.png", "o.jpg", "o.tif", "o.sgi"}) {
        ASSERT_EQ(run(render(f, out)).status, 0) << out;
        std::string const before = f.bytes(out);
        auto const names = f.names();
        for (long room : {0L, 100L}) {
            auto [status, err] = run("MIRREL_FAULT_ENOSPC_AFTER=" + std::to_string(room) + " " +
                                     kFaulty + render(f, out) + " --set 'Softness=10'");
            EXPECT_EQ(status, 1) << out << err;
            EXPECT_TRUE(contains(err, f(out)) && contains(err, "No space left")) << err;
            EXPECT_EQ(f.bytes(out), before) << out;
            EXPECT_EQ(f.names(), names) << out;
        }
    }
}

TEST(SafeOutput, LinksAtTheTemporaryNamesAreLeftAlone) {
    Folder f;
    std::ofstream(f("victim")) << "keep";
    // With the shim's random bytes the k-th name tried is the prefix and eight times letter k.
    std::string const letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    auto const tempName = [&](int k) {
        return tempNamePrefix("o.png", 255) + std::string(8, letters[size_t(k % 62)]) + ".tmp";
    };
    for (int planted : {3, 62}) { // some names taken, then every name that is tried
        for (int k = 0; k < planted; ++k) fs::create_symlink(f("victim"), f(tempName(k)));
        auto [status, err] = run("MIRREL_FAULT_RANDOM=1 " + kFaulty + render(f, "o.png"));
        EXPECT_EQ(status, planted == 3 ? 0 : 1) << err;
        EXPECT_EQ(fs::exists(f("o.png")), planted == 3);
        EXPECT_EQ(f.bytes("victim"), "keep");
        for (int k = 0; k < planted; ++k) EXPECT_TRUE(fs::is_symlink(f(tempName(k)))) << k;
        for (int k = 0; k < planted; ++k) fs::remove(f(tempName(k)));
        fs::remove(f("o.png"));
    }
    // Long names still leave room for the temporary name.
    EXPECT_EQ(tempNamePrefix(std::string(250, 'n'), 255).size() + 12, 255u);
    std::string const longName = std::string(240, 'n') + ".png";
    EXPECT_EQ(run(render(f, longName)).status, 0);
}

TEST(SafeOutput, SignalsDuringTheWriteLeaveNoTemporaryFile) {
    Folder f;
    for (int sig : {SIGHUP, SIGTERM, SIGPIPE}) {
        std::string const marker = f("writing");
        pid_t const child = fork();
        if (child == 0) {
            setenv("MIRREL_FAULT_PAUSE", marker.c_str(), 1);
            setenv("LD_PRELOAD", MIRREL_WRITE_FAULT, 1);
            setenv("ASAN_OPTIONS", "verify_asan_link_order=0", 1);
            execl(MIRREL_BINARY, "mirrel", "render", f("in.png").c_str(), "-o", f("o.png").c_str(),
                  static_cast<char*>(nullptr));
            _exit(127);
        }
        for (int i = 0; i < 200 && !fs::exists(marker); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        ASSERT_TRUE(fs::exists(marker)) << sig;
        kill(child, sig);
        int status = 0;
        waitpid(child, &status, 0);
        fs::remove(marker);
        // A closed pipe is only an error of a write to it: the file is finished.
        if (sig == SIGPIPE)
            EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
        else
            EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == sig) << status;
        std::set<std::string> want = {"in.png"};
        if (sig == SIGPIPE) want.insert("o.png");
        EXPECT_EQ(f.names(), want) << sig;
        fs::remove(f("o.png"));
    }
}

// A PNG of a few bytes whose header claims width x height, 16-bit RGBA.
std::string pngHeaderOnly(uint32_t width, uint32_t height) {
    auto crc = [](std::string const& b) {
        uint32_t c = 0xffffffffu;
        for (unsigned char ch : b) {
            c ^= ch;
            for (int k = 0; k < 8; ++k) c = (c >> 1) ^ (0xedb88320u & (0u - (c & 1u)));
        }
        return c ^ 0xffffffffu;
    };
    auto be = [](uint32_t v) {
        return std::string{char(v >> 24), char(v >> 16), char(v >> 8), char(v)};
    };
    auto chunk = [&](std::string const& type, std::string const& data) {
        return be(uint32_t(data.size())) + type + data + be(crc(type + data));
    };
    return std::string("\x89PNG\r\n\x1a\n", 8) +
           chunk("IHDR", be(width) + be(height) + std::string("\x10\x06\0\0\0", 5)) +
           chunk("IDAT", std::string("\x78\x9c\x03\0", 4)) + chunk("IEND", "");
}

// A refusal that allocated first would take gigabytes; the address sanitizer reserves more than
// any cap, so its build goes without.
#ifdef __SANITIZE_ADDRESS__
std::string const kMemoryCap;
#else
std::string const kMemoryCap = "ulimit -v 3000000; ";
#endif

// Inputs that are no regular files, and pictures over the pixel limit (told from the header
// alone), are refused at once.
TEST(SafeOutput, InputsThatCannotBeReadSafelyAreRefused) {
    Folder f;
    ASSERT_EQ(mkfifo(f("pipe").c_str(), 0600), 0); // nothing ever writes to it
    fs::create_directory(f("folder.png"));
    std::ofstream(f("huge.png"), std::ios::binary) << pngHeaderOnly(16384, 16384);
    std::string const in = f("in.png") + " ";
    for (auto const& [args, status, named] : std::vector<std::tuple<std::string, int, std::string>>{
             {f("pipe"), 1, f("pipe")},
             {f("folder.png"), 1, "is a folder"},
             {"/dev/zero", 1, "/dev/zero"},
             {in + "--preset /dev/zero", 1, "/dev/zero"},
             {in + "--preset " + f("pipe"), 1, f("pipe")},
             {f("huge.png"), 1, "268435456 pixels"},
             {in + "--max-pixels 1000", 1, "limit of 1000"},
             {in + "--max-pixels 0", 2, "max-pixels"}}) {
        auto [got, err] =
            run(kMemoryCap + "timeout 20 " MIRREL_BINARY " render " + args + " -o " + f("o.png"));
        EXPECT_EQ(got, status) << args << err;
        EXPECT_TRUE(contains(err, named)) << args << err;
    }
    EXPECT_FALSE(fs::exists(f("o.png")));
}

} // namespace
