#pragma once
#include "inprocess/ParameterStore.h"
#include "platform/FxAPIManager.h"
#include "platform/FxPlugProtocols.h"
#include "platform/FxTypes.h"
#include "platform/NSObject.h"

#include <memory>
#include <string>

// The one concrete host of the platform, in-process: it loads a plug-in bundle, keeps the
// plug-in's parameters (values and keyframes), hands it images in caller memory, and drives its
// on-screen controls. Tests, the command-line tool and the frei0r plug-in all drive it the same
// way:
//
//     InProcessHost host(InProcessFamily::FinalCutPro);
//     host.load(MirrelBundle());                      // fxplug/MirrelBundle.h
//     host.setValue(kZoom, {1.5});                    // params/ParamIds.h
//     host.render(input, output, {.frame = 12});
//
// Single-threaded: one host object is used by one thread at a time.

// The applications this host can present itself as. The plug-in learns which one through the
// system's FxHostCapabilities; Unknown answers no to every question there, so the plug-in falls
// back to the process name (see platform/Process.h, SetCurrentProcessName).
enum class InProcessFamily { FinalCutPro = 0, Motion = 1, FinalCutExpress = 2, Unknown = 3 };

// A picture in the caller's memory, which must outlive the call it is passed to. `data` is the
// top row as the caller sees the picture; `rowBytes` leads to the row below and may be negative
// or wider than the pixels. Four channels a pixel of `depth` bits each (32 is float).
// `pixelFormat` is the host's label of the pixels, read as the family reads it: Final Cut Pro
// and Final Cut Express take kFxPixelFormat_RGBA as R G B A, while Motion, like its own bitmaps,
// keeps A R G B under either label. Rows are put in the family's order by the host itself.
struct InProcessImage {
    void* data = nullptr;
    int width = 0;
    int height = 0;
    long rowBytes = 0;
    unsigned depth = 8;                         // 8, 16 or 32
    unsigned pixelFormat = kFxPixelFormat_RGBA; // kFxPixelFormat_RGBA, _ARGB, _R408, _R4fl
    double pixelAspect = 1.0;

    int pixelBytes() const { return int(depth / 8) * 4; }
};

// The request of one render besides the pictures.
struct InProcessRequest {
    double frame = 0.0;   // the time of every parameter read, in frames; may be fractional
    unsigned quality = 2; // 0 low, 1 medium, 2 high
    unsigned field = 0;   // 0 a whole frame; 1 or 2 one field of an interlaced frame
    double scaleX = 1.0;  // proxy scale against full resolution
    double scaleY = 1.0;
};

class InProcessHost {
  public:
    // `versionNumber` is what FxHostCapabilities reports (major version in bits 24 to 27, minor
    // in bits 20 to 23); 0 picks a plausible version of the family.
    explicit InProcessHost(InProcessFamily family, unsigned versionNumber = 0);
    ~InProcessHost();
    InProcessHost(InProcessHost const&) = delete;
    InProcessHost& operator=(InProcessHost const&) = delete;

    InProcessFamily family() const { return m_family; }
    // Motion keeps its rows bottom-up and its y upwards; the others top-down and downwards.
    bool yUp() const { return m_family == InProcessFamily::Motion; }
    FxAPIManager* apiManager();

    // --- The plug-in -------------------------------------------------------------------------
    // Creates the bundle's filter with initWithAPIManager, reads its properties, lets it declare
    // its parameters (addParameters), and creates its on-screen control if it has one. False if
    // a plug-in is already loaded or addParameters answered false.
    bool load(FxPlugBundle const& bundle);
    FxFilter* filter() { return m_filter.get(); }
    FxOnScreenControl* overlay() { return m_overlay.get(); }
    NSDictionary const& properties() const { return m_properties; }

    // --- Parameters, as the host keeps them -----------------------------------------------------
    // Values are in the host's units: angles in radians, points as fractions of the frame with y
    // in this host's direction (see yUp and pointY), colours 0 to 1, popups as indices. Values
    // beyond a parameter's hard limits are clamped. Flags: kFxParameterFlag_DISABLED (4) greys a
    // parameter out, kFxParameterFlag_COLLAPSED (8) on a group keeps it closed.
    ParameterStore& params() { return m_params; }
    // The first parameter (not group) with this label, or null.
    ParameterStore::Param const* findParameter(std::string const& label) const;
    // An edit in the inspector: sets the value for all times (dropping keys) or a key at
    // `frame`, then tells the plug-in with parameterChanged:. False for an unknown id.
    bool setValue(unsigned id, ParameterStore::Value value);
    bool setKey(unsigned id, double frame, ParameterStore::Value value);
    // The y a point parameter holds in this host for a y measured downwards from the top.
    double pointY(double yDown) const { return yUp() ? 1.0 - yDown : yDown; }
    // The playhead, which the plug-in reads as FxCustomParameterActionAPI's currentTime.
    void setCurrentTime(double frame) { m_params.setCurrentTime(frame); }

    // --- Rendering --------------------------------------------------------------------------
    // One frame from `input` into `output`. The output may differ in size from the input: the
    // plug-in crops or pads the input at the right and bottom. Both pictures need the same depth
    // and pixel format. Answers the plug-in's renderOutput:withInput:withInfo: (false also when
    // no plug-in is loaded or an image is unusable). The output comes premultiplied when the
    // plug-in marks it so (outputPremultiplied).
    bool render(InProcessImage const& input, InProcessImage const& output,
                InProcessRequest const& request);
    bool outputPremultiplied() const { return m_outputPremultiplied; }

    // --- On-screen controls -----------------------------------------------------------------
    // Positions are fractions of the frame in this host's y direction, like point parameters;
    // `width` and `height` are the canvas size the controls are drawn at (hit areas are in its
    // units, so they stay the same size on screen whatever the frame). Times are in frames.
    // Without an overlay these do nothing and answer 0 or false.

    // The active part under a position, by drawing the controls in selection mode.
    int activePartAt(double x, double y, int width, int height, double time);
    // Press, drag and release; each answers the overlay's forceUpdate (true: redraw).
    bool mouseDown(double x, double y, int width, int height, double time);
    bool mouseDragged(double x, double y, double time);
    bool mouseUp(double x, double y, double time);
    // Draws the controls over an 8-bit RGBA or ARGB picture, at its size.
    bool drawControls(InProcessImage const& canvas, double time);
    // The same for a frame shown at width x height with its top left corner at (originX,
    // originY) of the canvas: the controls and their hit areas keep their size on screen.
    bool drawControls(InProcessImage const& canvas, int width, int height, int originX, int originY,
                      double time);

    // --- Failure injection, for tests ---------------------------------------------------------
    // Makes apiForProtocol answer null for one protocol (true) or the object again (false).
    void withhold(FxProtocol protocol, bool withheld);

  private:
    class Manager;

    InProcessFamily m_family;
    ParameterStore m_params;
    std::unique_ptr<Manager> m_manager;
    std::unique_ptr<FxFilter> m_filter;
    std::unique_ptr<FxOnScreenControl> m_overlay;
    NSDictionary m_properties;
    int m_activePart = 0;
    bool m_outputPremultiplied = false;
};
