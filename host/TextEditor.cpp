#include "TextEditor.h"

#include "platform/ORVError.h"
#include "platform/ORVSystem.h"
#include "platform/ORVUtilities.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <unistd.h>

namespace {

[[noreturn]] void failEdit(const std::string& message)
{
  throw orv::file::error("ksl", "edit", message);
}

std::string editor()
{
  for (const char* variable : {"VISUAL", "EDITOR"})
    if (const char* command = std::getenv(variable); command && *command)
      return command;
  return "vi";
}

// Of the user's alone; gone with this.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& text)
  {
    std::error_code unknown;
    m_name = (std::filesystem::temp_directory_path(unknown) / "ksl-XXXXXX.ksl").string();
    const int file = ::mkstemps(m_name.data(), 4);
    if (file < 0)
      failEdit(orv::_("Cannot write a temporary file: %s.", orv::Error::getSystemError()));
    const bool isWritten = ::write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    if (::close(file) != 0 || !isWritten) {
      ::unlink(m_name.c_str());
      failEdit(orv::_("Cannot write a temporary file: %s.", orv::Error::getSystemError()));
    }
  }
  ~TemporaryFile() { ::unlink(m_name.c_str()); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  const std::string& name() const { return m_name; }

 private:
  std::string m_name;
};

}  // namespace

std::string editedText(const std::string& text)
{
  const TemporaryFile file(text);
  const std::string program = editor();
  std::string name;  // in single quotes of the shell
  for (const char c : file.name())
    name += c == '\'' ? "'\\''" : std::string(1, c);
  // As others do: the variable holds a command with its options.
  if (std::system((program + " '" + name + "'").c_str()) != 0)
    failEdit(orv::_("The editor '%s' failed; nothing is entered.", program));
  return orv::ORVFile::readAll(file.name());
}
