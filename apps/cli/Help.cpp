#include "apps/cli/Help.h"

#ifndef MIRREL_VERSION
#define MIRREL_VERSION "0"
#endif

namespace {

char const* const kOverview =
    R"(mirrel: draws a mirrored copy of a picture on a floor line, in perspective.

Usage:
  mirrel render INPUT -o OUTPUT [options]   one frame, or a sequence with --frames
  mirrel demo [-o FILE]                     the demo picture (default mirrel-demo.png)
  mirrel params [--json]                    the parameters: label, kind, default, limits, entries
  mirrel --help, mirrel COMMAND --help, mirrel --version

Exit status: 0 done, 1 failed (a file, a render), 2 wrong usage.
)";

char const* const kRender = R"(Usage: mirrel render INPUT -o OUTPUT [options]

Renders INPUT through the effect into OUTPUT. Files are read and written with OpenImageIO
(PNG, TIFF, EXR, JPEG and more) at 8, 16 or 32 bits; alpha is kept and written back in the
output format's own convention. The output goes to a temporary file that is renamed when
complete, so a failure leaves no file behind.

Options:
  --set 'LABEL=VALUE'        set a parameter (repeatable). LABEL is the label shown by
                             `mirrel params`, in any case. VALUE by kind:
                               number     angles in degrees, within the parameter's limits
                               toggle     on or off
                               popup      an entry's label or its index from 0
                               point      x,y as fractions of the frame, y down
                               colour     r,g,b from 0 to 1
  --set 'LABEL@FRAME=VALUE'  a keyframe; between keys values are interpolated linearly
                             (popups and toggles hold until the next key)
  --preset FILE.json         values as a JSON object: label to value, or to a list of
                             [frame, value] keys; applied in order with the --set options
  --frame F                  the frame time of a single render (default 0; may be fractional)
  --frames A-B               a sequence: INPUT and OUTPUT are patterns such as shot.%04d.exr
  --host fcp|motion|fce      the host family to present (default fcp)
  --depth 8|16|32            working depth (default: that of the input; 32 is float)
  --order rgba|argb          channel order handed to the effect (default rgba)
  --scale S                  proxy scale (0 < S <= 1): the input is reduced as a host
                             reduces a preview, and the output has the reduced size
  --field 0|1|2              render the frame as one field of an interlaced frame: the
                             output holds that field's lines (1 upper, 2 lower), half height
  --show-controls            draw the on-screen controls over the output

Examples:
  mirrel render photo.png -o mirrored.png --set 'Fade Length=60' --set 'Softness=20'
  mirrel render shot.%04d.exr -o out.%04d.exr --frames 1-48 \
      --set 'Zoom@1=1' --set 'Zoom@48=1.5' --preset look.json
)";

char const* const kDemo = R"(Usage: mirrel demo [-o FILE]

Draws a scene of its own and renders it through the effect with a set of values that shows
it well. Writes FILE (default mirrel-demo.png).
)";

char const* const kParams = R"(Usage: mirrel params [--json]

Lists the effect's parameters in display order, by group: label, kind, default, limits or
menu entries. Angles are in degrees, points are fractions of the frame with y down.
--json prints the same as a JSON array.
)";

} // namespace

std::string helpText(std::string const& topic) {
    if (topic.empty()) return kOverview;
    if (topic == "render") return kRender;
    if (topic == "demo") return kDemo;
    if (topic == "params") return kParams;
    return "";
}

std::string versionText() {
    return std::string("mirrel ") + MIRREL_VERSION + "\n";
}
