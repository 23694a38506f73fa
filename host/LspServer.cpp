#include "LspServer.h"

#include "platform/ORVError.h"
#include "command/ActionFactory.h"
#include "LspCompletion.h"
#include "LspFixes.h"
#include "LspHover.h"
#include "LspNames.h"
#include "LspOutline.h"

#include <algorithm>
#include <exception>
#include <limits>
#include <utility>

namespace {

constexpr std::size_t everyLine = std::numeric_limits<std::size_t>::max() - 1;

LspJson capabilities()
{
  constexpr int incremental = 2;
  return {{"positionEncoding", "utf-16"},
          {"textDocumentSync", {{"openClose", true}, {"change", incremental}}},
          {"completionProvider", {{"triggerCharacters", {":", "=", ">", "/", ",", "["}}}},
          {"hoverProvider", true},
          {"definitionProvider", true},
          {"referencesProvider", true},
          {"documentHighlightProvider", true},
          {"renameProvider", {{"prepareProvider", true}}},
          {"documentSymbolProvider", true},
          {"foldingRangeProvider", true},
          {"documentFormattingProvider", true},
          {"documentRangeFormattingProvider", true},
          {"codeActionProvider", {{"codeActionKinds", {"quickfix"}}}},
          {"semanticTokensProvider",
           {{"legend", {{"tokenTypes", tokenTypes()}, {"tokenModifiers", LspJson::array()}}},
            {"full", true},
            {"range", true}}},
          {"workspace", {{"workspaceFolders", {{"supported", true}, {"changeNotifications", true}}}}}};
}

// The folders that the client has open, in any of the three ways to say so.
std::vector<std::string> foldersIn(const LspJson& params)
{
  std::vector<std::string> folders;
  if (const LspJson& list = memberOf(params, {"workspaceFolders"}); list.is_array())
    for (const LspJson& folder : list)
      folders.push_back(textOf(memberOf(folder, {"uri"})));
  else if (const std::string uri = textOf(memberOf(params, {"rootUri"})); !uri.empty())
    folders.push_back(uri);
  else if (const std::string path = textOf(memberOf(params, {"rootPath"})); !path.empty())
    folders.push_back(LspWorkspace::uriOf(path));
  return folders;
}

std::pair<std::size_t, std::size_t> linesOf(const LspJson& params)
{
  const std::optional<LspPosition> start = positionOf(memberOf(params, {"range", "start"}));
  const std::optional<LspPosition> end = positionOf(memberOf(params, {"range", "end"}));
  if (!start || !end)
    throw LspFailure{LspFailure::invalidParams, "A range is missing."};
  return {start->line, end->line};
}

}  // namespace

LspServer::LspServer(Send send, Start start) : m_send(std::move(send)), m_start(std::move(start)) {}

const std::map<std::string, LspServer::Request>& LspServer::requests()
{
  static const std::map<std::string, Request>& requests =
      *new std::map<std::string, Request>{{"initialize", &LspServer::initialize},
                                          {"shutdown", &LspServer::shutdown},
                                          {"textDocument/completion", &LspServer::completion},
                                          {"textDocument/hover", &LspServer::hover},
                                          {"textDocument/definition", &LspServer::definition},
                                          {"textDocument/references", &LspServer::references},
                                          {"textDocument/documentHighlight", &LspServer::highlight},
                                          {"textDocument/prepareRename", &LspServer::prepareRename},
                                          {"textDocument/rename", &LspServer::rename},
                                          {"textDocument/documentSymbol", &LspServer::symbols},
                                          {"textDocument/foldingRange", &LspServer::folding},
                                          {"textDocument/formatting", &LspServer::formatting},
                                          {"textDocument/rangeFormatting", &LspServer::rangeFormatting},
                                          {"textDocument/semanticTokens/full", &LspServer::tokens},
                                          {"textDocument/semanticTokens/range", &LspServer::rangeTokens},
                                          {"textDocument/codeAction", &LspServer::codeActions}};
  return requests;
}

