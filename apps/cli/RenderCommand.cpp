#include "apps/cli/FrameSequence.h"
#include "apps/cli/ImageFile.h"
#include "apps/cli/Mirrel.h"
#include "apps/cli/Progress.h"
#include "apps/common/Errors.h"
#include "apps/video/VideoFile.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <mutex>
#include <ostream>
#include <sys/stat.h>
#include <thread>
#include <tuple>

void refuseInputAsOutput(std::string const& input, std::string const& output) {
    std::error_code ec;
    if (input == output || std::filesystem::equivalent(input, output, ec))
        throw UsageError("output " + inQuotes(output) + " is the input; choose another file");
}

namespace {

// The lines of one field: 1 the upper (rows 0, 2, 4...), 2 the lower (rows 1, 3, 5...).
Picture fieldOf(Picture const& frame, int field) {
    int first = field == 1 ? 0 : 1;
    int rows = std::max(1, (frame.height - first + 1) / 2);
    Picture out(frame.width, rows, frame.depth);
    for (int r = 0; r < rows; ++r)
        std::memcpy(out.row(r), frame.row(std::min(frame.height - 1, first + 2 * r)),
                    size_t(frame.rowBytes()));
    return out;
}

// The picture the host hands the effect: reduced for a proxy, one field for a field render.
Picture prepared(Picture picture, Options const& o) {
    if (o.scale != 1.0) {
        int w = std::max(1, int(std::lround(picture.width * o.scale)));
        int h = std::max(1, int(std::lround(picture.height * o.scale)));
        picture = resizePicture(picture, w, h);
    }
    if (o.field != 0) picture = fieldOf(picture, o.field);
    return picture;
}

} // namespace

FileLayout outputLayout(FileLayout layout, Options const& o, std::string const& input,
                        std::string const& output, Picture const& result) {
    if (o.outDepth != 0) {
        layout.depth = o.outDepth;
        layout.half = o.outHalf;
    }
    bool alpha = o.alpha == AlphaOut::On ||
                 (o.alpha == AlphaOut::Auto && (layout.hasAlpha || hasTransparency(result)));
    if (!layout.hasAlpha ||
        std::filesystem::path(input).extension() != std::filesystem::path(output).extension())
        layout.straight = formatKeepsStraightAlpha(output);
    layout.hasAlpha = alpha;
    layout.channels = alpha ? 4 : 3;
    return layout;
}

namespace {

// The size the first frame read set, which every frame of the sequence must have.
struct FrameSize {
    std::mutex lock;
    int width = 0, height = 0;

    void check(std::string const& input, Picture const& p) {
        std::lock_guard<std::mutex> hold(lock);
        if (width == 0) width = p.width, height = p.height;
        if (p.width != width || p.height != height)
            throw Failure("input " + inQuotes(input) + " is " + std::to_string(p.width) + "x" +
                          std::to_string(p.height) + ", not " + std::to_string(width) + "x" +
                          std::to_string(height) + " as the sequence began");
    }
};

} // namespace

Picture renderFrame(EffectSession& session, Options const& o, Picture picture, double frame) {
    FrameRequest request;
    request.frame = frame;
    request.field = unsigned(o.field);
    request.scale = o.scale;
    request.argb = o.argb;
    Picture result = session.render(prepared(std::move(picture), o), request);
    if (o.showControls) session.drawControls(result, frame);
    return result;
}

void applySettings(EffectSession& session, std::vector<Setting> settings,
                   std::vector<Param> const& declared) {
    for (Setting& s : settings) s.param = &session.params()[size_t(s.param - declared.data())];
    session.apply(settings);
}

unsigned workerCount(Options const& o, size_t frames) {
    unsigned jobs = o.jobs ? o.jobs : std::max(1u, std::thread::hardware_concurrency());
    return unsigned(std::min<size_t>(jobs, frames));
}

namespace {

void renderLoaded(EffectSession& session, Options const& o, LoadedImage img,
                  std::string const& input, std::string const& output, double frame) {
    Picture result = renderFrame(session, o, std::move(img.picture), frame);
    FileLayout const layout = outputLayout(img.layout, o, input, output, result);
    writeImage(output, std::move(result), layout);
}

// No output frame may be an input frame of the same run: by name, link or canonical path.
void refuseOverlap(std::vector<std::string> const& inputs,
                   std::vector<std::string> const& outputs) {
    namespace fs = std::filesystem;
    std::map<std::pair<dev_t, ino_t>, std::string> files;
    std::map<fs::path, std::string> names;
    std::error_code ec;
    for (std::string const& in : inputs) {
        struct stat st;
        if (::stat(in.c_str(), &st) == 0) files.emplace(std::pair(st.st_dev, st.st_ino), in);
        names.emplace(fs::weakly_canonical(in, ec), in);
    }
    for (std::string const& out : outputs) {
        struct stat st;
        auto file =
            ::stat(out.c_str(), &st) == 0 ? files.find({st.st_dev, st.st_ino}) : files.end();
        auto name = names.find(fs::weakly_canonical(out, ec));
        std::string const* in = file != files.end()   ? &file->second
                                : name != names.end() ? &name->second
                                                      : nullptr;
        if (in)
            throw UsageError("output " + inQuotes(out) + " is the input " + inQuotes(*in) +
                             " of the same run; choose another pattern");
    }
}

// What a sequence did, for its last line.
struct Tally {
    std::mutex lock;
    long written = 0, skipped = 0, failed = 0;
    bool stop = false;
    std::vector<std::string> errors; // each failed frame's, so that the count matches the names

