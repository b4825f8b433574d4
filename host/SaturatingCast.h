#pragma once
#include <limits>
#include <type_traits>

// A float to a signed integer, truncating like a plain conversion wherever that is defined; a
// value beyond the type's range gives the nearer end and NaN gives 0, where a plain conversion
// would be undefined.
template <class I = int, class F> constexpr I saturatingCast(F v) {
    static_assert(std::is_signed_v<I> && std::is_integral_v<I> && std::is_floating_point_v<F>);
    constexpr F lowest = F(std::numeric_limits<I>::min()); // a power of two, exact in F
    if (!(v == v)) return 0;
    if (v <= lowest) return std::numeric_limits<I>::min();
    if (v >= -lowest) return std::numeric_limits<I>::max();
    return I(v);
}
