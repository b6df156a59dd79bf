#include "kerf/processing/chainer.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <ostream>
#include <typeinfo>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace kerf {

ER_DEFINE_ABSTRACT_CLASS(ERChainerSeg2D, ERObject)
ER_DEFINE_ABSTRACT_CLASS(ERChainedMetaSeg2D, ERChainerSeg2D)

namespace {

constexpr const char* numberSign = "n\xB0";  // Latin-1

const ERChainedMetaSeg2D* asChain(const ERChainerSeg2D& segment) {
    return segment.isKindOf(ERChainedMetaSeg2D::desc()) != 0
               ? static_cast<const ERChainedMetaSeg2D*>(&segment)
               : nullptr;
}

bool isNull(const ERVector2D& v) { return v.i() == 0.0 && v.j() == 0.0; }

// By the segments' own ends: whether one was reversed since makes no difference.
bool areEqual(const ERChainerSeg2D& a, const ERChainerSeg2D& b) {
    if (a.length() != b.length()) return false;
    const ERPoint2D a1 = a.getExt1(), a2 = a.getExt2(), b1 = b.getExt1(), b2 = b.getExt2();
    const bool sameWay = a1 == b1 && a2 == b2, otherWay = a1 == b2 && a2 == b1;
    if (!sameWay && !otherWay) return false;
    const ERVector2D s1 = a.getTan1(), s2 = a.getTan2(), t1 = b.getTan1(), t2 = b.getTan2();
    if (isNull(s1) || isNull(s2)) return false;
    const bool sameTangents =
        (sameWay && s1 == t1 && s2 == t2) || (otherWay && s1 == -t2 && s2 == -t1);
    return sameTangents && a.sameDepth(b) != 0;
}

}  // namespace

void ERChainerSeg2D::reverse() { reversed = reversed == 0 ? 1 : 0; }

ERPoint2D ERChainerSeg2D::first() const { return reversed != 0 ? getExt2() : getExt1(); }

ERPoint2D ERChainerSeg2D::last() const { return reversed != 0 ? getExt1() : getExt2(); }

ERVector2D ERChainerSeg2D::firstT() const { return reversed != 0 ? getTan2() : getTan1(); }

ERVector2D ERChainerSeg2D::lastT() const { return reversed != 0 ? getTan1() : getTan2(); }

double ERChainerSeg2D::length() const { return distance(getExt1(), getExt2()); }

SegCompState ERChainerSeg2D::compareWith(const ERChainerSeg2D* o, double tol) const {
    if (o == nullptr || sameDepth(*o) == 0) return noMatch;
    const double t = tol * tol;
    const ERPoint2D p = first(), q = last(), r = o->first(), s = o->last();
    const double pr = distance2(p, r), ps = distance2(p, s);
    const double qr = distance2(q, r), qs = distance2(q, s);
    if ((pr < t && ps < t) || (qr < t && qs < t)) return overlap;
    if (pr < t && pr <= ps && pr < qr && qs > std::max(o->length(), length())) return firstFirst;
    if (ps < t && ps <= pr && ps < qr && ps < qs) return firstLast;
    if (qr < t && qr <= qs) return lastFirst;
    if (qs < t && qs <= qr) return lastLast;
    return noMatch;
}

int ERChainerSeg2D::sameDepth(const ERChainerSeg2D&) const { return 1; }

ERObject* ERChainerSeg2D::getCopy() const { return ERObject::getCopy(); }

void ERChainerSeg2D::printOn(std::ostream& os) const {
    os << " reverse :" << reversed << std::endl;
    os << "  first  = " << first() << " last  = " << last() << std::endl;
    os << "  firstT = " << firstT() << " lastT = " << lastT() << std::endl;
}

// Chains.

void ERChainedMetaSeg2D::reverse() {
    auto low = segments.begin(), high = segments.end();
    for (unsigned int pairs = entries() / 2; pairs > 0; --pairs, ++low) std::swap(*low, *--high);
    for (const t_SmartPtr<ERChainerSeg2D>& segment : segments) segment->reverse();
}

