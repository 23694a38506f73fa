// Messages of the language server protocol as they come in bytes.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// Takes bytes as they come and gives messages. What is no header is passed over, up to the next that says how long a
// message is: whoever went wrong is understood again from his next message on.
class LspFrames {
 public:
  void feed(std::string_view bytes) { m_bytes.append(bytes); }
  // The next message that is complete.
  std::optional<std::string> take();

  // A message with its header.
  static std::string framed(std::string_view message);

 private:
  bool readHeader();

  std::string m_bytes;
  std::optional<std::size_t> m_length;  // of the message under way, whose header has been taken
};
