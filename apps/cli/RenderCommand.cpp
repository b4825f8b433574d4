#include "apps/cli/FrameSequence.h"
#include "apps/cli/ImageFile.h"
#include "apps/cli/Mirrel.h"
#include "apps/cli/Progress.h"
#include "apps/common/Errors.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>

namespace {

// A render never writes over what it reads.
void refuseInputAsOutput(std::string const& input, std::string const& output) {
    std::error_code ec;
    if (input == output || std::filesystem::equivalent(input, output, ec))
        throw UsageError("output " + inQuotes(output) + " is the input; choose another file");
}

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

FileLayout outputLayout(FileLayout layout, Options const& o, std::string const& input,
                        std::string const& output) {
    if (o.depth != 0) {
        layout.depth = o.depth;
        layout.half = false;
    }
    if (std::filesystem::path(input).extension() != std::filesystem::path(output).extension())
        layout.straight = formatKeepsStraightAlpha(output);
    return layout;
}

void renderOne(EffectSession& session, Options const& o, std::string const& input,
               std::string const& output, double frame, int* width, int* height) {
    refuseInputAsOutput(input, output);
    LoadedImage img = readImage(input, o.depth);
    if (width && *width != 0 && (img.picture.width != *width || img.picture.height != *height))
        throw Failure("input " + inQuotes(input) + " is " + std::to_string(img.picture.width) +
                      "x" + std::to_string(img.picture.height) + ", not " + std::to_string(*width) +
                      "x" + std::to_string(*height) + " as the sequence began");
    if (width) *width = img.picture.width, *height = img.picture.height;

    FrameRequest request;
    request.frame = frame;
    request.field = unsigned(o.field);
    request.scale = o.scale;
    request.argb = o.argb;
    Picture result = session.render(prepared(std::move(img.picture), o), request);
    if (o.showControls) session.drawControls(result, frame);
    writeImage(output, result, outputLayout(img.layout, o, input, output));
}

} // namespace

void renderCommand(Options const& o) {
    EffectSession session(o.host);
    session.apply(resolveValues(o.values, session.params()));
    if (!o.sequence) {
        renderOne(session, o, o.input, o.output, o.frame, nullptr, nullptr);
        return;
    }
    // Both must be patterns before anything is written.
    std::string inPattern = framePattern(o.input), outPattern = framePattern(o.output);
    if (inPattern == outPattern) throw UsageError("the output pattern is the input pattern");
    std::vector<std::string> inputs = sequenceFiles(inPattern, o.frames);
    std::vector<std::string> outputs = sequenceFiles(outPattern, o.frames);
    Progress progress(long(o.frames.size()), stderr);
    int width = 0, height = 0;
    for (size_t i = 0; i < o.frames.size(); ++i) {
        renderOne(session, o, inputs[i], outputs[i], double(o.frames[i]), &width, &height);
        progress.frameDone(o.frames[i]);
    }
}
