#pragma once
#include <chrono>
#include <memory>
#include <string>
#include <thread>

class PreviewSession;

// The page and its requests over HTTP, on 127.0.0.1 only, for its own page only: a request for
// another host name, from another origin, or a change without JSON and the page's token is
// refused with 403. A thin layer: every request takes the session's lock, calls the session
// and answers JSON, a PNG or a page file. Refused requests answer 4xx with {"error": message}
// and change nothing; a request that waits too long for the session answers 503.
class PreviewServer {
  public:
    explicit PreviewServer(PreviewSession& session);
    ~PreviewServer();
    PreviewServer(PreviewServer const&) = delete;
    PreviewServer& operator=(PreviewServer const&) = delete;

    // Binds to the port, or to a free one for 0, and answers the port. Throws Failure.
    int bind(int port);
    std::string address() const;
    // Serves until stop(), here or on a thread of its own.
    void run();
    void start();
    // Ends serving; safe from any thread. Answers false when a request is still being handled
    // after the grace (a render cannot be interrupted); the server then goes on ending.
    bool stop(std::chrono::milliseconds grace = std::chrono::milliseconds::max());
    // Before the process exits under a request still running: waits for a save in progress
    // and lets none start.
    void abandon();
    // The page's secret, which every change must carry in X-Mirrel-Token.
    std::string const& token() const;

  private:
    struct Impl;
    std::unique_ptr<Impl> m;
    std::thread m_thread;
};
