#include "PreviewTestSupport.h"

#include <arpa/inet.h>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <netinet/in.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>

extern char** environ;

#ifndef MIRREL_CHROMIUM
#define MIRREL_CHROMIUM "/usr/bin/chromium"
#endif
#ifndef MIRREL_CHROMEDRIVER
#define MIRREL_CHROMEDRIVER "/usr/bin/chromedriver"
#endif

namespace {

int freePort() {
    int s = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t n = sizeof a;
    bind(s, reinterpret_cast<sockaddr*>(&a), n);
    getsockname(s, reinterpret_cast<sockaddr*>(&a), &n);
    close(s);
    return ntohs(a.sin_port);
}

std::string base64Decode(std::string const& in) {
    std::string out;
    int bits = 0, value = 0;
    for (char c : in) {
        char const* table = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        char const* at = c ? std::strchr(table, c) : nullptr;
        if (!at) continue;
        value = value << 6 | int(at - table);
        if ((bits += 6) >= 8) out += char((value >> (bits -= 8)) & 0xff);
    }
    return out;
}

// Chromium driven by chromedriver over the WebDriver protocol, with real pointer input.
class Browser {
  public:
    Browser(std::string const& profile, std::string const& log) : m_port(freePort()) {
        std::string port = "--port=" + std::to_string(m_port);
        char const* argv[] = {MIRREL_CHROMEDRIVER, port.c_str(), nullptr};
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 1, log.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                         0644);
        posix_spawn_file_actions_adddup2(&actions, 1, 2);
        posix_spawn(&m_driver, MIRREL_CHROMEDRIVER, &actions, nullptr, const_cast<char**>(argv),
                    environ);
        posix_spawn_file_actions_destroy(&actions);
        m_http = std::make_unique<httplib::Client>("127.0.0.1", m_port);
        m_http->set_read_timeout(60);
        for (int i = 0; i < 200 && !m_http->Get("/status"); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        json args = {"--headless",
                     "--no-sandbox",
                     "--disable-gpu",
                     "--disable-quic",
                     "--no-first-run",
                     "--disable-background-networking",
                     "--disable-component-update",
                     "--disable-sync",
                     "--disable-dev-shm-usage",
                     "--force-device-scale-factor=1",
                     "--window-size=1280,800",
                     "--user-data-dir=" + profile};
        json caps = {{"capabilities",
                      {{"alwaysMatch",
                        {{"browserName", "chrome"},
                         {"goog:chromeOptions", {{"binary", MIRREL_CHROMIUM}, {"args", args}}}}}}}};
        json answer = call("POST", "/session", caps);
        if (answer.contains("sessionId"))
            m_session = "/session/" + answer["sessionId"].get<std::string>();
    }
    ~Browser() {
        if (!m_session.empty()) m_http->Delete(m_session.c_str());
        kill(m_driver, SIGTERM);
        waitpid(m_driver, nullptr, 0);
    }
    bool ready() const { return !m_session.empty(); }

