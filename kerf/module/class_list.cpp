// Every class of the library, by folder and then by name. The linker takes from a static library only
// what something refers to; programs refer to this list, and so find every class in the registry and
// every text of the library, whatever they use themselves.
#include "kerf/core/class_registry.h"
#include "kerf/core/object.h"
#include "kerf/curves/arc.h"
#include "kerf/curves/bezier_curve.h"
#include "kerf/curves/circle.h"
#include "kerf/curves/composite_curve.h"
#include "kerf/curves/ellipse.h"
#include "kerf/curves/infinite_line.h"
#include "kerf/curves/nurbs_curve.h"
#include "kerf/curves/outline.h"
#include "kerf/curves/planar_entity.h"
#include "kerf/curves/polyline.h"
#include "kerf/curves/polynomial_curve.h"
#include "kerf/curves/rounded_slot.h"
#include "kerf/curves/segment.h"
#include "kerf/display/result_text.h"
#include "kerf/module/module.h"
#include "kerf/persistence/database_object.h"
#include "kerf/persistence/tree_objects.h"
#include "kerf/processing/chainer.h"
#include "kerf/processing/region.h"
#include "kerf/surfaces/bezier_surface.h"
#include "kerf/surfaces/bounded_cone.h"
#include "kerf/surfaces/bounded_cylinder.h"
#include "kerf/surfaces/bounded_plane.h"
#include "kerf/surfaces/bounded_sphere.h"
#include "kerf/surfaces/bounded_torus.h"
#include "kerf/surfaces/cone.h"
#include "kerf/surfaces/cylinder.h"
#include "kerf/surfaces/nurbs_surface.h"
#include "kerf/surfaces/offset_surface.h"
#include "kerf/surfaces/plane.h"
#include "kerf/surfaces/revolution.h"
#include "kerf/surfaces/sphere.h"
#include "kerf/surfaces/surface.h"
#include "kerf/surfaces/surface_boundary.h"
#include "kerf/surfaces/torus.h"
#include "kerf/surfaces/trimmed_surface.h"
#include "kerf/values/entity.h"
#include "kerf/values/persistent_point.h"
#include "kerf/values/point_list.h"
#include "kerf/values/transformation_2d.h"
#include "kerf/values/transformation_3d.h"
#include "kerf/values/transformation_3d_representation.h"

namespace kerf {

namespace {

const ERClassRegistration* const classes[] = {
    // core
    ERObject::desc(),
    // curves
    ERArc2D::desc(),
    ERArc3D::desc(),
    ERArcEllipse2D::desc(),
    ERArcEllipse3D::desc(),
    ERCircle2D::desc(),
    ERCircle3D::desc(),
    ERCompCurve2D::desc(),
    ERCompCurve3D::desc(),
    ERCpoleBezier2D::desc(),
    ERCpoleBezier2DR::desc(),
    ERCpoleBezier3D::desc(),
    ERCpoleBezier3DR::desc(),
    ERCpoleNURBS2D::desc(),
    ERCpoleNURBS3D::desc(),
    ERCpoleRep2D::desc(),
    ERCpoleRep3D::desc(),
    ERCrvCompPoly2D::desc(),
    ERCrvCompPoly3D::desc(),
    EREllipse2D::desc(),
    EREllipse3D::desc(),
    EREntity2DWF::desc(),
    EREntity3DWF::desc(),
    ERFiniteEntity2DWF::desc(),
    ERFiniteEntity2DWFBoundedWithAngle::desc(),
    ERFiniteEntity3DWF::desc(),
    ERFiniteEntity3DWFBoundedWithAngle::desc(),
    ERInfLine2D::desc(),
    ERInfLine3D::desc(),
    ERLimitedEntity2DWF::desc(),
    ERLimitedEntity3DWF::desc(),
    ERPatchCPoly2D::desc(),
    ERPatchCPoly3D::desc(),
    ERPlanarEntity3DWF::desc(),
    ERPolygone2D::desc(),
    ERPolygone3D::desc(),
    ERPolyline2D::desc(),
    ERPolyline3D::desc(),
    ERRectangle2D::desc(),
    ERRectangle3D::desc(),
    ERRegularPolygon2D::desc(),
    ERRegularPolygon3D::desc(),
    ERRoundedSlot2D::desc(),
    ERRoundedSlot3D::desc(),
    ERSegment2D::desc(),
    ERSegment3D::desc(),
    ERTrimmedEntity2DWF::desc(),
    ERTrimmedEntity3DWF::desc(),
    // persistence
    ERAuxilaryIndex::desc(),
    ERDBObject::desc(),
    ERDBTree::desc(),
    // processing
    ERChainedMetaSeg2D::desc(),
    ERChainerSeg2D::desc(),
    ERRegion2D::desc(),
    // surfaces
    ERAnyBoundedSurface::desc(),
    ERBoundedCone::desc(),
    ERBoundedCylinder::desc(),
    ERBoundedPlane::desc(),
    ERBoundedSphere::desc(),
    ERBoundedSurface::desc(),
    ERBoundedTorus::desc(),
    ERCone::desc(),
    ERCylinder::desc(),
    ERPlane::desc(),
    ERSphere::desc(),
    ERSpoleBezier3D::desc(),
    ERSpoleBezier3DR::desc(),
    ERSpoleNURBS3D::desc(),
    ERSpoleRep::desc(),
    EROffsetSurface::desc(),
    EROffsetSurfaceIsoParam::desc(),
    ERSurOfRevolution::desc(),
    ERSurface::desc(),
    ERSurfaceBasedOnTransfo3D::desc(),
    ERSurfaceBoundary::desc(),
    ERTorus::desc(),
    ERTrimmedSurface::desc(),
    // values
    ERAnyIsometrie3D::desc(),
    ERAnySimilitude3D::desc(),
    EREntity::desc(),
    EREntity2D::desc(),
    EREntity3D::desc(),
    ERPersistentPoint2D::desc(),
    ERPersistentPoint3D::desc(),
    ERPersistentVector3D::desc(),
    ERPmIsometrie3D::desc(),
    ERPmSimilitude3D::desc(),
    ERTr3D::desc(),
    ERTr3DRev::desc(),
    ERTr3DRevEnveloppe::desc(),
    ERTr3DRevRep::desc(),
    ERTransfo2D::desc(),
    ERVecPoint23::desc(),
    _ERIdentity3D::desc(),
    _ERRotation3D::desc(),
    _ERScaling3D::desc(),
    _ERSimilitude3D::desc(),
    _ERSymetrie3D::desc(),
    _ERTranslation3D::desc(),
    _ERWorkplane::desc(),
    nullptr,
};

}  // namespace

const WholeLibrary wholeLibrary = {classes, &InitKerfDLL, &featureResultText};

}  // namespace kerf
