// The language server on any sequence of messages: each request has one answer, nothing is thrown, and after all of them
// the server still answers; what it holds of a text is what its client does.
#include "fuzz/FuzzSystem.h"
#include "host/LspFrames.h"
#include "host/LspServer.h"
#include "host/LspText.h"

#include <cstdint>
#include <string>
#include <vector>

using namespace orv;
using namespace orv::fuzz;

namespace {

constexpr const char* rules =
    "RULES:\nKSLObjectClasses = GenericKSLObject, ExpressionsKSLObject\nSchedulerTypes = Data\n"
    "PARAMETER: x\nParameter Type = Real\nDefault = 1 [m]\nEND\n"
    "PARAMETER: Colour\nAllowed String List = red, green\nEND\n"
    "PARAMETER: To\nRemote Type = Data\nLocal Type = Data\nEND\n"
    "OBJECT: A\nKSLObject Class = GenericKSLObject\nScheduler = Data\n"
    "Essential Parameter List = x\nOptional Parameter List = Colour, To\nEND\n"
    "SINGLETON: E\nKSLObject Class = ExpressionsKSLObject\nEND\nEND\n";

constexpr const char* methods[] = {"textDocument/completion",
                                   "textDocument/hover",
                                   "textDocument/definition",
                                   "textDocument/references",
                                   "textDocument/rename",
                                   "textDocument/prepareRename",
                                   "textDocument/documentSymbol",
                                   "textDocument/foldingRange",
                                   "textDocument/formatting",
                                   "textDocument/rangeFormatting",
                                   "textDocument/codeAction",
                                   "textDocument/semanticTokens/full",
                                   "textDocument/documentHighlight",
                                   "textDocument/semanticTokens/range"};
constexpr const char* uris[] = {"untitled:a", "untitled:b", "file:///a%20b/c.ksl"};

// Reads numbers and texts off the input.
class Bytes {
 public:
  Bytes(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {}
  bool isAtEnd() const { return m_at >= m_size; }
  std::size_t next() { return isAtEnd() ? 0 : m_data[m_at++]; }
  std::string text()
  {
    const std::size_t size = std::min(next(), m_size - m_at);
    std::string text(reinterpret_cast<const char*>(m_data + m_at), size);
    m_at += size;
    return text;
  }
  LspJson position() { return {{"line", next() % 12}, {"character", next() % 24}}; }
  LspJson range() { return {{"start", position()}, {"end", position()}}; }

 private:
  const std::uint8_t* m_data;
  std::size_t m_size;
  std::size_t m_at = 0;
};

class Talk {
 public:
  explicit Talk(System& system)
      : m_server(
          [this](const std::string& message) { m_answers += LspJson::parse(message).contains("id") ? 1 : 0; },
          [&system](const std::vector<std::string>&) -> const ActionFactory& { return system.actions; })
  {}

  void say(const LspJson& message, std::size_t answers)
  {
    m_answers = 0;
    m_server.handle(message.dump(-1, ' ', false, LspJson::error_handler_t::replace));
    require(m_answers == answers, "a request has one answer, and nothing else has one");
  }
  void ask(const char* method, LspJson params)
  {
    say({{"jsonrpc", "2.0"}, {"id", 1}, {"method", method}, {"params", std::move(params)}}, 1);
  }
  void tell(const char* method, LspJson params)
  {
    say({{"jsonrpc", "2.0"}, {"method", method}, {"params", std::move(params)}}, 0);
  }
  void raw(const std::string& message) { m_server.handle(message); }
  void work() { m_server.work(); }

 private:
  std::size_t m_answers = 0;
  LspServer m_server;
};

void speak(Talk& talk, Bytes& bytes)
{
  const std::size_t what = bytes.next();
  const char* uri = uris[bytes.next() % 3];
  const LspJson document{{"uri", uri}};
  if (what < 40)
    talk.tell("textDocument/didOpen",
              {{"textDocument", {{"uri", uri}, {"version", 1}, {"text", bytes.text()}}}});
  else if (what < 120)
    talk.tell("textDocument/didChange",
              {{"textDocument", document},
               {"contentChanges", {{{"range", bytes.range()}, {"text", bytes.text()}}}}});
  else if (what < 130)
    talk.tell("textDocument/didClose", {{"textDocument", document}});
  else if (what < 150)
    talk.raw(bytes.text());
  else if (what < 170)
    talk.work();
  else
    talk.ask(methods[what % std::size(methods)], {{"textDocument", document},
                                                  {"position", bytes.position()},
                                                  {"range", bytes.range()},
                                                  {"newName", bytes.text()}});
}

// Edits one after the other give what the text at the end gives at once.
void checkText(Bytes bytes)
{
  LspText text(bytes.text());
  while (!bytes.isAtEnd()) {
    const std::size_t offset = bytes.next();
    const std::size_t removed = bytes.next() % 8;
    text.edit(offset, removed, bytes.text());
    const LspText fresh(text.text());
    require(text.lineCount() == fresh.lineCount(), "lines are missing", text.text());
    for (std::size_t line = 0; line < text.lineCount(); ++line)
      require(text.lineStart(line) == fresh.lineStart(line), "a line is not where it begins", text.text());
    require(text.tree().reading() == fresh.tree().reading(), "the text is read otherwise", text.text());
  }
  for (std::size_t offset = 0; offset < text.text().size(); ++offset)
    require(text.offsetOf(text.positionOf(offset)) <= offset, "a position lies behind its byte");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  if (size > 4000)
    return 0;
  static System& system = *new System;
  static const bool isReady = (System::define(rules), true);
  require(isReady, "the rules");
  LspFrames frames;
  frames.feed({reinterpret_cast<const char*>(data), size});
  while (frames.take()) {}
  checkText(Bytes(data, size));
  Talk talk(system);
  talk.ask("textDocument/hover", {});
  talk.ask("initialize", {});
  for (Bytes bytes(data, size); !bytes.isAtEnd();)
    speak(talk, bytes);
  talk.work();
  return 0;
}
