#include "database/Dependent.h"

#include "database/KSLObject.h"

namespace orv {

Dependent::Dependent(const KSLObject* object, const ParamDefinition* param)
    : m_objPath(object->getSharedPath()),
      m_rules(param->getRules())
{}

}  // namespace orv
