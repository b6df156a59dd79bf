#pragma once
#include <iterator>
#include <utility>
#include <vector>

#include "kerf/core/list.h"
#include "kerf/core/smart_pointer.h"
#include "kerf/curves/bounded_curve.h"
#include "kerf/platform/config.h"

// Curves made of other curves, one after the other.
namespace kerf {

// Exported here already: what is seen first decides whether programs can derive from the chains.
class KERF_EXPORT ERCompCurve2D;
class KERF_EXPORT ERCompCurve3D;
class KERF_EXPORT ERCrvCompPoly2D;
class KERF_EXPORT ERCrvCompPoly3D;
class KERF_EXPORT ERPatchCPoly2D;
class KERF_EXPORT ERPatchCPoly3D;

/// The patches of a chain: a list, and beside it an array that finds each at once. A copy of the
/// list holds copies of the patches; no pointer in it is null.
/// Storage: an int count, then for each patch an int, 1 for null, and the ID of its record.
/// Damage:  patches that cannot be restored, or are of another class, are left out.
template <class Patch>
class KERF_EXPORT PatchList {
public:
    using Held = t_SmartPtr<Patch>;

    PatchList() = default;
    PatchList(const PatchList& other) {
        for (const Held& patch : other.list_) append(Held(*patch));
    }
    PatchList(PatchList&& other) noexcept
        : list_(std::move(other.list_)), places_(std::exchange(other.places_, {})) {}
    PatchList& operator=(const PatchList& other) {
        if (this != &other) *this = PatchList(other);
        return *this;
    }
    PatchList& operator=(PatchList&& other) noexcept {
        list_ = std::move(other.list_);
        places_ = std::exchange(other.places_, {});
        return *this;
    }
    ~PatchList() = default;

    unsigned int entries() const { return list_.entries(); }
    Patch& operator[](unsigned int i) const { return *places()[i]; }
    bool contains(const Patch* sought) const {
        for (const Held& patch : list_)
            if (patch.getObject() == sought) return true;
        return false;
    }

    /// A null patch is left out.
    void append(const Held& patch) {
        if (!patch) return;
        places_.clear();
        list_.append(patch);
    }
    void prepend(const Held& patch) {
        if (!patch) return;
        places_.clear();
        list_.prepend(patch);
    }

    void saveGuts(ERFile& file) const { list_.saveGuts(file); }
    void restoreGuts(ERFile& file) {
        places_.clear();
        list_.restoreGuts(file);
        for (auto patch = list_.begin(); patch != list_.end();)
            patch = !*patch ? list_.erase(patch) : std::next(patch);
    }
    ERULong binaryStoreSize() const { return list_.binaryStoreSize(); }

private:
    const std::vector<Patch*>& places() const {
        if (places_.size() != list_.entries()) {
            places_.clear();
            places_.reserve(list_.entries());
            for (const Held& patch : list_) places_.push_back(patch.getObject());
        }
        return places_;
    }

