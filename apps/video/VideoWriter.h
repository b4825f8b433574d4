#pragma once
#include "apps/common/Picture.h"
#include "apps/video/VideoReader.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// How the video is encoded; empty or negative fields take the defaults of the output's kind.
struct VideoSettings {
    std::string codec;   // an FFmpeg encoder name
    int crf = -1;        // constant quality, where the encoder has it
    std::string bitrate; // such as 8M
    std::string pixFmt;  // an FFmpeg pixel format name
    double fps = 0;      // of a video made from an image sequence (0: 25)
};

// What is copied from a source video: its frame rate, time base, colour description and its
// audio and subtitle streams, cut to [from, to) in the source's time base when a range is given.
struct VideoSource {
    VideoReader const* reader = nullptr;
    int64_t from = INT64_MIN, to = INT64_MAX;
};

// Writes pictures as the video stream of a file, beside the source's other streams. The bytes go
// to `fd` (a file the caller owns and renames); `path` chooses the container and names the file
// in messages.
class VideoWriter {
  public:
    VideoWriter(std::string const& path, int fd, VideoSettings const& settings,
                VideoSource const& source);
    ~VideoWriter();
    VideoWriter(VideoWriter const&) = delete;
    VideoWriter& operator=(VideoWriter const&) = delete;

    // Chooses the codec and starts the file on the first picture: with alpha when `alpha`.
    // Throws UsageError for a codec the output cannot take, Failure for a write that fails.
    void open(int width, int height, bool deep, bool alpha);
    bool isOpen() const;
    // A premultiplied picture at `pts`, in the source's time base (or frames of the fps given).
    void write(Picture const& picture, int64_t pts);
    // A packet of another stream of the source, copied unchanged when that stream is kept.
    void copy(AVPacket* packet);
    // Flushes the encoder and ends the file.
    void finish();
    std::string codecName() const;
    // The source's streams the container cannot hold, left out: "audio stream 1 (aac)".
    std::vector<std::string> const& leftOut() const;

  private:
    struct State;
    std::unique_ptr<State> m;
};
