#include "kerf/processing/region.h"

#include <algorithm>
#include <cmath>
#include <ostream>

#include "kerf/processing/internal/edge_runs.h"

namespace kerf {

ER_DEFINE_ABSTRACT_CLASS(ERRegion2D, ERObject)

namespace {

constexpr unsigned int largestFirstRoom = 4096;  // contours, whatever capacity is asked for

}  // namespace

ERDebugIntersect::~ERDebugIntersect() = default;

ERRegion2D::ERRegion2D(unsigned int capacity, int firstOuter)
    : contours_(std::make_shared<detail::Contours>()), firstOuter_(firstOuter) {
    contours_->reserve(std::min(capacity, largestFirstRoom));
}

ERRegion2D::ERRegion2D(const ERRegion2D&) = default;
ERRegion2D& ERRegion2D::operator=(const ERRegion2D&) = default;
ERRegion2D::~ERRegion2D() = default;

void ERRegion2D::Add(const ERVec<ERPoint2D>& contour) {
    detail::Contour added(contour);
    if (count_ < contours_->size())
        (*contours_)[count_] = std::move(added);
    else
        contours_->push_back(std::move(added));
    ++count_;
}

ERVec<ERPoint2D> ERRegion2D::Contour(int i) const {
    KERF_CHECK_ARGUMENT(i >= 0 && static_cast<unsigned int>(i) < count_);
    return (*contours_)[static_cast<unsigned int>(i)].points();
}

ERMinimax2D ERRegion2D::getBox() const {
    return count_ == 0 ? ERMinimax2D() : contours_->front().box();
}

PosContours ERRegion2D::CheckPoint(const ERPoint2D& p, int& contour) const {
    if (count_ == 0) return InRegion;
    contour = 0;
    if (std::isnan(p.x()) || std::isnan(p.y())) return OutOfRegion;
    for (unsigned int i = 0; i < count_; ++i) {
        const detail::Contour& tried = (*contours_)[i];
        const bool outer = i == 0 && firstOuter_ != 0;
        contour = static_cast<int>(i);
        if (outer && !tried.box().contains(p)) return OutOfRegion;
        switch (tried.position(p)) {
            case InsidePolygon:
                if (!outer) return OutOfRegion;
                break;
            case OutsidePolygon:
                if (outer) return OutOfRegion;
                break;
            case OnVertex:
                return OnContourVertex;
            case OnEdge:
                return OnContourEdge;
        }
    }
    return InRegion;
}

ER_MINMAX_POSITION_POLYGONE ERRegion2D::IsInDomain(const ERMinimax2D& box) const {
    if (count_ == 0) return PolygonPartly;
    bool inOuter = false;
    unsigned int apart = 0;
    for (unsigned int i = 0; i < count_; ++i) {
        const ER_MINMAX_POSITION_POLYGONE position = (*contours_)[i].position(box);
        if (position == PolygonCrossing) return PolygonCrossing;
        if (i == 0 && firstOuter_ != 0) {
            if (position != PolygonInside) return position;
            inOuter = true;
        } else if (position == PolygonInside) {
            return PolygonOutside;
        } else if (position == PolygonOutside) {
            ++apart;
        }
    }
    return inOuter && apart == count_ - 1 ? PolygonInside : PolygonCrossing;
}

void ERRegion2D::saveGuts(ERFile&) const {}
void ERRegion2D::restoreGuts(ERFile&) {}
ERULong ERRegion2D::binaryStoreSize() const { return 0; }

void ERRegion2D::printOn(std::ostream& os) const {
    os << count_ << ' ' << firstOuter_ << '\n';
    for (unsigned int i = 0; i < count_; ++i)
        os << "//  contour " << i << '\n' << (*contours_)[i].points() << '\n';
}

ERObject* ERRegion2D::getCopy() const {
    ERRegion2D* const copy = new ERRegion2D(count_, firstOuter_);
    for (unsigned int i = 0; i < count_; ++i) copy->Add((*contours_)[i].points());
    return copy;
}

}  // namespace kerf
