#include "platform/ORVUtilities.h"
#include "platform/internal/SmallBlocks.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>

namespace orv {

// A path and what is behind it. Below the outermost joined one stands a whole text, or none.
//
// `jump` leads to a level further out, by steps that double (levels alone decide how far, so that two paths of one level
// jump to one level): any level is found in O(log depth).
struct SharedText::Joined : Rep {
  class Pieces;
  static bool isBefore(Pieces a, Pieces b) noexcept;

  Rep* base;  // held
  const Joined* jump;
  std::size_t level;  // of joined ones, counted from 1
  std::size_t size;
  std::string end;
};

namespace {

// Where the first component begins that a long path has beyond a whole text.
std::size_t firstOfLong(std::string_view path) noexcept
{
  const std::size_t slash = path.rfind('/', SharedText::longestWhole);
  return slash == std::string_view::npos ? 0 : slash;
}

}  // namespace

SharedText::SharedText(std::string_view text) : m_rep(text.empty() ? nullptr : make(text)) {}

SharedText::SharedText(std::string&& text) : m_rep(text.empty() ? nullptr : make(std::move(text))) {}

SharedText::SharedText(const char* text) : SharedText(std::string_view(text ? text : "")) {}

SharedText::SharedText(std::string_view text, std::uint32_t hash) : SharedText(text)
{
  if (m_rep)
    m_rep->hash = hash;
}

SharedText::Rep* SharedText::make(std::string_view text)
{
  return make(std::string(text));
}

SharedText::Rep* SharedText::make(std::string&& text)
{
  return new (SmallBlocks<sizeof(Rep)>::take()) Rep{1, 0, false, std::move(text)};
}

// A chain ends level by level.
void SharedText::destroy(Rep* rep) noexcept
{
  while (rep) {
    if (!rep->isJoined) {
      rep->~Rep();
      return SmallBlocks<sizeof(Rep)>::give(rep);
    }
    Rep* const base = joined(rep).base;
    delete static_cast<Joined*>(rep);
    rep = base && --base->count == 0 ? base : nullptr;
  }
}

const std::string& SharedText::emptyText() noexcept
{
  // Never destroyed: static objects of a host may still use it after main. Takes no memory, which may be lacking.
  alignas(std::string) static std::byte room[sizeof(std::string)];
  static const std::string& empty = *new (room) std::string;
  return empty;
}

// ------------------------------------------------------------------------------------------------------- long paths

inline const SharedText::Joined& SharedText::joined(const Rep* rep) noexcept
{
  return *static_cast<const Joined*>(rep);
}

// REQUIRES: it is none further in.
const SharedText::Joined& SharedText::atLevel(const Joined& from, std::size_t level) noexcept
{
  const Joined* at = &from;
  while (at->level > level)
    at = at->jump->level >= level ? at->jump : &joined(at->base);
  return *at;
}

SharedText SharedText::below(std::string_view component) const
{
  const std::size_t length = size() + component.size();
  if (length <= longestWhole) {
    std::string text;
    text.reserve(length);
    return SharedText(std::move(text.append(str()).append(component)));
  }
  if (m_rep && !m_rep->isJoined && m_rep->text.size() > longestWhole)
    return split(m_rep->text).below(component);
  auto made = std::make_unique<Joined>();
  const Joined* outer = m_rep && m_rep->isJoined ? &joined(m_rep) : nullptr;
  made->count = 1;
  made->isJoined = true;
  made->level = outer ? outer->level + 1 : 1;
  made->size = length;
  made->hash = hashBelow(component);
  made->end = component;
  const bool doubles =
      outer && outer->level - outer->jump->level == outer->jump->level - outer->jump->jump->level;
  made->jump = doubles ? outer->jump->jump : outer ? outer : made.get();
  made->base = m_rep;
  if (m_rep)
    ++m_rep->count;
  return SharedText(made.release());
}

// As below() makes it, so that long paths are alike wherever their texts come from.
SharedText SharedText::split(std::string_view path)
{
  std::size_t begin = firstOfLong(path);
  SharedText made(path.substr(0, begin));
  while (begin < path.size()) {
    const std::size_t end = std::min(path.find('/', begin + 1), path.size());
    made = made.below(path.substr(begin, end - begin));
    begin = end;
  }
  return made;
}

SharedText SharedText::parent() const
{
  if (!m_rep || !m_rep->isJoined)
    return SharedText(PathUtils::parentPath(str()));
  Rep* const base = joined(m_rep).base;
  if (base)
    ++base->count;
  return SharedText(base);
}

std::string_view SharedText::component() const noexcept
{
  if (!m_rep)
    return {};
  if (m_rep->isJoined)
    return joined(m_rep).end;
  const std::string_view text = m_rep->text;
  return text.substr(PathUtils::parentPath(text).size());
}

std::size_t SharedText::sizeOf(const Rep* rep) noexcept
{
  if (!rep)
    return 0;
  return rep->isJoined ? joined(rep).size : rep->text.size();
}

std::string SharedText::assembled(const Rep& rep)
{
  std::string text(sizeOf(&rep), '\0');
  std::size_t end = text.size();
  const Rep* at = &rep;
  for (; at && at->isJoined; at = joined(at).base) {
    end -= joined(at).end.size();
    joined(at).end.copy(text.data() + end, std::string::npos);
  }
  if (at)
    at->text.copy(text.data(), end);
  return text;
}

const std::string& SharedText::wholeOf(Rep& rep)
{
  if (rep.text.empty())
    rep.text = assembled(rep);
  return rep.text;
}

std::string SharedText::copy() const
{
  return isWhole() ? str() : assembled(*m_rep);
}

// -------------------------------------------------------------------------------------------------------- comparing

bool SharedText::areEqual(const Rep* a, const Rep* b) noexcept
{
  if (!a->isJoined)
    return isEqual(b, a->text);
  if (!b->isJoined)
    return isEqual(a, b->text);
  if (joined(a).size != joined(b).size || a->hash != b->hash)
    return false;
  while (a != b && a && b && a->isJoined && b->isJoined) {
    if (joined(a).end != joined(b).end)
      return false;
    a = joined(a).base;
    b = joined(b).base;
  }
  return a == b || (a && b && areEqual(a, b));  // one is no joined one: it goes no deeper
}

bool SharedText::isEqual(const Rep* rep, std::string_view text) noexcept
{
  if (rep && !rep->isJoined)
    return rep->text == text;
  if (sizeOf(rep) != text.size())
    return false;
  for (; rep && rep->isJoined; rep = joined(rep).base) {
    const std::string& end = joined(rep).end;
    if (!text.ends_with(end))
      return false;
    text.remove_suffix(end.size());
  }
  return !rep || rep->text == text;
}

bool SharedText::isSameOrBelow(const SharedText& ancestor) const noexcept
{
  if (!ancestor.m_rep || !ancestor.m_rep->isJoined)
    return isSameOrBelow(ancestor.m_rep ? std::string_view(ancestor.m_rep->text) : std::string_view());
  const Joined& other = joined(ancestor.m_rep);
  if (!m_rep || sizeOf(m_rep) < other.size)
    return false;
  if (!m_rep->isJoined)
    return isEqual(ancestor.m_rep, std::string_view(m_rep->text).substr(0, other.size))
           && (m_rep->text.size() == other.size || m_rep->text[other.size] == '/');
  const Joined& own = joined(m_rep);
  return own.level >= other.level && areEqual(&atLevel(own, other.level), ancestor.m_rep);
}

bool SharedText::isSameOrBelow(std::string_view ancestor) const noexcept
{
  if (!m_rep || !m_rep->isJoined)
    return PathUtils::isSameOrBelow(m_rep ? std::string_view(m_rep->text) : std::string_view(), ancestor);
  const Rep* at = m_rep;
  if (ancestor.size() <= longestWhole)
    at = atLevel(joined(at), 1).base;
  while (at && at->isJoined && joined(at).size > ancestor.size())
    at = joined(at).base;
  if (at && at->isJoined)
    return isEqual(at, ancestor);
  return PathUtils::isSameOrBelow(at ? std::string_view(at->text) : std::string_view(), ancestor);
}

namespace {

// Of two different components behind one path; `goesOn`: there are more.
bool endsBefore(std::string_view a, bool aGoesOn, std::string_view b, bool bGoesOn) noexcept
{
  const auto [x, y] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
  const auto rank = [](auto at, auto end, bool goesOn) {
    return at != end ? int(static_cast<unsigned char>(*at)) : goesOn ? int('/') : -1;
  };
  return rank(x, a.end(), aGoesOn) < rank(y, b.end(), bGoesOn);
}

}  // namespace

// A path from its beginning, without putting its text together.
class SharedText::Joined::Pieces {
 public:
  explicit Pieces(const Rep* path) noexcept : m_path(path)
  {
    const Rep* const whole = path->isJoined ? atLevel(joined(path), 1).base : path;
    m_rest = whole ? std::string_view(whole->text) : std::string_view();
  }
  // Empty at the end only.
  std::string_view rest() noexcept
  {
    while (m_rest.empty() && m_path->isJoined && m_level < joined(m_path).level)
      m_rest = atLevel(joined(m_path), ++m_level).end;
    return m_rest;
  }
  void skip(std::size_t size) noexcept { m_rest.remove_prefix(size); }

