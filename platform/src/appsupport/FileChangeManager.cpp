#include "platform/ORVApplicationSupport.h"

namespace orv {

FileChangeManager::~FileChangeManager() = default;

}  // namespace orv
