#pragma once
#include "apps/common/Picture.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

struct AVFormatContext;
struct AVPacket;

// What the video stream says of itself, kept on the way out. Rates are num/den; the colour
// fields hold FFmpeg's enumeration values (primaries, transfer, matrix, range).
struct VideoInfo {
    int width = 0, height = 0;
    bool deep = false;  // more than 8 bits a component: decoded at 16 bits
    bool alpha = false; // the stream carries alpha
    int rateNum = 25, rateDen = 1;
    int timeNum = 1, timeDen = 25; // of the stream's timestamps
    long frameCount = 0;           // from the header; 0 when it does not say
    int64_t startPts = 0;          // of the first frame
    int primaries = 2, transfer = 2, matrix = 2, range = 0; // 2: unspecified
    std::string codec;                                      // the decoder's name
};

// One decoded frame: its index from 0 in decoding order, its timestamp in the stream's time
// base, and its picture premultiplied R G B A at 8 or 16 bits.
struct VideoFrame {
    long index = 0;
    int64_t pts = 0;
    Picture picture;
};

// Reads the first video stream of a file frame by frame. Packets of the other streams go to the
// handler given, if any, in file order.
class VideoReader {
  public:
    // depth: 0 the source's (16 for sources deeper than 8 bits), else 8, 16 or 32. Throws Failure
    // naming the file (and the codec, when that is what fails).
    VideoReader(std::string const& path, int depth);
    ~VideoReader();
    VideoReader(VideoReader const&) = delete;
    VideoReader& operator=(VideoReader const&) = delete;

    VideoInfo const& info() const;
    AVFormatContext* container() const;
    int videoStream() const;
    void onOtherPacket(std::function<void(AVPacket*)> handler);

    // The number of frames: from the header when it says, else by reading every packet of the
    // file (without decoding), before any frame is read.
    long countFrames();
    // The next frame; false at the end. Throws Failure when the data cannot be decoded.
    bool next(VideoFrame& frame);
    // Frame `index` of the file, seeking to the keyframe before it when it lies behind or far
    // ahead. False when the file has fewer frames.
    bool frameAt(long index, VideoFrame& frame);

  private:
    struct State;
    std::unique_ptr<State> m;
};
