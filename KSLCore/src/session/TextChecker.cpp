#include "session/TextChecker.h"

#include "platform/ORVExpressions.h"
#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "rules/GenericKSLObject.h"
#include "command/ActionExecutor.h"
#include "CheckMemory.h"
#include "CheckedActions.h"
#include "CheckedExpressions.h"
#include "CheckedFindings.h"
#include "CheckedNames.h"
#include "CheckedObjects.h"
#include "CheckedTypes.h"

#include <algorithm>
#include <optional>
#include <set>
#include <utility>

namespace orv {

namespace {

using Index = SyntaxTree::Index;
using Kind = SyntaxTree::Kind;
using LeafKind = SyntaxTree::LeafKind;
using ObjectIndex = CheckedObjects::Index;

ErrorMsg error(const char* className, const char* function, std::string message)
{
  return {className, function, std::move(message), errorType::ordinary};
}

ErrorMsg warning(const char* className, const char* function, std::string message)
{
  return {className, function, std::move(message), errorType::warning};
}

// False only for texts that are surely numbers, with units or without: most are.
bool mayHoldNames(std::string_view text)
{
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '[')
      i = std::min(text.find(']', i), text.size() - 1);
    else if ((text[i] | 0x20) >= 'a' && (text[i] | 0x20) <= 'z')
      return true;
  }
  return false;
}

bool takesObjectsAlone(std::string_view action)
{
  return action == "forceupdate" || action == "fu" || action == "getstate" || action == "s";
}

}  // namespace

class TextChecker::Impl {
 public:
  // `own` is the memory when the caller has none.
  Impl(const std::vector<std::string>& actions, CheckMemory::Impl& memory, std::unique_ptr<CheckMemory> own)
      : m_ownMemory(std::move(own)),
        m_memory(memory),
        m_actions(actions.begin(), actions.end())
  {
    for (const KSLObject* object : ObjectDB::instance()->getAllObjects())
      if (const auto* computing = dynamic_cast<const GenericKSLObject*>(object);
          computing && computing->definesNames())
        computing->forEachDefinedName([this](const std::string& name) { m_expressions[name]; });
  }

  void check(const SyntaxTree& tree, KnownStatements& known)
  {
    m_tree = &tree;
    m_known = &known;
    m_names.begin(tree, m_text);
    m_blocks.clear();
    m_findings.begin(tree, m_text);
    m_findings.addSyntax([this](std::string_view type) { return m_types.find(type) != nullptr; });
    const bool settlesBlocks = tree.reading() == SyntaxTree::Reading::command;
    const Index end = tree.reading() == SyntaxTree::Reading::library ? 0 : tree.size();
    for (Index i = 0; i < end; ++i) {
      const SyntaxTree::Node node = tree[i];
      if (node.kind == Kind::blank || node.kind == Kind::comment)
        continue;
      while (!m_blocks.empty() && m_blocks.back().node != node.parent)
        m_blocks.pop_back();
      if (node.parent == SyntaxTree::none && (settlesBlocks || node.kind == Kind::action))
        settle();
      if (node.faults == 0 || node.faults == SyntaxTree::leftOpen)
        checkNode(i, node);
      else if (node.kind == Kind::header)
        m_blocks.push_back({i, CheckedObjects::none});
    }
    settle();
    checkContexts();
    ++m_text;
  }

  KnownStatements& knownOf(std::size_t key) { return m_memory.texts[key]; }

  void collectNames() { m_collects = true; }

  std::vector<NameInText> names()
  {
    for (const Missing& missing : m_missing)
      if (const CheckedObjects::Hit hit = resolve(missing.object, *missing.param, missing.item);
          hit.object != CheckedObjects::none) {
        m_names.begin(*missing.place.tree, missing.place.text);
        m_names.addItem(missing.place.node, missing.number, m_objects[hit.object].path);
      }
    for (const MissingName& missing : m_missingNames)
      addUse(missing.object, missing.name, missing.place);
    for (const LaterUse& use : m_uses)
      addUse(use.object, use.name, use.place);
    return m_names.take();
  }

