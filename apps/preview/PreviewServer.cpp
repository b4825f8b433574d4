#include "apps/preview/PreviewServer.h"

#include "apps/common/Errors.h"
#include "apps/common/ParamLookup.h"
#include "apps/preview/BoundedHttpServer.h"
#include "apps/preview/PngEncode.h"
#include "apps/preview/PreviewExport.h"
#include "apps/preview/PreviewPage.h"
#include "apps/preview/PreviewSession.h"

#include <httplib.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <mutex>
#include <random>

using nlohmann::json;

namespace {

std::string randomToken() {
    std::random_device random;
    std::string token;
    for (int i = 0; i < 4; ++i) {
        char part[9];
        std::snprintf(part, sizeof part, "%08x", unsigned(random()));
        token += part;
    }
    return token;
}

} // namespace

struct PreviewServer::Impl {
    PreviewSession& session;
    // The session, one request at a time; a request that cannot have it within kWait is
    // answered busy. (A gate rather than a timed mutex, whose timed wait the thread sanitizer
    // does not see.)
    std::mutex gate;
    std::condition_variable opened;
    bool held = false;
    static constexpr std::chrono::seconds kWait{15};
    // Held while the save file is written, and for good by abandon().
    std::mutex saving;
    BoundedHttpServer http{{}};
    std::string token = randomToken();
    int port = 0;
    std::atomic<bool> serving{false}, stopping{false}, finished{false};

    explicit Impl(PreviewSession& s) : session(s) {}

    // Only the page this server serves may use it: other web pages the browser shows, and
    // names rebound to 127.0.0.1, are refused. A page on another origin learns nothing of the
    // answers, but could still send changes: those must carry the token that only this page
    // holds, in a header that such a page cannot send without asking first.
    std::string refusal(httplib::Request const& req) const {
        std::string const p = std::to_string(port);
        std::string host = lowercase(req.get_header_value("Host"));
        if (host != "127.0.0.1:" + p && host != "localhost:" + p)
            return "the preview answers only requests for 127.0.0.1:" + p;
        if (req.has_header("Origin")) {
            std::string origin = lowercase(req.get_header_value("Origin"));
            if (origin != "http://127.0.0.1:" + p && origin != "http://localhost:" + p)
                return "the preview answers only its own page";
        }
        std::string site = req.get_header_value("Sec-Fetch-Site");
        if (req.path.rfind("/api/", 0) == 0 && !site.empty() && site != "same-origin" &&
            site != "none")
            return "the preview answers only its own page";
        if (req.method == "GET" || req.method == "HEAD") return {};
        std::string type = req.get_header_value("Content-Type");
        type = lowercase(type.substr(0, type.find(';')));
        type.erase(std::remove(type.begin(), type.end(), ' '), type.end());
        if (type != "application/json") return "a change must be sent as application/json";
        if (req.get_header_value("X-Mirrel-Token") != token)
            return "a change must come from the preview's own page";
        return {};
    }

    static void answer(httplib::Response& res, int status, json const& body) {
        res.status = status;
        res.set_content(body.dump(), "application/json");
    }

    // Runs the handler under the session's lock and turns refusals into their status.
    void guarded(httplib::Response& res, std::function<void()> const& handler) {
        {
            std::unique_lock<std::mutex> waiting(gate);
            if (!opened.wait_for(waiting, kWait, [this] { return !held; })) {
                res.set_header("Retry-After", "1");
                return answer(res, 503, {{"error", "the preview is busy drawing; try again"}});
            }
            held = true;
        }
        struct Release {
            Impl& m;
            ~Release() {
                std::lock_guard<std::mutex> closing(m.gate);
                m.held = false;
                m.opened.notify_one();
            }
        } release{*this};
        try {
            handler();
        } catch (PreviewRefusal const& e) {
            answer(res, e.status, {{"error", e.what()}});
        } catch (json::exception const& e) {
            answer(res, 400, {{"error", std::string("the body is not valid JSON: ") + e.what()}});
        } catch (UsageError const& e) {
            answer(res, 400, {{"error", e.what()}});
        } catch (std::exception const& e) {
            answer(res, 500, {{"error", e.what()}});
        }
    }

    // A POST whose JSON body the session acts on; the answer is the new state.
    void edit(char const* path, void (PreviewSession::*action)(json const&)) {
        http.Post(path, [this, action](httplib::Request const& req, httplib::Response& res) {
            guarded(res, [&] {
                (session.*action)(json::parse(req.body));
                answer(res, 200, session.state());
            });
        });
    }

