#pragma once
#include <memory>
#include <string>
#include <thread>

class PreviewSession;

// The page and its requests over HTTP, on 127.0.0.1 only. A thin layer: every request takes the
// session's lock, calls the session and answers JSON, a PNG or a page file. Refused requests
// answer 4xx with {"error": message} and change nothing.
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
    // Ends serving; safe from any thread.
    void stop();

  private:
    struct Impl;
    std::unique_ptr<Impl> m;
    std::thread m_thread;
};
