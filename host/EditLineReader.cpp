#ifdef KSL_HAVE_LIBEDIT

#include "EditLineReader.h"

#include <algorithm>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

constexpr int linesRemembered = 1000;
constexpr std::size_t mostListed = 100;
constexpr std::size_t screenWidth = 79;
// Sequences that no key sends, by which functions of libedit are called.
constexpr const wchar_t* keyOlder = L"\033[9001~";
constexpr const wchar_t* keyNewer = L"\033[9002~";
constexpr const wchar_t* keyBringBack = L"\033[9003~";
// The terminal marks what is pasted.
constexpr const char* pasteMarksOn = "\033[?2004h";
constexpr const char* pasteMarksOff = "\033[?2004l";

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
  char* up = nullptr;
  m_canGoUp = el_get(m_edit, EL_GETTC, "up", &up) == 0 && up && *up;
  bindKeys();
  el_source(m_edit, nullptr);
}

void EditLineReader::bindKeys()
{
  using Function = unsigned char (*)(EditLine*, wint_t);
  struct Binding {
    const wchar_t* name;
    const wchar_t* help;
    Function function;
    std::vector<const wchar_t*> keys;
  };
  const Binding bindings[] = {
      {L"ksl-complete", L"Completes the word", onTab, {L"^I"}},
      {L"ksl-interrupt", L"Drops the line", onInterrupt, {L"^C"}},
      {L"ksl-suspend", L"Suspends the program", onSuspend, {L"^Z"}},
      {L"ksl-up", L"Goes to the line above, or the entry before", onUp, {L"\033[A", L"\033OA"}},
      {L"ksl-down", L"Goes to the line below, or the entry behind", onDown, {L"\033[B", L"\033OB"}},
      {L"ksl-line-begin", L"Goes to the beginning of the line", onLineBegin, {L"^A", L"\033[H", L"\033OH"}},
      {L"ksl-line-end", L"Goes to the end of the line", onLineEnd, {L"^E", L"\033[F", L"\033OF"}},
      {L"ksl-new-line", L"Adds a line", onNewLine, {L"\033\r", L"\033\n"}},
      {L"ksl-paste", L"Takes what is pasted", onPaste, {L"\033[200~"}},
      {L"ksl-bring-back", L"Brings a text back", onBringBack, {keyBringBack}},
  };
  // In wide characters: of narrow ones it makes copies that it never frees.
  for (const Binding& binding : bindings) {
    el_wset(m_edit, EL_ADDFN, binding.name, binding.help, binding.function);
    for (const wchar_t* key : binding.keys)
      el_wset(m_edit, EL_BIND, key, binding.name, nullptr);
  }
  el_wset(m_edit, EL_BIND, keyOlder, L"ed-prev-history", nullptr);
  el_wset(m_edit, EL_BIND, keyNewer, L"ed-next-history", nullptr);
  // While a line is edited Ctrl-C and Ctrl-Z are keys like others; no signal interrupts the program then.
  el_set(m_edit, EL_SETTY, "-d", "-isig", nullptr);
}

