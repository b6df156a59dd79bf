#pragma once
#include <vector>

#include "kerf/core/smart_pointer.h"
#include "kerf/curves/spline/knot_vector.h"
#include "kerf/platform/config.h"
#include "kerf/values/vector_instances.h"

namespace kerf {

class ERPmIsometrie3D;
class ERPmSimilitude3D;
class ERPoint3D;
class ERSpoleBezier3DR;
class ERSpoleNURBS3D;

/// A NURBS surface cut at all its knots into rational Bézier patches, which are made when they are
/// asked for.
///
/// Parameter:  patch (i, j) is span i along u and span j along v, of the spans that have a length. It
///             has the parameters of the surface.
/// Degenerate: a dummy has no patches.
/// Ownership:  patches are shared with the caller, who does not change them. A copy has its own.
class KERF_EXPORT Nurbs3DToBezier3DRDecomposer {
public:
    explicit Nurbs3DToBezier3DRDecomposer(const ERSpoleNURBS3D& surface);
    Nurbs3DToBezier3DRDecomposer(const Nurbs3DToBezier3DRDecomposer& other);
    Nurbs3DToBezier3DRDecomposer& operator=(const Nurbs3DToBezier3DRDecomposer&) = delete;
    ~Nurbs3DToBezier3DRDecomposer();

    unsigned int nu() const { return nu_; }
    unsigned int nv() const { return nv_; }
    /// The patch, the same object each time. Indices are the caller's duty.
    t_SmartPtr<ERSpoleBezier3DR> Bezier(unsigned int i, unsigned int j);

    // These move the patches that have been made, and what the others will be made of.
    void transformFrom(const ERPmSimilitude3D& transformation);
    void transformFrom(const ERPmIsometrie3D& transformation);
    void transformTo(const ERPmSimilitude3D& transformation);
    void transformTo(const ERPmIsometrie3D& transformation);
    void scale(double factor);
    void translate(const ERPoint3D& t);
    void reverse();  ///< exchanges the two parameters

    Nurbs3DToBezier3DRDecomposer* getCopy() const;  ///< owned by the caller

private:
    template <class Move>
    void moveAll(Move move);

    ERMatrix<ERPole3DH> poles_;  // a block of (degree + 1) by (degree + 1) poles for each patch
    ERKnotVector knotsU_;        // all knots of multiplicity degree + 1
    ERKnotVector knotsV_;
    unsigned int nu_ = 0;
    unsigned int nv_ = 0;
    std::vector<t_SmartPtr<ERSpoleBezier3DR>> patches_;  // row by row along u; null before made
};

}  // namespace kerf