  std::vector<CheckFinding> finish()
  {
    for (const Missing& missing : m_missing)
      lookLater(missing);
    for (const MissingName& missing : m_missingNames)
      lookLater(missing);
    return m_findings.take();
  }

 private:
  struct Block {
    Index node;
    ObjectIndex object;  // none when what is in it cannot be checked
  };
  // A value that names something, to be judged when what was defined takes effect.
  struct Pending {
    ObjectIndex object;
    Index node;
    const CheckedParam* param;
    std::string value;
  };
  struct Context {
    ObjectIndex object;
    Index node;
    const CheckedParam* param;
  };
  using Expression = CheckedExpression;
  // A place that names something, in a text that may be done with.
  struct Place {
    const SyntaxTree* tree;
    std::size_t text;
    Index node;
  };
  // A name in the definition of an expression, which may come before what it names.
  struct LaterUse {
    ObjectIndex object;
    std::string name;
    Place place;
  };
  // An object that was not there when it was named.
  struct Missing {
    std::size_t finding;
    ObjectIndex object;
    const CheckedParam* param;
    std::string item;
    Place place;
    std::size_t number;  // of the item in the value
  };

  // A name of an expression that was not defined when it was used.
  struct MissingName {
    std::size_t finding;
    ObjectIndex object;
    std::string name;
    Place place;
  };

  CheckFinding& add(ErrorMsg error, Index node, LeafKind leaf, std::string subject)
  {
    return m_findings.add(std::move(error), node, leaf, std::move(subject));
  }

  CheckFinding& add(ErrorMsg error, Index node, LeafKind leaf, std::string subject, ObjectIndex object,
                    const CheckedParam* param)
  {
    CheckFinding& finding = m_findings.add(std::move(error), node, leaf, std::move(subject));
    finding.object = m_objects[object].path;
    if (param)
      finding.parameter = param->definition->getName();
    return finding;
  }

  Place placeOf(Index node) const { return {m_tree, m_text, node}; }

  void addUse(ObjectIndex object, const std::string& name, const Place& place)
  {
    m_names.begin(*place.tree, place.text);
    if (m_expressions.count(name) > 0)
      m_names.addUses(place.node, name, true, name);
    else if (const CheckedObjects::Hit hit = resolveVariable(object, name); hit.fits)
      m_names.addUses(place.node, name, false, m_objects[hit.object].path);
  }

  // ---- statements

  void checkNode(Index node, const SyntaxTree::Node& statement)
  {
    if (statement.kind == Kind::header)
      beginBlock(node);
    else if (statement.kind == Kind::parameter && !m_blocks.empty()
             && m_blocks.back().object != CheckedObjects::none)
      checkParam(node, m_blocks.back().object, (*m_known)[statement.id]);
    else if (statement.kind == Kind::action)
      checkAction(node);
  }

  void beginBlock(Index node)
  {
    const ObjectIndex parent = m_blocks.empty() ? CheckedObjects::root : m_blocks.back().object;
    m_blocks.push_back({node, CheckedObjects::none});
    if (parent == CheckedObjects::none)
      return;
    const SyntaxTree::Statement header = m_tree->read(node, m_room);
    const CheckedType* type = m_types.find(header.first);
    if (!type) {
      addUnknownType(node, std::string(header.first), parent);
      return;
    }
    if (type->prototype->isSingleton() && !header.rest.empty() && header.rest != type->name) {
      const std::string name(header.rest);
      add(error("KSLObject", "initialize",
                _("'%s' is a singleton object, but name '%s' does not equal type.", type->name, name)),
          node, LeafKind::name, name);
    }
    const ObjectIndex object = defineObject(node, header, parent, *type);
    m_blocks.back().object = object;
    if (!type->parents.empty())
      checkParent(node, object);
  }

