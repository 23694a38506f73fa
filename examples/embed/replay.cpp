// Replays a session onto work that is there already: it runs the commands of its standard input, then the session, and
// prints the state. Every object that the session defines is built as the session says; nothing is left of one that
// had its name. docs/session-file.md goes through it.
//
//   ./replay PREFIX/share/orvksl/demo session.ksl < work.ksl

#include "platform/ORVKSLParseUtilities.h"
#include "command/SessionUpdateStrategy.h"
#include "session/FileActions.h"
#include "session/Session.h"

#include <iostream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;
using Parser = orv::MiniKSLParser;

class BuildAnew : public orv::SessionUpdateStrategy {
 public:
  void prepare(orv::KSLAPI*, orv::KSLAPI*) override {}

  // Puts "&replace" before the header of each top-level object that the session comes to for the first time.
  void acceptExpandedKSL(const Lines& lines, Lines& output) override
  {
    int depth = 0;
    for (const std::string& line : lines) {
      const int type = Parser::determineLineType(line);
      if (type == Parser::endLine)
        --depth;
      const bool first = type == Parser::objectLine && depth == 0 && m_seen.insert(line).second;
      output.push_back(first ? "&replace " + line : line);
      if (type == Parser::objectLine)
        ++depth;
    }
  }

  // Runs every action but undo, which a replay refuses, and tells of it.
  void handleAction(Lines& output, orv::KSLAPI*, orv::KSLAPI*, const std::string& action,
                    const Lines&) override
  {
    const bool runs = action != "undo";
    std::cout << (runs ? "> " : "skipped > ") << action << '\n';
    if (runs)
      output.push_back("> " + action);
  }

  orv::kslUpdateMode updateMode() override { return orv::kslUpdateAtEnd; }

 private:
  std::set<std::string> m_seen;
};

void run(const std::string& library, const std::string& session, const std::string& work)
{
  BuildAnew strategy;
  orv::SessionOptions options;
  options.library = library;
  options.updateMode = orv::kslUpdateDefault;
  options.actions.replay = &strategy;
  orv::Session model(options);
  for (const std::string& text : {work, orv::replayText(session), std::string("> delete /FILE PROCESSING")})
    for (const orv::ErrorMsg& error : model.run(text).errors())
      std::cerr << toText(error) << '\n';
  std::cout << model.state();
}

}  // namespace

int main(int argc, char** argv)
{
  if (argc != 3) {
    std::cerr << "usage: replay LIBRARY SESSION < WORK\n";
    return 2;
  }
  try {
    const std::string work(std::istreambuf_iterator<char>(std::cin), {});
    run(argv[1], argv[2], work);
    return 0;
  } catch (const orv::Error& error) {
    std::cerr << toText(orv::ErrorMsg(error)) << '\n';
    return 1;
  }
}
