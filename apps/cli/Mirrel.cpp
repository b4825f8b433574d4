#include "apps/cli/Mirrel.h"

#include "apps/cli/ImageFile.h"
#include "apps/cli/ParamsListing.h"
#include "apps/common/Errors.h"

#include <ostream>

std::vector<Setting> resolveValues(std::vector<ValueSource> const& sources,
                                   std::vector<Param> const& params) {
    std::vector<Setting> out;
    for (ValueSource const& s : sources) {
        if (!s.preset) {
            out.push_back(parseSetArgument(params, s.text));
            continue;
        }
        auto preset = loadPreset(params, s.text);
        out.insert(out.end(), preset.begin(), preset.end());
    }
    return out;
}

int runMirrel(std::vector<std::string> const& args, std::ostream& out, std::ostream& err) {
    try {
        Options o = parseArguments(args);
        switch (o.command) {
        case Command::Help:
        case Command::Version:
            out << o.text;
            break;
        case Command::Params: {
            EffectSession session;
            out << (o.json ? paramsJson(session.params()) : paramsTable(session.params()));
            break;
        }
        case Command::Render:
            renderCommand(o, err);
            break;
        case Command::Preview:
            previewCommand(
                o.preview,
                {[](std::string const& path) { return readImage(path, 0).picture; }, resizePicture},
                out);
            break;
        case Command::Export:
            exportCommand(o.exportOptions, out);
            break;
        case Command::Demo:
            demoCommand(o);
            out << "wrote " << o.output << "\n";
            break;
        }
        out.flush();
        return 0;
    } catch (UsageError const& e) {
        err << "mirrel: " << e.what() << "\n";
        return 2;
    } catch (Failure const& e) {
        err << "mirrel: " << e.what() << "\n";
        return 1;
    } catch (std::exception const& e) {
        err << "mirrel: " << e.what() << "\n";
        return 1;
    }
}
