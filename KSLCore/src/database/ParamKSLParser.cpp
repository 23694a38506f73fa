#include "database/ParamKSLParser.h"

#include <algorithm>
#include <utility>

namespace orv {

ParamKSLParser::ParamKSLParser(std::vector<std::string> lines) : MiniKSLParser(std::move(lines)) {}

ParamKSLParser::~ParamKSLParser() = default;

void ParamKSLParser::parseForParam(const std::string& objectKey, const std::string& paramName)
{
  m_objectKey = objectKey;
  m_paramName = paramName;
  parse();
}

void ParamKSLParser::newParameter(const std::string& name, const std::string& value)
{
  if (name != m_paramName)
    return;
  const std::vector<Block>& blocks = openBlocks();
  const auto found = std::find_if(blocks.rbegin(), blocks.rend(),
                                  [this](const Block& block) { return block.first == m_objectKey; });
  if (found != blocks.rend())
    m_results.emplace(found->second, value);
}

}  // namespace orv
