#include "Transform/Common/TX_Assert.h"

#include <cstdio>
#include <cstdlib>

void txAssertFail(const char* text, const char* function, const char* file, int line) {
    std::fprintf(stderr, "Assertion failed: (%s), function %s, file %s, line %d.\n", text, function,
                 file, line);
    std::fflush(stderr);
    std::abort();
}