  void addUnknownType(Index node, const std::string& name, ObjectIndex parent)
  {
    if (name == "RULES" && parent == CheckedObjects::root) {
      add(error("KSLAPI", "loadKSLData", _("Object type '%s' cannot be changed by a command.", name)), node,
          LeafKind::type, name);
      return;
    }
    add(error("ObjectFactory", "createObject", _("Could not find object: %s", name)), node, LeafKind::type,
        name)
        .valid = ObjectFactory::instance()->getObjectTypes();
  }

  ObjectIndex defineObject(Index node, const SyntaxTree::Statement& header, ObjectIndex parent,
                           const CheckedType& type)
  {
    ObjectIndex object = m_objects.define(parent, type, header.rest);
    if (header.replace && m_objects[object].text != static_cast<std::size_t>(-1)) {
      m_objects.remove(object);
      object = m_objects.define(parent, type, header.rest);
    }
    CheckedObjects::Object& defined = m_objects[object];
    if (defined.text == static_cast<std::size_t>(-1)) {
      defined.text = m_text;
      defined.offset = (*m_tree)[node].offset;
    }
    if (m_collects)
      m_names.addHeader(node, defined.path);
    return object;
  }

  void checkParent(Index node, ObjectIndex object)
  {
    const CheckedObjects::Object& made = m_objects[object];
    const CheckedType* parent = m_objects[made.parent].type;
    const std::vector<std::string>& allowed = made.type->parents;
    if (parent && std::find(allowed.begin(), allowed.end(), parent->name) != allowed.end())
      return;
    add(warning("KSLAPI", "validateKSLData",
                _("Object '%s' does not stand in an object of type %s.", made.path,
                  StringUtilities::vectorToString(allowed, " or "))),
        node, LeafKind::type, made.type->name, object, nullptr);
  }

  void checkParam(Index node, ObjectIndex object, KnownStatement& known)
  {
    const CheckedType& type = *m_objects[object].type;
    if (known.type == &type && !known.mayName)
      return checkContext(node, object, *known.param);
    const SyntaxTree::Statement statement = m_tree->read(node, m_room);
    const CheckedParam* param = known.type == &type ? known.param : type.findParam(statement.first);
    if (type.takesAnyParam)
      checkDefinition(node, object, std::string(statement.first), std::string(statement.rest));
    else if (param)
      checkValue(node, object, *param, std::string(statement.rest), known);
    else if (m_tree->missingEnds() == 0)  // else it may stand in another block than it seems
      add(error(
              "DataKSLObject", "setValue",
              _("Parameter '%s' is not recognized on object '%s'.", statement.first, m_objects[object].path)),
          node, LeafKind::parameter, std::string(statement.first), object, nullptr)
          .valid = type.paramNames();
  }

  void checkDefinition(Index node, ObjectIndex object, const std::string& name, const std::string& value)
  {
    Expression& expression =
        m_expressions[name] = {m_text, node, object, value, checkExpression(node, object, name, value)};
    m_definitionsChanged = true;
    if (!m_collects)
      return;
    m_names.addDefined(node, name);
    for (const std::string& used : expression.uses)
      m_uses.push_back({CheckedObjects::root, used, placeOf(node)});
  }

  // The names that it uses.
  std::vector<std::string> checkExpression(Index node, ObjectIndex object, const std::string& name,
                                           const std::string& value)
  {
    ExpressionDef expression(value);
    try {
      if (!value.empty())
        expression.parse(name);
    } catch (const Error& error) {
      add(ErrorMsg(error), node, LeafKind::value, value, object, nullptr).parameter = name;
    }
    return expression.isParsed() ? expression.getNames() : std::vector<std::string>();
  }

  void checkValue(Index node, ObjectIndex index, const CheckedParam& param, const std::string& value,
                  KnownStatement& known)
  {
    CheckedObjects::Object& object = m_objects[index];
    const KnownStatement told = known.type == object.type ? known : judge(node, index, param, value);
    if (told.mayName)
      noteNames(node, index, param, value);
    known = told;
    if (object.type->contextRule == param.definition->getName()) {
      object.context = value;
      object.hasContext = true;
      known.type = nullptr;  // it is to be read each time
    }
    checkContext(node, index, param);
  }

