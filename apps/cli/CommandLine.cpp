#include "apps/cli/CommandLine.h"

#include "apps/cli/FrameSequence.h"
#include "apps/common/Errors.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>

#ifndef MIRREL_VERSION
#define MIRREL_VERSION "0"
#endif

namespace {

char const* const kOverview = "mirrel: draws a mirrored copy of a picture on a floor line, in "
                              "perspective.";

char const* const kExitStatus = "Exit status: 0 done, 1 failed (a file, a render), 2 wrong usage.";

char const* const kRenderAbout =
    R"(Renders INPUT through the effect into OUTPUT. Files are read and written with OpenImageIO
(PNG, TIFF, EXR, JPEG and more) at 8, 16 or 32 bits; alpha is kept and written back in the
output format's own convention. Videos (.mp4, .mov, .mkv, .webm, .avi...) are read and written
with FFmpeg's libraries: frame numbers are the video's frames from 0, sources deeper than 8 bits
render at 16, and sound and subtitles are copied. The output goes to a temporary file that is
renamed when complete, so a failure leaves no file behind.)";

char const* const kRenderFooter = R"(VALUE by kind:
  number     angles in degrees, within the parameter's limits
  toggle     on or off
  popup      an entry's label or its index from 0
  point      x,y as fractions of the frame, y down
  colour     r,g,b from 0 to 1
Between keys values are interpolated linearly (popups and toggles hold until the next key).

Examples:
  mirrel render photo.png -o mirrored.png --set 'Fade Length=60' --set 'Softness=20'
  mirrel render shot.%04d.exr -o out.%04d.exr --frames 1-48 \
      --set 'Zoom@1=1' --set 'Zoom@48=1.5' --preset look.json
  mirrel render clip.mp4 -o out.mp4 --set 'Zoom@0=1' --set 'Zoom@48=1.5' --crf 18
  mirrel render clip.mov -o out.mov --alpha on      (ProRes 4444 with alpha)
  mirrel render clip.mp4 -o frame.png --frame 24)";

// Accepts only the words listed; the message lists them as "a, b or c".
CLI::Validator oneOf(std::vector<std::string> words) {
    std::string list;
    for (size_t i = 0; i < words.size(); ++i)
        list += (i == 0 ? "" : i + 1 == words.size() ? " or " : ", ") + words[i];
    return CLI::Validator(
        [words, list](std::string& v) {
            return std::find(words.begin(), words.end(), v) != words.end() ? ""
                                                                           : "expected " + list;
        },
        list);
}

CLI::Validator finite(std::string const& expected, double low, double high) {
    return CLI::Validator(
        [=](std::string& v) {
            char* end = nullptr;
            double d = std::strtod(v.c_str(), &end);
            bool ok = !v.empty() && *end == '\0' && std::isfinite(d) && d > low && d <= high;
            return ok ? "" : "expected " + expected;
        },
        "");
}

// The options of one command; each adds its own subcommand to the program.
struct RenderChoices {
    std::vector<std::string> sets, presets;
    std::string frames, host = "fcp", depth, outDepth, order = "rgba", alpha = "auto";
};

