#pragma once
#include <string>

// A file name pattern of a sequence: one integer conversion (%d, %4d, %04d), and %% for a
// percent sign. Only these are read, so a pattern never reaches printf.
bool isFramePattern(std::string const& pattern);
// Throws UsageError when the pattern is not one.
std::string expandFramePattern(std::string const& pattern, long frame);
