#pragma once
#include "kerf/core/stored_fields.h"
#include "kerf/curves/curve.h"
#include "kerf/platform/config.h"
#include "kerf/values/limits.h"
#include "kerf/values/space.h"

// Curves that hold their domain: by two angles, by an interval, or by an interval and the part of it
// that is seen.
namespace kerf {

/// Two angles in radians, kept as given: start, then end. The mix-in of arcs; no entity.
/// Storage: 16 bytes: start, end.
class KERF_EXPORT EREntAngle {
public:
    EREntAngle() = default;  ///< one turn from 0
    EREntAngle(ERRadian start, ERRadian end) : start_(start), end_(end) {}
    virtual ~EREntAngle() = default;

    ERRadian startAngle() const { return start_; }
    ERRadian endAngle() const { return end_; }
    ERRadian startAngle(ERRadian angle);  ///< sets it and returns the former one
    ERRadian endAngle(ERRadian angle);

    int isDirect() const;  ///< 1 when end > start strictly: counter-clockwise; 0 for equal angles
    /// 1 when the angles differ by exactly one turn.
    /// Kept: the tolerance is ignored, so a turn that misses by the last bit is open.
    int isClosed(double tol) const;
    /// Exchanges the angles. Nothing is mirrored.
    void reverse();

    virtual void saveGuts(ERFile& file) const;
    virtual void restoreGuts(ERFile& file);
    /// Two lines, in degrees.
    virtual void printOn(std::ostream& os) const;
    virtual ERULong binaryStoreSize() const;

protected:
    EREntAngle(const EREntAngle&) = default;
    EREntAngle& operator=(const EREntAngle&) = default;

    void setLimites(ERRadian start, ERRadian end);
    /// Adds to both angles. What was closed stays closed.
    void turnBy(double angle);

private:
    ERRadian start_ = 0.0;
    ERRadian end_ = 6.283185307179586;
};

/// What both curves bounded by angles share. The parameter is the angle.
template <class Space>
class KERF_EXPORT AngleBounded : public Space::Curve, public EREntAngle {
public:
    using EREntAngle::endAngle;
    using EREntAngle::isClosed;
    using EREntAngle::startAngle;

    ERRadian startAngle(ERRadian angle);  ///< as that of the angles, and the curve is dirty
    ERRadian endAngle(ERRadian angle);
    double udeb() const override { return startAngle(); }
    double ufin() const override { return endAngle(); }
    ERLimites getBound() const override;
    int isClosed(double tol) const override { return EREntAngle::isClosed(tol); }
    using Space::Curve::approxime;
    /// In the direction of travel.
    ERVec<typename Space::Point> approxime(int n) const override;
    void reverse() override;
    void printOn(std::ostream& os) const override;

protected:
    AngleBounded() = default;
    AngleBounded(ERRadian start, ERRadian end) : EREntAngle(start, end) {}
    AngleBounded(const AngleBounded&) = default;
    AngleBounded& operator=(const AngleBounded&) = default;

    /// Changes the sign of both angles, as a mirror image does.
    void negateAngles() { setLimites(-startAngle(), -endAngle()); }
};

/// A curve of the plane whose parameter is an angle.
/// Storage: the angles.
class KERF_EXPORT ERFiniteEntity2DWFBoundedWithAngle : public AngleBounded<Space2D> {
    ER_OBJECT_CLASS(ERFiniteEntity2DWFBoundedWithAngle);
    ER_STORED_FIELDS(ERFiniteEntity2DWFBoundedWithAngle);

public:
    /// The angles alone: unchanged, or of the other sign when the determinant is not positive.
    void transformFrom(const ERTransfo2D& transformation) override;
    void transformTo(const ERTransfo2D& transformation) override;

protected:
    ERFiniteEntity2DWFBoundedWithAngle() = default;
    ERFiniteEntity2DWFBoundedWithAngle(ERRadian start, ERRadian end) : AngleBounded(start, end) {}
    ERFiniteEntity2DWFBoundedWithAngle(const ERFiniteEntity2DWFBoundedWithAngle&) = default;
    ERFiniteEntity2DWFBoundedWithAngle& operator=(const ERFiniteEntity2DWFBoundedWithAngle&) =
        default;
};

/// A curve of space whose parameter is an angle.
/// Storage: the angles.
class KERF_EXPORT ERFiniteEntity3DWFBoundedWithAngle : public AngleBounded<Space3D> {
    ER_OBJECT_CLASS(ERFiniteEntity3DWFBoundedWithAngle);
    ER_STORED_FIELDS(ERFiniteEntity3DWFBoundedWithAngle);

public:
    /// The angles alone: unchanged, or of the other sign when the transformation mirrors.
    void transformFrom(const ERPmSimilitude3D& transformation) override;
    void transformFrom(const ERPmIsometrie3D& transformation) override;
    void transformTo(const ERPmSimilitude3D& transformation) override;
    void transformTo(const ERPmIsometrie3D& transformation) override;

protected:
    ERFiniteEntity3DWFBoundedWithAngle() = default;
    ERFiniteEntity3DWFBoundedWithAngle(ERRadian start, ERRadian end) : AngleBounded(start, end) {}
    ERFiniteEntity3DWFBoundedWithAngle(const ERFiniteEntity3DWFBoundedWithAngle&) = default;
    ERFiniteEntity3DWFBoundedWithAngle& operator=(const ERFiniteEntity3DWFBoundedWithAngle&) =
        default;
};

/// What both curves with a natural domain share.
template <class Space>
class KERF_EXPORT Limited : public Space::Curve {
public:
    double udeb() const override { return Ndeb(); }
    double ufin() const override { return Nfin(); }
    ERLimites getBound() const override { return natural_; }
    /// "Natural boundary =" with the domain.
    void printOn(std::ostream& os) const override;

