#include "platform/ORVKSLParseUtilities.h"

namespace orv {

ObjectKSLParser::ObjectKSLParser(std::vector<std::string> lines) : MiniKSLParser(std::move(lines)) {}

ObjectKSLParser::~ObjectKSLParser() = default;

std::vector<std::string> ObjectKSLParser::parseForObject(const std::string& type)
{
  m_type = type;
  m_anyName = true;
  return linesFound();
}

std::vector<std::string> ObjectKSLParser::parseForObject(const std::string& type, const std::string& name)
{
  m_type = type;
  m_name = name;
  m_anyName = false;
  return linesFound();
}

std::vector<std::string> ObjectKSLParser::linesFound()
{
  m_first.reset();
  m_last.reset();
  parse();
  if (!m_last)
    return {};
  const auto begin = lines().begin();
  return {begin + static_cast<std::ptrdiff_t>(*m_first), begin + static_cast<std::ptrdiff_t>(*m_last) + 1};
}

void ObjectKSLParser::newObject(const std::string& type, const std::string& name)
{
  if (m_first || type != m_type || (!m_anyName && name != m_name))
    return;
  m_first = currentIndex();
  m_depth = openBlocks().size();
}

void ObjectKSLParser::endObject()
{
  if (m_first && !m_last && openBlocks().size() == m_depth)
    m_last = currentIndex();
}

}  // namespace orv
