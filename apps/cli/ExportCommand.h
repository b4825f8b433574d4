#pragma once
#include <iosfwd>
#include <string>
#include <vector>

namespace CLI {
class App;
}

struct ExportOptions {
    std::vector<std::string> presets;
    std::vector<std::string> sets; // LABEL=VALUE, applied after the presets
    std::string host;              // ffmpeg, melt, gst, kdenlive or shotcut
    double frame = 0.0;
};

// Adds `export` with its options to the command line; `options` is filled when it is parsed.
CLI::App* addExportCommand(CLI::App& app, ExportOptions& options);

// Prints the values of the presets as the host takes them. Throws UsageError or Failure.
void exportCommand(ExportOptions const& options, std::ostream& out);