  // What the statement alone says; nothing when that is wrong, which is told.
  KnownStatement judge(Index node, ObjectIndex index, const CheckedParam& param, const std::string& value)
  {
    const ParamDefinition& definition = *param.definition;
    const CheckedType* type = m_objects[index].type;
    if (definition.getAllowedValues().count(value) > 0)
      return {type, &param, false};
    if (!definition.isAllowedValue(value)) {
      addRefusal(node, index, param, value);
      return {};
    }
    if (!isSound(node, index, param, value))
      return {};
    const bool isUsual = value.empty() || value == definition.getDefaultValue();
    return {type, &param, !isUsual && mayNameSomething(*type, param, value)};
  }

  static bool mayNameSomething(const CheckedType& type, const CheckedParam& param, const std::string& value)
  {
    if (!type.computing || type.computing->waitsWithoutError())
      return false;
    return param.isReference || (param.isExpression && mayHoldNames(value));
  }

  void checkContext(Index node, ObjectIndex index, const CheckedParam& param)
  {
    if (!param.inAllContexts && !belongs(m_objects[index], *param.definition))
      m_contexts.push_back({index, node, &param});
  }

  // As far as its type says.
  bool isSound(Index node, ObjectIndex index, const CheckedParam& param, const std::string& value)
  {
    const std::string& name = param.definition->getName();
    const std::string& path = m_objects[index].path;
    const auto message = [&] {
      return _("Parameter '%s' of object '%s' cannot have value '%s'.", name, path, value);
    };
    if (const std::string reason = whyRefused(param, value); !reason.empty()) {
      add(error("KSLAPI", "validateKSLData", message()), node, LeafKind::value, value, index, &param)
          .notes.push_back({(*m_tree)[node].offset, reason});
      return false;
    }
    if (const std::string reason = whyNoPreference(*m_objects[index].type, name, value); !reason.empty()) {
      add(error("UnitsKSLObject", "update", message() + " " + reason), node, LeafKind::value, value, index,
          &param);
      return false;
    }
    return true;
  }

  void addRefusal(Index node, ObjectIndex object, const CheckedParam& param, const std::string& value)
  {
    const ParamDefinition& definition = *param.definition;
    add(error("ParamDefinition", "setValue",
              _("Parameter '%s' cannot have value '%s'.", definition.getName(), value)),
        node, LeafKind::value, value, object, &param)
        .valid = definition.getRules()->allowedInOrder;
  }

  void noteNames(Index node, ObjectIndex object, const CheckedParam& param, const std::string& value)
  {
    if (param.isExpression && param.kind == CheckedParam::Kind::text)
      checkExpression(node, object, param.definition->getName(), value);
    m_pending.push_back({object, node, &param, value});
  }

  // ---- what takes effect together

  // Of a parameter that is set twice the last text counts.
  void settle()
  {
    std::set<std::pair<ObjectIndex, const CheckedParam*>> seen;
    for (auto pending = m_pending.rbegin(); pending != m_pending.rend(); ++pending) {
      if (!m_objects[pending->object].alive
          || (m_pending.size() > 1 && !seen.emplace(pending->object, pending->param).second))
        continue;
      if (pending->param->isReference)
        checkReference(*pending);
      else
        checkNames(*pending);
    }
    m_pending.clear();
    if (std::exchange(m_definitionsChanged, false)) {
      for (const std::string& name : std::set<std::string>(m_used))
        checkUses(name, nullptr);
      checkCircles();
    }
  }

  CheckedObjects::Hit resolve(ObjectIndex object, const CheckedParam& param, const std::string& item) const
  {
    const std::string& remote = param.definition->getRemoteType();
    return m_objects.resolve(object, item, param.definition->getRemotePath(), [&](const CheckedType& type) {
      return remote.empty() || type.hasScheduler(remote);
    });
  }

