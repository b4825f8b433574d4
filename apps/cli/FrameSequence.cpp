#include "apps/cli/FrameSequence.h"

#include "apps/common/Errors.h"

#include <OpenImageIO/filesystem.h>

#include <cstdlib>
#include <regex>

std::vector<int> parseFrameList(std::string const& spec) {
    // The library reads the numbers into ints and lists every frame: each part is checked and
    // its frames counted first, so that a huge range is refused instead of overflowing or
    // filling memory, and a step of 0 or below never reaches it.
    auto refuse = [&](std::string const& why) {
        throw UsageError("--frames " + inQuotes(spec) + ": " + why);
    };
    static std::regex const kNumber("[0-9]+");
    for (std::sregex_iterator n(spec.begin(), spec.end(), kNumber), end; n != end; ++n)
        if (n->length() > 8) refuse("frame numbers up to 99999999");
    static std::regex const kPart("(-?[0-9]+)(?:-(-?[0-9]+)(?:([xy])([0-9]+))?)?");
    std::string const expected = "expected frames such as 1-100, 1-100x2 or 1,5,9-12";
    long long count = 0;
    for (size_t start = 0; start <= spec.size();) {
        size_t const comma = std::min(spec.find(',', start), spec.size());
        std::string const part = spec.substr(start, comma - start);
        std::smatch m;
        if (!std::regex_match(part, m, kPart)) refuse(expected);
        long long frames = 1;
        if (m[2].matched) {
            long long const span = std::llabs(std::stoll(m[2]) - std::stoll(m[1]));
            long long const step = m[4].matched ? std::stoll(m[4]) : 1;
            if (step < 1) refuse("a step is 1 or more");
            frames = span / step + 1;
            if (m[3] == "y") frames = span + 1 - frames; // the frames the step passes over
        }
        count += frames;
        start = comma + 1;
    }
    if (count > 1000000) refuse("more than a million frames");
    std::vector<int> frames;
    if (!OIIO::Filesystem::enumerate_sequence(spec, frames) || frames.empty()) refuse(expected);
    return frames;
}

std::string framePattern(std::string const& pattern) {
    // The library formats with the pattern, so only one integer conversion may reach it.
    static std::regex const kOneFrameNumber("(?:[^%]|%%)*%0?[0-9]?[0-9]?d(?:[^%]|%%)*");
    if (std::regex_match(pattern, kOneFrameNumber)) return pattern;
    // # and @ become their printf form; digits before them would be read as frames, not name.
    std::string normalized, embedded;
    if (!OIIO::Filesystem::parse_pattern(pattern.c_str(), 0, normalized, embedded) ||
        !embedded.empty() || !std::regex_match(normalized, kOneFrameNumber))
        throw UsageError(inQuotes(pattern) +
                         " is not a sequence pattern: it needs one frame number such as "
                         "shot.%04d.exr, shot.#.exr or shot.@@@.exr");
    return normalized;
}

std::vector<std::string> sequenceFiles(std::string const& pattern, std::vector<int> const& frames) {
    std::vector<std::string> files;
    OIIO::Filesystem::enumerate_file_sequence(pattern, frames, files);
    return files;
}
