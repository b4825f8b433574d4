#include "apps/cli/FramePattern.h"

#include "apps/common/Errors.h"

#include <cctype>
#include <cstdlib>

namespace {

// Walks the pattern; returns the number of integer conversions, or -1 for a malformed one.
int expand(std::string const& pattern, long frame, std::string* out) {
    int conversions = 0;
    for (size_t i = 0; i < pattern.size(); ++i) {
        char c = pattern[i];
        if (c != '%') {
            if (out) *out += c;
            continue;
        }
        if (++i >= pattern.size()) return -1;
        if (pattern[i] == '%') {
            if (out) *out += '%';
            continue;
        }
        bool zero = pattern[i] == '0';
        size_t width = 0;
        while (i < pattern.size() && std::isdigit(static_cast<unsigned char>(pattern[i])))
            width = width * 10 + size_t(pattern[i++] - '0');
        if (i >= pattern.size() || pattern[i] != 'd' || width > 32) return -1;
        ++conversions;
        if (out) {
            std::string digits = std::to_string(frame < 0 ? -frame : frame);
            std::string sign = frame < 0 ? "-" : "";
            size_t pad =
                width > digits.size() + sign.size() ? width - digits.size() - sign.size() : 0;
            *out += zero ? sign + std::string(pad, '0') + digits
                         : std::string(pad, ' ') + sign + digits;
        }
    }
    return conversions;
}

} // namespace

bool isFramePattern(std::string const& pattern) {
    return expand(pattern, 0, nullptr) == 1;
}

std::string expandFramePattern(std::string const& pattern, long frame) {
    if (!isFramePattern(pattern))
        throw UsageError(inQuotes(pattern) +
                         " is not a sequence pattern: it needs one %d, such as shot.%04d.exr");
    std::string out;
    expand(pattern, frame, &out);
    return out;
}
