#include "apps/preview/PreviewFrames.h"

#include "apps/common/Errors.h"
#include "apps/video/VideoFile.h"
#include "apps/video/VideoReader.h"

#include <OpenImageIO/filesystem.h>

#include <algorithm>
#include <memory>
#include <numeric>

namespace {

// The pattern in printf form, or empty for a plain file name.
std::string normalized(std::string const& input) {
    std::string pattern, framespec;
    if (!OIIO::Filesystem::parse_pattern(input.c_str(), 0, pattern, framespec)) return {};
    if (pattern == input && input.find('%') == std::string::npos) return {};
    // The scan reads a width; %01d stands for any number of digits.
    size_t plain = pattern.find("%d");
    if (plain != std::string::npos) pattern.replace(plain, 2, "%01d");
    return pattern;
}

} // namespace

bool isSequencePattern(std::string const& input) {
    return !normalized(input).empty();
}

std::vector<PreviewFrame> previewFrames(std::string const& input) {
    if (isVideoFile(input)) {
        long const count = std::max(1L, VideoReader(input, 0).countFrames());
        std::vector<PreviewFrame> frames;
        for (long n = 0; n < count; ++n) frames.push_back({n, input, true});
        return frames;
    }
    std::string pattern = normalized(input);
    if (pattern.empty()) return {{0, input}};
    std::vector<int> numbers;
    std::vector<std::string> files;
    if (!OIIO::Filesystem::scan_for_matching_filenames(pattern, numbers, files) || files.empty())
        throw UsageError("no file matches the sequence " + inQuotes(input));
    std::vector<size_t> order(files.size());
    std::iota(order.begin(), order.end(), 0);
    std::sort(order.begin(), order.end(),
              [&](size_t a, size_t b) { return numbers[a] < numbers[b]; });
    std::vector<PreviewFrame> frames;
    for (size_t i : order) frames.push_back({numbers[i], files[i]});
    return frames;
}

Picture videoFrame(std::string const& path, long number) {
    // The preview's one session reads on one thread.
    static std::unique_ptr<VideoReader> reader;
    static std::string open;
    if (!reader || open != path) {
        reader = std::make_unique<VideoReader>(path, 0);
        open = path;
    }
    VideoFrame f;
    if (!reader->frameAt(number, f))
        throw Failure("video " + inQuotes(path) + " has no frame " + std::to_string(number));
    return std::move(f.picture);
}