    ERTValDlist<Held> list_;
    mutable std::vector<Patch*> places_;  // empty after every change
};

namespace detail {

// One chain: the class, its space and what it chains.
template <class CurveClass, class CurveSpace, class PatchClass>
struct KERF_EXPORT ChainKind {
    using Curve = CurveClass;
    using Space = CurveSpace;
    using Patch = PatchClass;
};
using Composite2D = ChainKind<ERCompCurve2D, Space2D, ERFiniteEntity2DWF>;
using Composite3D = ChainKind<ERCompCurve3D, Space3D, ERFiniteEntity3DWF>;
using PolynomialChain2D = ChainKind<ERCrvCompPoly2D, Space2D, ERPatchCPoly2D>;
using PolynomialChain3D = ChainKind<ERCrvCompPoly3D, Space3D, ERPatchCPoly3D>;

// The transformations of a chain, which are those of its patches.
template <class Chain, class Space>
class CarriedByPatches;

template <class Chain>
class KERF_EXPORT CarriedByPatches<Chain, Space2D> : public ERTrimmedEntity2DWF {
public:
    void transformFrom(const ERTransfo2D& t) override {
        chain().changePatches([&](auto& patch) { patch.transformFrom(t); });
    }
    void transformTo(const ERTransfo2D& t) override {
        chain().changePatches([&](auto& patch) { patch.transformTo(t); });
    }

private:
    Chain& chain() { return static_cast<Chain&>(*this); }
};

template <class Chain>
class KERF_EXPORT CarriedByPatches<Chain, Space3D> : public ERTrimmedEntity3DWF {
public:
    void transformFrom(const ERPmSimilitude3D& t) override { from(t); }
    void transformFrom(const ERPmIsometrie3D& t) override { from(t); }
    void transformTo(const ERPmSimilitude3D& t) override { to(t); }
    void transformTo(const ERPmIsometrie3D& t) override { to(t); }

private:
    Chain& chain() { return static_cast<Chain&>(*this); }
    template <class Transformation>
    void from(const Transformation& t) {
        chain().changePatches([&](auto& patch) { patch.transformFrom(t); });
    }
    template <class Transformation>
    void to(const Transformation& t) {
        chain().changePatches([&](auto& patch) { patch.transformTo(t); });
    }
};

}  // namespace detail

/// What chains of curves share. Each of n patches takes 1 / n of the natural domain [Ndeb, Nfin],
/// whatever its own domain and length, and is travelled from its udeb() to its ufin(). Gaps between
/// patches are legal.
///
/// Parameter:  x = n (u - Ndeb) / (Nfin - Ndeb) is the index of a patch and the ratio in it. A chain
///             that has grown or was cut has natural domain and trim interval [0, n]: there u is x.
///             Outside, the first or the last patch goes on.
/// Degenerate: without patches every point is the origin, the box is reset, the length is 0. In a
///             natural domain of length 0 every u is the start of the first patch.
/// Kept:       box, length as a whole, parts of a split, feet and NURBS form are those of all
///             patches, hidden ones included; the trim interval moves the ends alone.
/// Ownership:  patches are counted, and a copy of the chain copies them. One that went in by its smart
///             pointer, or is taken by at(), is the chain's own: to change it changes the chain,
///             which does not notice, so that setDirty() is called on it too.
/// Storage:    the domains, then the list of patches, each a record of its own.
template <class Kind>
class KERF_EXPORT Chain : public detail::CarriedByPatches<Chain<Kind>, typename Kind::Space> {
    using Space = typename Kind::Space;
    using Carried = detail::CarriedByPatches<Chain, Space>;

public:
    using Patch = typename Kind::Patch;
    using Point = typename Space::Point;
    using Curve = typename Space::Curve;

    using Curve::approxime;

    /// Adds the patch at the end. Where tol is above 0 and there are patches, its start must lie
    /// within tol of the end of the chain, or else its end: a reversed copy goes in then.
    /// A smart pointer goes in as it is, a reference, or what the chain holds already, as a copy.
    /// Natural domain and trim interval become [0, n], so that a former trim is lost.
    /// Returns 1; 0 with the chain as it was for a gap or a null patch.
    int append(const t_SmartPtr<Patch>& patch, double tol);
    int append(const Patch& patch, double tol);
    /// The same at the start: the end of the patch is what must meet it.
    int prepend(const t_SmartPtr<Patch>& patch, double tol);
    int prepend(const Patch& patch, double tol);

    unsigned int entries() const { return patches_.entries(); }
    /// The patch of that index, which is the caller's duty.
    t_SmartPtr<Patch> at(int i) const;

