#pragma once
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <map>
#include <string>

#include "examples/text_input.h"
#include "kerf/display/formatter.h"
#include "kerf/platform/sinks.h"

// Points, displacements and directions in the coordinates that the operator chose.

namespace operatorDisplay {

// The labels of the formatters belong to the application, which gives them by number.
inline bool label(unsigned int number, std::string& text) {
    static const std::map<unsigned int, const char*> labels = {
        {953, "Cartesian\nCylindrical\nSpherical"},
        {954, "Cosines\nAngles\nAzimuth"},
        {955, "X\nY\nZ\nX coordinate\nY coordinate\nZ coordinate"},
        {956, "Angle\nRadius\nZ\nPolar angle\nDistance from the axis\nHeight"},
        {957, "Angle\nElev.\nRadius\nPolar angle\nElevation\nDistance from the origin"},
        {958, "I\nJ\nK\nX component\nY component\nZ component"},
        {959, "A\nB\nC\nAngle from Y to Z\nAngle from Z to X\nAngle from X to Y"},
        {960, "Azim.\nElev.\n\nAngle from X to Y\nAngle above the XY plane\n"}};
    const auto found = labels.find(number);
    if (found != labels.end()) text = found->second;
    return found != labels.end();
}

}  // namespace operatorDisplay

/// The index of the text in the list; -1 when it is not there.
inline int choiceOf(const std::string& text, const std::array<const char*, 3>& list) {
    const auto found = std::find(list.begin(), list.end(), text);
    return found == list.end() ? -1 : static_cast<int>(found - list.begin());
}

/// The choice of coordFormatorPoint3D of that name; -1 when it is none.
inline int pointFormOf(const std::string& name) {
    return choiceOf(name, {"cartesian", "cylindrical", "spherical"});
}

/// Prints values in the forms that the operator chose, which are choices of the formatters.
class Display {
public:
    explicit Display(int pointForm, int directionForm = 0) {
        kerf::setStringSource(operatorDisplay::label);
        points.SetCurrentChoice(pointForm);
        deltas.SetCurrentChoice(pointForm);
        directions.SetCurrentChoice(directionForm);
    }

    template <class Value>
    std::string show(kerf::coordFormator& form, const Value& value) const {
        kerf::Coordinate internal;
        internal.Init(value);
        const kerf::Coordinate shown = form.ToDisplay(internal);
        std::string text;
        for (int line = 0; line < linesOf(form); ++line) {
            const bool isAngle =
                form.GetDimension(line, form.GetCurrentChoice()) == kerf::kerfUnitType::angle;
            const int decimals = isAngle ? 4 : 6;
            char number[64];
            std::snprintf(number, sizeof number, "%12.*f", decimals,
                          ::shown(shown[line], isAngle ? 1e-4 : 1e-6));
            text += number;
        }
        return text;
    }
    // A unit of length is the file's own; angles are in degrees.
    std::string head(const kerf::coordFormator& form) const {
        std::string text;
        for (int line = 0; line < linesOf(form); ++line) {
            char title[64];
            std::snprintf(title, sizeof title, "%12s",
                          static_cast<const char*>(form.GetPrefix(line)));
            text += title;
        }
        return text;
    }

    kerf::coordFormatorPoint3D points;
    kerf::coordFormatorDelta3D deltas;
    kerf::coordFormatorUnitVector3D directions;

private:
    static int linesOf(const kerf::coordFormator& form) {
        return form.GetNumberOfLineForChoice(form.GetCurrentChoice());
    }
};
