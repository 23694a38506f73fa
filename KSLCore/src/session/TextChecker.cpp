#include "session/TextChecker.h"

#include "platform/ORVUtilities.h"
#include "database/ObjectFactory.h"
#include "command/FileText.h"
#include "CheckMemory.h"
#include "CheckState.h"
#include "CheckedActionLines.h"
#include "CheckedValues.h"

#include <algorithm>
#include <utility>

namespace orv {

namespace {

using Index = SyntaxTree::Index;
using Kind = SyntaxTree::Kind;
using LeafKind = SyntaxTree::LeafKind;
using ObjectIndex = CheckedObjects::Index;

}  // namespace

class TextChecker::Impl {
 public:
  // `own` is the memory when the caller has none.
  Impl(const std::vector<std::string>& actions, CheckMemory::Impl& memory, std::unique_ptr<CheckMemory> own)
      : m_ownMemory(std::move(own)),
        m_memory(memory),
        m_state(memory.types),
        m_actions(m_state, actions)
  {}

  void check(const SyntaxTree& tree, KnownStatements& known)
  {
    m_known = &known;
    m_state.tree = &tree;
    m_state.names.begin(tree, m_state.text);
    m_blocks.clear();
    m_state.findings.begin(tree, m_state.text);
    m_state.findings.addSyntax([this](std::string_view type) { return m_state.types.find(type) != nullptr; });
    const bool settlesBlocks = tree.reading() == SyntaxTree::Reading::command;
    const Index end = tree.reading() == SyntaxTree::Reading::library ? 0 : tree.size();
    for (Index i = 0; i < end; ++i) {
      const SyntaxTree::Node node = tree[i];
      if (node.kind == Kind::blank || node.kind == Kind::comment)
        continue;
      while (!m_blocks.empty() && m_blocks.back().node != node.parent)
        m_blocks.pop_back();
      if (node.parent == SyntaxTree::none && (settlesBlocks || node.kind == Kind::action))
        m_values.settle();
      if (node.faults == 0 || node.faults == SyntaxTree::leftOpen)
        checkNode(i, node);
      else if (node.kind == Kind::header)
        m_blocks.push_back({i, CheckedObjects::none});
    }
    m_values.settle();
    m_values.endText();
    if (!tree.text().starts_with(FileText::stateHead))  // which says everything, whatever has an effect
      checkContexts();
    m_contexts.clear();
    ++m_state.text;
  }

  KnownStatements& knownOf(std::size_t key) { return m_memory.texts[key]; }

  void collectNames() { m_state.collects = true; }

  std::vector<NameInText> names()
  {
    m_values.collectLater();
    return m_state.names.take();
  }

  std::vector<CheckFinding> finish()
  {
    m_values.finish();
    return m_state.findings.take();
  }

 private:
  struct Block {
    Index node;
    ObjectIndex object;  // none when what is in it cannot be checked
  };
  struct Context {
    ObjectIndex object;
    Index node;
    const CheckedParam* param;
  };

  // ---- statements

  void checkNode(Index node, const SyntaxTree::Node& statement)
  {
    if (statement.kind == Kind::header)
      beginBlock(node);
    else if (statement.kind == Kind::parameter && !m_blocks.empty()
             && m_blocks.back().object != CheckedObjects::none)
      checkParam(node, m_blocks.back().object, (*m_known)[statement.id]);
    else if (statement.kind == Kind::action)
      m_actions.check(node);
  }