    Point operator()(double u) const override;
    /// With the derivatives by u.
    typename Space::InfoPoint PtCur(double u) const override;
    typename Space::Box getBox() const override;
    /// The patches' own points, those of each part of a patch that `limits` hold; a point shared by
    /// neighbours stands once. Nothing outside the natural domain.
    ERVec<Point> approxime(const ERLimites& limits, double tol) const override;
    /// The length of what lies in `limits` and in the natural domain; of all patches.
    /// Tolerance: for each patch.
    double arcLength(ERLimites limits, double tol) const override;
    double arcLength(double tol) const override;
    /// Two chains of copies. Within 1e-11 after the start of a patch none is cut, and one of the
    /// chains may be empty. Returns 1, or 0 with both as they were for x outside [0, n] or where the
    /// patch cannot be split.
    int splitAt(t_SmartPtr<Curve>& left, t_SmartPtr<Curve>& right, double u) const override;
    /// Empties the vector, then writes the feet on each patch that it finds itself; the middle of a
    /// patch of which every point is one. None when p lies farther than tol from the box.
    /// Returns: their number; -1 when there is none but one such middle.
    /// Kept:    the vector is emptied, which no other curve does. A box that equals that of p and tol
    ///          counts as out of reach.
    int ProjectPoint(const Point& p, ERVec<double>& parameters, double tol) const override;
    typename Space::Nurbs ConvertToNurbs() const override;
    void reverse() override;
    void scale(double factor) override;
    void translate(const Point& t) override;
    /// Drops the patches outside the trim interval and cuts those across its ends. Natural domain
    /// and trim interval become [0, n]. A trim of length 0 leaves a point. The chain stays as it is
    /// for a trim that decreases or lies outside, and where a patch cannot be cut.
    void adjust() override;
    /// Each patch with its text, its ends, and its distance from the patch before.
    void printOn(std::ostream& os) const override;

protected:
    Chain() = default;
    Chain(const Chain&) = default;
    Chain& operator=(const Chain&) = default;

    /// The patch in which u lies, null in an empty chain; and the ratio in it, which outside the
    /// domain lies outside [0, 1], and is 1 at the end of the last patch.
    t_SmartPtr<Patch> findPatch(double u) const;
    double matchParamToPatch(double u) const;

    PatchList<Patch> patches_;

private:
    friend Carried;
    template <class Edit>
    void changePatches(Edit edit) {
        for (unsigned int i = 0; i < entries(); ++i) edit(patches_[i]);
        this->setDirty();
    }

    struct Place {
        unsigned int patch;
        double ratio;
    };
    enum class End { Head, Tail };

    Place place(double u) const;
    unsigned int boundedIndex(double x) const;
    double naturalLength() const { return this->Nfin() - this->Ndeb(); }
    double indexOf(double u) const;      // x of u
    double parameterOf(double x) const;  // u of x
    template <class Visit>
    void forEachPart(double from, double to, Visit visit) const;
    int add(const Patch& patch, const Patch* shared, double tol, End end);
    bool reaches(const Curve* sought) const;
    void adopt(PatchList<Patch>&& patches);
};

namespace detail {

// The chain of the images of another's patches, over the same domains. Images of another class than
// the patches of the new chain are left out.
template <class Image, class Original, class Map>
t_SmartPtr<Image> chainOfImages(const Original& chain, Map map) {
    const t_SmartPtr<Image> image(new Image);
    for (unsigned int i = 0; i < chain.entries(); ++i) {
        const auto entity = map(*chain.at(static_cast<int>(i)));
        const t_SmartPtr<typename Image::Patch> patch(Image::Patch::castdown(entity.getObject()));
        image->append(patch, 0.0);
    }
    image->reparametrize(ERLimites(chain.Ndeb(), chain.Nfin()));
    image->setBound(chain.getBound());
    return image;
}

}  // namespace detail

/// A curve of finite curves of any kind in the plane.
class KERF_EXPORT ERCompCurve2D : public Chain<detail::Composite2D> {
    ER_OBJECT_CLASS(ERCompCurve2D);
    ER_STORED_CLASS(ERCompCurve2D);

public:
    ERCompCurve2D() = default;  ///< no patch, on [0, 1]
    explicit ERCompCurve2D(const ERFiniteEntity2DWF& patch) { append(patch, 0.0); }

    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& t) const override;

private:
    static auto fields(auto& self) { return std::tie(self.patches_); }
};

/// A curve of finite curves of any kind in space.
class KERF_EXPORT ERCompCurve3D : public Chain<detail::Composite3D> {
    ER_OBJECT_CLASS(ERCompCurve3D);
    ER_STORED_CLASS(ERCompCurve3D);

public:
    ERCompCurve3D() = default;
    explicit ERCompCurve3D(const ERFiniteEntity3DWF& patch) { append(patch, 0.0); }

    /// Patches whose projection is no finite curve are left out.
    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& t) const override;

private:
    static auto fields(auto& self) { return std::tie(self.patches_); }
};

extern template class Chain<detail::Composite2D>;
extern template class Chain<detail::Composite3D>;

}  // namespace kerf
