// The language server: what it answers to each message.
#pragma once

#include "LspJson.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv {
class ActionFactory;
}

// Never throws for what a client says: a message that makes no sense is answered with an error, or passed over when
// nobody waits for an answer. What is wrong with texts is told in `work`, so that a flood of changes is looked at once.
class LspServer {
 public:
  // Where messages go, each without its header.
  using Send = std::function<void(const std::string&)>;
  // Brings the rules up, for a workspace of these folders; once, when the client has introduced itself. What it throws
  // is the answer then.
  using Start = std::function<const orv::ActionFactory&(const std::vector<std::string>& folders)>;

  LspServer(Send send, Start start);

  void handle(std::string_view message);
  // Whether texts have changed since the last work.
  bool hasWork() const { return m_workspace && m_phase == Phase::running && m_workspace->isChanged(); }
  void work();
  // Once the client has said "exit": 0 when it had said "shutdown" before, else 1.
  std::optional<int> exitStatus() const { return m_exitStatus; }

 private:
  enum class Phase { created, running, shutDown };
  using Request = LspJson (LspServer::*)(const LspJson& params);
  using Notification = void (LspServer::*)(const LspJson& params);
  static const std::map<std::string, Request>& requests();
  static const std::map<std::string, Notification>& notifications();

  void answer(const LspJson& id, const std::string& method, const LspJson& params);
  LspJson resultOf(const std::string& method, const LspJson& params);
  void notice(const std::string& method, const LspJson& params);
  void send(LspJson message) const;
  void sendFailure(const LspJson& id, const LspFailure& failure) const;
  void tell(LspDocument& document);
  void tellGone(const std::string& uri);

  LspDocument& documentOf(const LspJson& params);
  static std::size_t offsetIn(const LspDocument& document, const LspJson& params);

  LspJson initialize(const LspJson& params);
  LspJson shutdown(const LspJson& params);
  LspJson completion(const LspJson& params);
  LspJson hover(const LspJson& params);
  LspJson definition(const LspJson& params);
  LspJson references(const LspJson& params);
  LspJson highlight(const LspJson& params);
  LspJson prepareRename(const LspJson& params);
  LspJson rename(const LspJson& params);
  LspJson symbols(const LspJson& params);
  LspJson folding(const LspJson& params);
  LspJson formatting(const LspJson& params);
  LspJson rangeFormatting(const LspJson& params);
  LspJson tokens(const LspJson& params);
  LspJson rangeTokens(const LspJson& params);
  LspJson codeActions(const LspJson& params);

  void initialized(const LspJson& params);
  void didOpen(const LspJson& params);
  void didChange(const LspJson& params);
  void didClose(const LspJson& params);
  void didChangeFiles(const LspJson& params);
  void didChangeFolders(const LspJson& params);

  const Send m_send;
  const Start m_start;
  Phase m_phase = Phase::created;
  bool m_takesSnippets = false;
  bool m_takesRegistrations = false;
  const orv::ActionFactory* m_actions = nullptr;
  std::unique_ptr<LspWorkspace> m_workspace;
  std::optional<int> m_exitStatus;
};
