#include "apps/video/VideoFile.h"

#include <algorithm>
#include <array>
#include <filesystem>

bool isVideoFile(std::string const& path) {
    static constexpr std::array<char const*, 19> kContainers = {
        ".mp4", ".m4v",  ".mov", ".mkv", ".webm", ".avi", ".mxf", ".ts",  ".mts", ".m2ts",
        ".mpg", ".mpeg", ".flv", ".wmv", ".ogv",  ".nut", ".3gp", ".y4m", ".dv"};
    std::string ext = std::filesystem::path(path).extension().string();
    std::transform(ext.begin(), ext.end(), ext.begin(),
                   [](unsigned char c) { return char(c >= 'A' && c <= 'Z' ? c + 32 : c); });
    return std::find(kContainers.begin(), kContainers.end(), ext) != kContainers.end();
}
