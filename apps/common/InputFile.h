#pragma once
#include <string>

// Refuses anything but a regular file before it is opened, so that a FIFO, a device or a folder
// is never read (and never blocks): throws Failure naming `what` and the path, saying whether it
// is missing, not readable for lack of permission, or not a regular file. Answers the size.
long long checkInputFile(std::string const& what, std::string const& path);
