#pragma once
#include <string>

// Writes `content` to `path` through a new file beside it that is renamed over it at the end, so
// the file is either whole or as it was. Nothing else is written. Throws Failure naming `path`.
void writeFileSafely(std::string const& path, std::string const& content);
