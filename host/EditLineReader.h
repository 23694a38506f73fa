// Lines typed on a terminal, with libedit.
#pragma once

#ifdef KSL_HAVE_LIBEDIT

#include "LineReader.h"

#include <histedit.h>
#include <string>

class EditLineReader : public LineReader {
 public:
  EditLineReader(Complete complete, std::string historyFile);
  ~EditLineReader() override;
  EditLineReader(const EditLineReader&) = delete;
  EditLineReader& operator=(const EditLineReader&) = delete;

  Result read(const std::string& prompt, std::string& line) override;
  void remember(const std::string& line) override;
  bool isInteractive() const override { return true; }

 private:
  static EditLineReader& of(EditLine* edit);
  static char* givePrompt(EditLine* edit);
  static unsigned char onTab(EditLine* edit, int key);
  static unsigned char onInterrupt(EditLine* edit, int key);
  static unsigned char onSuspend(EditLine* edit, int key);
  unsigned char completeWord();

  EditLine* m_edit;    // owned
  History* m_history;  // owned
  Complete m_complete;
  std::string m_historyFile;
  std::string m_prompt;
  std::string m_dropped;
  bool m_interrupted = false;
};

#endif
