#include "TextPlaces.h"

#include "platform/ORVSystem.h"
#include "platform/ORVUtilities.h"
#include "database/ObjectFactory.h"
#include "command/CommandLines.h"
#include "command/FileText.h"

#include <algorithm>

namespace orv {

namespace {

constexpr std::string_view updateStart = "> update";

}  // namespace

TextPlaces::TextPlaces(const TextSource& source, const std::string& text, kslUpdateMode mode,
                       const KSLAPI& store)
    : m_source(source),
      m_text(text),
      m_mode(mode),
      m_store(store),
      m_outer(ErrorProgressReporter::instance()->setLocator(this))
{}

TextPlaces::~TextPlaces()
{
  ErrorProgressReporter::instance()->setLocator(m_outer);
}

void TextPlaces::letGo() noexcept
{
  if (!m_source.keeper)
    return;
  m_hasGone = true;
  m_source.keeper->letGo();
}

const std::string& TextPlaces::entered()
{
  if (!m_hasGone)
    return m_text;
  if (!m_again)
    m_again = m_source.keeper->readAgain();
  return *m_again;
}

void TextPlaces::locate(ErrorMsg& error)
{
  Diagnostic known = error.getDiagnostic() ? *error.getDiagnostic() : Diagnostic();
  if (place(known))
    error.setDiagnostic(std::make_shared<const Diagnostic>(std::move(known)));
  else if (m_outer)
    m_outer->locate(error);
}

// An action is where its error is, whatever it does; what an update applies stands elsewhere.
bool TextPlaces::place(Diagnostic& error)
{
  if (m_source.name.empty() && m_outer)
    return false;
  const std::size_t line = currentLine();
  const std::size_t last = line == 0 || m_source.isExcerpt ? static_cast<std::size_t>(-1) : line;
  if (!isAction() && text().placeObject(error, last))
    return true;
  if (placeStatement(error, line))
    return true;
  error.source = m_source.name;
  return !error.source.empty();
}

// The update at the end is of no statement: it is that of the whole text.
bool TextPlaces::placeStatement(Diagnostic& error, std::size_t line)
{
  if (current >= lines.size() || (m_mode != kslUpdateDefault && lines[current].starts_with(updateStart)))
    return false;
  if (m_source.isExcerpt || isRewritten)
    return text().placeText(error, lines[current]);
  return line > 0 && text().placeLine(error, line);
}

bool TextPlaces::isAction() const
{
  if (current >= lines.size())
    return false;
  const std::string_view line = lines[current];
  return CommandLines::isActionLine(line) && !line.starts_with(updateStart);
}

// 0 when it is not known.
std::size_t TextPlaces::currentLine()
{
  if (isRewritten || current >= lines.size())
    return 0;
  if (m_lineOf.empty())
    m_lineOf = CommandLines(m_mode).sourceLines(entered());
  return current < m_lineOf.size() ? m_lineOf[current] : 0;
}

const SourceText& TextPlaces::text()
{
  if (!m_read)
    m_read.emplace(sourceText(entered()));
  return *m_read;
}

namespace {

// As it is, but for escapes, which a file says that it has.
std::string readableText(const std::string& file)
{
  std::vector<std::string> lines = ORVFile::readLines(file);
  FileText::undo(lines);
  return StringUtilities::vectorToString(lines, '\n');
}

}  // namespace

SourceText TextPlaces::sourceText(const std::string& entered) const
{
  const auto reading = m_mode == kslUpdateDefault ? SyntaxTree::Reading::command : SyntaxTree::Reading::atEnd;
  const auto append = [this](std::string& path, std::string_view type, std::string_view name) {
    m_store.appendComponent(path, type, name);
  };
  return {m_source.name, m_source.isExcerpt ? readableText(m_source.name) : entered, reading, append,
          m_source.firstLine};
}

void TextPlaces::explainEnds(Error& error) const
{
  if (m_source.name.empty() && m_outer)
    return;
  const ObjectFactory* factory = ObjectFactory::instance();
  Diagnostic known;
  sourceText(m_text).placeEnds(known, [factory](std::string_view type) { return factory->hasObject(type); });
  error.setDiagnostic(std::make_shared<const Diagnostic>(std::move(known)));
}

}  // namespace orv