EditLineReader::~EditLineReader()
{
  saveHistory();
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
  saveHistory();
  m_prompt = prompt;
  m_interrupted = false;
  if (!m_broughtBack.empty())
    el_wpush(m_edit, keyBringBack);
  tellTerminal(pasteMarksOn);
  int count = 0;
  const char* text = el_gets(m_edit, &count);
  tellTerminal(pasteMarksOff);
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

void EditLineReader::tellTerminal(const char* sequence) const
{
  if (!m_canGoUp)
    return;
  std::fputs(sequence, stdout);
  std::fflush(stdout);
}

void EditLineReader::remember(const std::string& text)
{
  HistEvent event;
  history(m_history, &event, H_ENTER, text.c_str());
  m_hasNews = true;
}

void EditLineReader::saveHistory()
{
  if (!std::exchange(m_hasNews, false) || m_historyFile.empty())
    return;
  makeFolder(std::filesystem::path(m_historyFile).parent_path());  // the user's own business
  HistEvent event;
  history(m_history, &event, H_SAVE, m_historyFile.c_str());
}

bool EditLineReader::bringBack(const std::string& text)
{
  struct winsize size = {};
  const bool isKnown = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0;
  if (!m_canGoUp || std::count(text.begin(), text.end(), '\n') + 2 > (isKnown ? size.ws_row : 24))
    return false;
  m_broughtBack = text;
  return true;
}

// -------------------------------------------------------------------------------------------------------------- keys

namespace {

// What is edited, and where the cursor is in it.
struct Edited {
  explicit Edited(EditLine* edit)
  {
    const LineInfoW* info = el_wline(edit);
    text = {info->buffer, static_cast<std::size_t>(info->lastchar - info->buffer)};
    at = static_cast<std::size_t>(info->cursor - info->buffer);
  }
  std::size_t lineBegin(std::size_t from) const
  {
    const std::size_t end = from == 0 ? std::wstring_view::npos : text.rfind(L'\n', from - 1);
    return end == std::wstring_view::npos ? 0 : end + 1;
  }
  std::size_t lineEnd(std::size_t from) const { return std::min(text.find(L'\n', from), text.size()); }

  std::wstring_view text;
  std::size_t at;
};

unsigned char moveTo(EditLine* edit, std::size_t from, std::size_t to)
{
  el_cursor(edit, static_cast<int>(to) - static_cast<int>(from));
  return CC_CURSOR;
}

}  // namespace

unsigned char EditLineReader::onUp(EditLine* edit, wint_t)
{
  const Edited edited(edit);
  const std::size_t begin = edited.lineBegin(edited.at);
  if (begin == 0) {
    el_wpush(edit, keyOlder);
    return CC_NORM;
  }
  const std::size_t above = edited.lineBegin(begin - 1);
  return moveTo(edit, edited.at, std::min(above + edited.at - begin, begin - 1));
}

unsigned char EditLineReader::onDown(EditLine* edit, wint_t)
{
  const Edited edited(edit);
  const std::size_t end = edited.lineEnd(edited.at);
  if (end == edited.text.size()) {
    el_wpush(edit, keyNewer);
    return CC_NORM;
  }
  const std::size_t column = edited.at - edited.lineBegin(edited.at);
  return moveTo(edit, edited.at, std::min(end + 1 + column, edited.lineEnd(end + 1)));
}

unsigned char EditLineReader::onLineBegin(EditLine* edit, wint_t)
{
  const Edited edited(edit);
  return moveTo(edit, edited.at, edited.lineBegin(edited.at));
}

unsigned char EditLineReader::onLineEnd(EditLine* edit, wint_t)
{
  const Edited edited(edit);
  return moveTo(edit, edited.at, edited.lineEnd(edited.at));
}

unsigned char EditLineReader::onNewLine(EditLine* edit, wint_t)
{
  return el_winsertstr(edit, L"\n") == 0 ? CC_REFRESH : CC_ERROR;
}

// Nothing of it is a key: no line is entered, no word completed.
unsigned char EditLineReader::onPaste(EditLine* edit, wint_t)
{
  constexpr std::wstring_view end = L"\033[201~";
  std::wstring text;
  wchar_t c = 0;
  while (!std::wstring_view(text).ends_with(end) && el_wgetc(edit, &c) == 1)
    text += c;
  text.resize(text.size() - (std::wstring_view(text).ends_with(end) ? end.size() : 0));
  std::wstring lines;  // terminals send CR for the end of a line
  for (std::size_t i = 0; i < text.size(); ++i)
    if (text[i] == L'\r' && i + 1 < text.size() && text[i + 1] == L'\n')
      continue;
    else if (text[i] == L'\r' || text[i] == L'\n')
      lines += L'\n';
    else if (text[i] >= L' ' || text[i] == L'\t')
      lines += text[i];
  if (lines.ends_with(L'\n'))
    lines.pop_back();
  return lines.empty() || el_winsertstr(edit, lines.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
}

unsigned char EditLineReader::onBringBack(EditLine* edit, wint_t)
{
  const std::string text = std::exchange(of(edit).m_broughtBack, {});
  return el_insertstr(edit, text.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
}

unsigned char EditLineReader::onInterrupt(EditLine* edit, wint_t)
{
  const LineInfo* info = el_line(edit);
  of(edit).m_dropped.assign(info->buffer, info->lastchar);
  of(edit).m_interrupted = true;
  std::fputs("^C\n", stdout);
  std::fflush(stdout);
  return CC_EOF;
}

unsigned char EditLineReader::onSuspend(EditLine*, wint_t)
{
  std::raise(SIGTSTP);  // caught by libedit, which puts the terminal back meanwhile
  return CC_NORM;
}

unsigned char EditLineReader::onTab(EditLine* edit, wint_t)
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
