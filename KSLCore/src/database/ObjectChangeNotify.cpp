#include "database/ObjectChangeNotify.h"

namespace orv {

ObjectChangeNotify::~ObjectChangeNotify() = default;

}  // namespace orv
