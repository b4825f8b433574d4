#pragma once
#include <string>

// Whether a file name names a video container (by its extension, in any case), as opposed to a
// still picture or an image sequence.
bool isVideoFile(std::string const& path);