const std::map<std::string, LspServer::Notification>& LspServer::notifications()
{
  static const std::map<std::string, Notification>& notifications = *new std::map<std::string, Notification>{
      {"initialized", &LspServer::initialized},
      {"textDocument/didOpen", &LspServer::didOpen},
      {"textDocument/didChange", &LspServer::didChange},
      {"textDocument/didClose", &LspServer::didClose},
      {"workspace/didChangeWatchedFiles", &LspServer::didChangeFiles},
      {"workspace/didChangeWorkspaceFolders", &LspServer::didChangeFolders}};
  return notifications;
}

// ---------------------------------------------------------------------------------------------------- messages

void LspServer::handle(std::string_view message)
{
  const LspJson json = LspJson::parse(message, nullptr, false);
  if (json.is_discarded())
    return sendFailure({}, {LspFailure::parseError, "The message is no JSON."});
  const LspJson& id = memberOf(json, {"id"});
  const std::string method = textOf(memberOf(json, {"method"}));
  const bool isAnswer =
      json.is_object() && method.empty() && (json.contains("result") || json.contains("error"));
  if (isAnswer)
    return;
  if (method.empty())
    return sendFailure({}, {LspFailure::invalidRequest, "The message is no request."});
  if (id.is_string() || id.is_number())
    answer(id, method, memberOf(json, {"params"}));
  else
    notice(method, memberOf(json, {"params"}));
}

void LspServer::answer(const LspJson& id, const std::string& method, const LspJson& params)
{
  try {
    send({{"jsonrpc", "2.0"}, {"id", id}, {"result", resultOf(method, params)}});
  } catch (const LspFailure& failure) {
    sendFailure(id, failure);
  } catch (const orv::Error& error) {
    sendFailure(id, {LspFailure::requestFailed, error.getMessage()});
  } catch (const std::exception& exception) {
    sendFailure(id, {LspFailure::internalError, exception.what()});
  }
}

LspJson LspServer::resultOf(const std::string& method, const LspJson& params)
{
  if (m_phase == Phase::created && method != "initialize")
    throw LspFailure{LspFailure::notInitialized, "The first request is initialize."};
  if (m_phase == Phase::shutDown || (m_phase == Phase::running && method == "initialize"))
    throw LspFailure{LspFailure::invalidRequest, "This is not the time for " + method + "."};
  const auto found = requests().find(method);
  if (found == requests().end())
    throw LspFailure{LspFailure::methodNotFound, "There is no request " + method + "."};
  return (this->*found->second)(params);
}

void LspServer::notice(const std::string& method, const LspJson& params)
{
  if (method == "exit") {
    m_exitStatus = m_phase == Phase::shutDown ? 0 : 1;
    return;
  }
  const auto found = notifications().find(method);
  if (m_phase != Phase::running || found == notifications().end())
    return;
  constexpr int errorMessage = 1;
  const auto log = [&](const std::string& text) {
    send({{"jsonrpc", "2.0"},
          {"method", "window/logMessage"},
          {"params", {{"type", errorMessage}, {"message", method + ": " + text}}}});
  };
  try {
    (this->*found->second)(params);
  } catch (const LspFailure& failure) {
    log(failure.message);
  } catch (const orv::Error& error) {
    log(error.getMessage());
  } catch (const std::exception& exception) {
    log(exception.what());
  }
}

// Texts may hold bytes that JSON cannot: they are replaced.
void LspServer::send(LspJson message) const
{
  m_send(message.dump(-1, ' ', false, LspJson::error_handler_t::replace));
}

void LspServer::sendFailure(const LspJson& id, const LspFailure& failure) const
{
  send({{"jsonrpc", "2.0"}, {"id", id}, {"error", {{"code", failure.code}, {"message", failure.message}}}});
}

// ----------------------------------------------------------------------------------------------------- life

LspJson LspServer::initialize(const LspJson& params)
{
  const std::vector<std::string> folders = foldersIn(params);
  m_actions = &m_start(folders);
  m_workspace = std::make_unique<LspWorkspace>(m_actions->getActions());
  for (const std::string& folder : folders)
    m_workspace->addFolder(folder);
  const LspJson& snippets =
      memberOf(params, {"capabilities", "textDocument", "completion", "completionItem", "snippetSupport"});
  m_takesSnippets = snippets.is_boolean() && snippets.get<bool>();
  const LspJson& registers =
      memberOf(params, {"capabilities", "workspace", "didChangeWatchedFiles", "dynamicRegistration"});
  m_takesRegistrations = registers.is_boolean() && registers.get<bool>();
  m_phase = Phase::running;
  return {{"capabilities", capabilities()}, {"serverInfo", {{"name", "ksl"}, {"version", KSL_VERSION}}}};
}