SegCompState ERChainedMetaSeg2D::compareWith(const ERChainerSeg2D* o, double tol) const {
    if (ERChainerSeg2D::compareWith(o, tol) == noMatch) return noMatch;
    const ERChainedMetaSeg2D* const chain = asChain(*o);
    const ERChainerSeg2D *const f = firstSeg(), *const l = lastSeg();
    const ERChainerSeg2D* const of = chain != nullptr ? chain->firstSeg() : o;
    const ERChainerSeg2D* const ol = chain != nullptr ? chain->lastSeg() : o;
    if (f == nullptr || of == nullptr) return noMatch;
    if (areEqual(*f, *of) || areEqual(*f, *ol) || areEqual(*l, *of) || areEqual(*l, *ol))
        return overlap;
    if (f->compareWith(of, tol) == firstFirst) return firstFirst;
    if (f->compareWith(ol, tol) == firstLast) return firstLast;
    if (l->compareWith(of, tol) == lastFirst) return lastFirst;
    if (l->compareWith(ol, tol) == lastLast) return lastLast;
    return noMatch;
}

ERPoint2D ERChainedMetaSeg2D::getExt1() const {
    return segments.isEmpty() ? ERPoint2D() : segments.first()->first();
}

ERPoint2D ERChainedMetaSeg2D::getExt2() const {
    return segments.isEmpty() ? ERPoint2D() : segments.last()->last();
}

ERVector2D ERChainedMetaSeg2D::getTan1() const {
    return segments.isEmpty() ? ERVector2D() : segments.first()->firstT();
}

ERVector2D ERChainedMetaSeg2D::getTan2() const {
    return segments.isEmpty() ? ERVector2D() : segments.last()->lastT();
}

ERChainerSeg2D* ERChainedMetaSeg2D::firstSeg() const {
    if (segments.isEmpty()) return nullptr;
    return reversed != 0 ? segments.last() : segments.first();
}

ERChainerSeg2D* ERChainedMetaSeg2D::lastSeg() const {
    if (segments.isEmpty()) return nullptr;
    return reversed != 0 ? segments.first() : segments.last();
}

int ERChainedMetaSeg2D::isClosed() const { return isEqual(first(), last(), equalityTolerance); }

void ERChainedMetaSeg2D::insert(const t_SmartPtr<ERChainerSeg2D>& segment) {
    if (!segment) return;
    if (asChain(*segment) != nullptr) {
        if (isWithin(*segment)) return;
        holdsChains_ = true;
    }
    segments.append(segment);
    totalLength += segment->length();
}

void ERChainedMetaSeg2D::merge(ERChainedMetaSeg2D& o) {
    auto segment = o.segments.begin();
    for (unsigned int left = o.entries(); left > 0; --left, ++segment) insert(*segment);
}

void ERChainedMetaSeg2D::applyOnSegment(void (*f)(ERChainerSeg2D*, void*), void* data) const {
    for (const t_SmartPtr<ERChainerSeg2D>& segment : segments) f(segment, data);
}

void ERChainedMetaSeg2D::printOn(std::ostream& os) const {
    os << "  chaine  : " << std::endl;
    os << "  nb d'elements " << entries() << std::endl;
    ERChainerSeg2D::printOn(os);
    unsigned int count = 0;
    for (const t_SmartPtr<ERChainerSeg2D>& segment : segments) {
        os << "   elements " << numberSign << count++ << " adresse "
           << static_cast<const void*>(segment.getObject()) << std::endl;
        segment->printOn(os);
    }
}

// The lengths are added in one sum, which may differ from the one that adds them one by one in the last
// digits.
void ERChainedMetaSeg2D::take(ERChainedMetaSeg2D& o) {
    if (&o == this || o.references() > 1 || o.holdsChains_) {
        merge(o);
        return;
    }
    segments.appendAll(o.segments);
    totalLength += o.totalLength;
}

// Whether the segment is this chain or a chain that holds it, at any depth.
bool ERChainedMetaSeg2D::isWithin(const ERChainerSeg2D& segment) const {
    std::unordered_set<const ERChainedMetaSeg2D*> known;
    std::vector<const ERChainedMetaSeg2D*> pending;
    const auto meet = [&](const ERChainerSeg2D& met) {
        const ERChainedMetaSeg2D* const chain = asChain(met);
        if (chain != nullptr && known.insert(chain).second) pending.push_back(chain);
    };
    meet(segment);
    while (!pending.empty()) {
        const ERChainedMetaSeg2D& chain = *pending.back();
        pending.pop_back();
        if (&chain == this) return true;
        if (!chain.holdsChains_) continue;
        for (const t_SmartPtr<ERChainerSeg2D>& held : chain.segments) meet(*held);
    }
    return false;
}