    json call(char const* method, std::string const& path, json const& body = json::object()) {
        auto r = std::string(method) == "GET"
                     ? m_http->Get(path.c_str())
                     : m_http->Post(path.c_str(), body.dump(), "application/json");
        return r ? json::parse(r->body)["value"] : json();
    }
    json session(char const* method, std::string const& path, json const& body = json::object()) {
        return call(method, m_session + path, body);
    }
    json script(std::string const& code) {
        return session("POST", "/execute/sync", {{"script", code}, {"args", json::array()}});
    }
    // Polls a script until it answers true.
    bool until(std::string const& condition, int seconds = 30) {
        for (int i = 0; i < seconds * 20; ++i) {
            if (script("return Boolean(" + condition + ");") == true) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return false;
    }

  private:
    int m_port;
    pid_t m_driver = -1;
    std::unique_ptr<httplib::Client> m_http;
    std::string m_session;
};

bool yellow(Picture const& p, int x, int y) {
    size_t i = size_t(y) * size_t(p.width) + size_t(x);
    return p.channel(i, 0) > 0.8 && p.channel(i, 1) > 0.8 && p.channel(i, 2) < 0.3;
}

TEST(PreviewBrowser, DraggingAHandleWithTheMouseMovesItsParameterAndThePicture) {
    if (access(MIRREL_CHROMIUM, X_OK) != 0 || access(MIRREL_CHROMEDRIVER, X_OK) != 0)
        GTEST_SKIP() << "chromium or chromedriver is not installed";
    Scratch scratch;
    Served s(writeSample(scratch("in.png"), 320, 240));
    Browser browser(scratch("profile"), std::string(MIRREL_ARTEFACTS) + "/chromedriver.log");
    ASSERT_TRUE(browser.ready()) << "chromedriver started no session; see chromedriver.log";

    browser.session("POST", "/url", json{{"url", s.address}});
    ASSERT_TRUE(browser.until("document.getElementById('canvas').dataset.shown"));
    json rect = browser.script("const r = document.getElementById('canvas')"
                               ".getBoundingClientRect(); return [r.left, r.top, r.width];");
    ASSERT_EQ(rect[2].get<double>(), 320.0) << "the canvas is shown at its own size";
    int left = int(rect[0].get<double>()), top = int(rect[1].get<double>());

    // From the drawn "Baseline End" handle, 40 pixels right and 30 up, in a few moves.
    int x0 = left + 240, y0 = top + 180, dx = 40, dy = -30;
    json moves = json::array({{{"type", "pointerMove"}, {"duration", 0}, {"x", x0}, {"y", y0}},
                              {{"type", "pointerDown"}, {"button", 0}}});
    for (int step = 1; step <= 4; ++step)
        moves.push_back({{"type", "pointerMove"},
                         {"duration", 50},
                         {"x", x0 + dx * step / 4},
                         {"y", y0 + dy * step / 4}});
    moves.push_back({{"type", "pointerUp"}, {"button", 0}});
    browser.session("POST", "/actions",
                    {{"actions",
                      {{{"type", "pointer"},
                        {"id", "mouse"},
                        {"parameters", {{"pointerType", "mouse"}}},
                        {"actions", moves}}}}});

    ASSERT_TRUE(browser.until("(() => { const c = document.getElementById('canvas');"
                              " return c.dataset.shown === '/api/frame.png?proxy=0&v=' +"
                              " c.dataset.version && c.dataset.version > 0; })()"));
    json st = s.state();
    EXPECT_EQ(paramOf(st, "Baseline End")["value"], json({0.75 + 40.0 / 320, 0.75 - 30.0 / 240}));
    EXPECT_EQ(paramOf(st, "Baseline Start")["value"], json({0.25, 0.75}));
    EXPECT_EQ(browser.script("return [...document.querySelectorAll("
                             "'.param[data-label=\"Baseline End\"] input')].map(i => i.value);"),
              json({"0.875", "0.625"}));

    std::string png = base64Decode(browser.session("GET", "/screenshot").get<std::string>());
    std::ofstream(std::string(MIRREL_ARTEFACTS) + "/preview-drag.png", std::ios::binary) << png;
    Picture shot = decodePng(png);
    ASSERT_GT(shot.width, x0 + dx);
    EXPECT_TRUE(yellow(shot, x0 + dx, y0 + dy)) << "the handle is drawn where it was dropped";
    EXPECT_FALSE(yellow(shot, x0, y0));
    // The canvas shows the frame the server renders for the new state, at its device pixels.
    left = int(std::lround(rect[0].get<double>()));
    top = int(std::lround(rect[1].get<double>()));
    Picture frame = decodePng(s.bytes("/api/frame.png"));
    double diff = 0;
    for (int y = 0; y < frame.height; ++y)
        for (int x = 0; x < frame.width; ++x)
            for (int c = 0; c < 3; ++c)
                diff += std::abs(
                    frame.channel(size_t(y) * 320 + size_t(x), c) -
                    shot.channel(size_t(top + y) * size_t(shot.width) + size_t(left + x), c));
    EXPECT_LT(diff / (320 * 240 * 3), 0.002);
}

} // namespace

TEST(PreviewBrowser, APageOnAnotherOriginCannotChangeThePreview) {
    if (access(MIRREL_CHROMIUM, X_OK) != 0 || access(MIRREL_CHROMEDRIVER, X_OK) != 0)
        GTEST_SKIP() << "chromium or chromedriver is not installed";
    Scratch scratch;
    Served s(writeSample(scratch("in.png"), 32, 24), scratch("saved.json"));
    httplib::Server other; // another site on this machine, which the user happens to visit
    other.Get("/", [](httplib::Request const&, httplib::Response& res) {
        res.set_content("<title>elsewhere</title>", "text/html");
    });
    int port = other.bind_to_any_port("127.0.0.1");
    std::thread serving([&] { other.listen_after_bind(); });
    Browser browser(scratch("profile"), std::string(MIRREL_ARTEFACTS) + "/chromedriver.log");
    ASSERT_TRUE(browser.ready()) << "chromedriver started no session; see chromedriver.log";
    browser.session("POST", "/url", json{{"url", "http://127.0.0.1:" + std::to_string(port)}});
    // What a page may send without asking: plain text, or JSON after a preflight.
    json sent =
        browser.script("const to = '" + s.address +
                       "api/', body = '{\"label\": \"Fade Length\", \"value\": 60}';"
                       "return Promise.allSettled(["
                       "  fetch(to + 'value', {method: 'POST', mode: 'no-cors', body}),"
                       "  fetch(to + 'save', {method: 'POST', mode: 'no-cors', body: '{}'}),"
                       "  fetch(to + 'value', {method: 'POST', body,"
                       "                       headers: {'Content-Type': 'application/json'}})"
                       "]).then(r => r.map(x => x.status));");
    EXPECT_EQ(sent, json({"fulfilled", "fulfilled", "rejected"}));
    EXPECT_EQ(s.state()["version"], 0) << "no change";
    EXPECT_FALSE(fs::exists(scratch("saved.json")));
    other.stop();
    serving.join();
}