void LspServer::initialized(const LspJson&)
{
  if (!m_takesRegistrations)
    return;
  const LspJson watchers = {{"watchers", {{{"globPattern", "**/*.ksl"}}}}};
  send({{"jsonrpc", "2.0"},
        {"id", "watch"},
        {"method", "client/registerCapability"},
        {"params",
         {{"registrations",
           {{{"id", "watch"},
             {"method", "workspace/didChangeWatchedFiles"},
             {"registerOptions", watchers}}}}}}});
}

LspJson LspServer::shutdown(const LspJson&)
{
  m_phase = Phase::shutDown;
  return {};
}

// ----------------------------------------------------------------------------------------------------- texts

LspDocument& LspServer::documentOf(const LspJson& params)
{
  const std::string uri = textOf(memberOf(params, {"textDocument", "uri"}));
  LspDocument* document = m_workspace->find(uri);
  if (!document)
    throw LspFailure{LspFailure::invalidParams, "The text '" + uri + "' is not open."};
  return *document;
}

std::size_t LspServer::offsetIn(const LspDocument& document, const LspJson& params)
{
  const std::optional<LspPosition> position = positionOf(memberOf(params, {"position"}));
  if (!position)
    throw LspFailure{LspFailure::invalidParams, "The position is missing."};
  return document.text.offsetOf(*position);
}

void LspServer::didOpen(const LspJson& params)
{
  const LspJson& document = memberOf(params, {"textDocument"});
  const std::string uri = textOf(memberOf(document, {"uri"}));
  if (uri.empty() || !memberOf(document, {"text"}).is_string())
    throw LspFailure{LspFailure::invalidParams, "The text or its name is missing."};
  const LspJson& version = memberOf(document, {"version"});
  m_workspace->open(uri, textOf(memberOf(document, {"text"})),
                    version.is_number_integer() ? std::optional(version.get<long>()) : std::nullopt);
}

void LspServer::didChange(const LspJson& params)
{
  LspDocument& document = documentOf(params);
  if (!document.isOpen)
    throw LspFailure{LspFailure::invalidParams, "The text is not open."};
  if (const LspJson& version = memberOf(params, {"textDocument", "version"}); version.is_number_integer())
    document.version = version.get<long>();
  const LspJson& changes = memberOf(params, {"contentChanges"});
  for (const LspJson& change : changes.is_array() ? changes : LspJson::array()) {
    std::size_t begin = 0;
    std::size_t end = document.text.text().size();
    if (const LspJson& range = memberOf(change, {"range"}); !range.is_null()) {
      const std::optional<LspPosition> first = positionOf(memberOf(range, {"start"}));
      const std::optional<LspPosition> last = positionOf(memberOf(range, {"end"}));
      if (!first || !last)
        throw LspFailure{LspFailure::invalidParams, "The range of a change is wrong."};
      begin = document.text.offsetOf(*first);
      end = std::max(begin, document.text.offsetOf(*last));
    }
    m_workspace->edit(document, begin, end - begin, textOf(memberOf(change, {"text"})));
  }
}

void LspServer::didClose(const LspJson& params)
{
  LspDocument& document = documentOf(params);
  const std::string uri = document.uri;
  if (!m_workspace->close(document))
    tellGone(uri);
}

void LspServer::didChangeFiles(const LspJson& params)
{
  const LspJson& changes = memberOf(params, {"changes"});
  for (const LspJson& change : changes.is_array() ? changes : LspJson::array()) {
    const std::string uri = textOf(memberOf(change, {"uri"}));
    m_workspace->fileChanged(uri);
    if (!m_workspace->find(uri))
      tellGone(uri);
  }
}

void LspServer::didChangeFolders(const LspJson& params)
{
  std::vector<std::string> before;
  for (const auto& [path, document] : m_workspace->documents())
    before.push_back(document.uri);
  const auto forEach = [&](const char* which, auto take) {
    const LspJson& folders = memberOf(params, {"event", which});
    for (const LspJson& folder : folders.is_array() ? folders : LspJson::array())
      take(textOf(memberOf(folder, {"uri"})));
  };
  forEach("removed", [this](const std::string& uri) { m_workspace->removeFolder(uri); });
  forEach("added", [this](const std::string& uri) { m_workspace->addFolder(uri); });
  for (const std::string& uri : before)
    if (!m_workspace->find(uri))
      tellGone(uri);
}