SegCompState StandardCompare(const ERChainedMetaSeg2D& a, const ERChainedMetaSeg2D& b, double tol) {
    return a.compareWith(&b, tol);
}

// The index.

/// The chains of a processor by the grid cells in which their ends lie. It leaves out no chain whose
/// comparison could find an end within the tolerance.
class ERChainerProcessor::Index {
    using Chain = t_SmartPtr<ERChainedMetaSeg2D>;
    using Chains = ERTValDlist<Chain>;

public:
    /// A chain in the list. Numbers rise along the list.
    struct Place {
        std::uint64_t number;
        Chains::iterator chain;
    };

    Index(Chains& chains, double tol) : reach_(reachOf(tol)), cell_(4 * reach_) {
        for (auto chain = chains.begin(); chain != chains.end(); ++chain) add(chain);
    }

    /// A chain that was appended to the list.
    void add(Chains::iterator chain) {
        const Place place{++lastNumber_, chain};
        Held held{chain, cellsOf(**chain)};
        for (const Cell& cell : held.cells) byCell_.emplace(cell, place);
        held_.emplace(place.number, std::move(held));
    }

    void remove(std::uint64_t number) {
        const auto held = held_.find(number);
        for (const Cell& cell : held->second.cells) {
            auto [at, end] = byCell_.equal_range(cell);
            while (at != end && at->second.number != number) ++at;
            if (at != end) byCell_.erase(at);
        }
        held_.erase(held);
    }

    /// The chains after that number in the list.
    std::vector<Place> after(std::uint64_t number) const {
        std::vector<Place> places;
        for (auto at = held_.upper_bound(number); at != held_.end(); ++at)
            places.push_back({at->first, at->second.chain});
        return places;
    }

    /// Those of them whose ends may be within the tolerance of an end of this chain.
    std::vector<Place> near(const ERChainedMetaSeg2D& chain, std::uint64_t number) const {
        if (!usesGrid()) return after(number);
        std::vector<Place> places;
        const auto collect = [&](const Cell& cell) {
            const auto [begin, end] = byCell_.equal_range(cell);
            for (auto at = begin; at != end; ++at)
                if (at->second.number > number) places.push_back(at->second);
        };
        std::vector<Cell> cells;
        for (const ERPoint2D& p : {chain.first(), chain.last()}) {
            if (!isFinite(p)) continue;
            for (const double dx : {-reach_, reach_})
                for (const double dy : {-reach_, reach_})
                    cells.push_back(cellOf(ERPoint2D(p.x() + dx, p.y() + dy)));
        }
        cells.push_back(everywhere);
        makeUnique(cells,
                   [](const Cell& a, const Cell& b) { return a.x != b.x ? a.x < b.x : a.y < b.y; });
        for (const Cell& cell : cells) collect(cell);
        makeUnique(places, [](const Place& a, const Place& b) { return a.number < b.number; });
        return places;
    }

private:
    struct Cell {
        std::int64_t x, y;
        bool operator==(const Cell&) const = default;
    };
    struct CellHash {
        std::size_t operator()(const Cell& cell) const {
            const auto mixed = static_cast<std::uint64_t>(cell.x) * 0x9E3779B97F4A7C15u ^
                               static_cast<std::uint64_t>(cell.y) * 0xC2B2AE3D27D4EB4Fu;
            return static_cast<std::size_t>(mixed ^ (mixed >> 29));
        }
    };
    struct Held {
        Chains::iterator chain;
        std::vector<Cell> cells;
    };

    static constexpr double farthest = 0x1p50;  // cells beyond are one
    static constexpr Cell everywhere{INT64_MAX, INT64_MAX};

    // A little more than the tolerance, for its square is rounded; 0 where the square has no digits: then
    // there is no grid.
    static double reachOf(double tol) {
        const double size = std::fabs(tol);
        return size > 1e-140 && size < 1e140 ? 1.001 * size : 0.0;
    }
    bool usesGrid() const { return reach_ > 0.0; }

    static bool isFinite(const ERPoint2D& p) {
        return std::isfinite(p.x()) && std::isfinite(p.y());
    }

    template <class T, class Less>
    static void makeUnique(std::vector<T>& values, Less less) {
        std::sort(values.begin(), values.end(), less);
        const auto same = [&](const T& a, const T& b) { return !less(a, b) && !less(b, a); };
        values.erase(std::unique(values.begin(), values.end(), same), values.end());
    }

