#pragma once
#include <cstring>

// Arithmetic on two doubles in a vector register, for sums of weighted poles. GCC at our level of optimisation leaves such loops
// scalar; the arithmetic is the same, bit for bit, on compilers without vector types.
namespace kerf::spline {

#if defined(__GNUC__)
using TwoDoubles = double __attribute__((vector_size(16)));
inline TwoDoubles twice(double x) { return TwoDoubles{x, x}; }
#else
struct TwoDoubles {
    double a, b;
    friend TwoDoubles operator*(TwoDoubles x, TwoDoubles y) { return {x.a * y.a, x.b * y.b}; }
    friend TwoDoubles operator/(TwoDoubles x, TwoDoubles y) { return {x.a / y.a, x.b / y.b}; }
    friend TwoDoubles operator+(TwoDoubles x, TwoDoubles y) { return {x.a + y.a, x.b + y.b}; }
};
inline TwoDoubles twice(double x) { return {x, x}; }
#endif

inline TwoDoubles loadTwo(const double* from) {
    TwoDoubles two;
    std::memcpy(&two, from, sizeof two);
    return two;
}

/// x, y, z and w of a homogeneous pole.
struct FourDoubles {
    TwoDoubles low = twice(0.0), high = twice(0.0);

    static FourDoubles load(const double* from) {
        FourDoubles four;
        std::memcpy(&four.low, from, sizeof four.low);
        std::memcpy(&four.high, from + 2, sizeof four.high);
        return four;
    }
    void store(double* to) const {
        std::memcpy(to, &low, sizeof low);
        std::memcpy(to + 2, &high, sizeof high);
    }
    void add(double factor, const FourDoubles& pole) {
        low = low + twice(factor) * pole.low;
        high = high + twice(factor) * pole.high;
    }
};

}  // namespace kerf::spline
