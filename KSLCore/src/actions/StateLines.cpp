#include "actions/StateLines.h"

#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"
#include "command/FileText.h"
#include "actions/ReadableText.h"
#include "actions/fileNames.h"
#include "actions/stateTypes.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

namespace orv {

namespace {

constexpr const char* linesClass = "WriteStateExecutor";  // whose lines these are
constexpr std::size_t width = 80;
constexpr std::size_t indentStep = 2;
constexpr std::string_view equalSign = " = ";

// Lines are not indented further: the text grows with the work, and not with the square of its depth.
std::size_t indentOf(std::size_t depth)
{
  constexpr std::size_t deepest = 60;  // columns
  return std::min(indentStep * depth, deepest);
}

constexpr bool isSpecial(char c)
{
  return c < ' ' || c > '~' || c == '#' || c == '{' || c == '\\';
}

std::uint64_t charactersAt(std::string_view text, std::size_t at)
{
  std::uint64_t word = 0;
  std::memcpy(&word, text.data() + at, sizeof word);
  return word;
}

// Eight characters, and those before each: false when one is special, or a blank that follows another.
bool areSimple(std::uint64_t word, std::uint64_t before)
{
  constexpr std::uint64_t ones = 0x0101010101010101;
  constexpr std::uint64_t highs = ones * 0x80;
  // The high bit of a byte that is less than 1; of those above it too, which only asks for another look.
  const auto zero = [](std::uint64_t bytes) { return bytes - ones; };
  const std::uint64_t special = word | (word + ones) | (word - ones * ' ') | zero(word ^ (ones * '#'))
                                | zero(word ^ (ones * '{')) | zero(word ^ (ones * '\\'));
  const std::uint64_t others = (word ^ (ones * ' ')) | (before ^ (ones * ' '));
  return ((special | zero(others)) & highs) == 0;
}

// Names and values that a line holds as they are: printable, without comments and escapes, single blanks between
// words, and not empty.
bool isSimple(std::string_view text)
{
  if (text.empty() || text.front() == ' ' || text.back() == ' ' || isSpecial(text.front()))
    return false;
  constexpr std::size_t step = sizeof(std::uint64_t);
  if (text.size() <= step) {
    for (std::size_t i = 1; i < text.size(); ++i)
      if (isSpecial(text[i]) || (text[i] == ' ' && text[i - 1] == ' '))
        return false;
    return true;
  }
  const std::size_t last = text.size() - step;
  for (std::size_t i = 1;; i = std::min(i + step, last)) {
    if (!areSimple(charactersAt(text, i), charactersAt(text, i - 1)))
      return false;
    if (i == last)
      return true;
  }
}

bool isSimpleName(std::string_view name)
{
  return isSimple(name) && name.find_first_of("=/,") == std::string_view::npos;
}

// External parameters with a value; one that was never set may have a default that its own rules refuse, which no
// reader would take back.
bool isSaved(const ParamDefinition& param, const std::string& type)
{
  return !param.isInternal() && !StringUtilities::trimmed(param.getValue()).empty()
         && isSavedParam(type, param.getName())
         && (param.hasBeenSet() || param.isAllowedValue(param.getValue()));
}

// What a state file may not hold: readers would refuse all of it. Texts that come as KSL are never so; names that
// programs give, and names in RULES, may be.
bool isReadableParam(const std::string& name)
{
  return std::none_of(name.begin(), name.end(), [](char c) { return c == ':' || c == '#'; })
         && !name.starts_with('>');
}

std::string headerOf(const KSLObject& object)
{
  return KSLPath::Component{object.getType(), object.getName(), object.isSingleton()}.header();
}

bool isReadableHeader(const std::string& header)
{
  return MiniKSLParser::determineLineType(header) == MiniKSLParser::objectLine
         && header.find_first_of("/,\n\r") == std::string::npos;
}

// Of the object that says what is being read: while a state is saved that is no part of the work.
const std::string& idleValue(const ParamDefinition& param)
{
  static const std::string mode = idleMode;
  static const std::string stack = idlePathStack;
  if (param.getName() == processingModeParam)
    return mode;
  return param.getName() == pathStackParam ? stack : param.getValue();
}

}  // namespace

StateLines::StateLines(std::string_view head)
{
  append(head);
}

void StateLines::cutBackTo(const Mark& mark)
{
  m_pieces.resize(mark.pieces);
  m_size = mark.size;
}

void StateLines::tell()
{
  for (const ErrorMsg& report : std::exchange(m_reports, {}))
    ErrorProgressReporter::instance()->reportError(report);
}

void StateLines::reportLeftOut(const char* function, const std::string& line)
{
  report(data::invalid(linesClass, function, _("Line '%s' cannot be read back.", line), errorType::warning));
}

std::vector<std::string_view> StateLines::text() const
{
  std::vector<std::string_view> text;
  for (const Piece& piece : m_pieces)
    text.emplace_back(piece.text.get(), &piece == &m_pieces.back() ? m_size : piece.size);
  return text;
}

bool StateLines::header(const KSLObject& object, std::size_t depth)
{
  const std::string_view name = object.isSingleton() ? std::string_view() : object.getName();
  const Start* const start = headerStart(object.getType(), indentOf(depth));
  if (start && (name.empty() || isSimpleName(name))) {
    appendStarted(*start, name);
    return true;
  }
  const std::string header = headerOf(object);
  if (!isReadableHeader(header)) {
    reportLeftOut("writeOneObject", header);
    return false;
  }
  appendLine(FileText::isPlain(header) ? header : FileText::escaped(header), depth);
  return true;
}

// Definitions and values lie anywhere in memory: all of an object are asked for before the first is needed.
bool StateLines::parameters(const KSLObject& object, std::size_t depth)
{
  m_toWrite.clear();
  object.forEachParam([this](const ParamDefinition& param) {
    if (param.isInternal())
      return;
    __builtin_prefetch(&param.getValue());
    m_toWrite.push_back(&param);
  });
  bool complete = true;
  const bool isFileProcessing = object.pathIs(fileProcessingPath);
  for (const ParamDefinition* param : m_toWrite) {
    if (!isFileProcessing && appendSimple(*param, depth))
      continue;
    if (isSaved(*param, object.getType()))
      complete =
          parameter(object, param->getName(), isFileProcessing ? idleValue(*param) : param->getValue(), depth)
          && complete;
  }
  return complete;
}

void StateLines::end(std::size_t depth)
{
  appendLine("END", depth);
}

// The line of a parameter, in full. Most fit as they are; they are not taken apart first.
bool StateLines::parameter(const KSLObject& object, const std::string& name, const std::string& value,
                           std::size_t depth)
{
  if (!isReadableParam(name)) {
    reportLeftOut("validatedParameters", name + " = " + value);
    return false;
  }
  const bool readable = isReadable(value);
  if (!readable)
    report(unreadable(linesClass, "validatedParameters", object.getPath(), name));
  std::string line = std::string(indentOf(depth), ' ').append(name).append(equalSign).append(value);
  const bool plain = FileText::isPlain(line);
  if (plain && readable && value.back() != '\\' && line.size() <= width) {
    append(line += '\n');
    return true;
  }
  line = name + " = " + value + '\n';
  append(StringUtilities::splitStringToSize(plain ? line : FileText::escaped(line), depth, width));
  return true;
}

// False, and nothing, for what needs another look.
bool StateLines::appendSimple(const ParamDefinition& param, std::size_t depth)
{
  const std::string& value = param.getValue();
  const Start* const start = paramStart(param.getName(), indentOf(depth));
  if (!start || start->size + value.size() > width || !isSimple(value)
      || !(param.hasBeenSet() || param.isAllowedValue(value)))
    return false;
  appendStarted(*start, value);
  return true;
}

const StateLines::Start* StateLines::paramStart(const std::string& name, std::size_t indent)
{
  Start& place = placeOf(&name, indent);
  const bool known = place.name == &name && place.indent == indent;
  // The type decides about some parameters: these are looked at.
  return known
                 || (isSimple(name) && isReadableParam(name) && isSavedOfAnyType(name)
                     && keep(place, name, indent, equalSign))
             ? &place
             : nullptr;
}

const StateLines::Start* StateLines::headerStart(const std::string& type, std::size_t indent)
{
  Start& place = placeOf(&type, indent);
  const bool known = place.name == &type && place.indent == indent;
  return known || (isSimpleName(type) && type.front() != '>' && keep(place, type, indent, ":")) ? &place
                                                                                                : nullptr;
}

StateLines::Start& StateLines::placeOf(const void* name, std::size_t indent)
{
  constexpr std::uint64_t spread = 0x9e3779b97f4a7c15;  // addresses have much in common
  const std::size_t home = (reinterpret_cast<std::uintptr_t>(name) * spread) >> 57;
  Start* free = &m_starts[home];
  for (std::size_t i = 0; i < tries; ++i) {
    Start& at = m_starts[(home + i) % m_starts.size()];
    if (at.name == name && at.indent == indent)
      return at;
    if (free->name && !at.name)
      free = &at;
  }
  return *free;
}

// False when it is too long.
bool StateLines::keep(Start& place, const std::string& name, std::size_t indent, std::string_view sign)
{
  const std::size_t size = indent + name.size() + sign.size();
  if (size > place.text.size())
    return false;
  place.name = &name;
  place.indent = indent;
  place.size = size;
  char* const text = place.text.data();
  std::memset(text, ' ', indent);
  name.copy(text + indent, name.size());
  sign.copy(text + indent + name.size(), sign.size());
  return true;
}

void StateLines::appendStarted(const Start& start, std::string_view text)
{
  char* const at = roomFor(start.text.size() + text.size() + 1);
  std::memcpy(at, start.text.data(), start.text.size());  // of one length, which takes no call
  text.copy(at + start.size, text.size());
  at[start.size + text.size()] = '\n';
  m_size += start.size + text.size() + 1;
}

void StateLines::appendLine(std::string_view text, std::size_t depth)
{
  const std::size_t indent = indentOf(depth);
  char* const at = roomFor(indent + text.size() + 1);
  std::memset(at, ' ', indent);
  text.copy(at + indent, text.size());
  at[indent + text.size()] = '\n';
  m_size += indent + text.size() + 1;
}

void StateLines::append(std::string_view text)
{
  text.copy(roomFor(text.size()), text.size());
  m_size += text.size();
}

char* StateLines::roomFor(std::size_t size)
{
  constexpr std::size_t usual = 65536;
  if (m_pieces.empty() || m_pieces.back().room - m_size < size) {
    const std::size_t room = std::max(usual, size);
    Piece piece{std::make_unique_for_overwrite<char[]>(room), room, 0};
    if (!m_pieces.empty())
      m_pieces.back().size = m_size;
    m_pieces.push_back(std::move(piece));
    m_size = 0;
  }
  return m_pieces.back().text.get() + m_size;
}

}  // namespace orv
