#pragma once
#include "kerf/platform/config.h"

namespace kerf {

/// All roots, real and complex, of c[0] + c[1] x + ... + c[degree] x^degree, each as often as its
/// multiplicity. They fill re and im from entry degree - 1 downwards; the answer is the first entry
/// that holds a root, so 0 when all were found and `degree` when none was.
///
/// re, im, work:  of degree + 1 entries each; re and im below the answer are left as they were.
/// tolerance:     relative to a root's modulus. A step as short as this ends the search for a root,
///                and a root with an imaginary part as small as this is real: that part is then
///                exactly 0.0. The other roots come in conjugate pairs.
/// maxIterations: for each root; the first root that takes more ends the search, and so does one
///                that is no root of the given polynomial, as happens at degrees of some hundreds.
/// Method:        roots that are exactly null, then Laguerre's method from 0 with deflation
///                (Numerical Recipes, section 9.5), and the closed form for what remains at degree
///                2 or 1. Roots are polished on the given polynomial, so that the errors of
///                deflation do not add up.
/// Failure:       a leading coefficient that is 0, or any that is not finite, gives no root.
KERF_EXPORT unsigned int complexRoots(const double* c, unsigned int degree, double tolerance,
                                      double maxIterations, double* re, double* im, double* work);

}  // namespace kerf
