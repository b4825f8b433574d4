#pragma once
#include <stdexcept>
#include <string>

// A mistake in how the command was called: exit status 2.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Something that went wrong while doing what was asked (a file, a render): exit status 1.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The text in double quotes, as messages show names and values. Control characters are shown
// as \xNN: a name from a file (a preset's label) must not move the cursor or erase the
// terminal's lines.
inline std::string inQuotes(std::string const& s) {
    std::string out = "\"";
    for (unsigned char c : s) {
        if (c >= 0x20 && c != 0x7f) {
            out += char(c);
            continue;
        }
        char const* hex = "0123456789abcdef";
        out += {'\\', 'x', hex[c >> 4], hex[c & 15]};
    }
    return out + "\"";
}
