#include "kerf/display/result_text.h"

#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "kerf/platform/message_format.h"
#include "kerf/platform/sinks.h"

namespace kerf {

namespace {

constexpr const char* ownNumberFormat = "%8.2lf";

// %O, %C and %S are the letters themselves: origin, centre, and "sommet", the apex.
constexpr StringResource ownTexts[] = {
    {resultStrings::sphere, "Sphere"},
    {resultStrings::circle, "Circle"},
    {resultStrings::plane, "Plane"},
    {resultStrings::line, "Line"},
    {resultStrings::center, "Center"},
    {resultStrings::diameter, "Diameter"},
    {resultStrings::undefined, "Indefini"},
    {resultStrings::cylinder, "Cylinder"},
    {resultStrings::cone, "Cone"},
    {resultStrings::torus, "Torus"},
    {resultStrings::axis, "Axis"},
    {resultStrings::apex, "Apex"},
    {resultStrings::halfAngle, "Half-Angle"},
    {resultStrings::radius, "Radius"},
    {resultStrings::smallRadius, "Small Radius"},
    {resultStrings::length, "Length"},
    {resultStrings::width, "Width"},
    {resultStrings::normalVector, "Normal Vector"},
    {resultStrings::direction, "Direction"},
    {resultStrings::point, "Point"},
    {resultStrings::maxDeviation, "Max Dev"},
    {resultStrings::barycenter, "Barycenter"},
    {resultStrings::side, "Side"},
    {resultStrings::origin, "Origin"},
    {resultStrings::scanLines, "ScanLines"},
    {resultStrings::extrusion, "Extrusion"},
    {resultStrings::average, "Average"},
    {resultStrings::error, "Error"},
    {resultStrings::maxValue, "Max Value"},
    {resultStrings::meanValue, "Mean Value"},
    {resultStrings::minValue, "Min Value"},
    {resultStrings::points, "Points"},
    {resultStrings::profile, "Profile"},
    {resultStrings::numberFormat, ownNumberFormat},
    {7100,
     "Cylindre  :%O    : %1 %2 %3 %nV  : %4 %5 %6 %nDiametre  : %7 %n"
     "Ecart Maxi: %8  ( point %9!#4d! )%n"},
    {7101, "Cylindre : ???"},
    {7102, "Droite    :%O    : %1 %2 %3 %nV  : %4 %5 %6 %nEcart Maxi: %7  ( point %8!#4d! )%n"},
    {7103, "Droite : ???"},
    {7104, "Plan      :%O    : %1 %2 %3 %nN  : %4 %5 %6 %nEcart Maxi: %7  ( point %8!#4d! )%n"},
    {7105, "Plan : ???"},
    {7106,
     "Cercle    :%C    : %1 %2 %3 %nN  : %4 %5 %6 %nDiametre  : %7 %n"
     "Ecart Maxi: %8  ( point %9!#4d! )%n"},
    {7107, "Cercle : ???"},
    {7108,
     "Cone      :%S    : %1 %2 %3 %nV  : %4 %5 %6 %nDemi-angle: %7 %n"
     "Ecart Maxi: %8  ( point %9!#4d! )%n"},
    {7109, "Cone : ???"},
    {7110, "Sphere    :%C    : %1 %2 %3 %nDiametre  : %4 %nEcart Maxi: %5  ( point %6!#4d! )%n"},
    {7111, "Sphere : ???"},
    {7112, "Tore      :%C    : %1 %2 %3 %nN  : %4 %5 %6 %nRayons    : %7 %8 %nEcart Maxi: %9 %n"},
    {7113, "Tore : ???"},
    {resultStrings::probeDiameter, "Probe Dia."},
    {resultStrings::distance, "Distance"},
    {resultStrings::gap, "Gap"},
    {resultStrings::flush, "Flush"},
};

[[maybe_unused]] const bool ownTextsAreAdded =
    (addStringTable(ownTexts, std::size(ownTexts)), true);

std::string load(unsigned int number) {
    std::string text;
    loadString(number, text);
    return text;
}

// A printf format of one double, with text around it, as a pattern for formatMessage, which checks
// what it prints: formats may come from the application.
std::optional<std::string> asMessagePattern(const std::string& printfFormat) {
    const std::size_t percent = printfFormat.find('%');
    if (percent == printfFormat.npos) return std::nullopt;
    const std::size_t conversion = printfFormat.find_first_of("eEfFgGaA", percent);
    const std::size_t modifiersEnd =
        printfFormat.find_first_not_of("-+ #0123456789.lL", percent + 1);
    if (conversion == printfFormat.npos || conversion != modifiersEnd) return std::nullopt;
    return printfFormat.substr(0, percent) + "%1!" +
           printfFormat.substr(percent + 1, conversion - percent) + "!" +
           printfFormat.substr(conversion + 1);
}

// Gathers the inserts of a result, numbers as text.
class ResultInserts {
public:
    ResultInserts()
        : pattern_(asMessagePattern(load(resultStrings::numberFormat))
                       .value_or(*asMessagePattern(ownNumberFormat))) {}

    void add(double value) { inserts_.emplace_back(formatMessage(pattern_, {value})); }
    void add(const ERPoint3D& p) {
        add(p.x());
        add(p.y());
        add(p.z());
    }
    void add(int value) { inserts_.emplace_back(value); }

    const std::vector<MessageInsert>& all() const { return inserts_; }

private:
    std::string pattern_;
    std::vector<MessageInsert> inserts_;
};

bool hasSize(FeatureKind kind) { return kind != FeatureKind::Line && kind != FeatureKind::Plane; }

}  // namespace

CString featureResultText(const FeatureResult& feature) {
    const FeatureKind kind = feature.kind;
    const unsigned int format =
        resultStrings::firstResultFormat + 2 * static_cast<unsigned int>(kind);
    if (!feature.isDefined) return formatMessage(load(format + 1), {});

    ResultInserts inserts;
    inserts.add(feature.position);
    if (kind != FeatureKind::Sphere) inserts.add(ERPoint3D(feature.direction));
    if (hasSize(kind)) inserts.add(feature.size);
    if (kind == FeatureKind::Torus) inserts.add(feature.smallRadius);
    inserts.add(feature.maximumDeviation);
    if (kind != FeatureKind::Torus) inserts.add(feature.farthestPoint);
    return formatMessage(load(format), inserts.all());
}

}  // namespace kerf