  void checkReference(const Pending& pending)
  {
    const ParamDefinition& definition = *pending.param->definition;
    std::size_t number = 0;
    for (const std::string& item : StringUtilities::splitValue(pending.value)) {
      const std::size_t place = number++;
      const std::string name(StringUtilities::unquoted(item));
      if (name.empty() || definition.getAllowedValues().count(item) > 0)
        continue;
      const CheckedObjects::Hit hit = resolve(pending.object, *pending.param, item);
      if (m_collects && hit.object != CheckedObjects::none)
        m_names.addItem(pending.node, place, m_objects[hit.object].path);
      if (!hit.candidates.empty())
        addAmbiguous(pending, name, hit.candidates);
      else if (hit.object == CheckedObjects::none)
        addMissing(pending, item, name, place);
      else if (!hit.fits && m_objects[pending.object].type->hasScheduler(definition.getLocalType()))
        add(error("GenericKSLObject", "makeParentLinks",
                  _("Cannot connect parameter %s to object %s(it does not have Scheduler type %s).",
                    definition.getName(), m_objects[hit.object].path, definition.getRemoteType())),
            pending.node, LeafKind::value, name, pending.object, pending.param);
    }
  }

  void addMissing(const Pending& pending, const std::string& item, const std::string& name,
                  std::size_t number)
  {
    if (m_unforeseen)
      return;
    const ParamDefinition& definition = *pending.param->definition;
    CheckFinding& finding =
        add(error("GenericKSLObject", "makeParentLinks",
                  _("Object '%s' referred to in '%s' does not exist.", name, definition.getName())),
            pending.node, LeafKind::value, name, pending.object, pending.param);
    m_missing.push_back(
        {m_findings.size() - 1, pending.object, pending.param, item, placeOf(pending.node), number});
    constexpr std::size_t most = 50;  // of the findings that list what there is
    if (m_missing.size() > most)
      return;
    for (const ObjectIndex child : m_objects[CheckedObjects::root].children)
      if (m_objects[child].type->hasScheduler(definition.getRemoteType()))
        finding.valid.push_back(m_objects[child].name);
  }

  void addAmbiguous(const Pending& pending, const std::string& name,
                    const std::vector<ObjectIndex>& candidates)
  {
    CheckFinding& finding = add(
        error("GenericKSLObject", "makeParentLinks", _("More than one object with name '%s' exists.", name)),
        pending.node, LeafKind::value, name, pending.object, pending.param);
    for (const ObjectIndex candidate : candidates) {
      finding.valid.push_back(m_objects[candidate].path);
      finding.notes.push_back(
          {(*m_tree)[pending.node].offset, _("it may be '%s'", m_objects[candidate].path)});
    }
  }

  void checkNames(const Pending& pending)
  {
    for (const std::string& item : StringUtilities::splitValue(pending.value)) {
      ExpressionDef expression(item);
      try {
        expression.parse();
      } catch (const data::invalid&) {
        continue;  // told already
      }
      for (const std::string& name : expression.getUnknownFunctions())
        add(error("GenericKSLObject", "makeVariableLinks",
                  _("Expression '%s' depends on a function '%s' which does not exist.", pending.value, name)),
            pending.node, LeafKind::value, name, pending.object, pending.param);
      for (const std::string& name : expression.getNames())
        checkName(pending, name);
    }
  }

  void checkName(const Pending& pending, const std::string& name)
  {
    const CheckedType& type = *m_objects[pending.object].type;
    const bool isLocal = name != pending.param->definition->getName() && type.findParam(name);
    if (isLocal)
      return;
    if (m_expressions.count(name) > 0) {
      if (m_collects)
        m_names.addUses(pending.node, name, true, name);
      return checkUses(name, &pending);
    }
    const CheckedObjects::Hit hit = resolveVariable(pending.object, name);
    if (m_collects && hit.fits)
      m_names.addUses(pending.node, name, false, m_objects[hit.object].path);
    if (!hit.candidates.empty())
      addAmbiguous(pending, name, hit.candidates);
    else if (hit.object == CheckedObjects::none && !m_unforeseen)
      addMissingName(pending, name);
    else if (hit.object != CheckedObjects::none && !hit.fits)
      add(error("GenericKSLObject", "makeVariableLinks",
                _("Expression '%s' tries to use object '%s' as a variable.", pending.value, name)),
          pending.node, LeafKind::value, name, pending.object, pending.param);
  }

