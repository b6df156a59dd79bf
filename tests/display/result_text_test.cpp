#include "kerf/display/result_text.h"

#include <gtest/gtest.h>

#include "kerf/platform/sinks.h"

namespace kerf {
namespace {

std::string measured(FeatureKind kind, bool isDefined = true) {
    FeatureResult feature;
    feature.kind = kind;
    feature.isDefined = isDefined;
    feature.position = ERPoint3D(1.234, -20, 12345.678);
    feature.direction = ERVector3D(0, 0.6, -0.8);
    feature.size = 50.25;
    feature.maximumDeviation = 0.126;
    feature.farthestPoint = 12;
    return featureResultText(feature).str();
}

TEST(ResultText, PrintsEveryKindOfFeatureUnderItsName) {
    EXPECT_EQ(measured(FeatureKind::Circle),
              "Cercle    :C    :     1.23   -20.00 12345.68 \nN  :     0.00     0.60    -0.80 \n"
              "Diametre  :    50.25 \nEcart Maxi:     0.13  ( point   12 )\n");
    const char* const names[] = {"Droite", "Plan", "Cylindre", "Cercle", "Cone", "Sphere", "Tore"};
    using enum FeatureKind;
    const FeatureKind kinds[] = {Line, Plane, Cylinder, Circle, Cone, Sphere, Torus};
    for (int i = 0; i < 7; ++i) {
        EXPECT_EQ(measured(kinds[i]).find(names[i]), 0u);
        EXPECT_EQ(measured(kinds[i], false), std::string(names[i]) + " : ???");
    }
}

TEST(ResultText, UsesTheTextsOfTheApplication) {
    std::string number = "<%.3lf mm>";
    const StringSource former = setStringSource([&](unsigned int wanted, std::string& text) {
        if (wanted == resultStrings::numberFormat) text = number;
        if (wanted == 7110) text = "Kugel %4 um %1 %2 %3, Punkt %6";
        return !text.empty();
    });
    EXPECT_EQ(measured(FeatureKind::Sphere),
              "Kugel <50.250 mm> um <1.234 mm> <-20.000 mm> <12345.678 mm>, Punkt 12");
    // None of these prints one double, and some would be harmful.
    const std::string safe = "Kugel    50.25 um     1.23   -20.00 12345.68, Punkt 12";
    for (const char* bad : {"%s", "%*lf", "%d and %lf", "plain", "%8.2l"}) {
        number = bad;
        EXPECT_EQ(measured(FeatureKind::Sphere), safe) << bad;
    }
    setStringSource(former);
}

}  // namespace
}  // namespace kerf
