#pragma once
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "kerf/platform/config.h"

namespace kerf {

/// What a message puts in place of %1 to %9.
using MessageInsert = std::variant<int, double, std::string>;

/// Fills a pattern in the platform's message notation:
///   %1 to %9        the insert of that number
///   %1!format!      the same through a printf format without its percent sign, as in %8!#4d!
///   %n              end of line
///   %0              ends the text here
///   %c              any other character c stands for itself, so %% is a percent sign
/// Formats are flags, width, precision, an unused length (h, l, ll, L, I64) and one of d i u x X o
/// c for an int, e f g a in both cases for a double, s for a string. Width and precision are at
/// most 512; larger ones count as 512.
///
/// Without a format an int prints as by d, a double as by g. An exclamation mark without a second
/// one is text.
/// Damage: patterns are not trusted. An insert that is missing, or whose format does not suit it,
///         prints as empty text.
KERF_EXPORT std::string formatMessage(std::string_view pattern,
                                      const std::vector<MessageInsert>& inserts);

}  // namespace kerf