CLI::App* addRender(CLI::App& app, Options& o, RenderChoices& c) {
    CLI::App* render = app.add_subcommand("render", "one frame, or a sequence with --frames");
    render->footer(std::string(kRenderAbout) + "\n\n" + kRenderFooter);
    render->add_option("INPUT", o.input, "the picture, or a pattern with --frames")->required();
    render->add_option("-o,--output", o.output, "the file written, or a pattern with --frames");
    render
        ->add_option("--set", c.sets,
                     "set a parameter (repeatable): LABEL is the label shown by `mirrel "
                     "params`, in any case; 'LABEL@FRAME=VALUE' sets a keyframe")
        ->type_name("'LABEL=VALUE'");
    render
        ->add_option("--preset", c.presets,
                     "values as a JSON object: label to value, or to a list of [frame, value] "
                     "keys; applied in order with the --set options")
        ->type_name("FILE.json");
    CLI::Option* frame =
        render
            ->add_option("--frame", o.frame,
                         "the frame time of a single render (default 0; may be fractional)")
            ->check(finite("a frame number", -HUGE_VAL, HUGE_VAL))
            ->type_name("F");
    render
        ->add_option("--frames", c.frames,
                     "a sequence such as 1-48, 1-48x2 or 1,5,9-12: INPUT and OUTPUT are "
                     "patterns such as shot.%04d.exr, shot.#.exr or shot.@@@.exr")
        ->type_name("LIST")
        ->excludes(frame);
    render->add_option("--host", c.host, "the host family to present (default fcp)")
        ->check(oneOf({"fcp", "motion", "fce"}));
    render
        ->add_option("--depth", c.depth,
                     "working depth (default: that of the input; 32 is float); the file keeps "
                     "the input's depth")
        ->check(oneOf({"8", "16", "32"}));
    render
        ->add_option("--out-depth", c.outDepth, "depth of the file written (default: the input's)")
        ->check(oneOf({"8", "16", "half", "float"}));
    render
        ->add_option("--alpha", c.alpha,
                     "write an alpha channel: auto (default) when the input has one or the "
                     "result is not fully opaque")
        ->check(oneOf({"auto", "on", "off"}));
    render->add_option("--order", c.order, "channel order handed to the effect (default rgba)")
        ->check(oneOf({"rgba", "argb"}));
    render
        ->add_option("--scale", o.scale,
                     "proxy scale (0 < S <= 1): the input is reduced as a host reduces a preview, "
                     "and the output has the reduced size")
        ->check(finite("a scale above 0 and at most 1", 0.0, 1.0))
        ->type_name("S");
    render
        ->add_option("--field", o.field,
                     "render the frame as one field of an interlaced frame: the output holds "
                     "that field's lines (1 upper, 2 lower), half height")
        ->check(oneOf({"0", "1", "2"}));
    render->add_flag("--skip-missing", o.skipMissing,
                     "a sequence reports a missing or unreadable frame and goes on");
    render
        ->add_option("-j,--jobs", o.jobs,
                     "frames of a sequence rendered at once (default: one per core)")
        ->check(CLI::Range(1u, 1024u))
        ->type_name("N");
    render
        ->add_option("--max-pixels", o.maxPixels,
                     "largest input picture read, in pixels (default 100000000)")
        ->check(CLI::Range(1ULL, 1ULL << 40))
        ->type_name("N");
    CLI::Option* quiet =
        render->add_flag("-q,--quiet", o.quiet, "no progress, no summary: errors only");
    render->add_flag("-v,--verbose", o.verbose, "a line for each frame written")->excludes(quiet);
    render->add_flag("--show-controls", o.showControls,
                     "draw the on-screen controls over the output");
    render
        ->add_option("--codec", o.video.codec,
                     "video encoder (default by the output: libx264 in .mp4/.mkv, prores_ks in "
                     ".mov, libvpx-vp9 in .webm, ffv1 in .avi)")
        ->type_name("NAME");
    render->add_option("--crf", o.video.crf, "video constant quality, lower is better")
        ->check(CLI::Range(0, 63))
        ->type_name("N");
    render->add_option("--bitrate", o.video.bitrate, "video bit rate, such as 8M")
        ->type_name("RATE");
    render->add_option("--pix-fmt", o.video.pixFmt, "video pixel format, such as yuv420p")
        ->type_name("NAME");
    render
        ->add_option("--fps", o.video.fps,
                     "frame rate of a video made from an image sequence (default 25)")
        ->check(finite("a frame rate above 0", 0.0, 1000.0))
        ->type_name("R");
    return render;
}

CLI::App* addDemo(CLI::App& app, Options& o) {
    CLI::App* demo = app.add_subcommand("demo", "the demo picture (default mirrel-demo.png)");
    demo->footer("Draws a scene of its own and renders it through the effect with a set of values "
                 "that shows it well.");
    demo->add_option("-o,--output", o.output, "the file written")->type_name("FILE");
    return demo;
}

CLI::App* addParams(CLI::App& app, Options& o) {
    CLI::App* params =
        app.add_subcommand("params", "the parameters: label, kind, default, limits, entries");
    params->footer(
        "Lists the effect's parameters in display order, by group: label, kind, default, "
        "limits or menu entries. Angles are in degrees, points are fractions of the "
        "frame with y down.");
    params->add_flag("--json", o.json, "print the same as a JSON array");
    return params;
}

