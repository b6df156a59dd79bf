#pragma once
#include "kerf/platform/config.h"

namespace kerf {

/// All roots, real and complex, of c[0] + c[1] x + ... + c[degree] x^degree, each as often as its
/// multiplicity. Roots that are exactly zero come first, then Laguerre's method from 0 with deflation
/// (Numerical Recipes, section 9.5), and the closed form for the rest of degree 2 or 1. Roots are
/// polished on the given polynomial, so that the errors of deflation do not add up.
///
/// Parameter: re, im and work have degree + 1 entries each. Roots fill re and im from entry
///            degree - 1 downwards; the entries before are left as they were. maxIterations holds
///            for each root.
/// Tolerance: relative to a root's modulus. A step as short as this ends the search for a root. A
///            root with an imaginary part as small as this is real, and that part is then exactly
///            0.0. The other roots come in conjugate pairs.
/// Returns:   the first entry that holds a root: 0 when all were found, `degree` when none was.
/// Failure:   a leading coefficient that is 0, or any that is not finite, gives no root. The search
///            ends at a root that takes more iterations, and at one that is no root of the given
///            polynomial, as happens at degrees of some hundreds.
KERF_EXPORT unsigned int complexRoots(const double* c, unsigned int degree, double tolerance,
                                      double maxIterations, double* re, double* im, double* work);

}  // namespace kerf
