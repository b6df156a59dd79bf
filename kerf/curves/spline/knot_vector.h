#pragma once
#include <iosfwd>

#include "kerf/numerics/matrix.h"
#include "kerf/numerics/vector.h"
#include "kerf/values/limits.h"

// The knots of a B-spline, and the walk over its distinct knots.
namespace kerf {

/// Knots in ascending order with the degree of the curve: poles + degree + 1 of them. Clamped means
/// that the first and the last knot each stand degree + 1 times; all knots are compared exactly.
/// Degenerate: any knots are held, in any order. Without knots, the degree has all its bits set
///             unless it was given. Queries then give 0 or an end, and searches end.
/// Ownership:  copies share the knots until one of them is edited.
/// Storage:    the knots as a vector, then degree and flag as 32-bit integers.
class KERF_EXPORT ERKnotVector {
public:
    ERKnotVector();
    ERKnotVector(const ERKnotVector&) = default;
    ERKnotVector& operator=(const ERKnotVector&) = default;
    virtual ~ERKnotVector();

    /// The degree is one less than the first knot's multiplicity.
    /// Kept: the last knot's multiplicity counts for nothing, and isUnclamped() is 0 whatever it is.
    explicit ERKnotVector(const ERVec<double>& knots);
    ERKnotVector(const double* knots, unsigned int length);
    ERKnotVector(unsigned int degree, const ERVec<double>& knots);
    ERKnotVector(unsigned int degree, const double* knots, unsigned int length);
    /// Of a Bézier curve: degree + 1 times each bound.
    ERKnotVector(unsigned int degree, const ERLimites& limits);
    /// Clamped, with inner knots at equal distances; nbPoles above the degree.
    ERKnotVector(unsigned int degree, unsigned int nbPoles, const ERLimites& limits);

    virtual void saveGuts(ERFile& file) const;
    /// Damage: a vector cut short reads as far as it goes; whether degree and knots fit together is
    ///         for fits() to say.
    virtual void restoreGuts(ERFile& file);
    /// "KnotVector degree ", the degree and "  ( Regular )" or "  (**UNCLAMPLED**)"; the knots; a
    /// line for each distinct one.
    virtual void printOn(std::ostream& os) const;
    virtual ERULong binaryStoreSize() const;

    unsigned int degree() const { return degree_; }
    unsigned int length() const { return knots_.length(); }
    const double* data() const { return knots_.data(); }
    const ERVec<double>& getVec() const { return knots_; }
    double operator[](unsigned int i) const { return knots_[i]; }
    double operator()(unsigned int i) const { return knots_[i]; }
    double first() const { return at(0); }  ///< stored; 0 if none
    double last() const { return at(static_cast<std::int64_t>(length()) - 1); }  ///< likewise
    /// 1 when the knots are not clamped, as found when they were last given with a degree.
    int isUnclamped(void) const { return unclamped_; }

    /// Kept: from knot `degree` to knot length - degree, one further than the last pole's domain
    /// goes. The two differ only in vectors that are not clamped.
    ERLimites limites() const;
    /// From knot degree + i to the next.
    ERLimites getSpanLimites(int i) const;
    unsigned int nbSpans() const;  ///< length - 2 degree - 1: empty spans count

    /// Whether the vector belongs to so many poles: the right number of knots for a degree below
    /// that of poles, all finite and none below the one before.
    bool fits(unsigned int nbPoles) const;

    // Edits. Degree and flag stay unless said otherwise.

    void insertAt(unsigned int position, const double& value, unsigned int count);
    void removeAt(unsigned int position);
    void setKnots(const ERVec<double>& knots) { knots_ = knots; }
    void setClamped() { unclamped_ = 0; }  ///< for who has clamped the knots by edits
    /// Joins a vector of the same degree that begins where this one ends: the whole of it takes the
    /// place of the last degree + 1 knots.
    void concat(const ERKnotVector& other);
    /// `count` knots from `start` on, cut to those there are, with this degree; the flag is found
    /// anew.
    ERKnotVector subVector(unsigned int start, unsigned int count) const;
    /// Every distinct knot stands k more times, and the degree grows by k.
    void incDegree(unsigned int k);
    /// Mirrors the knots. A vector of equal knots stays as it is.
    void reverse();
    /// Scales and shifts the knots so that first and last become the bounds. Equal knots are only
    /// shifted.
    void reparametrize(const ERLimites& limits);
    /// A vector in which the knots at i, i + degree + 1, i + 2 (degree + 1) ... stand twice: one of
    /// the degree + 1 that raise the degree by Prautzsch's method. Its degree is one less than the
    /// first knot's multiplicity.
    ERKnotVector GetPrautzsch(unsigned int i) const;

