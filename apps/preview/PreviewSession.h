#pragma once
#include "apps/common/EffectSession.h"
#include "apps/preview/PreviewFrames.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

// A request the preview turns down, with the HTTP status that says why. Nothing has changed.
struct PreviewRefusal : std::runtime_error {
    PreviewRefusal(int status, std::string const& message)
        : std::runtime_error(message), status(status) {}
    int status;
};

// How the preview gets its pictures: the command's own reading of files (premultiplied, at the
// file's depth), and its filtered resize for proxies.
struct PreviewPictures {
    std::function<Picture(std::string const& path)> read;
    std::function<Picture(Picture const&, int width, int height)> resize;
};

// The state of one preview: the effect in the in-process host as an editing host holds it, the
// frames of the input, the playhead and the drag in progress. The canvas and the inspector of
// the page act on it through these calls; each checks its whole request before it changes
// anything, and throws PreviewRefusal otherwise. Single-threaded, like the host.
class PreviewSession {
  public:
    // `savePath` is the one file Save may write; empty when none was named. Throws UsageError
    // or Failure when the input cannot be read.
    PreviewSession(std::string input, PreviewPictures pictures, std::string savePath = {});

    EffectSession& effect() { return m_effect; }
    std::vector<PreviewFrame> const& frames() const { return m_frames; }
    std::string const& input() const { return m_input; }
    double frame() const { return double(m_frames[m_frameIndex].number); }
    // Counts the changes; the page asks for a picture of the state it has seen.
    unsigned version() const { return m_version; }
    bool dragging() const { return m_dragging; }

    // Values from a preset file, as `mirrel render --preset` reads them.
    void applyPreset(std::string const& path);

    // The inspector: every parameter in its group with its control, limits, value at the
    // playhead, keyframes and whether the change rules leave it enabled.
    nlohmann::json state();

    // {"label", "value", "key"}: an edit in the inspector. It sets a key at the playhead when
    // asked or when the parameter is already animated, the value for all times otherwise.
    void setValue(nlohmann::json const& request);
    // {"label"}: the value at the playhead becomes the value for all times.
    void clearKeys(nlohmann::json const& request);
    // {"frame"}: moves the playhead to a frame of the input.
    void setFrame(nlohmann::json const& request);
    // {"type": "down"|"drag"|"up", "x", "y", "width", "height"}: the mouse over the canvas, at
    // fractions of the frame (y down); a press also gives the canvas size on screen, in which
    // the controls' hit areas are measured.
    void mouse(nlohmann::json const& request);

    // {"dx", "dy"}: moves the shape the last press grabbed by that many frame pixels (the arrow
    // keys), through the on-screen controls as a short drag.
    void nudge(nlohmann::json const& request);
    // Every change of values (an edit, a drag, a nudge, keys cleared) can be undone and redone;
    // the values and keys come back exactly. An edit with "merge" true joins the step before when
    // that was an edit of the same parameter (a slider's moves).
    void undo(nlohmann::json const& request);
    void redo(nlohmann::json const& request);

    // The frame at the playhead as the page shows it, premultiplied 8-bit: the full render, or
    // the proxy a drag calls for, with the on-screen controls drawn over it when asked.
    Picture picture(bool proxy, bool controls);
    // The same from the query of a request: "layer" source or result (the frame alone, "proxy"
    // 1 for the proxy), or controls: the on-screen controls alone on a clear canvas of
    // "cw" x "ch" pixels, for the frame shown at "width" x "height" with its corner at "x", "y"
    // (room around the frame shows points beyond it). Without a layer, as picture() with
    // "proxy" and "controls" (0 for none).
    Picture picture(nlohmann::json const& query);
    // The proxy scale of this input.
    double proxyScale() const;

    // Writes the preset to the save path, safely. Throws PreviewRefusal without one.
    std::string save();

  private:
    // Every parameter's value and keys, in catalogue order.
    using Snapshot =
        std::vector<std::pair<ParameterStore::Value, std::map<double, ParameterStore::Value>>>;
    Snapshot snapshot();
    void restore(Snapshot const& s);
    // Called before a change: the values now become the step to undo.
    void record();

    Param const& paramOf(nlohmann::json const& request);
    Picture const& source();
    Picture read(PreviewFrame const& f); // a frame's picture, from its file or its video

    std::string m_input, m_savePath;
    PreviewPictures m_pictures;
    std::vector<PreviewFrame> m_frames;
    EffectSession m_effect;
    size_t m_frameIndex = 0;
    unsigned m_version = 0;
    bool m_dragging = false;
    long m_loadedIndex = -1;
    Picture m_source;
    std::vector<Snapshot> m_undo, m_redo;
    Snapshot m_beforePress;
    std::string m_lastEdit; // label of the edit that the next merging edit joins
    int m_grabbed = -1;     // active part of the last press
    double m_pressWidth = 0, m_pressHeight = 0;
};
