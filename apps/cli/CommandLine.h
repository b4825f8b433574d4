#pragma once
#include "apps/cli/ExportCommand.h"
#include "apps/cli/ImageFile.h"
#include "apps/preview/PreviewCommand.h"
#include "apps/video/VideoWriter.h"

#include <string>
#include <vector>

enum class Command { Render, Demo, Params, Preview, Export, Help, Version };

// A value source in command-line order: a --set text or a --preset file.
struct ValueSource {
    bool preset = false;
    std::string text;
};

enum class AlphaOut { Auto, On, Off };

struct Options {
    Command command = Command::Help;
    std::string text; // what Help and Version print

    std::string input, output;
    std::vector<ValueSource> values;
    double frame = 0.0;
    bool sequence = false;
    std::vector<int> frames; // of a sequence, in the order given
    unsigned host = 0;       // 0 Final Cut Pro, 1 Motion, 2 Final Cut Express
    int depth = 0;           // working depth 8, 16 or 32; 0 the input's
    int outDepth = 0;        // of the file written: 8, 16 or 32; 0 the input's
    bool outHalf = false;    // 16-bit float
    AlphaOut alpha = AlphaOut::Auto;
    bool argb = false;
    double scale = 1.0;
    int field = 0;
    bool showControls = false;
    bool json = false;
    bool skipMissing = false; // a sequence passes over frames it cannot read
    bool quiet = false, verbose = false;
    unsigned jobs = 0;                                // frames rendered at once; 0 one per core
    unsigned long long maxPixels = kDefaultMaxPixels; // largest input picture read
    VideoSettings video;                              // of a video output
    PreviewOptions preview;
    ExportOptions exportOptions;
};

// The arguments after the program name. Throws UsageError.
Options parseArguments(std::vector<std::string> const& args);
