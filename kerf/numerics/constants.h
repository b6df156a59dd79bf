#pragma once

// Numbers that several files need, each under one name.
namespace kerf {

constexpr double pi = 3.141592653589793;
constexpr double twoPi = 6.283185307179586;
constexpr double degreesPerRadian = 57.29577951308232;

/// Lengths, elements of matrices, factors and values that differ by no more count as the same, ends
/// included. Programs read it as equalityTolerance.
constexpr double comparisonTolerance = 1e-11;

}  // namespace kerf
