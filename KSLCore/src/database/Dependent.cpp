#include "database/Dependent.h"

#include "database/KSLObject.h"
#include "database/ParamDefinition.h"

namespace orv {

Dependent::Dependent(const KSLObject* object, const ParamDefinition* param)
    : Dependent(object->getPath(), param->getName())
{}

}  // namespace orv
