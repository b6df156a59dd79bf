#include "kerf/core/class_registry.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "kerf/platform/sinks.h"

namespace kerf {

constinit ERClassRegistration* ERClassRegistration::pFirstClass = nullptr;

ERClassRegistration::ERClassRegistration(const char* className, unsigned int classSize,
                                         const ERClassRegistration** directBases,
                                         const ERClassRegistration** memberClasses, Creator builder)
    : ERClassRegistration(Unlinked{}, className, classSize, directBases, memberClasses, builder) {
    link();
}

ERClassRegistration::~ERClassRegistration() {
    for (ERClassRegistration** place = &pFirstClass; *place != nullptr; place = &(*place)->next) {
        if (*place == this) {
            *place = next;
            return;
        }
    }
}

void ERClassRegistration::link() {
    if (findClassRegistration(name) != nullptr)
        outputDebugText(("two classes are named " + std::string(name) +
                         "; objects are built as the one registered last\n")
                            .c_str());
    next = pFirstClass;
    pFirstClass = this;
}

int ERClassRegistration::isKindOf(const ERClassRegistration* c) const {
    if (this == c) return 1;
    if (bases == nullptr) return 0;
    for (const ERClassRegistration** base = bases; *base != nullptr; ++base)
        if ((*base)->isKindOf(c)) return 1;
    return 0;
}

int ERClassRegistration::hasMember(const ERClassRegistration* c) const {
    if (this == c) return 1;
    for (const ERClassRegistration** member = members; *member != nullptr; ++member)
        if ((*member)->hasMember(c)) return 1;
    return 0;
}

const ERClassRegistration* ERClassRegistration::findClassRegistration(const char* className) {
    if (className == nullptr) return nullptr;
    for (const ERClassRegistration* c = pFirstClass; c != nullptr; c = c->next)
        if (c->name != nullptr && std::strcmp(c->name, className) == 0) return c;
    return nullptr;
}

ERClassRegistration::Creator ERClassRegistration::findCreator(const char* className) {
    const ERClassRegistration* found = findClassRegistration(className);
    return found == nullptr ? nullptr : found->creator;
}

void ERClassRegistration::DumpBased(int level) const {
    if (bases == nullptr) return;
    for (const ERClassRegistration** base = bases; *base != nullptr; ++base) {
        const std::string tabs(static_cast<std::size_t>(std::max(level, -1) + 1), '\t');
        outputDebugText((tabs + "+------->" + (*base)->name + "\n").c_str());
        (*base)->DumpBased(level + 1);
    }
}

void erreurCastDown(const ERClassRegistration*, const ERClassRegistration*) {}

}  // namespace kerf