    virtual double Ndeb() const { return natural_.start(); }  ///< where the natural domain begins
    virtual double Nfin() const { return natural_.end(); }    ///< where it ends
    /// Replaces the natural domain; the curve's points stay.
    virtual void reparametrize(const ERLimites& domain);
    /// Replaces the natural domain.
    virtual void redefineDomain(const ERLimites& domain);

protected:
    Limited() : natural_(0.0, 1.0) {}
    explicit Limited(const ERLimites& natural) : natural_(natural) {}
    Limited(const Limited&) = default;
    Limited& operator=(const Limited&) = default;

    ERLimites natural_;
};

/// A curve of the plane with a natural domain, [0, 1] unless given.
/// Storage: the domain.
class KERF_EXPORT ERLimitedEntity2DWF : public Limited<Space2D> {
    ER_OBJECT_CLASS(ERLimitedEntity2DWF);
    ER_STORED_FIELDS(ERLimitedEntity2DWF);

protected:
    ERLimitedEntity2DWF() = default;
    explicit ERLimitedEntity2DWF(const ERLimites& natural) : Limited(natural) {}
    ERLimitedEntity2DWF(const ERLimitedEntity2DWF&) = default;
    ERLimitedEntity2DWF& operator=(const ERLimitedEntity2DWF&) = default;

private:
    static auto fields(auto& self) { return std::tie(self.natural_); }
};

/// A curve of space with a natural domain.
class KERF_EXPORT ERLimitedEntity3DWF : public Limited<Space3D> {
    ER_OBJECT_CLASS(ERLimitedEntity3DWF);
    ER_STORED_FIELDS(ERLimitedEntity3DWF);

protected:
    ERLimitedEntity3DWF() = default;
    explicit ERLimitedEntity3DWF(const ERLimites& natural) : Limited(natural) {}
    ERLimitedEntity3DWF(const ERLimitedEntity3DWF&) = default;
    ERLimitedEntity3DWF& operator=(const ERLimitedEntity3DWF&) = default;

private:
    static auto fields(auto& self) { return std::tie(self.natural_); }
};

/// What both trimmed curves share: the natural domain, on which the data are defined, and the trim
/// interval, which is what is seen. The curve runs over the trim interval.
template <class Space>
class KERF_EXPORT Trimmed : public Space::LimitedCurve {
public:
    double udeb() const override { return trim_.start(); }
    double ufin() const override { return trim_.end(); }
    ERLimites getBound() const override { return trim_; }
    /// 1 when a bound of the trim interval differs from the natural one, exactly.
    int isTrimmed() const override;
    /// Mirrors the trim interval about the middle of the natural domain; a domain of length 0 leaves
    /// it. A curve calls this after reversing its own data.
    void reverse() override;
    /// "Natural boundary =" and "Trimm boundaries   = ", a line each.
    void printOn(std::ostream& os) const override;
    /// Makes `domain` the natural domain and carries the trim interval along in proportion; a
    /// natural domain of length 0 makes it the trim interval too.
    void reparametrize(const ERLimites& domain) override;
    /// setBound, then adjust: shortens the curve.
    void redefineDomain(const ERLimites& domain) override;

    /// Sets the trim interval and returns the former one; the data stay.
    virtual ERLimites setBound(const ERLimites& trim);
    /// Makes the trim interval the natural domain. A curve that can cut its data overrides this to
    /// do so.
    virtual void adjust();

protected:
    Trimmed() : trim_(0.0, 1.0) {}
    explicit Trimmed(const ERLimites& natural) : Space::LimitedCurve(natural), trim_(natural) {}
    Trimmed(const ERLimites& natural, const ERLimites& trim)
        : Space::LimitedCurve(natural), trim_(trim) {}
    Trimmed(const Trimmed&) = default;
    Trimmed& operator=(const Trimmed&) = default;

    void setDomains(const ERLimites& natural, const ERLimites& trim) {
        this->natural_ = natural;
        trim_ = trim;
    }

    ERLimites trim_;
};

/// A curve of the plane of which a part may be hidden.
/// Storage: the natural domain, then the trim interval: 32 bytes.
class KERF_EXPORT ERTrimmedEntity2DWF : public Trimmed<Space2D> {
    ER_OBJECT_CLASS(ERTrimmedEntity2DWF);
    ER_STORED_FIELDS(ERTrimmedEntity2DWF);

protected:
    using Trimmed::Trimmed;
    ERTrimmedEntity2DWF() = default;
    ERTrimmedEntity2DWF(const ERTrimmedEntity2DWF&) = default;
    ERTrimmedEntity2DWF& operator=(const ERTrimmedEntity2DWF&) = default;

private:
    static auto fields(auto& self) { return std::tie(self.trim_); }
};

/// A curve of space of which a part may be hidden.
class KERF_EXPORT ERTrimmedEntity3DWF : public Trimmed<Space3D> {
    ER_OBJECT_CLASS(ERTrimmedEntity3DWF);
    ER_STORED_FIELDS(ERTrimmedEntity3DWF);

protected:
    using Trimmed::Trimmed;
    ERTrimmedEntity3DWF() = default;
    ERTrimmedEntity3DWF(const ERTrimmedEntity3DWF&) = default;
    ERTrimmedEntity3DWF& operator=(const ERTrimmedEntity3DWF&) = default;

private:
    static auto fields(auto& self) { return std::tie(self.trim_); }
};

extern template class AngleBounded<Space2D>;
extern template class AngleBounded<Space3D>;
extern template class Limited<Space2D>;
extern template class Limited<Space3D>;
extern template class Trimmed<Space2D>;
extern template class Trimmed<Space3D>;

}  // namespace kerf
