#include "actions/ReplaceDirectiveInserter.h"

namespace orv {

namespace {

constexpr const char* indentColumns = "  ";
constexpr std::size_t stepSize = 2;

}  // namespace

// A text does not tell "T:T" from the singleton "T": both are looked up as the latter.
ReplaceDirectiveInserter::ReplaceDirectiveInserter(std::vector<std::string> lines,
                                                   const std::set<KSLPath>& paths)
    : MiniKSLParser(std::move(lines))
{
  for (const KSLPath& path : paths) {
    KSLPath written;
    for (std::size_t i = 0; i < path.size(); ++i)
      written.push(path[i].type, path[i].name);
    m_paths.insert(std::move(written));
  }
}

ReplaceDirectiveInserter::~ReplaceDirectiveInserter() = default;

std::vector<std::string> ReplaceDirectiveInserter::insert()
{
  if (m_paths.empty())
    return lines();
  m_current = {};
  m_indentation.clear();
  m_output.clear();
  parse();
  return std::move(m_output);
}

void ReplaceDirectiveInserter::newObject(const std::string& type, const std::string& name)
{
  m_current.push(type, name);
  const bool replace = inReplaceMode() || m_paths.count(m_current) != 0;
  m_output.push_back(m_indentation + (replace ? "&replace " : "") + m_current[m_current.size() - 1].header());
  m_indentation += indentColumns;
}

void ReplaceDirectiveInserter::newParameter(const std::string& name, const std::string& value)
{
  m_output.push_back(m_indentation + name + " = " + value);
}

void ReplaceDirectiveInserter::endObject()
{
  m_indentation.resize(m_indentation.size() - stepSize);
  m_output.push_back(m_indentation + "END");
  m_current.pop();
}

void ReplaceDirectiveInserter::otherLine(const std::string& line)
{
  m_output.push_back(line);
}

}  // namespace orv
