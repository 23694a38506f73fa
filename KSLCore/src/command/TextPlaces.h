// Runs along with a command text, to tell where in it errors arise. Nothing is kept for that while all goes well: the text is read again when the
// first error asks.
#pragma once

#include "platform/ORVError.h"
#include "platform/ORVKSLAPI.h"
#include "platform/ORVSourceText.h"
#include "command/KSLUpdateMode.h"
#include "command/TextSource.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace orv {

// Lives while a text is run, and is the reporter's locator meanwhile. A text without a source of its own (of an executor,
// say) stands for the statement of the outer text that made it.
class TextPlaces final : public ErrorLocator {
 public:
  // Nothing is copied: all of it outlives this object.
  TextPlaces(const TextSource& source, const std::string& text, kslUpdateMode mode, const KSLAPI& store);
  ~TextPlaces() override;
  TextPlaces(const TextPlaces&) = delete;
  TextPlaces& operator=(const TextPlaces&) = delete;

  KSLLines lines;            // what is run
  bool isRewritten = false;  // by a functor: then statements are found by their texts, not by their numbers
  std::size_t current = 0;   // the line under way

  // The lines are all that is needed while all goes well: the text's keeper, if it has one, may let go of it.
  void letGo() noexcept;
  void locate(ErrorMsg& error) override;
  // Why the count of END is off, as the notes of an error that says so; its place is that of the first.
  void explainEnds(Error& error) const;

 private:
  bool place(Diagnostic& error);
  bool placeStatement(Diagnostic& error, std::size_t line);
  bool isAction() const;
  std::size_t currentLine();
  const SourceText& text();
  const std::string& entered();
  SourceText sourceText(const std::string& entered) const;

  const TextSource& m_source;
  const std::string& m_text;
  bool m_hasGone = false;              // m_text
  std::optional<std::string> m_again;  // it, when an error asked for it since
  kslUpdateMode m_mode;
  const KSLAPI& m_store;
  ErrorLocator* m_outer;
  std::optional<SourceText> m_read;   // made by the first error
  std::vector<std::size_t> m_lineOf;  // of the lines that are run; likewise
};

}  // namespace orv
