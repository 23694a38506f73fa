#include "CheckState.h"

#include <utility>

namespace orv {

ErrorMsg CheckState::error(const char* className, const char* function, std::string message)
{
  return {className, function, std::move(message), errorType::ordinary};
}

ErrorMsg CheckState::warning(const char* className, const char* function, std::string message)
{
  return {className, function, std::move(message), errorType::warning};
}

CheckFinding& CheckState::add(ErrorMsg report, SyntaxTree::Index node, SyntaxTree::LeafKind leaf,
                              std::string subject)
{
  return findings.add(std::move(report), node, leaf, std::move(subject));
}

CheckFinding& CheckState::add(ErrorMsg report, SyntaxTree::Index node, SyntaxTree::LeafKind leaf,
                              std::string subject, CheckedObjects::Index object, const CheckedParam* param)
{
  CheckFinding& finding = findings.add(std::move(report), node, leaf, std::move(subject));
  finding.object = objects[object].path;
  if (param)
    finding.parameter = param->definition->getName();
  return finding;
}

}  // namespace orv
