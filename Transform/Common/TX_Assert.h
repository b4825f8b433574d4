#pragma once

// Assertions of the geometry library. They hold in every build, whatever NDEBUG says, and end the
// process with their text: a broken polygon or projection must never reach the pixel loops.
[[noreturn]] void txAssertFail(const char* text, const char* function, const char* file, int line);

#define TX_ASSERT(cond, text)                                                                      \
    do {                                                                                           \
        if (!(cond)) txAssertFail(text, __func__, __FILE__, __LINE__);                             \
    } while (0)
