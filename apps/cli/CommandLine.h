#pragma once
#include "apps/preview/PreviewCommand.h"

#include <string>
#include <vector>

enum class Command { Render, Demo, Params, Preview, Help, Version };

// A value source in command-line order: a --set text or a --preset file.
struct ValueSource {
    bool preset = false;
    std::string text;
};

struct Options {
    Command command = Command::Help;
    std::string text; // what Help and Version print

    std::string input, output;
    std::vector<ValueSource> values;
    double frame = 0.0;
    bool sequence = false;
    std::vector<int> frames; // of a sequence, in the order given
    unsigned host = 0;       // 0 Final Cut Pro, 1 Motion, 2 Final Cut Express
    int depth = 0;           // 8, 16 or 32; 0 keeps the input's
    bool argb = false;
    double scale = 1.0;
    int field = 0;
    bool showControls = false;
    bool json = false;
    PreviewOptions preview;
};

// The arguments after the program name. Throws UsageError.
Options parseArguments(std::vector<std::string> const& args);
