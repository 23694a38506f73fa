#include "WhyCommand.h"

#include "platform/ORVError.h"
#include "database/KSLObject.h"
#include "rules/GenericKSLObject.h"
#include "command/KSLCoreAPI.h"
#include "ChangeRecord.h"
#include "TextTable.h"
#include "Values.h"
#include "session/CalculationLog.h"

#include <algorithm>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <unistd.h>
#include <utility>

using nlohmann::ordered_json;
using orv::CalculationLog;
using orv::CalculationReason;
using orv::GenericKSLObject;
using orv::KSLObject;
using orv::ParamDefinition;
using orv::SchedulerObject;

namespace {

std::string nameOf(const std::string& path, const std::string& scheduler)
{
  return path + " (" + scheduler + ")";
}

std::string nameOf(const SchedulerObject& scheduler)
{
  return nameOf(scheduler.getPath(), scheduler.getType());
}

// "Location = Mid"; of a list, which may be long, its name.
std::string linkName(const ParamDefinition& param)
{
  const bool isList = !param.getRemoteType().empty() && param.splitValue().size() > 1;
  return isList ? "in " + param.getName() : param.getName() + " = " + param.getValue();
}

// Whether a parameter of the child's object leads from the parent to it.
bool leads(const ParamDefinition& param, const SchedulerObject& parent, const SchedulerObject& child)
{
  if (param.getLocalType() != child.getType())
    return false;
  if (param.getRemoteType() != parent.getType())
    return param.getRemoteType().empty() && param.isExpression() && !param.isPureNumeric();
  const std::vector<const KSLObject*> named = child.getKSLObject()->namedObjects(param);
  return std::find(named.begin(), named.end(), parent.getKSLObject()) != named.end();
}

// How data come from the one to the other: "Location = Mid"; empty within one object.
std::string linkText(const SchedulerObject& parent, const SchedulerObject& child)
{
  std::string text;
  if (parent.getKSLObject() != child.getKSLObject())
    child.getKSLObject()->forEachParam([&](const ParamDefinition& param) {
      if (leads(param, parent, child))
        text += (text.empty() ? "" : "; ") + linkName(param);
    });
  return text;
}

// A calculation, and how it was reached by the one before.
struct Link {
  const CalculationLog::Entry* entry;
  std::string by;
};

const SchedulerObject* findScheduler(const std::string& path, const std::string& type)
{
  const auto* object =
      dynamic_cast<const GenericKSLObject*>(orv::KSLCoreAPI::instance()->getObjectByPath(path));
  return object ? object->findSchedulerObject(type) : nullptr;
}

// From the change that began it to the scheduler; empty when it was never calculated.
std::vector<Link> chainTo(const SchedulerObject& scheduler, const CalculationLog& log)
{
  std::vector<Link> chain;
  const CalculationLog::Entry* entry =
      log.findLast(scheduler.getPath(), scheduler.getType(), log.entries().size());
  while (entry) {
    chain.push_back({entry, {}});
    const bool isReached =
        std::all_of(entry->reasons.begin(), entry->reasons.end(),
                    [](const CalculationReason& r) { return r.kind == CalculationReason::parent; });
    if (entry->reasons.empty() || !isReached)
      break;
    const CalculationReason& parent = entry->reasons.front();
    const SchedulerObject* from = findScheduler(parent.name, parent.scheduler);
    const SchedulerObject* to = findScheduler(entry->path, entry->scheduler);
    if (from && to)
      chain.back().by = linkText(*from, *to);
    entry =
        log.findLast(parent.name, parent.scheduler, static_cast<std::size_t>(entry - log.entries().data()));
  }
  std::reverse(chain.begin(), chain.end());
  return chain;
}

std::string causeText(const CalculationLog::Entry& entry)
{
  std::string names;
  for (const CalculationReason& reason : entry.reasons) {
    if (reason.kind == CalculationReason::isNew)
      return "made";
    if (reason.kind == CalculationReason::parameter)
      names += (names.empty() ? "" : ", ") + reason.name;
  }
  return names.empty() ? "recalculated on request" : names + " changed";
}

// One of those that a scheduler is computed from, at any distance.
struct Source {
  const SchedulerObject* scheduler;
  std::string by;
  std::size_t depth;
  bool again;  // it and what it is computed from stand above
};

std::vector<Source> sourcesOf(const SchedulerObject& top)
{
  std::vector<Source> sources;
  std::set<const SchedulerObject*> known;
  std::vector<Source> waiting;
  const auto addParents = [&](const SchedulerObject& child, std::size_t depth) {
    std::vector<Source> parents;
    for (const orv::LinkMap::Entry& edge : child.getParents())
      parents.push_back({edge.first, linkText(*edge.first, child), depth, false});
    std::sort(parents.begin(), parents.end(),
              [](const Source& a, const Source& b) { return nameOf(*a.scheduler) > nameOf(*b.scheduler); });
    waiting.insert(waiting.end(), parents.begin(), parents.end());
  };
  addParents(top, 1);
  while (!waiting.empty()) {
    Source source = waiting.back();
    waiting.pop_back();
    source.again = !known.insert(source.scheduler).second && !source.scheduler->getParents().empty();
    sources.push_back(source);
    if (!source.again)
      addParents(*source.scheduler, source.depth + 1);
  }
  return sources;
}

class Answer {
 public:
  Answer(const NamedParam& subject, const ChangeRecord& record)
      : m_subject(subject),
        m_record(record),
        m_coloured(takesColour(STDOUT_FILENO))
  {}

