#include "CommandTestSupport.h"
#include "apps/cli/ImageFile.h"
#include "apps/common/SafeFile.h"

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

// With several workers every frame that fails is named, as many as the count says.
TEST(SafeOutput, AFullDiskDuringASequenceNamesEachFailedFrame) {
    Folder f;
    for (int i = 1; i <= 4; ++i) fs::copy_file(f("in.png"), f("in" + std::to_string(i) + ".png"));
    auto [status, err] = run("MIRREL_FAULT_ENOSPC_AFTER=0 " + kFaulty + MIRREL_BINARY " render " +
                             f("in%d.png") + " -o " + f("out%d.png") + " --frames 1-4 --jobs 2");
    EXPECT_EQ(status, 1);
    size_t const at = err.find(" failed");
    ASSERT_NE(at, std::string::npos) << err;
    int named = 0;
    for (int i = 1; i <= 4; ++i) named += contains(err, f("out" + std::to_string(i) + ".png"));
    EXPECT_EQ(err.substr(err.rfind(' ', at - 1) + 1, at - err.rfind(' ', at - 1) - 1),
              std::to_string(named))
        << err;
}

// Names at the file-name limit still leave room for the temporary name; what is not a regular
// file at the output's name (a FIFO someone reads) is refused, not replaced.
TEST(SafeOutput, LongNamesAndOutputsThatAreNoFiles) {
    Folder f;
    EXPECT_EQ(tempNamePrefix(std::string(250, 'n'), 255).size() + 10, 255u);
    EXPECT_EQ(run(render(f, std::string(240, 'n') + ".png")).status, 0);
    ASSERT_EQ(mkfifo(f("fifo.png").c_str(), 0600), 0);
    auto [status, err] = run("timeout 20 " + render(f, "fifo.png"));
    EXPECT_EQ(status, 1);
    EXPECT_TRUE(contains(err, f("fifo.png")) && contains(err, "not a regular file")) << err;
    EXPECT_EQ(fs::status(f("fifo.png")).type(), fs::file_type::fifo);
}

TEST(SafeOutput, SignalsDuringTheWriteLeaveNoTemporaryFile) {
    Folder f;
    // A format encoded through a private folder (SGI) leaves none behind either.
    for (auto [sig, out] : {std::pair{SIGHUP, "o.png"}, {SIGTERM, "o.sgi"}, {SIGPIPE, "o.png"}}) {
        std::string const marker = f("writing");
        pid_t const child =
            startFaulty({"MIRREL_FAULT_PAUSE=" + marker, "TMPDIR=" + f.dir.string()},
                        {"render", f("in.png"), "-o", f(out)});
        ASSERT_TRUE(appears(marker)) << sig;
        kill(child, sig);
        int const status = finish(child);
        fs::remove(marker);
        // A closed pipe is only an error of a write to it: the file is finished.
        if (sig == SIGPIPE)
            EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
        else
            EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == sig) << status;
        std::set<std::string> want = {"in.png"};
        if (sig == SIGPIPE) want.insert(out);
        EXPECT_EQ(f.names(), want) << sig;
        fs::remove(f(out));
    }
    // Two workers each hold a temporary file while a slow disk syncs; a signal at any moment
    // removes both.
    for (int i = 1; i <= 6; ++i) fs::copy_file(f("in.png"), f("in" + std::to_string(i) + ".png"));
    std::srand(unsigned(getpid()));
    for (int sig : {SIGINT, SIGTERM, SIGINT, SIGTERM, SIGINT}) {
        pid_t const child = startFaulty({"MIRREL_FAULT_SLOW_FSYNC=300"},
                                        {"render", f("in%d.png"), "-o", f("out%d.png"), "--frames",
                                         "1-6", "--jobs", "2", "--quiet"});
        std::this_thread::sleep_for(std::chrono::milliseconds(300 + std::rand() % 1500));
        kill(child, sig);
        finish(child);
        for (std::string const& name : f.names()) {
            EXPECT_EQ(name.find(".tmp"), std::string::npos) << name << " after signal " << sig;
            if (name.rfind("out", 0) == 0) fs::remove(f(name));
        }
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
