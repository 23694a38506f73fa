// Lines typed on a terminal, with libedit.
#pragma once

#ifdef KSL_HAVE_LIBEDIT

#include "LineReader.h"

#include <cwchar>
#include <histedit.h>
#include <string>

class EditLineReader : public LineReader {
 public:
  EditLineReader(Complete complete, std::string historyFile);
  ~EditLineReader() override;
  EditLineReader(const EditLineReader&) = delete;
  EditLineReader& operator=(const EditLineReader&) = delete;

  Result read(const std::string& prompt, std::string& line) override;
  void remember(const std::string& text) override;
  bool bringBack(const std::string& text) override;
  bool isInteractive() const override { return true; }

 private:
  static EditLineReader& of(EditLine* edit);
  static char* givePrompt(EditLine* edit);
  static unsigned char onTab(EditLine* edit, wint_t key);
  static unsigned char onInterrupt(EditLine* edit, wint_t key);
  static unsigned char onSuspend(EditLine* edit, wint_t key);
  static unsigned char onUp(EditLine* edit, wint_t key);
  static unsigned char onDown(EditLine* edit, wint_t key);
  static unsigned char onLineBegin(EditLine* edit, wint_t key);
  static unsigned char onLineEnd(EditLine* edit, wint_t key);
  static unsigned char onNewLine(EditLine* edit, wint_t key);
  static unsigned char onPaste(EditLine* edit, wint_t key);
  static unsigned char onBringBack(EditLine* edit, wint_t key);
  void bindKeys();
  void saveHistory();
  void tellTerminal(const char* sequence) const;
  unsigned char completeWord();

  EditLine* m_edit;    // owned
  History* m_history;  // owned
  Complete m_complete;
  std::string m_historyFile;
  std::string m_prompt;
  std::string m_dropped;
  std::string m_broughtBack;
  bool m_interrupted = false;
  bool m_hasNews = false;  // in the history, not in its file
  bool m_canGoUp = false;  // the terminal can show several lines to be edited
};

#endif
