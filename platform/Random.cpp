#include "platform/Random.h"

#include <algorithm>
#include <cstdint>

namespace {

// glibc's rand() is random() with its default 128-byte state: the additive feedback generator
// z[n] = z[n-31] + z[n-3] (mod 2^32) that returns z[n] >> 1, seeded by the minimal standard
// generator and run 310 steps before its first value. It is kept here in the order of its
// values, so that a run of them can be made in bulk.
class ThreadGenerator {
  public:
    ThreadGenerator() { seed(1); }

    void seed(unsigned s) {
        // The state words of glibc's srandom_r, in its 32-bit arithmetic.
        std::int32_t x[31];
        x[0] = std::int32_t(s == 0 ? 1u : s);
        std::int32_t word = x[0];
        for (int i = 1; i < 31; ++i) {
            long const hi = word / 127773, lo = word % 127773;
            word = std::int32_t(16807 * lo - 2836 * hi);
            if (word < 0) word += 2147483647;
            x[i] = word;
        }
        // Its first step adds word 0 to word 3: word 3 is the oldest value, word 0 the one
        // three values back.
        for (int k = 0; k < 31; ++k) m_ring[k] = std::uint32_t(x[(k + 3) % 31]);
        m_next = 31;
        for (int i = 0; i < 310; ++i) next();
    }

    std::uint32_t next() {
        std::uint32_t const z = at(m_next - 31) + at(m_next - 3);
        at(m_next++) = z;
        return z;
    }

    // Chunks through a straight buffer, the values three back held in registers: each of the
    // three adds only the value 31 back, which was stored long before.
    void fill(int* out, std::size_t n) {
        constexpr int kBack = 31, kChunk = 1023;
        std::uint32_t z[kBack + kChunk];
        while (n > 0) {
            int const m = int(std::min<std::size_t>(n, kChunk));
            for (int k = 0; k < kBack; ++k) z[k] = at(m_next - kBack + k);
            std::uint32_t a = z[kBack - 3], b = z[kBack - 2], c = z[kBack - 1];
            int j = kBack;
            for (; j + 3 <= kBack + m; j += 3, out += 3) {
                z[j] = a += z[j - 31];
                z[j + 1] = b += z[j - 30];
                z[j + 2] = c += z[j - 29];
                out[0] = int(a >> 1), out[1] = int(b >> 1), out[2] = int(c >> 1);
            }
            for (; j < kBack + m; ++j, ++out) {
                z[j] = z[j - 31] + z[j - 3];
                *out = int(z[j] >> 1);
            }
            for (int k = std::max(0, m - kBack); k < m; ++k) at(m_next + k) = z[kBack + k];
            m_next += std::uint64_t(m);
            n -= std::size_t(m);
        }
    }

  private:
    std::uint32_t& at(std::uint64_t i) { return m_ring[i & 63]; }
    std::uint32_t m_ring[64] = {};
    std::uint64_t m_next = 0; // index of the next value
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
    return int(generator().next() >> 1);
}

void platformRandFill(int* out, std::size_t n) {
    generator().fill(out, n);
}
