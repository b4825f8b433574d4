#pragma once
#include <nlohmann/json.hpp>

#include <string>

class PreviewSession;

// What the preview hands on, all from the values the host holds now.
// The preset `mirrel render --preset` reads: every parameter that is animated (its keys) or
// differs from its default, by label.
nlohmann::json presetJson(PreviewSession& session);
// The `mirrel render` command line that renders the same: the input (the frame at the playhead,
// or the whole sequence) into a file named after it in the current folder.
std::string renderCommandLine(PreviewSession& session);
// The ffmpeg filter of the frei0r plug-in with the values at the playhead (frei0r parameters
// are not animated by ffmpeg).
std::string ffmpegFilter(PreviewSession& session);
