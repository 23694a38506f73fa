// The utilities library: texts, paths, shared texts, observers, reference counts, time.
#pragma once

#include "platform/ORVExport.h"

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <iosfwd>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace orv {

// ---------------------------------------------------------------------------------------------------- scopes

// Runs an action when the scope is left, by any path; the action's own failures are swallowed.
template <class Action>
class [[nodiscard]] ScopeGuard {
 public:
  explicit ScopeGuard(Action action) : m_action(std::move(action)) {}
  ~ScopeGuard()
  {
    if (!m_armed)
      return;
    try {
      m_action();
    } catch (...) {  // a destructor has no one to tell
    }
  }
  ScopeGuard(const ScopeGuard&) = delete;
  ScopeGuard& operator=(const ScopeGuard&) = delete;
  void dismiss() { m_armed = false; }

 private:
  Action m_action;
  bool m_armed = true;
};

// ------------------------------------------------------------------------------------------- reference counts

// Base of what refcnt_ptr holds. Not for several threads.
class ORV_API rcount_base {
 public:
  rcount_base() = default;
  rcount_base(const rcount_base&) {}  // a copy starts with no holders
  rcount_base& operator=(const rcount_base&) { return *this; }
  void addRef() const noexcept { ++m_count; }
  // True when the last holder has gone: the caller then deletes the object.
  bool release() const noexcept { return --m_count == 0; }
  std::size_t refCount() const noexcept { return m_count; }

 protected:
  ~rcount_base() = default;

 private:
  mutable std::size_t m_count = 0;
};

// Shares an object that counts its holders; deletes it with the last of them.
template <class T>
class refcnt_ptr {
 public:
  refcnt_ptr() noexcept = default;
  refcnt_ptr(std::nullptr_t) noexcept {}
  explicit refcnt_ptr(T* object) noexcept : m_object(object) { hold(); }
  refcnt_ptr(const refcnt_ptr& other) noexcept : m_object(other.m_object) { hold(); }
  refcnt_ptr(refcnt_ptr&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
  template <class U, std::enable_if_t<std::is_convertible_v<U*, T*>, int> = 0>
  refcnt_ptr(const refcnt_ptr<U>& other) noexcept : m_object(other.get())
  {
    hold();
  }
  refcnt_ptr& operator=(refcnt_ptr other) noexcept
  {
    std::swap(m_object, other.m_object);
    return *this;
  }
  ~refcnt_ptr()
  {
    if (m_object && m_object->release())
      delete m_object;
  }

  T* get() const noexcept { return m_object; }
  T* operator->() const noexcept { return m_object; }
  T& operator*() const noexcept { return *m_object; }
  explicit operator bool() const noexcept { return m_object != nullptr; }
  bool operator==(const refcnt_ptr& other) const noexcept { return m_object == other.m_object; }

 private:
  void hold() noexcept
  {
    if (m_object)
      m_object->addRef();
  }
  T* m_object = nullptr;
};

// ------------------------------------------------------------------------------------------------ shared texts

// An immutable text of the size of a pointer, shared by count: paths, names and values stand in the text
// store, its journal and the undo history without being copied. Empty texts need no memory. Not for several
// threads.
//
// In a deep tree the paths of all levels would take memory, and time, with the square of its depth. So a path that is
// longer than `longestWhole` shares its beginning with that of the object that it is in, when it was made by below();
// who goes through whole trees uses the operations on paths, and str() is for those who must have the text.
class ORV_API SharedText {
 public:
  SharedText() noexcept = default;
  explicit SharedText(std::string_view text);
  explicit SharedText(std::string&& text);
  explicit SharedText(const char* text);  // null is the empty text
  // The same for who knows the hash of the text.
  SharedText(std::string_view text, std::uint32_t hash);
  SharedText(const SharedText& other) noexcept : m_rep(other.m_rep)
  {
    if (m_rep)
      ++m_rep->count;
  }
  SharedText(SharedText&& other) noexcept : m_rep(std::exchange(other.m_rep, nullptr)) {}
  SharedText& operator=(SharedText other) noexcept
  {
    std::swap(m_rep, other.m_rep);
    return *this;
  }
  ~SharedText()
  {
    if (m_rep && --m_rep->count == 0)
      destroy(m_rep);
  }

  // The text; lives as long as any of its holders. That of a path which shares its beginning is put together when it is
  // first asked for here, which takes memory.
  const std::string& str() const
  {
    if (!m_rep)
      return emptyText();
    return m_rep->isJoined ? wholeOf(*m_rep) : m_rep->text;
  }
  bool empty() const noexcept { return !m_rep; }
  std::size_t size() const noexcept
  {
    return !m_rep ? 0 : m_rep->isJoined ? sizeOf(m_rep) : m_rep->text.size();
  }
  // True when both hold the very same text object; cheaper than comparing, and equal texts may still differ
  // here.
  bool same(const SharedText& other) const noexcept { return m_rep == other.m_rep; }
  // Identity of the text object, for tables of texts that are known to be shared; null for the empty text.
  const void* id() const noexcept { return m_rep; }
  bool operator==(const SharedText& other) const noexcept
  {
    if (m_rep == other.m_rep)
      return true;
    if (!m_rep || !other.m_rep)
      return false;
    return m_rep->isJoined || other.m_rep->isJoined ? areEqual(m_rep, other.m_rep)
                                                    : m_rep->text == other.m_rep->text;
  }
  bool operator==(std::string_view text) const noexcept
  {
    return isLong() ? isEqual(m_rep, text) : (m_rep ? m_rep->text : emptyText()) == text;
  }
  // Of the text, whatever it shares; found once for each text object. Never 0.
  std::uint32_t hash() const noexcept
  {
    if (!m_rep)
      return hashOf({});
    if (m_rep->hash == 0)
      m_rep->hash = hashOf(m_rep->text);
    return m_rep->hash;
  }
  static std::uint32_t hashOf(std::string_view text) noexcept
  {
    return text.size() <= longestWhole ? fitted(std::hash<std::string_view>()(text)) : hashOfLong(text);
  }

  // ---- Paths. O(length of the last component), with O(log depth) where it says so.

  static constexpr std::size_t longestWhole = 255;

  // The path of what is in this one. REQUIRES: the text begins with "/" and has no other.
  SharedText below(std::string_view component) const;
  // What below() was asked, or would have been: the path up to the last "/", and the rest.
  SharedText parent() const;
  std::string_view component() const noexcept;
  // Whether it shares its beginning; and whether its text is at hand all the same.
  bool isLong() const noexcept { return m_rep && m_rep->isJoined; }
  bool isWhole() const noexcept { return !isLong() || !m_rep->text.empty(); }
  // The text, which nobody keeps.
  std::string copy() const;
  // As PathUtils::isSameOrBelow. O(log depth).
  bool isSameOrBelow(const SharedText& ancestor) const noexcept;
  bool isSameOrBelow(std::string_view ancestor) const noexcept;
  // The order of the texts. O(log depth) for paths made by below() of the same ones.
  bool operator<(const SharedText& other) const noexcept
  {
    return isLong() || other.isLong() ? isBefore(other) : str() < other.str();
  }
  // Of what below() would give. REQUIRES: that is longer than longestWhole.
  std::uint32_t hashBelow(std::string_view component) const noexcept;

 private:
  struct Rep {
    std::uint32_t count;
    std::uint32_t hash : 31;     // 0 until it is asked for
    std::uint32_t isJoined : 1;  // it is a Joined, whose text is empty until it is asked for
    std::string text;
  };
  struct Joined;
  explicit SharedText(Rep* rep) noexcept : m_rep(rep) {}
  static std::uint32_t fitted(std::size_t hash) noexcept
  {
    const auto bits = static_cast<std::uint32_t>(hash) & 0x7fffffffU;
    return bits == 0 ? 1 : bits;
  }
  static const std::string& emptyText() noexcept;
  static Rep* make(std::string_view text);
  static Rep* make(std::string&& text);
  static void destroy(Rep* rep) noexcept;
  static const Joined& joined(const Rep* rep) noexcept;
  static const Joined& atLevel(const Joined& from, std::size_t level) noexcept;
  static const std::string& wholeOf(Rep& rep);
  static std::string assembled(const Rep& rep);
  static bool areEqual(const Rep* a, const Rep* b) noexcept;
  static bool isEqual(const Rep* rep, std::string_view text) noexcept;
  bool isBefore(const SharedText& other) const noexcept;
  static SharedText split(std::string_view path);
  static std::size_t sizeOf(const Rep* rep) noexcept;
  static std::uint32_t mixed(std::uint32_t hash, std::string_view component) noexcept;
  static std::uint32_t hashOfLong(std::string_view path) noexcept;
  Rep* m_rep = nullptr;  // null is the empty text
};

// The text of a path for as long as this lives, for those who need one and keep none: who else holds the path takes no
// memory for it.
class WholePath {
 public:
  explicit WholePath(const SharedText& path)
      : m_made(path.isWhole() ? std::string() : path.copy()),
        m_text(path.isWhole() ? path.str() : m_made)
  {}
  WholePath(const WholePath&) = delete;
  WholePath& operator=(const WholePath&) = delete;
  const std::string& str() const noexcept { return m_text; }

 private:
  std::string m_made;
  const std::string& m_text;
};

// ------------------------------------------------------------------------------------------------------- texts

// White space everywhere here is blank, tab, newline, vertical tab, form feed and carriage return, whatever
// the process locale says. None of these functions throws but for lack of memory.
namespace StringUtilities {

inline bool isSpace(char c) noexcept
{
  return c == ' ' || (c >= '\t' && c <= '\r');
}

// Views into the argument, for callers that keep the text alive; the functions below them return texts of
// their own.
ORV_API std::string_view trimmed(std::string_view text) noexcept;
// The text before a comment. The comment character does not count inside double quotes; a quote that is not
// closed on the line protects nothing.
ORV_API std::string_view withoutComment(std::string_view line, char comment = '#') noexcept;

ORV_API std::string removeComment(std::string_view line, char comment = '#');
ORV_API std::string removeWhitespace(std::string_view text);     // trims both ends
ORV_API std::string removeAllWhitespace(std::string_view text);  // inside as well
// Runs of white space become one blank, none at either end.
ORV_API std::string simplifyWhitespace(std::string_view text);
// Appends the simplified text to `out`.
ORV_API void appendSimplified(std::string& out, std::string_view text);
ORV_API std::string toLower(std::string_view text);  // ASCII letters only
// Takes double quotes off around a whole text; another text, also one with quotes inside, comes back as it
// is.
ORV_API std::string_view unquoted(std::string_view text) noexcept;
// A name as a line must show it to be read back: in double quotes when it holds a "#".
ORV_API std::string writtenName(std::string_view name);

// Drops doubled and trailing slashes and "." components; keeps a lone "/" and "..". "" stays "".
ORV_API std::string simplifyPath(std::string_view path);

// Plain split at every separator; empty pieces are kept, nothing is trimmed; an empty text gives an empty
// list.
ORV_API std::vector<std::string> stringToVector(std::string_view text, char separator);
ORV_API std::string vectorToString(const std::vector<std::string>& items, char separator);
ORV_API std::string vectorToString(const std::vector<std::string>& items, std::string_view separator);

// Splits a list value: at commas outside double quotes, (), [] and {}; items are trimmed, empty ones kept,
// quotes stay. Empty (or blank) text is the empty list. A bracket or quote that is never closed protects
// nothing.
ORV_API std::vector<std::string> splitValue(std::string_view text);
// Splits at the first "=", both sides trimmed; without one the whole text is the name and the value is empty.
ORV_API std::pair<std::string, std::string> splitNameValue(std::string_view text);
// (type, name) of "type:name", split at the first ":", each trimmed, quotes around the name taken off, and what
// was in them trimmed as well: no name begins or ends with a blank. An empty or missing name is the type (a
// singleton).
ORV_API std::pair<std::string, std::string> splitObjectTypeAndName(std::string_view text);

// True, On, Yes and 1 are true; False, Off, No and 0 are not; in any case, ends trimmed. Anything else sets
// ok to false and gives false.
ORV_API bool isTrue(std::string_view text, bool& ok) noexcept;

// The shortest text that reads back to the same number.
ORV_API std::string toString(double value);
ORV_API std::string toString(long long value);
ORV_API std::string toString(unsigned long long value);
template <class Int, std::enable_if_t<std::is_integral_v<Int>, int> = 0>
std::string toString(Int value)
{
  return toString(
      static_cast<std::conditional_t<std::is_unsigned_v<Int>, unsigned long long, long long>>(value));
}

// The candidate that the word was meant to be, when one is close: as few letters as a third of the longer one's, and
// one at least, are wrong, missing, too many or have changed places. Letters in another case count half. Of several the
// closest, then the first; empty when there is none, or the word itself is one. Cost: for each candidate of about the
// word's length, the product of both lengths.
ORV_API std::string closest(std::string_view word, const std::vector<std::string>& candidates);

// Continued lines: a line whose last character is "\" goes on in the next one; the backslash is taken away
// and the next line is appended with its white space simplified. The first line is tested as it stands (a
// blank behind its "\" ends it), the ones after it once they are simplified, so that an empty line always
// ends a continuation.

// Joins continued lines, so that each line is whole. A "\" on the very last line is dropped. Linear; moves
// what it can.
ORV_API std::vector<std::string> removeContinuation(std::vector<std::string> lines);
// Indents a whole line by two blanks a level and wraps it at `width` columns (20 at least), continuation
// lines at the same level (what is nested deeply keeps 20 columns, or half of the width): the inverse of joining, for
// every text, but for white space: at the ends it is dropped, and runs of it become one blank (in quotes only where
// a line must break). Breaks stand at blanks outside double quotes, and inside words and quotes that are longer than
// a line. A text whose last character is "\" gets " \" and an empty line behind it, because a reader would take the
// backslash for its own. Lines are joined by "\n"; there is one at the end when the text has one there.
ORV_API std::string splitStringToSize(std::string_view text, std::size_t level, std::size_t width);
// Joins continued lines and indents each by two blanks a level of open blocks; empty lines stay. Each line
// that comes back is whole: one that ends in "\" has a blank behind it. An END without a block stays at the
// left edge.
ORV_API std::vector<std::string> indentKSL(const std::vector<std::string>& lines);

}  // namespace StringUtilities

// ------------------------------------------------------------------------------------------------------- paths

namespace PathUtils {

// An object path in today's form: simplified; a text without a leading "/" whose first component has a ":"
// gets one; any other text is unchanged but for the simplification.
ORV_API std::string normalisePathBwdComp(const std::string& path);
// The same for each item of a comma-separated list, its ends trimmed; items are joined with ",", empty ones
// kept.
ORV_API std::string normalisePathsBwdComp(const std::string& paths);
// Drops every path whose ancestor (or itself, a second time) is in the list too; keeps the order of the rest.
// O(n log n) in the total length.
ORV_API std::vector<std::string> filterChildPaths(const std::vector<std::string>& paths);
// True when `path` is `ancestor` or lies below it. "" and "/" are the root, above everything.
ORV_API bool isSameOrBelow(std::string_view path, std::string_view ancestor) noexcept;
// The path up to its last "/"; empty for a top-level path.
ORV_API std::string_view parentPath(std::string_view path) noexcept;
// File names: forward slashes throughout.
ORV_API std::string toForwardSlashes(std::string_view fileName);

}  // namespace PathUtils

// A parsed object path: components (type, name), outermost first. A component without ":", or with nothing
// behind it, is a singleton, whose name is its type; "T:T" is an object of a kind that has names. Quotes
// around a name are taken off and ends trimmed; blanks inside types and names stand as they are. Empty and
// "." components are dropped. Copies cost the path's length.
class ORV_API KSLPath {
 public:
  struct Component {
    std::string type;
    std::string name;
    bool singleton = true;
    // As in a path: "T:n", or "T" for a singleton.
    std::string text() const { return singleton ? type : type + ":" + name; }
    // As at the head of a block: "T:n", or "T:" for a singleton. A name with a "#" is quoted.
    std::string header() const;
    bool operator==(const Component& other) const
    {
      return type == other.type && name == other.name && singleton == other.singleton;
    }
    bool operator<(const Component& other) const;
  };

  KSLPath() = default;
  explicit KSLPath(std::string_view path);  // with or without a leading "/"; "" and "/" are the empty path

  bool empty() const { return m_components.empty(); }
  std::size_t size() const { return m_components.size(); }
  const Component& operator[](std::size_t index) const { return m_components[index]; }

  // Of the last component; "" and true for the empty path.
  const std::string& getLastType() const;
  const std::string& getLastName() const;
  bool isSingleton() const;

  KSLPath getSubPath(std::size_t count) const;  // the first `count` components (all, when there are fewer)
  KSLPath getParentPath() const;                // all but the last
  std::string getFullPath() const;              // "/T:n/S"; "" for the empty path

  // An empty name, or one equal to the type, makes a singleton.
  void push(std::string_view type, std::string_view name = {});
  void pop();  // nothing on the empty path
  // An empty name makes a singleton; nothing on the empty path.
  void replaceLastName(std::string_view name);

  // Headers of the path's blocks, outermost first, each level indented by `step` more blanks, and the
  // matching END lines, innermost first: the text of a block goes between them. Each line ends with a
  // newline.
  std::pair<std::string, std::string> makeKSLPathAndEnd(std::size_t step = 2) const;

  bool operator==(const KSLPath& other) const { return m_components == other.m_components; }
  bool operator<(const KSLPath& other) const;  // component by component, so that parents come before children

 private:
  std::vector<Component> m_components;
};

// --------------------------------------------------------------------------------------------------- observers

class ObserverSubject;

class ORV_API Observer {
 public:
  virtual ~Observer();
  virtual void update(ObserverSubject* subject, int type) = 0;
};

// Tells observers of numbered events. Attaching again adds types; a null observer is ignored. Attaching and
// detaching inside a notification is allowed: an observer attached then hears of the next event, one detached
// hears no more. Observers are not owned; detach before destroying one, or destroy the subject first.
class ORV_API ObserverSubject {
 public:
  ObserverSubject() = default;
  ObserverSubject(const ObserverSubject&) = delete;
  ObserverSubject& operator=(const ObserverSubject&) = delete;
  virtual ~ObserverSubject();
  virtual void attach(Observer* observer, const std::set<int>& types);
  virtual void attach(Observer* observer, int type);
  virtual void detach(Observer* observer);
  // Calls the observers of this type in the order attached, all of them: who hears that something begins also hears
  // that it ends. The first that they throw passes on then.
  virtual void notify(int type);

 private:
  struct Entry {
    Observer* observer;
    std::set<int> types;
  };
  void dropDetached();
  std::vector<std::unique_ptr<Entry>> m_entries;
  int m_notifying = 0;
};

// --------------------------------------------------------------------------------------------------------- time

// A moment, written as local date and time of day: "2026-03-01 14:05:09".
class ORV_API cTime {
 public:
  cTime() : m_time(std::time(nullptr)) {}
  explicit cTime(std::time_t time) : m_time(time) {}
  std::string text() const;

 private:
  std::time_t m_time;
};
ORV_API std::ostream& operator<<(std::ostream& out, const cTime& time);

// Measures the scope that it lives in, and tells the listener, when there is one, at its end: name and
// seconds. Costs one test when there is none.
class ORV_API OperationTimer {
 public:
  using Listener = void (*)(const char* name, double seconds);
  explicit OperationTimer(const char* name);  // a literal
  ~OperationTimer();
  OperationTimer(const OperationTimer&) = delete;
  OperationTimer& operator=(const OperationTimer&) = delete;
  static Listener setListener(Listener listener) noexcept;  // returns the one before

 private:
  const char* m_name;
  std::int64_t m_start = 0;  // nanoseconds, 0 when nobody listens
};

// Three values of a kind, such as a point or a direction.
template <class T>
struct TripletBase {
  T x{};
  T y{};
  T z{};
  bool operator==(const TripletBase& other) const { return x == other.x && y == other.y && z == other.z; }
};

}  // namespace orv

template <>
struct std::hash<orv::SharedText> {
  std::size_t operator()(const orv::SharedText& text) const noexcept { return text.hash(); }
};
