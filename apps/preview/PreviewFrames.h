#pragma once
#include "apps/common/Picture.h"

#include <string>
#include <vector>

// One frame the preview can show: its number on the time slider and its file.
struct PreviewFrame {
    long number = 0;
    std::string path;
    bool video = false; // frame `number` of the video at `path`
};

// The frames of an input: a picture is frame 0 alone; a video its frames from 0; a numbered pattern
// (%04d, #, @) stands for the files of that sequence that exist, in frame order. Throws UsageError
// when a pattern matches no file.
std::vector<PreviewFrame> previewFrames(std::string const& input);
bool isSequencePattern(std::string const& input);

// Frame `number` of a video, premultiplied at the video's depth. The file stays open between
// calls, so that the next frame decodes on from the last and only a jump seeks. Throws Failure.
Picture videoFrame(std::string const& path, long number);
