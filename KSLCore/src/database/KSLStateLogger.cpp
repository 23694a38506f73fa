#include "database/KSLStateLogger.h"

namespace orv {

KSLStateLogger::~KSLStateLogger() = default;

}  // namespace orv
