#include "actions/SessionFile.h"

#include "platform/ORVError.h"
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVSystem.h"
#include "platform/ORVUtilities.h"
#include "command/FileText.h"

#include <fstream>
#include <utility>

namespace orv {

// Walks a text once, line by whole line. A session is a head, commands that an empty line ends, and a foot; what comes
// after a foot, or without a head, was written by hand, and is what a person meant it to be.
class SessionFile::Parser {
 public:
  explicit Parser(SessionFile& file) : m_file(file) {}

  void parse(std::string_view text)
  {
    m_rest = text;
    m_size = text.size();
    while (!m_rest.empty()) {
      const std::size_t number = m_number + 1;
      readLine(takeWholeLine(), number);
    }
    finish();
  }

 private:
  std::string_view takeLine()
  {
    ++m_number;
    const std::size_t end = m_rest.find('\n');
    m_terminated = end != std::string_view::npos;
    std::string_view line = m_rest.substr(0, end);
    m_rest.remove_prefix(m_terminated ? end + 1 : m_rest.size());
    if (line.ends_with('\r'))
      line.remove_suffix(1);
    return line;
  }

  std::string takeWholeLine()
  {
    std::vector<std::string> pieces{std::string(takeLine())};
    for (std::string_view piece = pieces.front(); piece.ends_with('\\') && !m_rest.empty();) {
      pieces.emplace_back(takeLine());
      piece = StringUtilities::trimmed(pieces.back());
    }
    return pieces.size() == 1 ? std::move(pieces.front())
                              : StringUtilities::removeContinuation(std::move(pieces)).front();
  }

  void readLine(std::string line, std::size_t number)
  {
    // A user's comment may look like a head in what an earlier version wrote, but never outside commands.
    if (m_reader.isEscaped() || m_command.line == 0) {
      if (line.starts_with(FileText::sessionHead))
        beginPart();
      else if (line.starts_with(FileText::sessionFoot))
        endPart();
    }
    m_reader.read(line);
    if (StringUtilities::trimmed(line).empty())
      readEmptyLine();
    else
      readText(std::move(line), number);
  }

  void beginPart()
  {
    endPart();
    m_inSession = true;
    m_isSession = true;
  }

  void endPart()
  {
    if (m_command.line != 0 && m_inSession)
      noteBroken(m_command.line);
    else
      takeCommand();
    m_command = {};
    m_depth = 0;
    m_surplus = false;
    m_inSession = false;
  }

  void readEmptyLine()
  {
    if (!(m_inSession && m_reader.isEscaped()) && m_depth > 0)
      return;
    takeCommand();
    if (m_terminated)
      m_file.m_wholeSize = m_size - m_rest.size();
  }

  void readText(std::string line, std::size_t number)
  {
    const MiniKSLParser::Line scanned = MiniKSLParser::scan(line);
    if (scanned.type == MiniKSLParser::objectLine)
      ++m_depth;
    else if (scanned.type == MiniKSLParser::endLine && m_depth > 0)
      --m_depth;
    else if (scanned.type == MiniKSLParser::endLine)
      m_surplus = true;
    if (scanned.type != MiniKSLParser::emptyLine) {
      if (m_command.line == 0)
        m_command.line = number;
      m_endsInUpdate = scanned.text.starts_with("> update");
    }
    if (line.ends_with('\\'))
      line += ' ';  // it is whole
    m_command.lines.push_back(std::move(line));
  }

  void takeCommand()
  {
    Command command = std::exchange(m_command, {});
    // What was updated at its end, with or without the objects' actions, was recorded as it was understood: a command with
    // ENDs that do not come out even was refused for them.
    const bool understood = m_depth == 0 && !m_surplus;
    if (m_inSession && m_endsInUpdate && understood)
      command.mode = kslUpdateAtEnd;
    m_depth = 0;
    m_surplus = false;
    if (command.line != 0)
      m_file.m_commands.push_back(std::move(command));
  }

  void finish()
  {
    if (!m_terminated && m_inSession)
      m_file.m_lineEndMissing = true;
    if (m_file.m_lineEndMissing)
      noteBroken(m_number);
    endPart();
    if (!m_isSession)
      m_file.m_wholeSize = m_size;
  }

  void noteBroken(std::size_t line)
  {
    if (m_file.m_brokenLine == 0)
      m_file.m_brokenLine = line;
  }

  SessionFile& m_file;
  std::string_view m_rest;
  std::size_t m_size = 0;
  std::size_t m_number = 0;  // of the last line taken
  bool m_terminated = true;  // it has an end
  FileText::Reader m_reader;
  bool m_isSession = false;
  bool m_inSession = false;  // behind a head, before a foot
  // Of the command under way
  Command m_command;
  std::size_t m_depth = 0;
  bool m_surplus = false;  // an END that ends nothing
  bool m_endsInUpdate = false;
};

SessionFile SessionFile::read(const std::string& fileName)
{
  ORVStream stream;
  stream.open(fileName, ORVStream::Mode::read);
  const std::string text = stream.readAll();
  if (!ORVFile::isAscii(text))
    throw file::error("ReadSessionExecutor", "readFileContents", _("Non ASCII file: '%s'.", fileName));
  SessionFile file(fileName);
  Parser(file).parse(text);
  return file;
}

void SessionFile::requireWhole() const
{
  if (m_brokenLine == 0)
    return;
  const char* const message = m_lineEndMissing
                                  ? "Session file '%s' is incomplete: line %d has no end."
                                  : "Session file '%s' is incomplete: the command at line %d has no end.";
  throw file::error("SessionFile", "requireWhole", _(message, m_fileName, m_brokenLine));
}

// Of the file as it is: reading would take some bytes out.
std::uintmax_t SessionFile::wholeSize(const std::string& fileName)
{
  std::ifstream stream(fileName, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(stream), {}};
  SessionFile file(fileName);
  Parser(file).parse(text);
  return file.m_wholeSize;
}

}  // namespace orv
