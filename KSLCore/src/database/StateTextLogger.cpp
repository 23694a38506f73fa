#include "database/StateTextLogger.h"

#include "database/KSLObject.h"

namespace orv {

StateTextLogger::~StateTextLogger() = default;

void StateTextLogger::objectBegin(const KSLObject* object)
{
  m_out.append(m_indent, ' ').append(object->getType()) += ':';
  if (!object->isSingleton())
    m_out += object->getName();
  m_out += '\n';
  m_indent += 2;
}

void StateTextLogger::parameter(const KSLObject*, const ParamDefinition* param)
{
  if (param->getValue().empty())
    return;
  m_out.append(m_indent, ' ').append(param->getName()).append(" = ").append(param->getValue()) += '\n';
}

void StateTextLogger::objectEnd(const KSLObject*)
{
  m_indent -= 2;
  m_out.append(m_indent, ' ').append("END\n");
}

}  // namespace orv
