#include "apps/cli/ExportCommand.h"

#include "apps/common/EffectSession.h"
#include "apps/common/HostExport.h"
#include "apps/common/Settings.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <ostream>

CLI::App* addExportCommand(CLI::App& app, ExportOptions& o) {
    CLI::App* cmd =
        app.add_subcommand("export", "a preset's values as ffmpeg, melt, GStreamer or an editor "
                                     "takes them");
    cmd->footer(R"x(Prints, for --for:
  ffmpeg    the -vf filter (values at --frame; ffmpeg does not animate them)
  melt      the filter arguments, animated values as MLT keyframes
  gst       the GStreamer element with its properties (values at --frame)
  kdenlive  each control's value to type, in Kdenlive's units
  shotcut   each control's value to type, in Shotcut's units (the same as Kdenlive's)
The plug-in must be on the host's path: FREI0R_PATH=<build>/frei0r-1.

Example:
  FREI0R_PATH=$PWD/build/frei0r-1 ffmpeg -i in.mov \
      -vf "$(mirrel export look.json --for ffmpeg)" out.mov)x");
    cmd->add_option("PRESET", o.presets, "preset files, applied in order")->type_name("FILE.json");
    cmd->add_option("--set", o.sets,
                    "set a parameter after the presets (repeatable), as render does")
        ->type_name("LABEL=VALUE");
    cmd->add_option("--for", o.host, "the host")
        ->required()
        ->check(CLI::IsMember({"ffmpeg", "melt", "gst", "kdenlive", "shotcut"}));
    cmd->add_option("--frame", o.frame, "the frame whose values a host without keyframes takes")
        ->check(CLI::Number)
        ->type_name("F");
    return cmd;
}

void exportCommand(ExportOptions const& o, std::ostream& out) {
    EffectSession session;
    for (std::string const& preset : o.presets) session.apply(loadPreset(session.params(), preset));
    for (std::string const& set : o.sets) session.apply({parseSetArgument(session.params(), set)});
    if (o.host == "ffmpeg") {
        out << ffmpegExport(session, o.frame) << "\n";
    } else if (o.host == "melt") {
        out << meltExport(session) << "\n";
    } else if (o.host == "gst") {
        out << gstExport(session, o.frame) << "\n";
    } else {
        for (TypedValue const& v : editorExport(session, o.frame))
            out << v.label << ": " << v.text << v.unit << "\n";
    }
}
