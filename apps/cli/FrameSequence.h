#pragma once
#include <string>
#include <vector>

// The frames of a sequence, as OpenImageIO's tools take them: "1-100", "1-100x2", "1,5,9-12".
// Throws UsageError.
std::vector<int> parseFrameList(std::string const& spec);

// A file name pattern of a sequence: one frame number as %d or %04d, # (four digits) or @ (one
// digit each), and %% for a percent sign. The pattern in its printf form; throws UsageError when
// the text is not one.
std::string framePattern(std::string const& pattern);

// The file of each frame; `pattern` as framePattern gives it.
std::vector<std::string> sequenceFiles(std::string const& pattern, std::vector<int> const& frames);
