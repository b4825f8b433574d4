// Prints ffmpeg's filter_params for the frei0r plug-in from 'Label=value' settings, through the
// plug-in's own mapping, so that the benchmark scripts name their looks as a user would.
//   mirrel_frei0r_look 'Softness=20' 'Softness Type=Simple'
#include "apps/common/EffectSession.h"
#include "apps/common/ParamLookup.h"
#include "apps/frei0r/Frei0rMapping.h"

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    try {
        EffectSession session;
        std::vector<Param> const& params = session.params();
        std::vector<UserValue> values;
        for (Param const& p : params) values.push_back(userDefault(p));
        for (int i = 1; i < argc; ++i) {
            std::string const arg = argv[i];
            std::size_t const eq = arg.find('=');
            if (eq == std::string::npos) {
                std::fprintf(stderr, "not Label=value: %s\n", argv[i]);
                return 2;
            }
            Param const& p = findParam(params, arg.substr(0, eq));
            values[std::size_t(&p - params.data())] = parseValue(p, arg.substr(eq + 1));
        }
        std::printf("%s\n", frei0rFilterParams(params, values).c_str());
        return 0;
    } catch (std::exception const& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 2;
    }
}
