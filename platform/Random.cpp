#include "platform/Random.h"

#include <cstdlib>

namespace {

// glibc's rand() is random() with its default 128-byte state (the additive feedback generator
// of degree 31); the reentrant calls run the same generator over a state of our own.
struct ThreadGenerator {
    char state[128];
    random_data data{};
    ThreadGenerator() { seed(1); }
    void seed(unsigned s) {
        data = random_data{};
        initstate_r(s, state, sizeof state, &data);
    }
};

ThreadGenerator& generator() {
    thread_local ThreadGenerator g;
    return g;
}

} // namespace

void platformSrand(unsigned seed) {
    generator().seed(seed);
}

int platformRand() {
    int32_t r = 0;
    random_r(&generator().data, &r);
    return r;
}
