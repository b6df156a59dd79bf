#include "kerf/persistence/database_object.h"

#include <ostream>

#include "kerf/core/store_size.h"

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

ERDBObject::ERDBObject(const t_SmartPtr<ERObject>& referred) : object_(referred) {}

ERDBObject::~ERDBObject() = default;

ERDBObject& ERDBObject::object(const t_SmartPtr<ERObject>& referred) {
    object_ = referred;
    setDirty();
    return *this;
}

ERDBObjProperty ERDBObject::property(ERLong key) const {
    ERDBObjProperty value;
    properties_.findValue(key, value);
    return value;
}

ERDBObject& ERDBObject::setProperty(ERLong key, const ERDBObjProperty& value) {
    properties_[key] = value;
    setDirty();
    return *this;
}

ERDBObject& ERDBObject::property(ERLong key, long value) { return setProperty(key, value); }

ERDBObject& ERDBObject::property(ERLong key, int value) { return setProperty(key, value); }

ERDBObject& ERDBObject::property(ERLong key, unsigned int value) { return setProperty(key, value); }

ERDBObject& ERDBObject::property(ERLong key, double value) { return setProperty(key, value); }

ERDBObject& ERDBObject::property(ERLong key, const char* value) { return setProperty(key, value); }

ERLong ERDBObject::color() const { return property(colorKey).operator int(); }

ERDBObject& ERDBObject::color(ERLong value) { return setProperty(colorKey, value); }

ERLong ERDBObject::level() const { return property(levelKey).operator int(); }

ERDBObject& ERDBObject::level(ERLong value) { return setProperty(levelKey, value); }

ERULong ERDBObject::color_rgb() const { return property(colorRgbKey).operator unsigned int(); }

ERDBObject& ERDBObject::color_rgb(ERULong value) {
    return setProperty(colorRgbKey, static_cast<unsigned long>(value));
}

const char* ERDBObject::name() { return properties_[nameKey]; }

const char* ERDBObject::name() const { return textOf(nameKey); }

const char* ERDBObject::textOf(ERLong key) const {
    const ERDBObjProperty* const value = properties_.valueOf(key);
    return value == nullptr ? "" : value->operator const char*();
}

ERDBObject& ERDBObject::name(const char* value) { return setProperty(nameKey, value); }

const char* ERDBObject::level_name() { return properties_[levelNameKey]; }

const char* ERDBObject::level_name() const { return textOf(levelNameKey); }

ERDBObject& ERDBObject::level_name(const char* value) { return setProperty(levelNameKey, value); }

ERObject* ERDBObject::getCopy() const { return new ERDBObject(*this); }

void ERDBObject::printOn(std::ostream& os) const {
    properties_.applyToKeyAndValue(
        [](const ERLong& key, const ERDBObjProperty& value, void* target) {
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
    properties_.saveGuts(file);
    object_.saveGuts(file);
}

void ERDBObject::restoreGuts(ERFile& file) {
    ERObject::restoreGuts(file);
    properties_.restoreGuts(file);
    object_.restoreGuts(file);
}

ERULong ERDBObject::binaryStoreSize() const {
    return storeSizeSum(ERObject::binaryStoreSize(), properties_.binaryStoreSize(),
                        object_.binaryStoreSize());
}

}  // namespace kerf
