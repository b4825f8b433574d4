#include "apps/preview/PreviewServer.h"

#include "apps/common/Errors.h"
#include "apps/preview/PngEncode.h"
#include "apps/preview/PreviewExport.h"
#include "apps/preview/PreviewPage.h"
#include "apps/preview/PreviewSession.h"

#include <httplib.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>

using nlohmann::json;

struct PreviewServer::Impl {
    PreviewSession& session;
    std::mutex lock;
    httplib::Server http;
    int port = 0;
    std::atomic<bool> serving{false}, stopping{false}, finished{false};

    explicit Impl(PreviewSession& s) : session(s) {}

    static void answer(httplib::Response& res, int status, json const& body) {
        res.status = status;
        res.set_content(body.dump(), "application/json");
    }

    // Runs the handler under the session's lock and turns refusals into their status.
    void guarded(httplib::Response& res, std::function<void()> const& handler) {
        std::lock_guard<std::mutex> hold(lock);
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
        for (PageFile const& f : previewPage())
            http.Get(std::string(f.path), [f](httplib::Request const&, httplib::Response& res) {
                res.set_content(f.body.data(), f.body.size(), std::string(f.type).c_str());
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
            guarded(res, [&] { answer(res, 200, {{"saved", session.save()}}); });
        });
    }
};

PreviewServer::PreviewServer(PreviewSession& session) : m(std::make_unique<Impl>(session)) {
    m->routes();
}

PreviewServer::~PreviewServer() {
    stop();
}

int PreviewServer::bind(int port) {
    m->port = port == 0 ? m->http.bind_to_any_port("127.0.0.1")
                        : (m->http.bind_to_port("127.0.0.1", port) ? port : -1);
    if (m->port <= 0)
        throw Failure("cannot listen on 127.0.0.1" + (port ? ":" + std::to_string(port) : "") +
                      (port ? " (is the port in use?)" : ""));
    return m->port;
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

void PreviewServer::stop() {
    // The server only stops once it listens; a stop that comes first waits for that.
    m->stopping = true;
    while (m->serving) {
        m->http.stop();
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    if (m_thread.joinable()) m_thread.join();
}
