#include "apps/cli/FrameSequence.h"
#include "apps/cli/ImageFile.h"
#include "apps/cli/Mirrel.h"
#include "apps/cli/Progress.h"
#include "apps/common/SafeFile.h"
#include "apps/common/Errors.h"
#include "apps/video/OrderedRender.h"
#include "apps/video/VideoFile.h"
#include "apps/video/VideoReader.h"
#include "apps/video/VideoWriter.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <memory>
#include <optional>
#include <ostream>
#include <set>

namespace {

bool isPattern(std::string const& name) {
    try {
        framePattern(name);
        return true;
    } catch (UsageError const&) {
        return false;
    }
}

// The layout of pictures written from a video: its depth, alpha when it has it.
FileLayout videoLayout(bool alpha, int depth) {
    FileLayout layout;
    layout.hasAlpha = alpha;
    layout.channels = alpha ? 4 : 3;
    layout.depth = depth == 32 ? 32 : depth == 16 ? 16 : 8;
    return layout;
}

// One frame of a video as a still picture: --frame picks it.
void renderStill(Options const& o, std::vector<Setting> const& settings,
                 std::vector<Param> const& declared, std::ostream& err) {
    VideoReader reader(o.input, o.depth);
    long const index = long(std::floor(o.frame));
    VideoFrame f;
    if (index < 0 || !reader.frameAt(index, f))
        throw Failure("video " + inQuotes(o.input) + " has no frame " + std::to_string(index));
    EffectSession session(o.host);
    applySettings(session, settings, declared);
    Picture result = renderFrame(session, o, std::move(f.picture), o.frame);
    FileLayout layout = videoLayout(reader.info().alpha, result.depth);
    layout = outputLayout(layout, o, o.input, o.output, result);
    writeImage(o.output, std::move(result), layout);
    if (o.verbose) err << "mirrel: wrote " << o.output << "\n";
}

} // namespace

void renderVideo(Options const& o, std::vector<Setting> const& settings,
                 std::vector<Param> const& declared, std::ostream& err) {
    bool const videoIn = isVideoFile(o.input), videoOut = isVideoFile(o.output);
    refuseInputAsOutput(o.input, o.output);
    if (videoIn && !videoOut && !isPattern(o.output))
        return renderStill(o, settings, declared, err);
    if (!videoIn && !o.sequence)
        throw UsageError("a video output needs a video input, or an image sequence with --frames");
    if (videoOut && o.sequence == false && o.frame != 0)
        throw UsageError("--frame picks the frame of a still output; a video takes --frames");

    // The frames wanted, in order.
    std::set<int> wanted(o.frames.begin(), o.frames.end());
    std::unique_ptr<VideoReader> reader;
    std::vector<std::string> inputs;
    std::vector<int> numbers(wanted.begin(), wanted.end());
    long total = long(wanted.size());
    VideoSource source;
    if (videoIn) {
        reader = std::make_unique<VideoReader>(o.input, o.depth);
        VideoInfo const& i = reader->info();
        if (!o.sequence)
            total = i.frameCount;
        else { // the sound of the range goes with it
            auto at = [&](long frame) {
                return i.startPts + (long long)std::llround(double(frame) * i.rateDen / i.rateNum *
                                                            i.timeDen / i.timeNum);
            };
            source.from = at(*wanted.begin());
            source.to = at(*wanted.rbegin() + 1);
        }
        source.reader = reader.get();
    } else {
        inputs = sequenceFiles(framePattern(o.input), numbers);
    }

    std::optional<TempFile> pending;
    std::unique_ptr<VideoWriter> writer;
    std::string outPattern;
    if (videoOut) {
        pending.emplace(o.output);
        writer = std::make_unique<VideoWriter>(o.output, pending->fd(), o.video, source);
        if (reader) reader->onOtherPacket([&](AVPacket* p) { writer->copy(p); });
    } else {
        outPattern = framePattern(o.output);
    }

    size_t next = 0; // of the image sequence
    auto read = [&](VideoFrame& f) {
        if (!reader) {
            if (next >= inputs.size()) return false;
            f.picture = readImage(inputs[next], o.depth, o.maxPixels).picture;
            f.index = numbers[next];
            f.pts = long(next++);
            return true;
        }
        while (reader->next(f)) {
            if (!o.sequence || wanted.count(int(f.index))) return true;
            if (f.index > *wanted.rbegin()) break;
        }
        return false;
    };
    auto makeRenderer = [&] {
        auto session = std::make_shared<EffectSession>(o.host);
        applySettings(*session, settings, declared);
        return std::function<void(VideoFrame&)>([session, &o](VideoFrame& f) {
            f.picture = renderFrame(*session, o, std::move(f.picture), double(f.index));
        });
    };
    Progress progress(total, o.quiet || o.verbose ? nullptr : stderr);
    long written = 0;
    bool const sourceAlpha = reader && reader->info().alpha;
    auto write = [&](VideoFrame& f) {
        if (writer) {
            if (!writer->isOpen()) {
                bool const alpha =
                    o.alpha == AlphaOut::On ||
                    (o.alpha == AlphaOut::Auto && (sourceAlpha || hasTransparency(f.picture)));
                writer->open(f.picture.width, f.picture.height,
                             f.picture.depth > 8 || (reader && reader->info().deep), alpha);
            }
            writer->write(f.picture, f.pts);
        } else {
            std::string const file = sequenceFiles(outPattern, {int(f.index)}).front();
            FileLayout const layout =
                outputLayout(videoLayout(sourceAlpha, f.picture.depth), o, o.input, file, f.picture);
            writeImage(file, std::move(f.picture), layout);
            if (o.verbose) err << "mirrel: frame " << f.index << ": " << file << "\n";
        }
        ++written;
        progress.frameDone(f.index);
    };
    unsigned const jobs = workerCount(o, size_t(std::max(total, 1L)));
    renderInOrder(jobs, read, makeRenderer, write);
    progress.finish();
    if (written == 0)
        throw Failure("no frame of " + inQuotes(o.input) + " was rendered: it has " +
                      std::to_string(reader ? reader->info().frameCount : 0) + " frames");
    if (writer) {
        writer->finish();
        pending->commit();
    }
    if (!o.quiet && writer)
        for (std::string const& s : writer->leftOut())
            err << "mirrel: the " << s << " cannot go into " << inQuotes(o.output)
                << "; left out\n";
    if (!o.quiet)
        err << "mirrel: " << written << " frames written to " << o.output
            << (writer ? " (" + writer->codecName() + ")" : "") << "\n";
}
