#include "kerf/values/result_text.h"

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
    feature.smallRadius = 7.5;
    feature.maximumDeviation = 0.126;
    feature.farthestPoint = 12;
    return featureResultText(feature).str();
}

TEST(ResultText, PrintsEveryKindOfFeature) {
    const std::string position = ":     1.23   -20.00 12345.68 \n", v = "V  ", n = "N  ";
    const std::string direction = ":     0.00     0.60    -0.80 \n", size = ":    50.25 \n";
    const std::string deviation = "Ecart Maxi:     0.13  ( point   12 )\n";
    const struct {
        FeatureKind kind;
        std::string defined, undefined;
    } known[] = {
        {FeatureKind::Line, "Droite    :O    " + position + v + direction, "Droite"},
        {FeatureKind::Plane, "Plan      :O    " + position + n + direction, "Plan"},
        {FeatureKind::Cylinder, "Cylindre  :O    " + position + v + direction + "Diametre  " + size,
         "Cylindre"},
        {FeatureKind::Circle, "Cercle    :C    " + position + n + direction + "Diametre  " + size,
         "Cercle"},
        {FeatureKind::Cone, "Cone      :S    " + position + v + direction + "Demi-angle" + size,
         "Cone"},
        {FeatureKind::Sphere, "Sphere    :C    " + position + "Diametre  " + size, "Sphere"}};
    for (const auto& feature : known) {
        EXPECT_EQ(measured(feature.kind), feature.defined + deviation);
        EXPECT_EQ(measured(feature.kind, false), feature.undefined + " : ???");
    }
    EXPECT_EQ(measured(FeatureKind::Torus), "Tore      :C    " + position + n + direction +
                                                "Rayons    :    50.25     7.50 \n"
                                                "Ecart Maxi:     0.13 \n");
    EXPECT_EQ(measured(FeatureKind::Torus, false), "Tore : ???");
    CString text;
    for (unsigned int gap : {7000u, 7034u, 7114u, 7122u, 7126u}) EXPECT_FALSE(text.LoadString(gap));
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
    for (const char* bad : {"%s", "%n%n%n%n", "%*lf", "%d and %lf", "plain", "%", "%8.2l"}) {
        number = bad;
        EXPECT_EQ(measured(FeatureKind::Sphere), safe) << bad;
    }
    setStringSource(former);
}

}  // namespace
}  // namespace kerf
