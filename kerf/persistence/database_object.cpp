#include "kerf/persistence/database_object.h"

#include <ostream>

namespace kerf {

ER_DEFINE_CLASS(ERDBObject, ERObject)

namespace {

constexpr ERLong colorKey = 1;
constexpr ERLong levelKey = 2;
constexpr ERLong nameKey = 3;
constexpr ERLong colorRgbKey = 4;
constexpr ERLong levelNameKey = 5;

}  // namespace

ERDBObject::ERDBObject() = default;

ERDBObject::ERDBObject(t_SmartPtr<ERObject> referred) : object_(referred) {}

ERDBObject::~ERDBObject() = default;

ERDBObject& ERDBObject::object(t_SmartPtr<ERObject> referred) {
    object_ = referred;
    setDirty();
    return *this;
}

ERDBObjProperty ERDBObject::property(ERLong key) const {
    ERDBObjProperty value;
    properties.findValue(key, value);
    return value;
}

ERDBObject& ERDBObject::setProperty(ERLong key, ERDBObjProperty const& value) {
    properties[key] = value;
    setDirty();
    return *this;
}

ERDBObject& ERDBObject::property(ERLong key, long value) { return setProperty(key, value); }

ERDBObject& ERDBObject::property(ERLong key, int value) { return setProperty(key, value); }

ERDBObject& ERDBObject::property(ERLong key, unsigned int value) { return setProperty(key, value); }

ERDBObject& ERDBObject::property(ERLong key, double value) { return setProperty(key, value); }

ERDBObject& ERDBObject::property(ERLong key, char const* value) { return setProperty(key, value); }

ERLong ERDBObject::color() const { return property(colorKey).operator int(); }

ERDBObject& ERDBObject::color(ERLong value) { return setProperty(colorKey, value); }

ERLong ERDBObject::level() const { return property(levelKey).operator int(); }

ERDBObject& ERDBObject::level(ERLong value) { return setProperty(levelKey, value); }

ERULong ERDBObject::color_rgb() const { return property(colorRgbKey).operator unsigned int(); }

ERDBObject& ERDBObject::color_rgb(ERULong value) {
    return setProperty(colorRgbKey, static_cast<unsigned long>(value));
}

char const* ERDBObject::name() { return properties[nameKey]; }

ERDBObject& ERDBObject::name(char const* value) { return setProperty(nameKey, value); }

char const* ERDBObject::level_name() { return properties[levelNameKey]; }

ERDBObject& ERDBObject::level_name(char const* value) { return setProperty(levelNameKey, value); }

ERObject* ERDBObject::getCopy() const { return new ERDBObject(*this); }

void ERDBObject::printOn(std::ostream& os) const {
    properties.applyToKeyAndValue(
        [](ERLong const& key, ERDBObjProperty const& value, void* target) {
            std::ostream& out = *static_cast<std::ostream*>(target);
            out << "[" << key << "] ";
            value.printOn(out);
            out << std::endl;
        },
        &os);
    object_.printOn(os);
}

void ERDBObject::saveGuts(ERFile& file) const {
    ERObject::saveGuts(file);
    properties.saveGuts(file);
    object_.saveGuts(file);
}

void ERDBObject::restoreGuts(ERFile& file) {
    ERObject::restoreGuts(file);
    properties.restoreGuts(file);
    object_.restoreGuts(file);
}

ERULong ERDBObject::binaryStoreSize() const {
    return ERObject::binaryStoreSize() + properties.binaryStoreSize() + object_.binaryStoreSize();
}

}  // namespace kerf