    // Each step is monotonic, so what lies between two points lies in a cell between theirs; a reach
    // spans two cells at most.
    Cell cellOf(const ERPoint2D& p) const {
        const auto along = [&](double x) {
            return static_cast<std::int64_t>(
                std::clamp(std::floor(x / cell_), -farthest, farthest));
        };
        return {along(p.x()), along(p.y())};
    }

    // An end that is not finite is close to none. A class of the caller's may compare as it likes.
    std::vector<Cell> cellsOf(const ERChainedMetaSeg2D& chain) const {
        if (!usesGrid()) return {};
        if (typeid(chain) != typeid(ERChainedMetaSeg2D)) return {everywhere};
        std::vector<Cell> cells;
        for (const ERPoint2D& p : {chain.first(), chain.last()}) {
            if (!isFinite(p)) continue;
            const Cell cell = cellOf(p);
            if (cells.empty() || !(cells.front() == cell)) cells.push_back(cell);
        }
        return cells;
    }

    double reach_, cell_;
    std::uint64_t lastNumber_ = 0;
    std::map<std::uint64_t, Held> held_;
    std::unordered_multimap<Cell, Place, CellHash> byCell_;
};

// The processor.

ERChainerProcessor::ERChainerProcessor(double tol) : tol_(tol) {}

ERChainerProcessor::ERChainerProcessor(const ERChainerProcessor& other)
    : compare(other.compare), chains_(other.chains_), tol_(other.tol_) {}

ERChainerProcessor& ERChainerProcessor::operator=(const ERChainerProcessor& other) {
    chains_ = other.chains_;
    setTol(other.tol_);
    return *this;
}

ERChainerProcessor::~ERChainerProcessor() = default;

int ERChainerProcessor::insert(t_SmartPtr<ERChainerSeg2D> segment) {
    ChainPointer chain(new ERChainedMetaSeg2D(segment));
    return enter(chain);
}

int ERChainerProcessor::insert(t_SmartPtr<ERChainedMetaSeg2D> chain) { return enter(chain); }

int ERChainerProcessor::enter(ChainPointer& chain) {
    if (!chain || chain->entries() == 0) return 0;
    if (!index_) index_ = std::make_unique<Index>(chains_, tol_);
    if (chain->isClosed() != 0) {
        append(chain);
        return 1;
    }
    if (chain->length() < tol_) return 0;
    const auto placesAfter = [&](std::uint64_t passed) {
        return compare == &StandardCompare ? index_->near(*chain, passed) : index_->after(passed);
    };
    std::vector<Index::Place> places = placesAfter(0);
    for (std::size_t i = 0; i < places.size();) {
        const Index::Place place = places[i++];
        const SegCompState state = compare(**place.chain, *chain, tol_);
        if (state == overlap || state == overlapOther) return 0;
        if (state < firstFirst || state > lastLast) continue;
        const ChainPointer met = *place.chain;
        index_->remove(place.number);
        chains_.erase(place.chain);
        if (state == firstFirst || state == lastLast) chain->reverse();
        if (state == firstFirst || state == firstLast) {
            chain->take(*met);
        } else {
            met->take(*chain);
            chain = met;
        }
        places = placesAfter(place.number);
        i = 0;
    }
    append(chain);
    return 1;
}

void ERChainerProcessor::append(const ChainPointer& chain) {
    chains_.append(chain);
    index_->add(--chains_.end());
}

const ERChainedMetaSeg2D* ERChainerProcessor::getAt(int position) const {
    return chains_.at(static_cast<unsigned int>(position));
}

void ERChainerProcessor::setTol(double tol) {
    tol_ = tol;
    index_.reset();
}

void ERChainerProcessor::applyOnMChain(void (*f)(ERChainedMetaSeg2D*, void*), void* data) {
    for (const ChainPointer& chain : chains_) f(chain, data);
    index_.reset();
}

void ERChainerProcessor::applyOnSegment(void (*f)(ERChainerSeg2D*, void*), void* data) {
    for (const ChainPointer& chain : chains_) chain->applyOnSegment(f, data);
    index_.reset();
}

void ERChainerProcessor::printOn(std::ostream& os) const {
    os << "Gestionnaire de Chaine 2D " << std::endl;
    os << "   nb de chaines : " << nbchains() << std::endl;
    unsigned int count = 0;
    for (const ChainPointer& chain : chains_) {
        os << "   chaine " << numberSign << count++ << std::endl;
        chain->printOn(os);
    }
}

}  // namespace kerf