  void beginBlock(Index node)
  {
    const ObjectIndex parent = m_blocks.empty() ? CheckedObjects::root : m_blocks.back().object;
    m_blocks.push_back({node, CheckedObjects::none});
    if (parent == CheckedObjects::none)
      return;
    const SyntaxTree::Statement header = m_state.tree->read(node, m_state.room);
    const CheckedType* type = m_state.types.find(header.first);
    if (!type) {
      addUnknownType(node, std::string(header.first), parent);
      return;
    }
    if (type->prototype->isSingleton() && !header.rest.empty() && header.rest != type->name) {
      const std::string name(header.rest);
      m_state.add(CheckState::error(
                      "KSLObject", "initialize",
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
      m_state.add(CheckState::error("KSLAPI", "loadKSLData",
                                    _("Object type '%s' cannot be changed by a command.", name)),
                  node, LeafKind::type, name);
      return;
    }
    m_state
        .add(CheckState::error("ObjectFactory", "createObject", _("Could not find object: %s", name)), node,
             LeafKind::type, name)
        .valid = ObjectFactory::instance()->getObjectTypes();
  }

  ObjectIndex defineObject(Index node, const SyntaxTree::Statement& header, ObjectIndex parent,
                           const CheckedType& type)
  {
    ObjectIndex object = m_state.objects.define(parent, type, header.rest);
    if (header.replace && m_state.objects[object].text != static_cast<std::size_t>(-1)) {
      m_state.objects.remove(object);
      object = m_state.objects.define(parent, type, header.rest);
    }
    CheckedObjects::Object& defined = m_state.objects[object];
    if (defined.text == static_cast<std::size_t>(-1)) {
      defined.text = m_state.text;
      defined.offset = (*m_state.tree)[node].offset;
    }
    if (m_state.collects)
      m_state.names.addHeader(node, defined.path);
    return object;
  }

  void checkParent(Index node, ObjectIndex object)
  {
    const CheckedObjects::Object& made = m_state.objects[object];
    const CheckedType* parent = m_state.objects[made.parent].type;
    const std::vector<std::string>& allowed = made.type->parents;
    if (parent && std::find(allowed.begin(), allowed.end(), parent->name) != allowed.end())
      return;
    m_state.add(CheckState::warning("KSLAPI", "validateKSLData",
                                    _("Object '%s' does not stand in an object of type %s.", made.path,
                                      StringUtilities::vectorToString(allowed, " or "))),
                node, LeafKind::type, made.type->name, object, nullptr);
  }

  void checkParam(Index node, ObjectIndex object, KnownStatement& known)
  {
    const CheckedType& type = *m_state.objects[object].type;
    if (known.type == &type && !known.mayName) {
      m_values.noteNone(object, *known.param);
      return checkContext(node, object, *known.param);
    }
    const SyntaxTree::Statement statement = m_state.tree->read(node, m_state.room);
    const CheckedParam* param = known.type == &type ? known.param : type.findParam(statement.first);
    if (type.takesAnyParam)
      m_values.noteDefinition(node, object, std::string(statement.first), std::string(statement.rest));
    else if (param)
      checkValue(node, object, *param, std::string(statement.rest), known);
    else if (m_state.tree->missingEnds() == 0)  // else it may stand in another block than it seems
      m_state
          .add(CheckState::error("DataKSLObject", "setValue",
                                 _("Parameter '%s' is not recognized on object '%s'.", statement.first,
                                   m_state.objects[object].path)),
               node, LeafKind::parameter, std::string(statement.first), object, nullptr)
          .valid = type.paramNames();
  }

  void checkValue(Index node, ObjectIndex index, const CheckedParam& param, const std::string& value,
                  KnownStatement& known)
  {
    CheckedObjects::Object& object = m_state.objects[index];
    const KnownStatement told = known.type == object.type ? known : judge(node, index, param, value);
    if (told.mayName)
      m_values.note(node, index, param, value);
    else if (told.type)
      m_values.noteNone(index, param);
    known = told;
    if (object.type->contextRule == param.definition->getName()) {
      object.context = value;
      object.hasContext = true;
      known.type = nullptr;  // it is to be read each time
    }
    if (param.definition->getName() == "Protected") {
      bool isReadable = false;
      object.isProtected = StringUtilities::isTrue(value, isReadable);
      known.type = nullptr;
    }
    checkContext(node, index, param);
  }

  // What the statement alone says; nothing when that is wrong, which is told.
  KnownStatement judge(Index node, ObjectIndex index, const CheckedParam& param, const std::string& value)
  {
    const ParamDefinition& definition = *param.definition;
    const CheckedType* type = m_state.objects[index].type;
    if (definition.getAllowedValues().count(value) > 0)
      return {type, &param, false};
    if (!definition.isAllowedValue(value)) {
      addRefusal(node, index, param, value);
      return {};
    }
    if (!isSound(node, index, param, value))
      return {};
    const bool isUsual = value.empty() || value == definition.getDefaultValue();
    return {type, &param, !isUsual && CheckedValues::mayName(*type, param, value)};
  }

  void checkContext(Index node, ObjectIndex index, const CheckedParam& param)
  {
    if (!param.inAllContexts && !belongs(m_state.objects[index], *param.definition))
      m_contexts.push_back({index, node, &param});
  }

  // As far as its type says.
  bool isSound(Index node, ObjectIndex index, const CheckedParam& param, const std::string& value)
  {
    const std::string& name = param.definition->getName();
    const std::string& path = m_state.objects[index].path;
    const auto message = [&] {
      return _("Parameter '%s' of object '%s' cannot have value '%s'.", name, path, value);
    };
    if (const std::string reason = param.values.whyRefused(value); !reason.empty()) {
      m_state
          .add(CheckState::error("KSLAPI", "validateKSLData", message()), node, LeafKind::value, value, index,
               &param)
          .notes.push_back({(*m_state.tree)[node].offset, reason});
      return false;
    }
    if (const std::string reason = whyNoPreference(*m_state.objects[index].type, name, value);
        !reason.empty()) {
      m_state.add(CheckState::error("UnitsKSLObject", "update", message() + " " + reason), node,
                  LeafKind::value, value, index, &param);
      return false;
    }
    return true;
  }

  void addRefusal(Index node, ObjectIndex object, const CheckedParam& param, const std::string& value)
  {
    const ParamDefinition& definition = *param.definition;
    m_state
        .add(CheckState::error("ParamDefinition", "setValue",
                               _("Parameter '%s' cannot have value '%s'.", definition.getName(), value)),
             node, LeafKind::value, value, object, &param)
        .valid = definition.getRules()->allowedInOrder;
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
      const CheckedObjects::Object& object = m_state.objects[each.object];
      const ParamDefinition& param = *each.param->definition;
      if (!object.alive || belongs(object, param))
        continue;
      const std::string& rule = object.type->contextRule;
      m_state.add(CheckState::warning(
                      "KSLAPI", "validateKSLData",
                      _("Parameter '%s' of object '%s' has no effect while '%s' is '%s'.", param.getName(),
                        object.path, rule, object.hasContext ? object.context : object.type->defaultContext)),
                  each.node, LeafKind::parameter, param.getName(), each.object, each.param);
    }
  }

  const std::unique_ptr<CheckMemory> m_ownMemory;
  CheckMemory::Impl& m_memory;
  CheckState m_state;
  CheckedValues m_values{m_state};
  CheckedActionLines m_actions;

  // Of the text under way
  KnownStatements* m_known = nullptr;
  std::vector<Block> m_blocks;
  std::vector<Context> m_contexts;
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
