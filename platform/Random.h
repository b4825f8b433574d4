#pragma once
#include <cstddef>

// The system library's random generator, one per thread: the sequence of the C library's
// rand() and srand(), without the process-wide state, so frames rendered on several threads at
// once each get the grain they would get alone. Each thread starts as if seeded with 1.
void platformSrand(unsigned seed);
int platformRand();
// The next n values of the same sequence, as n calls of platformRand() would give them.
void platformRandFill(int* out, std::size_t n);
