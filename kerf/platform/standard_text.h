#pragma once
#include <concepts>
#include <string>
#include <string_view>

namespace kerf {

/// The texts of the standard library, which are taken where a `const char*` is. Functions that do so are
/// templates over this concept, so that no other argument is ever converted to one.
template <class Text>
concept StandardText = std::same_as<Text, std::string> || std::same_as<Text, std::string_view>;

}  // namespace kerf
