#pragma once

// The system library's random generator, one per thread: the sequence of the C library's
// rand() and srand(), without the process-wide state, so frames rendered on several threads at
// once each get the grain they would get alone. Each thread starts as if seeded with 1.
void platformSrand(unsigned seed);
int platformRand();
