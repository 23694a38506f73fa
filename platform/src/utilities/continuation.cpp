// Lines that go on in the next one: joining, wrapping, and re-indenting, which needs whole lines.

#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVUtilities.h"
#include "platform/src/parse/lexical.h"

#include <algorithm>

namespace orv::StringUtilities {

namespace {

constexpr std::size_t narrowest = 20;

bool takeBackslash(std::string& line)
{
  if (!lexical::continues(line))
    return false;
  line.pop_back();
  return true;
}

}  // namespace

std::vector<std::string> removeContinuation(std::vector<std::string> lines)
{
  std::size_t written = 0;
  for (std::size_t read = 0; read < lines.size(); ++read, ++written) {
    bool goesOn = takeBackslash(lines[read]);
    if (written != read)
      lines[written] = std::move(lines[read]);
    while (goesOn && read + 1 < lines.size()) {
      const std::string_view piece = trimmed(lines[++read]);
      appendSimplified(lines[written], piece);
      // Not the joined line: an empty piece ends it, whatever stands before.
      goesOn = !piece.empty() && takeBackslash(lines[written]);
    }
  }
  lines.resize(written);
  return lines;
}

namespace {

// Walks the words of a text. What is quoted belongs to one word, blanks and all.
class Words {
 public:
  explicit Words(std::string_view text) : m_text(trimmed(text)) {}

  bool next(std::string_view& word)
  {
    while (m_at < m_text.size() && isSpace(m_text[m_at]))
      ++m_at;
    const std::size_t start = m_at;
    while (m_at < m_text.size() && !isSpace(m_text[m_at]))
      m_at = endOfQuote() + 1;
    word = m_text.substr(start, m_at - start);
    return !word.empty();
  }

 private:
  // The place of the closing quote, or this place when none begins here.
  std::size_t endOfQuote()
  {
    if (m_text[m_at] != '"' || !m_mayClose)
      return m_at;
    const std::size_t close = m_text.find('"', m_at + 1);
    m_mayClose = close != std::string_view::npos;
    return m_mayClose ? close : m_at;
  }

  std::string_view m_text;
  std::size_t m_at = 0;
  bool m_mayClose = true;
};

// Writes the words of one line into as many as it takes.
class Wrapper {
 public:
  Wrapper(std::size_t indent, std::size_t width)
      : m_indent(std::min(indent, width - std::min(narrowest, width / 2))),
        m_width(width)
  {}

  void add(std::string_view word, bool last)
  {
    // Room for the " \" of a line that goes on, also behind a last backslash.
    const std::size_t mark = last && word.back() != '\\' ? 0 : 2;
    if (m_column != 0 && m_column + 1 + word.size() + mark > m_width)
      breakLine(" \\\n");
    beginWord();
    if (m_column + word.size() + mark > m_width)
      addInPieces(simplifyWhitespace(word), mark);  // what a reader does to blanks in later lines
    else
      append(word);
  }

  std::string take()
  {
    // The reader would take a last backslash for its own: a piece that is empty ends the line instead.
    if (!m_out.empty() && m_out.back() == '\\')
      m_out += " \\\n";
    return std::move(m_out);
  }

 private:
  void breakLine(const char* mark)
  {
    m_out += mark;
    m_column = 0;
  }

  void beginWord()
  {
    const bool first = m_column == 0;
    m_out.append(first ? m_indent : 1, ' ');
    m_column += first ? m_indent : 1;
  }

  void append(std::string_view text)
  {
    for (const char c : text)
      m_out += isSpace(c) ? ' ' : c;  // a quoted line end would end the line
    m_column += text.size();
  }

  // A word that is longer than a line, with single blanks. A piece never begins with one: readers drop those.
  void addInPieces(std::string_view word, std::size_t mark)
  {
    while (m_column + word.size() + mark > m_width) {
      const std::size_t room = m_width - m_column - 1;  // its last place is for the "\"
      const std::size_t blank = word.substr(0, room).rfind(' ');
      std::size_t size = blank != std::string_view::npos ? blank + 1 : std::min(room, word.size() - 1);
      if (word[size] == ' ')
        --size;
      append(word.substr(0, size));
      word.remove_prefix(size);
      breakLine("\\\n");
      beginWord();
    }
    append(word);
  }

  std::size_t m_indent;
  std::size_t m_width;
  std::size_t m_column = 0;  // 0 before the first word of a line
  std::string m_out;
};

}  // namespace

std::string splitStringToSize(std::string_view text, std::size_t level, std::size_t width)
{
  Wrapper wrapper(2 * level, std::max(width, narrowest));
  Words words(text);
  std::string_view word;
  std::string_view following;
  for (bool more = words.next(word); more; word = following) {
    more = words.next(following);
    wrapper.add(word, !more);
  }
  std::string out = wrapper.take();
  if (!text.empty() && text.back() == '\n')
    out += '\n';
  return out;
}

std::vector<std::string> indentKSL(const std::vector<std::string>& lines)
{
  std::vector<std::string> out = removeContinuation(lines);
  std::size_t depth = 0;
  for (auto& line : out) {
    const int kind = MiniKSLParser::determineLineType(line);
    if (kind == MiniKSLParser::endLine && depth > 0)
      --depth;
    const std::string_view text = trimmed(line);
    if (!text.empty()) {
      std::string indented(2 * depth, ' ');
      indented += text;
      if (indented.back() == '\\')
        indented += ' ';  // stays a character of the line: with a blank behind it, it is no continuation
      line = std::move(indented);
    } else {
      line.clear();
    }
    if (kind == MiniKSLParser::objectLine)
      ++depth;
  }
  return out;
}

}  // namespace orv::StringUtilities
