#pragma once
#include <limits>
#include <type_traits>

// A float to an integer type, truncating like a plain conversion wherever that is defined; a
// value beyond the type's range gives the nearer end and NaN gives 0, where a plain conversion
// would be undefined. A floating-point target or an integer source is converted plainly.
template <class I = int, class F> constexpr I saturatingCast(F v) {
    if constexpr (std::is_floating_point_v<I> || std::is_integral_v<F>) {
        return I(v);
    } else {
        using L = std::numeric_limits<I>;
        constexpr F lowest = F(L::min());             // 0 or a power of two, exact in F
        constexpr F beyond = F(L::max() / 2 + 1) * 2; // a power of two, exact in F
        if (!(v == v)) return 0;
        if (v <= lowest) return L::min();
        if (v >= beyond) return L::max();
        return I(v);
    }
}