  std::string text() const
  {
    std::string text = m_subject.param.empty() ? std::string() : paramText();
    const std::vector<const SchedulerObject*> schedulers = asked();
    if (schedulers.empty())
      text += m_subject.param.empty() ? m_subject.object->getPath() + " computes nothing.\n"
                                      : "  nothing is computed from it in this object\n";
    for (const SchedulerObject* scheduler : schedulers)
      text += (text.empty() ? "" : "\n") + schedulerText(*scheduler);
    return text;
  }

  ordered_json json() const
  {
    ordered_json json{{"object", m_subject.object->getPath()}};
    if (!m_subject.param.empty()) {
      json["parameter"] = m_subject.param;
      json["value"] = m_subject.object->getValue(m_subject.param);
      json["setBy"] = m_record.setBy(*m_subject.object, m_subject.param);
    }
    ordered_json& list = json["computes"] = ordered_json::array();
    for (const SchedulerObject* scheduler : asked())
      list.push_back(schedulerJson(*scheduler));
    return json;
  }

 private:
  // Of a parameter those that it changes, of an object all.
  std::vector<const SchedulerObject*> asked() const
  {
    std::vector<const SchedulerObject*> list;
    const auto* object = dynamic_cast<const GenericKSLObject*>(m_subject.object);
    if (!object)
      return list;
    const ParamDefinition* param = m_subject.param.empty() ? nullptr : object->lookUpParam(m_subject.param);
    for (const SchedulerObject& scheduler : object->getSchedulers())
      if (!param || param->getLocalType() == scheduler.getType())
        list.push_back(&scheduler);
    return list;
  }

  std::string paramText() const
  {
    const ParamDefinition& param = *m_subject.object->lookUpParam(m_subject.param);
    const std::string setter = m_record.setBy(*m_subject.object, m_subject.param);
    std::string text = styled(m_subject.object->getPath() + "." + m_subject.param, "1", m_coloured) + " = "
                       + (param.getValue().empty() ? "(empty)" : param.getValue()) + "\n";
    if (!setter.empty())
      text += "  set by " + setter + "\n";
    else
      text += param.isInternal() ? "  a result\n" : "  the default: nothing set it\n";
    for (const KSLObject* named : param.getRemoteType().empty() ? std::vector<const KSLObject*>()
                                                                : m_subject.object->namedObjects(param))
      if (named)
        text += "  names " + named->getPath() + "\n";
    return text;
  }

  std::string schedulerText(const SchedulerObject& scheduler) const
  {
    std::string text = styled(nameOf(scheduler), "1", m_coloured);
    text += scheduler.isPending() ? "  not up to date\n" : "\n";
    const std::vector<Link> chain = chainTo(scheduler, m_record.log());
    if (!chain.empty()) {
      text += "  last reached by " + m_record.nameOf(*chain.front().entry) + "\n";
      TextTable steps;
      for (const Link& link : chain)
        steps.add({nameOf(link.entry->path, link.entry->scheduler),
                   &link == &chain.front() ? causeText(*link.entry) : link.by});
      text += steps.text(4);
    }
    TextTable table;
    for (const Source& source : sourcesOf(scheduler))
      table.add({std::string(2 * source.depth - 2, ' ') + nameOf(*source.scheduler),
                 source.by + (source.again ? (source.by.empty() ? "as above" : "; as above") : "")});
    return text + (table.empty() ? "  computed from nothing else\n" : "  computed from\n" + table.text(4));
  }

  ordered_json schedulerJson(const SchedulerObject& scheduler) const
  {
    ordered_json json{{"scheduler", scheduler.getType()}, {"pending", scheduler.isPending()}};
    const std::vector<Link> chain = chainTo(scheduler, m_record.log());
    json["reachedBy"] = chain.empty() ? std::string() : m_record.nameOf(*chain.front().entry);
    json["chain"] = ordered_json::array();
    for (const Link& link : chain)
      json["chain"].push_back({{"path", link.entry->path},
                               {"scheduler", link.entry->scheduler},
                               {"by", &link == &chain.front() ? causeText(*link.entry) : link.by}});
    json["sources"] = ordered_json::array();
    for (const Source& source : sourcesOf(scheduler))
      if (!source.again)
        json["sources"].push_back({{"path", source.scheduler->getPath()},
                                   {"scheduler", source.scheduler->getType()},
                                   {"distance", source.depth},
                                   {"by", source.by}});
    return json;
  }

  const NamedParam& m_subject;
  const ChangeRecord& m_record;
  const bool m_coloured;
};

}  // namespace

void WhyCommand::print(const std::string& subject, const ChangeRecord& record, OutputFormat format)
{
  const NamedParam named = requireNamed(subject);
  const Answer answer(named, record);
  std::cout << (format == OutputFormat::json ? printedJson(answer.json()) : answer.text());
}

int WhyCommand::run(const Options& options)
{
  std::optional<ChangeRecord> record;
  const auto watch = [&](const std::string& name) {
    if (record)
      record->endCommand();
    else
      record.emplace();
    record->beginCommand(name);
  };
  const auto answer = [&] {
    print(options.subject, *record, options.query.format);
    record.reset();
  };
  return runQuery(options.query, answer, watch);
}
