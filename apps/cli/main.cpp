#include "apps/cli/Mirrel.h"
#include "apps/preview/PreviewCommand.h"

#include <iostream>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    if (!args.empty() && args[0] == "preview") return runPreview(args, std::cout, std::cerr);
    return runMirrel(args, std::cout, std::cerr);
}
