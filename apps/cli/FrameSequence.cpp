#include "apps/cli/FrameSequence.h"

#include "apps/common/Errors.h"

#include <OpenImageIO/filesystem.h>

#include <cstdlib>
#include <regex>

std::vector<int> parseFrameList(std::string const& spec) {
    // The library reads the numbers into ints and lists every frame: numbers and the count are
    // bounded first, so that a huge range is refused instead of overflowing or filling memory.
    long long count = 0;
    static std::regex const kNumber("[0-9]+");
    static std::regex const kRange("(-?[0-9]+)-(-?[0-9]+)");
    for (std::sregex_iterator n(spec.begin(), spec.end(), kNumber), end; n != end; ++n)
        if (n->length() > 8)
            throw UsageError("--frames " + inQuotes(spec) + ": frame numbers up to 99999999");
    for (std::sregex_iterator r(spec.begin(), spec.end(), kRange), end; r != end; ++r)
        count += std::llabs(std::stoll((*r)[2]) - std::stoll((*r)[1])) + 1;
    if (count > 1000000)
        throw UsageError("--frames " + inQuotes(spec) + ": more than a million frames");
    std::vector<int> frames;
    if (!OIIO::Filesystem::enumerate_sequence(spec, frames) || frames.empty())
        throw UsageError("--frames " + inQuotes(spec) +
                         ": expected frames such as 1-100, 1-100x2 or 1,5,9-12");
    return frames;
}

std::string framePattern(std::string const& pattern) {
    std::string normalized, embedded;
    // The library formats with the pattern, so only one integer conversion may reach it.
    static std::regex const kOneFrameNumber("(?:[^%]|%%)*%0?[0-9]?[0-9]?d(?:[^%]|%%)*");
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
