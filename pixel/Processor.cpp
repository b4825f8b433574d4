#include "pixel/Processor.h"

#include <cstdlib>
#include <string_view>

bool processorHasAvx2() {
    static bool const has = [] {
        char const* cpu = std::getenv("MIRREL_CPU");
        if (cpu && std::string_view(cpu) == "baseline") return false;
#if defined(__x86_64__) || defined(__i386__)
        return __builtin_cpu_supports("avx2") != 0;
#else
        return false;
#endif
    }();
    return has;
}
