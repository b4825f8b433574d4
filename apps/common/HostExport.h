#pragma once
#include "apps/common/EffectSession.h"

#include <string>
#include <vector>

// The effect's values as the frei0r hosts take them, from the values an EffectSession holds:
// what `mirrel export` prints and the preview's export panel shows. Numbers are the shortest
// text that reads back as the same double, so each host renders what `mirrel render` renders.

// ffmpeg's frei0r filter with the values at `frame` (ffmpeg does not animate frei0r values).
std::string ffmpegExport(EffectSession& session, double frame);
// melt's filter arguments, each a shell word: animated values as MLT keyframes at the keys'
// frames (linear, or held for menus and toggles).
std::string meltExport(EffectSession& session);
// The GStreamer element with its properties at `frame`. GStreamer holds every frei0r value to
// 0..1; a value beyond (a point outside the frame, a number past its slider) throws Failure
// naming it.
std::string gstExport(EffectSession& session, double frame);

// One value to type into an editor's control: the control's label, the text and its unit.
struct TypedValue {
    std::string label, text, unit;
};
// Every control of Kdenlive's and Shotcut's panels (both show the same controls in the same
// units) with the value at `frame`, in the panels' order.
std::vector<TypedValue> editorExport(EffectSession& session, double frame);
