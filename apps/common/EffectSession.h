#pragma once
#include "apps/common/Picture.h"
#include "apps/common/Settings.h"
#include "inprocess/InProcessHost.h"

#include <vector>

struct FrameRequest {
    double frame = 0.0;
    unsigned field = 0; // 0 whole frame, 1 or 2 one field
    double scale = 1.0; // proxy scale
    bool argb = false;  // hand the effect A R G B instead of R G B A
};

// Mirrel loaded into the in-process host of one family, driven the way an editing host drives
// it: values set in the inspector, one render call a frame over pictures in memory.
class EffectSession {
  public:
    // 0 Final Cut Pro, 1 Motion, 2 Final Cut Express. Throws Failure if the plug-in will not load.
    explicit EffectSession(unsigned hostIndex = 0);

    std::vector<Param> const& params() { return m_host.params().params(); }
    InProcessHost& host() { return m_host; }

    // Sets the values as an inspector would. User units: degrees, points with y down; on a host
    // whose y points up every point is flipped, untouched defaults included, so that the three
    // families render the same picture from the same values.
    void apply(std::vector<Setting> const& settings);

    // One frame of a premultiplied R G B A picture into one of the same size and depth,
    // premultiplied. Throws Failure if the host reports that the render failed.
    Picture render(Picture const& input, FrameRequest const& request);
    // The same into `output`, whose memory is used again when it has the input's size and depth.
    void render(Picture const& input, Picture& output, FrameRequest const& request);
    // The same over 8-bit pixels in the caller's memory, rows packed: the input is only read,
    // the output written whole.
    void render8(uint8_t const* input, uint8_t* output, int width, int height,
                 FrameRequest const& request);

    // Draws the on-screen controls over the picture, at any depth.
    void drawControls(Picture& picture, double frame);

  private:
    void renderImages(InProcessImage const& input, InProcessImage const& output,
                      FrameRequest const& request);

    InProcessHost m_host;
    bool m_pointsPresented = false;
};