  void addMissingName(const Pending& pending, const std::string& name)
  {
    add(error("GenericKSLObject", "makeVariableLinks",
              _("Expression '%s' depends on a variable '%s' which does not exist.", pending.value, name)),
        pending.node, LeafKind::value, name, pending.object, pending.param)
        .valid = expressionNames();
    m_missingNames.push_back({m_findings.size() - 1, pending.object, name, placeOf(pending.node)});
  }

  std::vector<std::string> expressionNames() const
  {
    std::vector<std::string> names;
    for (const auto& [name, expression] : m_expressions)
      names.push_back(name);
    return names;
  }

  // A name that is used, and what the expression of this name uses in its turn. Told where the expression stands, else at
  // its user.
  void checkUses(const std::string& top, const Pending* user)
  {
    std::vector<std::string> waiting{top};
    std::set<std::string> seen{top};
    while (!waiting.empty()) {
      const std::string name = std::move(waiting.back());
      waiting.pop_back();
      const auto found = m_expressions.find(name);
      if (found == m_expressions.end())
        continue;
      m_used.insert(name);
      for (const std::string& used : found->second.uses) {
        if (m_expressions.count(used) > 0 ? !seen.insert(used).second : isVariableObject(used))
          continue;
        if (m_expressions.count(used) > 0)
          waiting.push_back(used);
        else
          addMissingUse(name, found->second, used, user);
      }
    }
  }

  void checkCircles()
  {
    const std::optional<std::pair<std::string, std::string>> circle = findCircle(m_expressions, m_text);
    if (!circle)
      return;
    const auto& [name, used] = *circle;
    const Expression& expression = m_expressions.at(name);
    const std::string path = m_objects[expression.object].path;
    add(error("SchedulerObject", "addChild",
              name == used
                  ? _("Tried to make object %s (%s) reference itself.", path, name)
                  : _("Attempt to create a cyclic dependency between object %s (%s) and object %s (%s).",
                      path, used, path, name)),
        expression.node, LeafKind::value, used, expression.object, nullptr)
        .parameter = name;
  }

  bool isVariableObject(const std::string& name) const
  {
    return resolveVariable(CheckedObjects::root, name).fits;
  }

  CheckedObjects::Hit resolveVariable(ObjectIndex from, const std::string& name) const
  {
    return m_objects.resolve(from, name, {}, [](const CheckedType& type) { return type.isVariable; });
  }

  void addMissingUse(const std::string& name, const Expression& expression, const std::string& used,
                     const Pending* user)
  {
    const bool isHere = expression.text == m_text;
    if (m_unforeseen || (!isHere && !user))
      return;
    CheckFinding& finding = add(
        error("GenericKSLObject", "makeVariableLinks",
              _("Expression '%s' depends on a variable '%s' which does not exist.", expression.value, used)),
        isHere ? expression.node : user->node, LeafKind::value, used,
        isHere ? expression.object : user->object, nullptr);
    finding.parameter = isHere ? name : user->param->definition->getName();
    finding.valid = expressionNames();
    m_missingNames.push_back(
        {m_findings.size() - 1, CheckedObjects::root, used, placeOf(isHere ? expression.node : user->node)});
  }

  // ---- contexts

  static bool belongs(const CheckedObjects::Object& object, const ParamDefinition& param)
  {
    const ObjectRules& rules = *object.type->prototype->getObjectRules();
    if (param.isInternal())
      return true;
    try {
      return rules.isParamAllowed(param.getName(),
                                  object.hasContext ? object.context : object.type->defaultContext);
    } catch (const data::invalid&) {
      return true;  // the value of the context rule is told
    }
  }

