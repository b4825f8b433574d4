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
// Everything the export panel shows: the preset, the command line, and the strings of the
// frei0r hosts (`mirrel export`) with the values at the playhead where a host does not animate
// them; a host that cannot take the values has an error in place of its string.
nlohmann::json exportJson(PreviewSession& session);