    /// The position i with knot i <= u < knot i + 1 in the domain, which runs from knot `degree` to
    /// knot length - degree - 1. Outside it, and at its ends, the first or the last span that is not
    /// empty; `degree` when there is none, for a NaN and where the search finds no such position.
    unsigned int FindSpan(double u) const;
    /// The position of a knot equal to u, any of them; 0xFFFFFFFF when there is none.
    unsigned int quicklyFind(double u) const;

    /// The degree + 1 basis functions that are not null on a span as FindSpan gives it. Of any
    /// degree; for a position that is no span, nothing.
    ERVec<double> BasisFuns(unsigned int span, double u) const;
    /// Row k holds the k-th derivatives of the same functions, k from 0 to n. Above the degree they
    /// are zero.
    ERMatrix<double> DersBasisFuns(unsigned int span, double u, unsigned int n) const;

    /// 1 when degree - multiplicity >= order for every distinct knot.
    /// Kept: first and last knot take part, so that a clamped vector gives 0 from order 0 on.
    int IsContinuous(int order) const;
    /// Appends every distinct knot, first and last included, with degree - multiplicity < order.
    /// Returns 1.
    int GetDiscontinuities(int order, ERVec<double>& params) const;

    /// Hands a vector with a knot below the one before it to ER_assert. A degree with all its bits
    /// set stands for a vector not filled yet, which is not looked at.
    void AssertValid() const;

    friend std::ostream& operator<<(std::ostream& os, const ERKnotVector& knots) {
        knots.printOn(os);
        return os;
    }
    friend ERFile& operator<<(ERFile& file, const ERKnotVector& knots) {
        knots.saveGuts(file);
        return file;
    }
    friend ERFile& operator>>(ERFile& file, ERKnotVector& knots) {
        knots.restoreGuts(file);
        return file;
    }

private:
    void _ComputeDegree();
    int isUnclamped(unsigned int degree);
    /// The nearest knot there is.
    double at(std::int64_t position) const;
    bool isSpan(unsigned int span) const;

    ERVec<double> knots_;
    unsigned int degree_;
    int unclamped_ = 0;
};

/// The clamped vector with inner knots at equal distances.
KERF_EXPORT ERKnotVector UniformeKnotVector(unsigned int degree, unsigned int nbPoles,
                                            const ERLimites& limits);
/// degree + 1 times each bound.
KERF_EXPORT ERKnotVector BezierKnotVector(unsigned int degree, const ERLimites& limits);

/// An iterator over the distinct knots: it stands on a run of equal ones.
/// Lifetime: it reads the vector it was made of, which must outlive it. After an edit of the vector
///           it is placed anew before it is used.
/// Failure:  a step beyond an end leaves it where it is and sets underflow() or overflow() until it
///           moves again; a search in the constructor or by assignment that misses sets error().
class KERF_EXPORT ERKnot {
public:
    explicit ERKnot(const ERKnotVector& knots);  ///< on the first knot
    ERKnot(const ERKnotVector& knots, double u);
    ERKnot(const ERKnot&) = default;
    ERKnot& operator=(const ERKnot&) = delete;
    /// reach(u), with error() when that gives 0.
    ERKnot& operator=(double u);

    /// Goes to the run of u and returns 1; where u is no knot, to the run just below it, or to the
    /// first, and returns 0. Clears all three marks.
    int reach(double u);
    void reset() { place(0); }  ///< to the first run

    int operator++();  ///< to the next run; 0 on the last
    int operator--();  ///< to the run before; 0 on the first

    double value() const { return positioned_ ? knots_[index_] : 0.0; }
    operator double() const { return value(); }
    unsigned int index() const { return index_; }  ///< of the first knot of the run
    unsigned int multiplicity() const { return multiplicity_; }
    int isFirst() const { return index_ == 0; }
    int isLast() const { return index_ + multiplicity_ == knots_.length(); }

    int overflow() const { return (status_ & overflowBit) != 0; }
    int underflow() const { return (status_ & underflowBit) != 0; }
    int error() const { return (status_ & errorBit) != 0; }

private:
    static constexpr unsigned int underflowBit = 1;
    static constexpr unsigned int overflowBit = 2;
    static constexpr unsigned int errorBit = 4;

    /// Stands on the run that holds that position.
    void place(unsigned int position);

    const ERVec<double>& knots_;
    unsigned int index_ = 0;
    unsigned int multiplicity_ = 0;
    bool positioned_ = false;
    unsigned int status_ = 0;
};

}  // namespace kerf
