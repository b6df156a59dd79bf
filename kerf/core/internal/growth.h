#pragma once

namespace kerf {

/// The next room of a container that is full with `room` elements: twice as much, so that adding n
/// elements one by one copies each about once, but at most `most`.
constexpr unsigned int doubledRoom(unsigned int room, unsigned int most = ~0u) {
    return room > most / 2 ? most : 2 * room;
}

}  // namespace kerf