  // At the end of a text, when it has said which context its objects are in.
  void checkContexts()
  {
    for (const Context& each : m_contexts) {
      const CheckedObjects::Object& object = m_objects[each.object];
      const ParamDefinition& param = *each.param->definition;
      if (!object.alive || belongs(object, param))
        continue;
      const std::string& rule = object.type->contextRule;
      add(warning("KSLAPI", "validateKSLData",
                  _("Parameter '%s' of object '%s' has no effect while '%s' is '%s'.", param.getName(),
                    object.path, rule, object.hasContext ? object.context : object.type->defaultContext)),
          each.node, LeafKind::parameter, param.getName(), each.object, each.param);
    }
    m_contexts.clear();
  }

  // ---- actions

  void checkAction(Index node)
  {
    const SyntaxTree::Statement statement = m_tree->read(node, m_room);
    const std::vector<std::string> words =
        ActionExecutor::splitActionLine(std::string(statement.first) + " " + std::string(statement.rest));
    if (words.empty() || words.front().empty()) {
      add(error("Executive", "doAction", _("Empty action line.")), node, LeafKind::mark, ">");
      return;
    }
    if (m_actions.count(words.front()) == 0) {
      add(ErrorMsg("ActionFactory", "getExecutor", _("Action %s is not recognized.", words.front()),
                   errorType::internal),
          node, LeafKind::word, words.front())
          .valid.assign(m_actions.begin(), m_actions.end());
      return;
    }
    if (const std::optional<ActionFault> fault = faultOf(words)) {
      add(ErrorMsg(fault->className, fault->function, fault->message, errorType::ordinary), node,
          LeafKind::arguments, fault->subject)
          .valid = fault->valid;
      return;
    }
    follow(node, words);
  }

  ObjectIndex findNamed(Index node, const std::string& name)
  {
    bool isAmbiguous = false;
    const ObjectIndex object = m_objects.findNamed(name, isAmbiguous);
    if (isAmbiguous)
      add(error("ObjectDB", "getObjectByName", _("Object name %s is ambiguous.", name)), node,
          LeafKind::arguments, name);
    else if (m_collects && object != CheckedObjects::none)
      m_names.addArgument(node, name, m_objects[object].path);
    return object;
  }

  // What the action does to the objects.
  void follow(Index node, const std::vector<std::string>& words)
  {
    if (words.front() == "delete") {
      for (std::size_t i = 1; i < words.size(); ++i)
        if (const ObjectIndex object = findNamed(node, words[i]); object != CheckedObjects::none)
          m_objects.remove(object);
    } else if (words.front() == "copy" || words.front() == "rename") {
      followCopy(node, words);
    } else if (isUnforeseen(words.front())) {
      m_unforeseen = true;
    } else if (m_collects) {
      noteMentions(node, words);
    }
  }

  // Objects that an action looks at: all that are named by path, or where the action takes objects alone.
  void noteMentions(Index node, const std::vector<std::string>& words)
  {
    for (std::size_t i = 1; i < words.size(); ++i) {
      const std::string word = words[i].substr(words[i].find('=') + 1);
      if (word.empty() || (word.front() != '/' && !takesObjectsAlone(words.front())))
        continue;
      bool isAmbiguous = false;
      const ObjectIndex object = m_objects.findNamed(word, isAmbiguous);
      if (object != CheckedObjects::none && !isAmbiguous)
        m_names.addArgument(node, word, m_objects[object].path);
    }
  }

  void followCopy(Index node, const std::vector<std::string>& words)
  {
    const std::string from = argumentOf(words, "from");
    const std::string to = argumentOf(words, "to");
    const ObjectIndex source = findNamed(node, from);
    if (source == CheckedObjects::none || source == CheckedObjects::root) {
      if (!m_unforeseen)
        add(error("KSLCopyImpl", "performCopy", _("Attempt to copy nonexistent object '%s' failed.", from)),
            node, LeafKind::arguments, from);
      return;
    }
    const KSLPath target(to);
    const bool isPath = to.find('/') != std::string::npos;
    const ObjectIndex parent =
        isPath ? m_objects.findPath(target.getParentPath().getFullPath()) : m_objects[source].parent;
    const bool isTop = isPath && target.size() == 1;
    if (isTop || parent != CheckedObjects::none)
      m_objects.copy(source, isTop ? CheckedObjects::root : parent, isPath ? target.getLastName() : to);
    if (words.front() == "rename")
      m_objects.remove(source);
  }

