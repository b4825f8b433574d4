// Build step: writes Shotcut's meta.qml and mirrel.js from the catalogue into a folder.
//   mirrel_shotcut_filter FOLDER
#include "apps/common/EffectSession.h"
#include "apps/shotcut/ShotcutFilter.h"

#include <cstdio>
#include <exception>
#include <fstream>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: mirrel_shotcut_filter FOLDER\n");
        return 2;
    }
    try {
        EffectSession session;
        auto params = frei0rParams(session.params());
        std::string folder = argv[1];
        for (auto [name, text] : {std::pair{"/meta.qml", shotcutMetaQml(params)},
                                  {"/mirrel.js", shotcutParamsJs(params)}}) {
            std::string path = folder + name;
            std::ofstream out(path, std::ios::binary);
            out << text;
            out.close();
            if (!out) {
                std::fprintf(stderr, "mirrel_shotcut_filter: cannot write %s\n", path.c_str());
                std::remove(path.c_str());
                return 1;
            }
        }
        return 0;
    } catch (std::exception const& e) {
        std::fprintf(stderr, "mirrel_shotcut_filter: %s\n", e.what());
        return 1;
    }
}
