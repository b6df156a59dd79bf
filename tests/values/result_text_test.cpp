#include "kerf/values/result_text.h"

#include <gtest/gtest.h>

#include <string>

#include "kerf/platform/sinks.h"

namespace kerf {
namespace {

FeatureResult measured(FeatureKind kind) {
    FeatureResult feature;
    feature.kind = kind;
    feature.isDefined = true;
    feature.position = ERPoint3D(1.234, -20, 12345.678);
    feature.direction = ERVector3D(0, 0.6, -0.8);
    feature.size = 50.25;
    feature.smallRadius = 7.5;
    feature.maximumDeviation = 0.126;
    feature.farthestPoint = 12;
    return feature;
}

std::string loaded(unsigned int number) {
    CString text;
    EXPECT_TRUE(text.LoadString(number)) << number;
    return text.str();
}

TEST(ResultText, HoldsTheTextsOfTheLibrary) {
    EXPECT_EQ(loaded(7001), "Sphere");
    EXPECT_EQ(loaded(7007), "Indefini");
    EXPECT_EQ(loaded(7013), "Half-Angle");
    EXPECT_EQ(loaded(7024), "Origin");
    EXPECT_EQ(loaded(7033), "Profile");
    EXPECT_EQ(loaded(7099), "%8.2lf");
    EXPECT_EQ(loaded(7102),
              "Droite    :%O    : %1 %2 %3 %nV  : %4 %5 %6 %nEcart Maxi: %7  ( point %8!#4d! )%n");
    EXPECT_EQ(loaded(7103), "Droite : ???");
    EXPECT_EQ(loaded(resultStrings::flush), "Flush");
    CString text;
    for (unsigned int gap : {7000u, 7034u, 7114u, 7122u, 7126u}) EXPECT_FALSE(text.LoadString(gap));
}

TEST(ResultText, PrintsEveryKindOfFeature) {
    const std::string position = "    1.23   -20.00 12345.68 \n";
    const std::string direction = "    0.00     0.60    -0.80 \n";
    const std::string deviation = "Ecart Maxi:     0.13  ( point   12 )\n";
    const auto text = [](FeatureKind kind) { return featureResultText(measured(kind)).str(); };
    EXPECT_EQ(text(FeatureKind::Line),
              "Droite    :O    : " + position + "V  : " + direction + deviation);
    EXPECT_EQ(text(FeatureKind::Plane),
              "Plan      :O    : " + position + "N  : " + direction + deviation);
    EXPECT_EQ(text(FeatureKind::Cylinder), "Cylindre  :O    : " + position + "V  : " + direction +
                                               "Diametre  :    50.25 \n" + deviation);
    EXPECT_EQ(text(FeatureKind::Circle), "Cercle    :C    : " + position + "N  : " + direction +
                                             "Diametre  :    50.25 \n" + deviation);
    EXPECT_EQ(text(FeatureKind::Cone), "Cone      :S    : " + position + "V  : " + direction +
                                           "Demi-angle:    50.25 \n" + deviation);
    EXPECT_EQ(text(FeatureKind::Sphere),
              "Sphere    :C    : " + position + "Diametre  :    50.25 \n" + deviation);
    EXPECT_EQ(text(FeatureKind::Torus), "Tore      :C    : " + position + "N  : " + direction +
                                            "Rayons    :    50.25     7.50 \n"
                                            "Ecart Maxi:     0.13 \n");
}

TEST(ResultText, NamesAnUndefinedFeatureOnly) {
    const char* const texts[] = {"Cylindre : ???", "Droite : ???", "Plan : ???", "Cercle : ???",
                                 "Cone : ???",     "Sphere : ???", "Tore : ???"};
    for (int kind = 0; kind < 7; ++kind) {
        FeatureResult feature = measured(static_cast<FeatureKind>(kind));
        feature.isDefined = false;
        EXPECT_EQ(featureResultText(feature), texts[kind]);
    }
}

TEST(ResultText, UsesTheTextsOfTheApplication) {
    std::string number = "<%.3lf mm>";
    const StringSource former = setStringSource([&](unsigned int wanted, std::string& text) {
        if (wanted == resultStrings::numberFormat) text = number;
        if (wanted == 7110) text = "Kugel %4 um %1 %2 %3, Punkt %6";
        return !text.empty();
    });
    EXPECT_EQ(featureResultText(measured(FeatureKind::Sphere)),
              "Kugel <50.250 mm> um <1.234 mm> <-20.000 mm> <12345.678 mm>, Punkt 12");
    // None of these prints one double, and some would be harmful.
    for (const char* bad : {"%s", "%n%n%n%n", "%*lf", "%d and %lf", "plain", "%", "%8.2l"}) {
        number = bad;
        EXPECT_EQ(featureResultText(measured(FeatureKind::Sphere)),
                  "Kugel    50.25 um     1.23   -20.00 12345.68, Punkt 12")
            << bad;
    }
    setStringSource(former);
}

}  // namespace
}  // namespace kerf