    void routes() {
        http.set_pre_routing_handler([this](httplib::Request const& req, httplib::Response& res) {
            std::string why = refusal(req);
            if (why.empty()) return httplib::Server::HandlerResponse::Unhandled;
            answer(res, 403, {{"error", why}});
            return httplib::Server::HandlerResponse::Handled;
        });
        for (PageFile const& f : previewPage())
            http.Get(std::string(f.path), [this, f](httplib::Request const&,
                                                    httplib::Response& res) {
                std::string body(f.body);
                // The page reads its token from here; see refusal().
                size_t head = f.path == "/" ? body.find("</head>") : std::string::npos;
                if (head != std::string::npos)
                    body.insert(head, "<meta name=\"mirrel-token\" content=\"" + token + "\">\n");
                res.set_header("Cache-Control", "no-store");
                res.set_header("X-Frame-Options", "DENY"); // no page shows it to steer clicks
                res.set_content(body, std::string(f.type).c_str());
            });
        http.Get("/api/state", [this](httplib::Request const&, httplib::Response& res) {
            guarded(res, [&] { answer(res, 200, session.state()); });
        });
        edit("/api/value", &PreviewSession::setValue);
        edit("/api/keys/clear", &PreviewSession::clearKeys);
        edit("/api/frame", &PreviewSession::setFrame);
        edit("/api/mouse", &PreviewSession::mouse);
        edit("/api/nudge", &PreviewSession::nudge);
        edit("/api/undo", &PreviewSession::undo);
        edit("/api/redo", &PreviewSession::redo);
        http.Get("/api/frame.png", [this](httplib::Request const& req, httplib::Response& res) {
            guarded(res, [&] {
                json query = json::object();
                for (auto const& [name, value] : req.params) query[name] = value;
                std::string png = encodePng(session.picture(query));
                res.set_header("Cache-Control", "no-store");
                res.set_content(png, "image/png");
            });
        });
        http.Get("/api/preset", [this](httplib::Request const&, httplib::Response& res) {
            guarded(res, [&] {
                res.set_header("Content-Disposition",
                               "attachment; filename=\"mirrel-preset.json\"");
                res.set_content(presetJson(session).dump(2) + "\n", "application/json");
            });
        });
        http.Get("/api/export", [this](httplib::Request const&, httplib::Response& res) {
            guarded(res, [&] { answer(res, 200, exportJson(session)); });
        });
        http.Post("/api/save", [this](httplib::Request const&, httplib::Response& res) {
            guarded(res, [&] {
                std::lock_guard<std::mutex> writing(saving);
                answer(res, 200, {{"saved", session.save()}});
            });
        });
    }
};

PreviewServer::PreviewServer(PreviewSession& session) : m(std::make_unique<Impl>(session)) {
    m->routes();
}

PreviewServer::~PreviewServer() {
    stop(std::chrono::milliseconds::max());
}

int PreviewServer::bind(int port) {
    errno = 0;
    m->port = port == 0 ? m->http.bind_to_any_port("127.0.0.1")
                        : (m->http.bind_to_port("127.0.0.1", port) ? port : -1);
    int error = errno;
    if (m->port > 0) return m->port;
    std::string where = "127.0.0.1" + (port ? ":" + std::to_string(port) : "");
    if (error == EADDRINUSE)
        throw Failure("cannot listen on " + where +
                      ": the port is in use (another preview or program listens on it); choose "
                      "another --port, or none for a free one");
    throw Failure("cannot listen on " + where +
                  (error ? std::string(": ") + std::strerror(error) : ""));
}

std::string const& PreviewServer::token() const {
    return m->token;
}

std::string PreviewServer::address() const {
    return "http://127.0.0.1:" + std::to_string(m->port) + "/";
}

void PreviewServer::run() {
    m->serving = true;
    if (!m->stopping) m->http.listen_after_bind();
    m->serving = false;
    m->finished = true;
}

void PreviewServer::start() {
    m_thread = std::thread([this] { run(); });
    while (!m->http.is_running() && !m->finished)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

bool PreviewServer::stop(std::chrono::milliseconds grace) {
    // The server only stops once it listens; a stop that comes first waits for that. Reads and
    // writes end at once; a handler still running is waited for, up to the grace.
    m->stopping = true;
    m->http.endConnections();
    auto now = std::chrono::steady_clock::now();
    auto until = grace >= std::chrono::hours(24) ? now.max() : now + grace;
    while (m->serving) {
        m->http.stop();
        if (std::chrono::steady_clock::now() > until) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    if (m_thread.joinable()) m_thread.join();
    return true;
}

void PreviewServer::abandon() {
    m->saving.lock(); // a save in progress ends first, and none starts after
}
