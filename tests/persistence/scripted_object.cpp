#include "tests/persistence/scripted_object.h"

namespace kerf {

ER_DEFINE_CLASS(Scripted, ERObject)

std::function<void(ERFile&)> Scripted::restoreAny;

}  // namespace kerf
