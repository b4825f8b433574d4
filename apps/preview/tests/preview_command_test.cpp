#include "PreviewTestSupport.h"

#include <arpa/inet.h>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <netinet/in.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>

extern char** environ;

namespace {

// The real `mirrel preview`, its standard output and error on a pipe.
struct PreviewProcess {
    pid_t pid = -1;
    FILE* out = nullptr;

    explicit PreviewProcess(std::vector<std::string> args) {
        args.insert(args.begin(), {MIRREL_BINARY, "preview"});
        std::vector<char*> argv;
        for (auto& a : args) argv.push_back(a.data());
        argv.push_back(nullptr);
        int fds[2];
        if (pipe(fds) != 0) return;
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, fds[1], 1);
        posix_spawn_file_actions_adddup2(&actions, fds[1], 2);
        posix_spawn_file_actions_addclose(&actions, fds[0]);
        posix_spawn(&pid, MIRREL_BINARY, &actions, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        close(fds[1]);
        out = fdopen(fds[0], "r");
    }
    ~PreviewProcess() {
        if (pid > 0 && waitpid(pid, nullptr, WNOHANG) == 0) {
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
        }
        if (out) fclose(out);
    }
    std::string line() {
        char buf[1024];
        return out && fgets(buf, sizeof buf, out) ? std::string(buf) : std::string();
    }
    // The exit status, or -1 if it did not end normally within the time.
    int status(int seconds = 20) {
        auto until = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
        int raw = 0;
        while (waitpid(pid, &raw, WNOHANG) == 0) {
            if (std::chrono::steady_clock::now() > until) return -1;
            usleep(20000);
        }
        pid = -1;
        return WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    }
};

// Clients that send a request's header lines one at a time, for long, and never end it.
struct SlowClients {
    std::vector<int> sockets;
    std::atomic<bool> done{false};
    std::thread thread;

    SlowClients(int port, int count) {
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_port = htons(uint16_t(port));
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        for (int i = 0; i < count; ++i) {
            int s = socket(AF_INET, SOCK_STREAM, 0);
            connect(s, reinterpret_cast<sockaddr*>(&a), sizeof a);
            send(s, "GET /api/state HTTP/1.1\r\n", 25, MSG_NOSIGNAL);
            sockets.push_back(s);
        }
        thread = std::thread([this] {
            for (int i = 0; i < 100 && !done; ++i, usleep(200000))
                for (int s : sockets) send(s, "X-Slow: 1\r\n", 11, MSG_NOSIGNAL);
        });
    }
    ~SlowClients() {
        done = true;
        thread.join();
        for (int s : sockets) close(s);
    }
};

TEST(PreviewCommand, ServesThePageOnLoopbackAndEndsCleanlyOnInterrupt) {
    for (int signal : {SIGINT, SIGTERM}) {
        Scratch scratch;
        std::string input = writeSample(scratch("in.png"), 32, 24);
        { std::ofstream(scratch("look.json")) << R"({"Fade Length": 60})"; }
        PreviewProcess p({input, "--preset", scratch("look.json"), "--save", scratch("out.json")});
        std::string first = p.line();
        size_t at = first.find("http://127.0.0.1:");
        ASSERT_NE(at, std::string::npos) << first;
        int port = std::stoi(first.substr(at + 17));
        // More clients than the server has threads, stuck in their requests, hold nothing up.
        SlowClients slow(port, 12);
        httplib::Client client("127.0.0.1", port);
        auto page = client.Get("/");
        ASSERT_TRUE(page);
        EXPECT_NE(page->body.find("<title>Mirrel preview</title>"), std::string::npos);
        size_t token = page->body.find("name=\"mirrel-token\" content=\"");
        ASSERT_NE(token, std::string::npos);
        client.set_default_headers({{"X-Mirrel-Token", page->body.substr(token + 29, 32)}});
        auto script = client.Get("/preview.js");
        ASSERT_TRUE(script);
        EXPECT_EQ(script->get_header_value("Content-Type").rfind("text/javascript", 0), 0u);
        auto preset = client.Get("/api/preset");
        ASSERT_TRUE(preset);
        EXPECT_EQ(json::parse(preset->body), json({{"Fade Length", 60}}));
        auto saved = client.Post("/api/save", "{}", "application/json");
        ASSERT_TRUE(saved);
        EXPECT_EQ(saved->status, 200);
        if (signal == SIGINT) { // the port is taken: a second preview on it fails and says why
            PreviewProcess second({input, "--port", std::to_string(port)});
            EXPECT_EQ(second.status(), 1);
            EXPECT_NE(second.line().find("in use"), std::string::npos);
        }
        kill(p.pid, signal);
        EXPECT_EQ(p.status(5), 0) << "a generous bound; it ends at once";
        EXPECT_TRUE(fs::exists(scratch("out.json")));
        EXPECT_FALSE(client.Get("/api/state")); // nothing listens any more
    }
}

TEST(PreviewCommand, RefusesWhatItCannotServe) {
    Scratch scratch;
    std::string input = writeSample(scratch("in.png"), 32, 24);
    struct Case {
        std::vector<std::string> args;
        int status;
    };
    Case const cases[] = {
        {{}, 2},
        {{input, "--port", "70000"}, 2},
        {{input, "--bogus"}, 2},
        {{scratch("missing.png")}, 1},
        {{scratch("shot.%04d.png")}, 2},
        {{input, "--save", scratch("no/such/folder/p.json")}, 2},
        {{input, "--save", input}, 2},
        {{input, "--preset", scratch("missing.json")}, 1},
    };
    for (Case const& c : cases) {
        PreviewProcess p(c.args);
        EXPECT_EQ(p.status(), c.status) << (c.args.empty() ? "" : c.args.back());
    }
    EXPECT_TRUE(fs::exists(input));
}

} // namespace
