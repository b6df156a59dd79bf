#pragma once
#include <concepts>

#include "kerf/values/entity.h"

// `t << e` and `t >> e` for every entity, so that no class of entities needs operators of its own.
// Whoever calls them includes the header of the transformation and that of the entity.
namespace kerf {

/// A class of entities whose objects can be copied.
template <class Entity, class Root>
concept CopyableEntity = std::derived_from<Entity, Root> && std::copy_constructible<Entity>;

/// A copy of the entity, of its own class, carried by transformTo. Like every copy it has no
/// identity, and like whatever was changed it is dirty.
template <CopyableEntity<EREntity2D> Entity>
Entity operator<<(const ERTransfo2D& t, const Entity& entity) {
    Entity image(entity);
    static_cast<EREntity2D&>(image).transformTo(t);
    return image;
}
template <CopyableEntity<EREntity3D> Entity>
Entity operator<<(const ERPmSimilitude3D& t, const Entity& entity) {
    Entity image(entity);
    static_cast<EREntity3D&>(image).transformTo(t);
    return image;
}
template <CopyableEntity<EREntity3D> Entity>
Entity operator<<(const ERPmIsometrie3D& t, const Entity& entity) {
    Entity image(entity);
    static_cast<EREntity3D&>(image).transformTo(t);
    return image;
}

/// The same by transformFrom.
template <CopyableEntity<EREntity2D> Entity>
Entity operator>>(const ERTransfo2D& t, const Entity& entity) {
    Entity image(entity);
    static_cast<EREntity2D&>(image).transformFrom(t);
    return image;
}
template <CopyableEntity<EREntity3D> Entity>
Entity operator>>(const ERPmSimilitude3D& t, const Entity& entity) {
    Entity image(entity);
    static_cast<EREntity3D&>(image).transformFrom(t);
    return image;
}
template <CopyableEntity<EREntity3D> Entity>
Entity operator>>(const ERPmIsometrie3D& t, const Entity& entity) {
    Entity image(entity);
    static_cast<EREntity3D&>(image).transformFrom(t);
    return image;
}

}  // namespace kerf
