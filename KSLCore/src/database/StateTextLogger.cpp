#include "database/StateTextLogger.h"

#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"

namespace orv {

namespace {

// A line that ends in a backslash would go on in the next one; a blank behind it keeps it a line, and is no part of
// what is read.
void endLine(std::string& out)
{
  out += out.back() == '\\' ? " \n" : "\n";
}

}  // namespace

StateTextLogger::~StateTextLogger() = default;

void StateTextLogger::objectBegin(const KSLObject* object)
{
  m_out.append(m_indent, ' ').append(object->getType()) += ':';
  if (!object->isSingleton())
    m_out += StringUtilities::writtenName(object->getName());
  endLine(m_out);
  m_indent += 2;
}

void StateTextLogger::parameter(const KSLObject*, const ParamDefinition* param)
{
  if (param->getValue().empty())
    return;
  m_out.append(m_indent, ' ').append(param->getName()).append(" = ").append(param->getValue());
  endLine(m_out);
}

void StateTextLogger::objectEnd(const KSLObject*)
{
  m_indent -= 2;
  m_out.append(m_indent, ' ').append("END\n");
}

}  // namespace orv
