#pragma once
#include <string>
#include <vector>

// One frame the preview can show: its number on the time slider and its file.
struct PreviewFrame {
    long number = 0;
    std::string path;
};

// The frames of an input: a picture is frame 0 alone; a numbered pattern (%04d, #, @) stands for
// the files of that sequence that exist, in frame order. Throws UsageError when a pattern
// matches no file.
std::vector<PreviewFrame> previewFrames(std::string const& input);
bool isSequencePattern(std::string const& input);
