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

// The text in double quotes, as messages show names and values.
inline std::string inQuotes(std::string const& s) {
    return "\"" + s + "\"";
}
