#include "database/Category.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/internal/ContextLocal.h"

#include <functional>
#include <map>
#include <optional>
#include <utility>

namespace orv {

namespace {

constexpr std::size_t bitsPerWord = 64;

struct Registry {
  std::map<std::string, std::size_t, std::less<>> numbers;
  std::size_t next = 0;
};

constinit ContextLocal<Registry*> theRegistry(ContextEnd::memory,
                                              [] { delete std::exchange(*theRegistry, nullptr); });

Registry& registry()
{
  Registry*& all = *theRegistry;
  if (!all)
    all = new Registry;
  return *all;
}

std::optional<std::size_t> findNumber(std::string_view name)
{
  const auto& numbers = registry().numbers;
  const auto found = numbers.find(name);
  return found == numbers.end() ? std::nullopt : std::optional(found->second);
}

std::size_t numberOf(std::string_view name, const char* function)
{
  const std::optional<std::size_t> number = findNumber(name);
  if (!number)
    throw internal::badParam("Category", function, _("Category '%s' is not recognized.", name));
  return *number;
}

std::uint64_t bitOf(std::size_t number)
{
  return std::uint64_t{1} << number % bitsPerWord;
}

}  // namespace

void Category::addCategory(const std::string& name)
{
  Registry& all = registry();
  all.numbers.try_emplace(name, all.next);
  ++all.next;
}

std::vector<std::string> Category::getCategories()
{
  std::vector<std::string> names;
  names.reserve(registry().numbers.size());
  for (const auto& entry : registry().numbers)
    names.push_back(entry.first);
  return names;
}

void Category::resetRegistry() noexcept
{
  if (Registry* all = *theRegistry) {
    all->numbers.clear();
    all->next = 0;
  }
}

Category::Category(const Category& other)
    : m_first(other.m_first),
      m_more(other.m_more ? std::make_unique<std::vector<std::uint64_t>>(*other.m_more) : nullptr)
{}

Category& Category::operator=(Category other) noexcept
{
  std::swap(m_first, other.m_first);
  std::swap(m_more, other.m_more);
  return *this;
}

std::uint64_t Category::wordAt(std::size_t index) const noexcept
{
  if (index == 0)
    return m_first;
  return m_more && index <= m_more->size() ? (*m_more)[index - 1] : 0;
}

std::uint64_t& Category::growTo(std::size_t index)
{
  if (index == 0)
    return m_first;
  if (!m_more)
    m_more = std::make_unique<std::vector<std::uint64_t>>();
  if (m_more->size() < index)
    m_more->resize(index);
  return (*m_more)[index - 1];
}

void Category::setCategory(std::string_view name)
{
  const std::size_t number = numberOf(name, "setCategory");
  growTo(number / bitsPerWord) |= bitOf(number);
}

void Category::unsetCategory(std::string_view name)
{
  const std::size_t number = numberOf(name, "unsetCategory");
  if (isA(name))
    growTo(number / bitsPerWord) &= ~bitOf(number);
}

bool Category::isA(std::string_view name) const
{
  const std::optional<std::size_t> number = findNumber(name);
  return number && (wordAt(*number / bitsPerWord) & bitOf(*number)) != 0;
}

}  // namespace orv
