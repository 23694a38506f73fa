#include "LspCommand.h"

#include "platform/ORVError.h"
#include "platform/ORVSystem.h"
#include "ErrorPrinter.h"
#include "Host.h"
#include "Libraries.h"
#include "LspFrames.h"
#include "LspServer.h"

#include <cerrno>
#include <csignal>
#include <memory>
#include <poll.h>
#include <unistd.h>

namespace {

// Standard output belongs to the messages: whatever else is printed goes to standard error.
class MessageOutput {
 public:
  MessageOutput() : m_descriptor(::dup(STDOUT_FILENO))
  {
    ::dup2(STDERR_FILENO, STDOUT_FILENO);
    std::signal(SIGPIPE, SIG_IGN);
  }
  ~MessageOutput() { ::close(m_descriptor); }
  MessageOutput(const MessageOutput&) = delete;
  MessageOutput& operator=(const MessageOutput&) = delete;

  void write(const std::string& message)
  {
    const std::string bytes = LspFrames::framed(message);
    for (std::size_t done = 0; done < bytes.size() && m_isOpen;) {
      const ssize_t count = ::write(m_descriptor, bytes.data() + done, bytes.size() - done);
      m_isOpen = count > 0 || (count < 0 && errno == EINTR);
      done += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
  }
  bool isOpen() const { return m_isOpen; }

 private:
  const int m_descriptor;
  bool m_isOpen = true;
};

// Waits for bytes; false at the end of the input.
bool readInto(LspFrames& frames)
{
  char buffer[1 << 16];
  for (;;) {
    const ssize_t count = ::read(STDIN_FILENO, buffer, sizeof buffer);
    if (count > 0)
      frames.feed({buffer, static_cast<std::size_t>(count)});
    if (count >= 0 || errno != EINTR)
      return count > 0;
  }
}

bool hasInput()
{
  pollfd input{STDIN_FILENO, POLLIN, 0};
  return ::poll(&input, 1, 0) > 0;
}

// Texts are looked at when no message waits.
int serve(LspServer& server, const MessageOutput& output)
{
  LspFrames frames;
  for (;;) {
    while (const std::optional<std::string> message = frames.take()) {
      server.handle(*message);
      if (server.exitStatus())
        return *server.exitStatus();
    }
    if (server.hasWork() && !hasInput())
      server.work();
    if (!output.isOpen() || !readInto(frames))
      return 1;
  }
}

// Definitions in the folders count as "ksl check" has it, unless libraries are given. Where they do not go together with
// those that are in force, these count alone.
std::unique_ptr<Host> hostFor(const std::vector<std::string>& folders, const TextOptions& options)
{
  Definitions definitions;
  if (options.libraries.empty())
    for (const std::string& folder : folders)
      for (const std::string& file : LspWorkspace::filesIn(LspWorkspace::pathOf(folder)))
        if (const std::optional<std::string> text = LspWorkspace::textIn(file))
          definitions.add(file, orv::SyntaxTree(*text));
  try {
    return std::make_unique<Host>(librariesFor(definitions, options.libraries), options.validate);
  } catch (const orv::Error& error) {
    if (definitions.files.empty())
      throw;
    orv::ErrorProgressReporter::instance()->reportError(error);
    return std::make_unique<Host>(options.libraries, options.validate);
  }
}

}  // namespace

int LspCommand::run(const TextOptions& options)
{
  MessageOutput output;
  const ErrorPrinter printer(options.format);
  std::unique_ptr<Host> host;
  LspServer server([&](const std::string& message) { output.write(message); },
                   [&](const std::vector<std::string>& folders) -> const orv::ActionFactory& {
                     host = hostFor(folders, options);
                     return host->actions();
                   });
  return serve(server, output);
}
