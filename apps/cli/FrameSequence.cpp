#include "apps/cli/FrameSequence.h"

#include "apps/common/Errors.h"

#include <OpenImageIO/filesystem.h>

#include <regex>

std::vector<int> parseFrameList(std::string const& spec) {
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
