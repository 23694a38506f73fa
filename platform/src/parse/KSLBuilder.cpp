#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVUtilities.h"

namespace orv {

namespace {

void appendOnOneLine(std::string& out, std::string_view text)
{
  for (const char c : text)
    out += c == '\n' || c == '\r' ? ' ' : c;
}

}  // namespace

void KSLBuilder::indent()
{
  m_text.append(2 * m_depth, ' ');
}

// A line that ends in a backslash would go on in the next one; with a blank behind it, it does not.
void KSLBuilder::endLine()
{
  m_text += m_text.back() == '\\' ? " \n" : "\n";
}

void KSLBuilder::beginObject(std::string_view type, std::string_view name)
{
  KSLPath path;
  path.push(type, name);
  indent();
  m_text += path[0].header();
  endLine();
  ++m_depth;
}

void KSLBuilder::addParam(std::string_view name, std::string_view value)
{
  indent();
  m_text += name;
  m_text += " =";
  value = StringUtilities::trimmed(value);
  if (!value.empty()) {
    m_text += ' ';
    appendOnOneLine(m_text, value);
  }
  endLine();
}

void KSLBuilder::endObject()
{
  if (m_depth == 0)
    return;
  --m_depth;
  indent();
  m_text += "END\n";
}

void KSLBuilder::addAction(std::string_view action)
{
  indent();
  m_text += "> ";
  appendOnOneLine(m_text, StringUtilities::trimmed(action));
  endLine();
}

}  // namespace orv