 private:
  const Rep* m_path;
  std::size_t m_level = 0;
  std::string_view m_rest;  // of the piece that it is at
};

// Destructors look for paths in ordered sets: it takes no memory.
bool SharedText::Joined::isBefore(Pieces a, Pieces b) noexcept
{
  for (;;) {
    const std::string_view x = a.rest();
    const std::string_view y = b.rest();
    const std::size_t size = std::min(x.size(), y.size());
    if (size == 0)
      return x.empty() && !y.empty();
    if (const int order = x.substr(0, size).compare(y.substr(0, size)))
      return order < 0;
    a.skip(size);
    b.skip(size);
  }
}

// REQUIRES: one of them is joined.
bool SharedText::isBefore(const SharedText& other) const noexcept
{
  const Rep* const a = m_rep;
  const Rep* const b = other.m_rep;
  if (a == b || !a || !b)
    return !a && b;
  if (!a->isJoined || !b->isJoined)
    return Joined::isBefore(Joined::Pieces(a), Joined::Pieces(b));
  const std::size_t level = std::min(joined(a).level, joined(b).level);
  const Joined* x = &atLevel(joined(a), level);
  const Joined* y = &atLevel(joined(b), level);
  if (x == y)
    return joined(a).level < joined(b).level;
  while (x->base != y->base && x->level > 1) {
    const bool far = x->jump != y->jump;
    x = far ? x->jump : &joined(x->base);
    y = far ? y->jump : &joined(y->base);
  }
  if (x->base != y->base || x->end == y->end)  // made apart from each other
    return Joined::isBefore(Joined::Pieces(a), Joined::Pieces(b));
  return endsBefore(x->end, x != a, y->end, y != b);
}

// ---------------------------------------------------------------------------------------------------------- hashing

// Paths that differ stay different when they get the same component.
std::uint32_t SharedText::mixed(std::uint32_t hash, std::string_view component) noexcept
{
  constexpr std::uint32_t oddFactor = 0x9e3779b1U;
  constexpr int half = 15;
  const std::uint32_t bits = fitted((hash ^ std::hash<std::string_view>()(component)) * oddFactor);
  return fitted(bits ^ (bits >> half));
}

// What is longer than a whole text counts component by component.
std::uint32_t SharedText::hashOfLong(std::string_view path) noexcept
{
  std::size_t begin = firstOfLong(path);
  std::uint32_t hash = hashOf(path.substr(0, begin));
  while (begin < path.size()) {
    const std::size_t end = std::min(path.find('/', begin + 1), path.size());
    hash = mixed(hash, path.substr(begin, end - begin));
    begin = end;
  }
  return hash;
}

std::uint32_t SharedText::hashBelow(std::string_view component) const noexcept
{
  return mixed(hash(), component);
}

}  // namespace orv
