#include "apps/video/OrderedRender.h"

#include <condition_variable>
#include <deque>
#include <exception>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

void renderInOrder(unsigned jobs, std::function<bool(VideoFrame&)> const& read,
                   std::function<std::function<void(VideoFrame&)>()> const& makeRenderer,
                   std::function<void(VideoFrame&)> const& write) {
    if (jobs <= 1) { // on this thread, frame by frame
        auto render = makeRenderer();
        for (VideoFrame f; read(f);) {
            render(f);
            write(f);
        }
        return;
    }
    std::mutex lock;
    std::condition_variable changed;
    std::deque<std::pair<long, VideoFrame>> todo;
    std::map<long, VideoFrame> done; // by position in the stream
    bool closing = false;
    std::exception_ptr failure;

    auto worker = [&] {
        try {
            auto render = makeRenderer();
            for (;;) {
                std::unique_lock<std::mutex> hold(lock);
                changed.wait(hold, [&] { return closing || failure || !todo.empty(); });
                if (failure || todo.empty()) return;
                auto [at, frame] = std::move(todo.front());
                todo.pop_front();
                hold.unlock();
                render(frame);
                hold.lock();
                done.emplace(at, std::move(frame));
                changed.notify_all();
            }
        } catch (...) {
            std::lock_guard<std::mutex> hold(lock);
            if (!failure) failure = std::current_exception();
            changed.notify_all();
        }
    };
    std::vector<std::thread> workers;
    for (unsigned j = 0; j < jobs; ++j) workers.emplace_back(worker);

    long readCount = 0, written = 0;
    size_t const window = size_t(jobs) * 2;
    try {
        bool more = true;
        for (;;) {
            std::unique_lock<std::mutex> hold(lock);
            // Write what is ready in order; read while there is room; else wait.
            while (!failure && done.count(written)) {
                VideoFrame f = std::move(done[written]);
                done.erase(written++);
                hold.unlock();
                write(f);
                hold.lock();
            }
            if (failure) break;
            if (!more && written == readCount) break;
            if (more && size_t(readCount - written) < window) {
                hold.unlock();
                VideoFrame f;
                more = read(f);
                hold.lock();
                if (more) {
                    todo.emplace_back(readCount++, std::move(f));
                    changed.notify_all();
                }
                continue;
            }
            changed.wait(hold, [&] { return failure || done.count(written); });
        }
    } catch (...) {
        std::lock_guard<std::mutex> hold(lock);
        if (!failure) failure = std::current_exception();
    }
    {
        std::lock_guard<std::mutex> hold(lock);
        closing = true;
        changed.notify_all();
    }
    for (std::thread& t : workers) t.join();
    if (failure) std::rethrow_exception(failure);
}
