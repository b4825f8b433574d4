#pragma once
#include "apps/video/VideoReader.h"

#include <functional>

// Renders a stream of frames on several threads and hands the results on in the order read.
// `read` gives the next frame (false at the end) and `write` takes the results, both on the
// calling thread; each worker thread calls `makeRenderer` once for a renderer of its own (one
// plug-in instance each), which replaces a frame's picture by its result. At most two frames a
// worker are in flight. The first exception of any of them stops the rest and is rethrown.
void renderInOrder(unsigned jobs, std::function<bool(VideoFrame&)> const& read,
                   std::function<std::function<void(VideoFrame&)>()> const& makeRenderer,
                   std::function<void(VideoFrame&)> const& write);
