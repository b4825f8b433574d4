#pragma once
#include "apps/preview/PreviewSession.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace CLI {
class App;
}

struct PreviewOptions {
    std::string input;
    std::string preset;   // values to start from
    std::string savePath; // the one file Save writes
    int port = 0;         // 0: a free port
    bool open = false;    // start the default browser
};

// Adds `preview` with its options to the command line; `options` is filled when it is parsed.
CLI::App* addPreviewCommand(CLI::App& app, PreviewOptions& options);

// Serves the preview until SIGINT, SIGTERM or SIGHUP, then ends cleanly. The address goes to
// `out` as soon as the server listens. Throws UsageError or Failure.
void previewCommand(PreviewOptions const& options, PreviewPictures const& pictures,
                    std::ostream& out);
