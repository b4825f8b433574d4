#pragma once
#include <cmath>

// Tolerance comparisons of the effect. They are not complements: at a difference of exactly
// 1e-5 both are 1.0, and with a NaN both are 0.0.
#define MACRO_NEARLY_EQUAL(a, b) ((std::fabs(double(a) - double(b)) <= 1e-5) ? 1.0 : 0.0)
#define MACRO_NOT_NEARLY_EQUAL(a, b) ((std::fabs(double(a) - double(b)) >= 1e-5) ? 1.0 : 0.0)