  // An object that comes later is there in the end, but not in time.
  void lookLater(const Missing& missing)
  {
    const CheckedObjects::Hit hit = resolve(missing.object, *missing.param, missing.item);
    if (hit.object == CheckedObjects::none)
      return;
    CheckFinding& finding = m_findings[missing.finding];
    const CheckedObjects::Object& found = m_objects[hit.object];
    if (found.text == finding.text) {
      finding.notes.push_back({found.offset, _("It is defined here, which is too late.")});
      return;
    }
    finding.error = warning(
        "GenericKSLObject", "makeParentLinks",
        _("Object '%s' referred to in '%s' is defined in a later text.", finding.subject, finding.parameter));
    finding.valid.clear();
    finding.isLater = true;
  }

  void lookLater(const MissingName& missing)
  {
    CheckFinding& finding = m_findings[missing.finding];
    const auto expression = m_expressions.find(missing.name);
    if (expression != m_expressions.end())
      finding.isLater = expression->second.text != finding.text;
    else if (const CheckedObjects::Hit hit = resolveVariable(missing.object, missing.name); hit.fits)
      finding.isLater = m_objects[hit.object].text != finding.text;
  }

  const std::unique_ptr<CheckMemory> m_ownMemory;
  CheckMemory::Impl& m_memory;
  CheckedTypes& m_types = m_memory.types;
  CheckedObjects m_objects{m_types};
  const std::set<std::string> m_actions;
  CheckedExpressions m_expressions;  // those that are defined
  std::set<std::string> m_used;      // of these, by values
  bool m_definitionsChanged = false;
  CheckedFindings m_findings;
  std::vector<Missing> m_missing;
  std::vector<MissingName> m_missingNames;
  CheckedNames m_names;
  std::vector<LaterUse> m_uses;
  bool m_collects = false;
  std::size_t m_text = 0;
  bool m_unforeseen = false;  // what is there may be otherwise than it seems

  // Of the text under way
  const SyntaxTree* m_tree = nullptr;
  KnownStatements* m_known = nullptr;
  std::vector<Block> m_blocks;
  std::vector<Pending> m_pending;
  std::vector<Context> m_contexts;
  std::string m_room;
};

CheckMemory::CheckMemory() : m_impl(std::make_unique<Impl>()) {}
CheckMemory::~CheckMemory() = default;

void CheckMemory::forget(std::size_t key)
{
  m_impl->texts.erase(key);
}

TextChecker::TextChecker(const std::vector<std::string>& actions)
{
  auto memory = std::make_unique<CheckMemory>();
  CheckMemory::Impl& known = *memory->m_impl;
  m_impl = std::make_unique<Impl>(actions, known, std::move(memory));
}

TextChecker::TextChecker(const std::vector<std::string>& actions, CheckMemory& memory)
    : m_impl(std::make_unique<Impl>(actions, *memory.m_impl, nullptr))
{}

TextChecker::~TextChecker() = default;

void TextChecker::check(const SyntaxTree& tree)
{
  KnownStatements nothing;
  m_impl->check(tree, nothing);
}

void TextChecker::check(const SyntaxTree& tree, std::size_t key)
{
  m_impl->check(tree, m_impl->knownOf(key));
}

void TextChecker::collectNames()
{
  m_impl->collectNames();
}

std::vector<NameInText> TextChecker::names()
{
  return m_impl->names();
}

std::vector<CheckFinding> TextChecker::finish()
{
  return m_impl->finish();
}

}  // namespace orv
