#pragma once
#include <cstdint>

// Pixel format traits: static classes that say how a channel is stored, scaled, multiplied and
// clamped. Image templates take <PIXEL, channel, accumulator, working, PIXEL::FORMAT> and one
// dummy argument of each, which only selects the instance.
//
// Channel indices of the order: R, G, B visited together as one group of three starting at
// FIRST_COLOR, alpha at ALPHA.

namespace pixel_detail {
struct OrderARGB {
    static constexpr int ALPHA = 0, RED = 1, GREEN = 2, BLUE = 3, FIRST_COLOR = 1;
};
struct OrderRGBA {
    static constexpr int ALPHA = 3, RED = 0, GREEN = 1, BLUE = 2, FIRST_COLOR = 0;
};
struct OrderBGRA {
    static constexpr int ALPHA = 3, RED = 2, GREEN = 1, BLUE = 0, FIRST_COLOR = 0;
};

// 8 bits a channel: integer arithmetic, multiply by (a*b+128)>>8.
template <class Order> struct Traits8 : Order {
    using C = unsigned char;
    using V = int;
    static constexpr int BYTES = 4;
    static V MIN_VALUE() { return 0; }
    static V MAX_VALUE() { return 255; }
    static double RECIP_VALUE() { return 0.003921568627; }
    static constexpr bool is8Bit() { return true; }
    static constexpr bool is32Bit() { return false; }
    static float toFloat(C c) { return c / 255.0f; }
    static V fromFloat(float x) { return V(255.0f * x); }
    static V multiply(V a, V b) { return (a * b + 128) >> 8; }
    static V divide(V a, V b) { return b == 0 ? 0 : a * 255 / b; }
    static float halfRoundPixel() { return 0.5f; }
    static V clamp(V v) { return v < 0 ? 0 : (v >= 255 ? 255 : v); }
    static V clamp_underflow(V v) { return v < 0 ? 0 : v; }
    static V clamp_overflow(V v) { return v >= 256 ? 255 : v; }
};

// 16 bits a channel: float arithmetic on 0..65535, truncated at the store.
template <class Order> struct Traits16 : Order {
    using C = unsigned short;
    using V = float;
    static constexpr int BYTES = 8;
    static int MIN_VALUE() { return 0; }
    static int MAX_VALUE() { return 65535; }
    static double RECIP_VALUE() { return 1.52590219e-05; }
    static constexpr bool is8Bit() { return false; }
    static constexpr bool is32Bit() { return false; }
    static float toFloat(C c) { return c / 65535.0f; }
    static V fromFloat(float x) { return 65535.0f * x; }
    static V multiply(V a, V b) { return a * b / 65535.0f; }
    static V divide(V a, V b) { return b == 0.0f ? 0 : a / b * 65535.0f; }
    static float halfRoundPixel() { return 0.5f; }
    static V clamp(V v) { return v < 0 ? 0 : (v > 65535 ? 65535 : v); }
    static V clamp_underflow(V v) { return v < 0 ? 0 : v; }
    static V clamp_overflow(V v) { return v > 65535 ? 65535 : v; }
};

// 32-bit float: never clamped.
template <class Order> struct Traits32 : Order {
    using C = float;
    using V = float;
    static constexpr int BYTES = 16;
    static V MIN_VALUE() { return 0.0f; }
    static V MAX_VALUE() { return 1.0f; }
    static double RECIP_VALUE() { return 1.0; }
    static constexpr bool is8Bit() { return false; }
    static constexpr bool is32Bit() { return true; }
    static float toFloat(C c) { return c; }
    static V fromFloat(float x) { return x; }
    static V multiply(V a, V b) { return a * b; }
    static V divide(V a, V b) { return b == 0.0f ? 0 : a / b; }
    static float halfRoundPixel() { return 0.0f; }
    static V clamp(V v) { return v; }
    static V clamp_underflow(V v) { return v; }
    static V clamp_overflow(V v) { return v; }
};

// Render-library-only depths: only the full scale is read.
template <class Order, class Channel, class Working, int Full, int Bytes>
struct TraitsScale : Order {
    using C = Channel;
    using V = Working;
    static constexpr int BYTES = Bytes;
    static V MIN_VALUE() { return 0; }
    static V MAX_VALUE() { return Full; }
    static float halfRoundPixel() { return 0.5f; }
};
} // namespace pixel_detail

// The nested FORMAT tag of each trait is an empty type that names the instance.
#define MIRREL_PIXEL_TRAIT(NAME, BASE)                                                             \
    struct NAME : BASE {                                                                           \
        struct FORMAT {};                                                                          \
    }

MIRREL_PIXEL_TRAIT(PIXEL_ARGB8, pixel_detail::Traits8<pixel_detail::OrderARGB>);
MIRREL_PIXEL_TRAIT(PIXEL_RGBA8, pixel_detail::Traits8<pixel_detail::OrderRGBA>);
MIRREL_PIXEL_TRAIT(PIXEL_ARGB16, pixel_detail::Traits16<pixel_detail::OrderARGB>);
MIRREL_PIXEL_TRAIT(PIXEL_RGBA16, pixel_detail::Traits16<pixel_detail::OrderRGBA>);
MIRREL_PIXEL_TRAIT(PIXEL_ARGB32, pixel_detail::Traits32<pixel_detail::OrderARGB>);
MIRREL_PIXEL_TRAIT(PIXEL_RGBA32, pixel_detail::Traits32<pixel_detail::OrderRGBA>);
MIRREL_PIXEL_TRAIT(PIXEL_BGRA8, pixel_detail::Traits8<pixel_detail::OrderBGRA>);
MIRREL_PIXEL_TRAIT(PIXEL_BGRA32, pixel_detail::Traits32<pixel_detail::OrderBGRA>);
namespace pixel_detail {
using ScaleARGB14 = TraitsScale<OrderARGB, unsigned short, int, 16384, 8>;
using ScaleBGRA14 = TraitsScale<OrderBGRA, unsigned short, int, 16384, 8>;
using ScaleARGB15 = TraitsScale<OrderARGB, unsigned short, int, 32768, 8>;
} // namespace pixel_detail
MIRREL_PIXEL_TRAIT(PIXEL_ARGB14, pixel_detail::ScaleARGB14);
MIRREL_PIXEL_TRAIT(PIXEL_BGRA14, pixel_detail::ScaleBGRA14);
MIRREL_PIXEL_TRAIT(PIXEL_ARGB15, pixel_detail::ScaleARGB15);

#undef MIRREL_PIXEL_TRAIT

// The five template arguments of a format, told once. Instantiate image templates as
// Fn<PIXEL_X, PIXEL_X::C, Acc<PIXEL_X>, PIXEL_X::V, PIXEL_X::FORMAT>.
template <class P> struct PixelAccumulator { using type = double; };
template <> struct PixelAccumulator<PIXEL_ARGB8> { using type = int; };
template <> struct PixelAccumulator<PIXEL_RGBA8> { using type = int; };
template <> struct PixelAccumulator<PIXEL_BGRA8> { using type = int; };

// Expands to the five type arguments of a trait.
#define PIXEL_ARGS(P)                                                                              \
    P, typename P::C, typename PixelAccumulator<P>::type, typename P::V, typename P::FORMAT
// Expands to the five dummy values that select the instance.
#define PIXEL_VALUES(P)                                                                            \
    P(), typename P::C(), typename PixelAccumulator<P>::type(), typename P::V(),                   \
        typename P::FORMAT()
