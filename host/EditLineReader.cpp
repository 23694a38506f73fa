#ifdef KSL_HAVE_LIBEDIT

#include "EditLineReader.h"

#include <algorithm>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <utility>

namespace {

constexpr int linesRemembered = 1000;
constexpr std::size_t mostListed = 100;
constexpr std::size_t screenWidth = 79;

std::string commonStart(const std::vector<std::string>& texts)
{
  std::string common = texts.front();
  for (const std::string& text : texts) {
    const auto differ = std::mismatch(common.begin(), common.end(), text.begin(), text.end());
    common.erase(differ.first, common.end());
  }
  return common;
}

// In columns, filled row by row.
void list(const std::vector<std::string>& texts)
{
  const std::size_t count = std::min(texts.size(), mostListed);
  std::size_t width = 0;
  for (std::size_t i = 0; i < count; ++i)
    width = std::max(width, texts[i].size() + 2);
  const std::size_t columns = std::max<std::size_t>(1, screenWidth / width);
  std::fputc('\n', stdout);
  for (std::size_t i = 0; i < count; ++i) {
    const bool isLast = (i + 1) % columns == 0 || i + 1 == count;
    std::printf("%-*s%s", isLast ? 0 : static_cast<int>(width), texts[i].c_str(), isLast ? "\n" : "");
  }
  if (texts.size() > count)
    std::printf("... and %zu more\n", texts.size() - count);
  std::fflush(stdout);
}

}  // namespace

EditLineReader::EditLineReader(Complete complete, std::string historyFile)
    : m_complete(std::move(complete)),
      m_historyFile(std::move(historyFile))
{
  std::setlocale(LC_CTYPE, "");  // what characters are on this terminal; the core asks no locale
  m_edit = el_init("ksl", stdin, stdout, stderr);
  m_history = history_init();
  HistEvent event;
  history(m_history, &event, H_SETSIZE, linesRemembered);
  history(m_history, &event, H_SETUNIQUE, 1);
  if (!m_historyFile.empty())
    history(m_history, &event, H_LOAD, m_historyFile.c_str());
  el_set(m_edit, EL_CLIENTDATA, this);
  el_set(m_edit, EL_PROMPT, givePrompt);
  el_set(m_edit, EL_SIGNAL, 1);  // a window that changes its size; suspending
  el_set(m_edit, EL_HIST, history, m_history);
  el_set(m_edit, EL_EDITOR, "emacs");
  // In wide characters: of narrow ones it makes copies that it never frees.
  el_wset(m_edit, EL_ADDFN, L"ksl-complete", L"Completes the word", onTab);
  el_set(m_edit, EL_BIND, "^I", "ksl-complete", nullptr);
  el_wset(m_edit, EL_ADDFN, L"ksl-interrupt", L"Drops the line", onInterrupt);
  el_set(m_edit, EL_BIND, "^C", "ksl-interrupt", nullptr);
  // While a line is edited Ctrl-C and Ctrl-Z are keys like others; no signal interrupts the program then.
  el_set(m_edit, EL_SETTY, "-d", "-isig", nullptr);
  el_wset(m_edit, EL_ADDFN, L"ksl-suspend", L"Suspends the program", onSuspend);
  el_set(m_edit, EL_BIND, "^Z", "ksl-suspend", nullptr);
  el_source(m_edit, nullptr);
}

EditLineReader::~EditLineReader()
{
  el_end(m_edit);
  history_end(m_history);
}

EditLineReader& EditLineReader::of(EditLine* edit)
{
  void* self = nullptr;
  el_get(edit, EL_CLIENTDATA, &self);
  return *static_cast<EditLineReader*>(self);
}

char* EditLineReader::givePrompt(EditLine* edit)
{
  return of(edit).m_prompt.data();
}

LineReader::Result EditLineReader::read(const std::string& prompt, std::string& line)
{
  m_prompt = prompt;
  m_interrupted = false;
  int count = 0;
  const char* text = el_gets(m_edit, &count);
  if (m_interrupted) {
    line = m_dropped;
    return Result::interrupted;
  }
  if (!text || count <= 0) {
    std::fputc('\n', stdout);
    std::fflush(stdout);
    return Result::end;
  }
  line.assign(text, static_cast<std::size_t>(count));
  while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
    line.pop_back();
  return Result::line;
}

void EditLineReader::remember(const std::string& line)
{
  HistEvent event;
  history(m_history, &event, H_ENTER, line.c_str());
  if (m_historyFile.empty())
    return;
  makeFolder(std::filesystem::path(m_historyFile).parent_path());  // the user's own business
  history(m_history, &event, H_SAVE, m_historyFile.c_str());
}

unsigned char EditLineReader::onInterrupt(EditLine* edit, int)
{
  const LineInfo* info = el_line(edit);
  of(edit).m_dropped.assign(info->buffer, info->lastchar);
  of(edit).m_interrupted = true;
  std::fputs("^C\n", stdout);
  std::fflush(stdout);
  return CC_EOF;
}

unsigned char EditLineReader::onSuspend(EditLine*, int)
{
  std::raise(SIGTSTP);  // caught by libedit, which puts the terminal back meanwhile
  return CC_NORM;
}

unsigned char EditLineReader::onTab(EditLine* edit, int)
{
  try {
    return of(edit).completeWord();
  } catch (const std::exception&) {  // libedit is no place to throw through
    return CC_ERROR;
  }
}

unsigned char EditLineReader::completeWord()
{
  const LineInfo* info = el_line(m_edit);
  const std::string_view before(info->buffer, static_cast<std::size_t>(info->cursor - info->buffer));
  const Completions found = m_complete(before);
  if (found.texts.empty())
    return CC_ERROR;
  const std::string typed(before.substr(found.start));
  const std::string common = commonStart(found.texts);
  if (common.size() > typed.size() || (found.texts.size() == 1 && common != typed)) {
    // Characters, not bytes, are what it deletes.
    const auto isStart = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };
    el_deletestr(m_edit, static_cast<int>(std::count_if(typed.begin(), typed.end(), isStart)));
    return el_insertstr(m_edit, common.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
  }
  if (found.texts.size() == 1)
    return CC_ERROR;
  list(found.texts);
  return CC_REDISPLAY;
}

#endif