    std::string line() const {
        return std::to_string(written) + " written, " + std::to_string(skipped) + " skipped, " +
               std::to_string(failed) + " failed";
    }
};

void renderSequence(Options const& o, std::vector<Setting> const& settings,
                    std::vector<Param> const& declared, std::ostream& err) {
    // Both must be patterns and apart before anything is written.
    std::string inPattern = framePattern(o.input), outPattern = framePattern(o.output);
    if (inPattern == outPattern) throw UsageError("the output pattern is the input pattern");
    std::vector<int> frames;
    for (int f : o.frames) // a frame listed twice is rendered once
        if (std::find(frames.begin(), frames.end(), f) == frames.end()) frames.push_back(f);
    std::vector<std::string> inputs = sequenceFiles(inPattern, frames);
    std::vector<std::string> outputs = sequenceFiles(outPattern, frames);
    refuseOverlap(inputs, outputs);

    Progress progress(long(frames.size()), o.quiet || o.verbose ? nullptr : stderr);
    FrameSize size;
    std::tie(size.width, size.height) = pictureSize(inputs.front());
    Tally tally;
    std::atomic<size_t> next{0};
    auto report = [&](std::string const& text) {
        std::lock_guard<std::mutex> hold(tally.lock);
        progress.clearLine(); // the next frame writes it again below
        err << "mirrel: " << text << "\n" << std::flush;
    };
    // Each worker drives its own plug-in instance; the core keeps no state between frames.
    auto work = [&] {
        EffectSession session(o.host);
        applySettings(session, settings, declared);
        for (size_t i; (i = next++) < frames.size();) {
            {
                std::lock_guard<std::mutex> hold(tally.lock);
                if (tally.stop) return;
            }
            LoadedImage img;
            try {
                img = readImage(inputs[i], o.depth, o.maxPixels);
                size.check(inputs[i], img.picture);
            } catch (Failure const& e) {
                if (o.skipMissing) {
                    if (!o.quiet)
                        report("skipped frame " + std::to_string(frames[i]) + ": " + e.what());
                    std::lock_guard<std::mutex> hold(tally.lock);
                    ++tally.skipped;
                    continue;
                }
                std::lock_guard<std::mutex> hold(tally.lock);
                ++tally.failed, tally.stop = true;
                tally.errors.push_back(e.what());
                return;
            }
            try {
                renderLoaded(session, o, std::move(img), inputs[i], outputs[i], frames[i]);
            } catch (std::exception const& e) {
                std::lock_guard<std::mutex> hold(tally.lock);
                ++tally.failed, tally.stop = true;
                tally.errors.push_back(e.what());
                return;
            }
            std::lock_guard<std::mutex> hold(tally.lock);
            ++tally.written;
            progress.frameDone(frames[i]);
            if (o.verbose) err << "mirrel: frame " << frames[i] << ": " << outputs[i] << "\n";
        }
    };
    unsigned jobs = workerCount(o, frames.size());
    std::vector<std::thread> workers;
    std::exception_ptr startFailure;
    for (unsigned j = 1; j < jobs; ++j)
        workers.emplace_back([&] {
            try {
                work();
            } catch (std::exception const& e) { // the plug-in did not load
                std::lock_guard<std::mutex> hold(tally.lock);
                tally.stop = true;
                tally.errors.push_back(e.what());
            }
        });
    try {
        work();
    } catch (std::exception const& e) {
        std::lock_guard<std::mutex> hold(tally.lock);
        tally.stop = true;
        tally.errors.push_back(e.what());
    }
    for (std::thread& t : workers) t.join();
    progress.finish();
    if (!tally.errors.empty()) {
        for (std::string const& e : tally.errors) err << "mirrel: " << e << "\n";
        throw Failure(tally.line());
    }
    if (!o.quiet) err << "mirrel: " << tally.line() << "\n";
}

} // namespace

void renderCommand(Options const& o, std::ostream& err) {
    EffectSession session(o.host);
    std::vector<Setting> settings = resolveValues(o.values, session.params());
    if (isVideoFile(o.input) || isVideoFile(o.output))
        return renderVideo(o, settings, session.params(), err);
    if (o.sequence) return renderSequence(o, settings, session.params(), err);
    refuseInputAsOutput(o.input, o.output);
    session.apply(settings);
    renderLoaded(session, o, readImage(o.input, o.depth, o.maxPixels), o.input, o.output, o.frame);
    if (o.verbose) err << "mirrel: wrote " << o.output << "\n";
}