// --set and --preset apply in the order they were given, mixed.
void valuesInOrder(CLI::App const& render, RenderChoices const& c, Options& o) {
    size_t nextSet = 0, nextPreset = 0;
    for (CLI::Option const* opt : render.parse_order()) {
        if (opt->get_name() == "--set" && nextSet < c.sets.size())
            o.values.push_back({false, c.sets[nextSet++]});
        else if (opt->get_name() == "--preset" && nextPreset < c.presets.size())
            o.values.push_back({true, c.presets[nextPreset++]});
    }
}

} // namespace

Options parseArguments(std::vector<std::string> const& given) {
    if (given.empty()) throw UsageError("no command given; try mirrel --help");
    std::vector<std::string> args = given;
    if (args[0] == "help") { // `mirrel help render` as `mirrel render --help`
        args.erase(args.begin());
        args.push_back("--help");
    }

    Options o;
    RenderChoices choices;
    CLI::App app(kOverview, "mirrel");
    app.footer(kExitStatus);
    app.set_version_flag("--version", std::string("mirrel ") + MIRREL_VERSION);
    app.require_subcommand(0, 1);
    CLI::App* render = addRender(app, o, choices);
    CLI::App* demo = addDemo(app, o);
    CLI::App* params = addParams(app, o);
    CLI::App* preview = addPreviewCommand(app, o.preview);
    CLI::App* exportCmd = addExportCommand(app, o.exportOptions);

    if (args[0].empty() || args[0][0] != '-') {
        std::string known;
        bool found = false;
        for (CLI::App const* sub : app.get_subcommands({})) {
            known += (known.empty() ? "" : ", ") + sub->get_name();
            found = found || sub->get_name() == args[0];
        }
        if (!found)
            throw UsageError("unknown command " + inQuotes(args[0]) + "; the commands are " +
                             known);
    }

    std::vector<std::string> reversed(args.rbegin(), args.rend());
    try {
        app.parse(reversed);
    } catch (CLI::CallForHelp const&) {
        o.command = Command::Help;
        o.text = app.help();
        for (CLI::App const* sub : app.get_subcommands({}))
            if (sub->parsed()) o.text = sub->help();
        return o;
    } catch (CLI::CallForVersion const& e) {
        o.command = Command::Version;
        o.text = std::string(e.what()) + "\n";
        return o;
    } catch (CLI::ParseError const& e) {
        std::string where = "mirrel";
        for (CLI::App const* sub : app.get_subcommands({}))
            if (sub->parsed()) where += " " + sub->get_name();
        throw UsageError(where + ": " + e.what());
    }

    if (render->parsed()) {
        o.command = Command::Render;
        if (o.output.empty()) throw UsageError("mirrel render: -o OUTPUT is required");
        valuesInOrder(*render, choices, o);
        o.host = choices.host == "motion" ? 1 : choices.host == "fce" ? 2 : 0;
        o.depth = choices.depth.empty() ? 0 : std::stoi(choices.depth);
        o.argb = choices.order == "argb";
        o.outDepth = choices.outDepth.empty()                                 ? 0
                     : choices.outDepth == "half" || choices.outDepth == "16" ? 16
                     : choices.outDepth == "8"                                ? 8
                                                                              : 32;
        o.outHalf = choices.outDepth == "half";
        o.alpha = choices.alpha == "on"    ? AlphaOut::On
                  : choices.alpha == "off" ? AlphaOut::Off
                                           : AlphaOut::Auto;
        if (render->count("--frames") > 0) {
            o.sequence = true;
            o.frames = parseFrameList(choices.frames);
            o.frame = o.frames.front();
        }
    } else if (demo->parsed()) {
        o.command = Command::Demo;
        if (o.output.empty()) o.output = "mirrel-demo.png";
    } else if (params->parsed()) {
        o.command = Command::Params;
    } else if (preview->parsed()) {
        o.command = Command::Preview;
    } else if (exportCmd->parsed()) {
        o.command = Command::Export;
    } else {
        throw UsageError("no command given; try mirrel --help");
    }
    return o;
}
