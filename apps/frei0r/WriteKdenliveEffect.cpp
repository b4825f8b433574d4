// Build step: writes Kdenlive's description of the frei0r filter from the catalogue.
//   mirrel_kdenlive_effect OUTPUT.xml
#include "apps/common/EffectSession.h"
#include "apps/frei0r/KdenliveEffect.h"

#include <cstdio>
#include <exception>
#include <fstream>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: mirrel_kdenlive_effect OUTPUT.xml\n");
        return 2;
    }
    try {
        EffectSession session;
        std::string xml = kdenliveEffectXml(frei0rParams(session.params()));
        std::ofstream out(argv[1], std::ios::binary);
        out << xml;
        out.close();
        if (!out) {
            std::fprintf(stderr, "mirrel_kdenlive_effect: cannot write %s\n", argv[1]);
            std::remove(argv[1]);
            return 1;
        }
        return 0;
    } catch (std::exception const& e) {
        std::fprintf(stderr, "mirrel_kdenlive_effect: %s\n", e.what());
        return 1;
    }
}
