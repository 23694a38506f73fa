#include "database/Dependent.h"

#include "database/KSLObject.h"
#include "database/ParamDefinition.h"

namespace orv {

Dependent::Dependent(const KSLObject* object, const ParamDefinition* param)
    : m_objPath(object->getSharedPath()),
      m_paramName(param->getName())
{}

}  // namespace orv
