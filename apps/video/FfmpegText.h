#pragma once
#include <string>

// FFmpeg's message for an error code.
std::string avErrorText(int error);