void LspServer::work()
{
  if (!hasWork())
    return;
  m_workspace->check();
  for (auto& [path, document] : m_workspace->documents())
    tell(document);
}

// Once more only when there is something new to tell.
void LspServer::tell(LspDocument& document)
{
  LspJson diagnostics = diagnosticsOf(document);
  std::string told = diagnostics.dump(-1, ' ', false, LspJson::error_handler_t::replace);
  if (told == document.told || (document.told.empty() && diagnostics.empty() && !document.isOpen))
    return;
  document.told = std::move(told);
  LspJson params{{"uri", document.uri}, {"diagnostics", std::move(diagnostics)}};
  if (document.version)
    params["version"] = *document.version;
  send({{"jsonrpc", "2.0"}, {"method", "textDocument/publishDiagnostics"}, {"params", std::move(params)}});
}

void LspServer::tellGone(const std::string& uri)
{
  send({{"jsonrpc", "2.0"},
        {"method", "textDocument/publishDiagnostics"},
        {"params", {{"uri", uri}, {"diagnostics", LspJson::array()}}}});
}

// --------------------------------------------------------------------------------------------------- questions

LspJson LspServer::completion(const LspJson& params)
{
  const LspDocument& document = documentOf(params);
  return completionsAt(*m_actions, *m_workspace, document, offsetIn(document, params), m_takesSnippets);
}

LspJson LspServer::hover(const LspJson& params)
{
  const LspDocument& document = documentOf(params);
  return hoverAt(*m_workspace, document, offsetIn(document, params));
}

LspJson LspServer::definition(const LspJson& params)
{
  const LspDocument& document = documentOf(params);
  return definitionsAt(*m_workspace, document, offsetIn(document, params));
}

LspJson LspServer::references(const LspJson& params)
{
  const LspDocument& document = documentOf(params);
  const LspJson& withDefinitions = memberOf(params, {"context", "includeDeclaration"});
  return referencesAt(*m_workspace, document, offsetIn(document, params),
                      withDefinitions.is_boolean() && withDefinitions.get<bool>());
}

LspJson LspServer::highlight(const LspJson& params)
{
  const LspDocument& document = documentOf(params);
  return highlightsAt(*m_workspace, document, offsetIn(document, params));
}

LspJson LspServer::prepareRename(const LspJson& params)
{
  const LspDocument& document = documentOf(params);
  return renamableAt(*m_workspace, document, offsetIn(document, params));
}

LspJson LspServer::rename(const LspJson& params)
{
  const LspDocument& document = documentOf(params);
  return renameAt(*m_workspace, document, offsetIn(document, params), textOf(memberOf(params, {"newName"})));
}

LspJson LspServer::symbols(const LspJson& params)
{
  return symbolsOf(documentOf(params).text);
}

LspJson LspServer::folding(const LspJson& params)
{
  return foldingOf(documentOf(params).text);
}

LspJson LspServer::formatting(const LspJson& params)
{
  return formatEdits(documentOf(params).text, 0, everyLine);
}

LspJson LspServer::rangeFormatting(const LspJson& params)
{
  const auto [first, last] = linesOf(params);
  return formatEdits(documentOf(params).text, first, last);
}

LspJson LspServer::tokens(const LspJson& params)
{
  return tokensOf(documentOf(params).text, 0, everyLine);
}

LspJson LspServer::rangeTokens(const LspJson& params)
{
  const auto [first, last] = linesOf(params);
  return tokensOf(documentOf(params).text, first, last);
}

LspJson LspServer::codeActions(const LspJson& params)
{
  const LspDocument& document = documentOf(params);
  const std::optional<LspPosition> start = positionOf(memberOf(params, {"range", "start"}));
  const std::optional<LspPosition> end = positionOf(memberOf(params, {"range", "end"}));
  if (!start || !end)
    throw LspFailure{LspFailure::invalidParams, "A range is missing."};
  work();
  return fixesFor(document, document.text.offsetOf(*start), document.text.offsetOf(*end));
}
