#include "PlanText.h"

#include <cstdint>
#include <cstring>

namespace orv {

namespace {

// Both walk the same fields in the same order, so that they cannot disagree.
class Writer {
 public:
  static constexpr bool reads = false;
  void number(std::uint64_t& value) { m_bytes.append(reinterpret_cast<const char*>(&value), sizeof value); }
  void text(std::string& value)
  {
    std::uint64_t size = value.size();
    number(size);
    m_bytes += value;
  }
  std::string take() { return std::move(m_bytes); }

 private:
  std::string m_bytes;
};

class Reader {
 public:
  static constexpr bool reads = true;
  explicit Reader(std::string_view bytes) : m_bytes(bytes) {}
  void number(std::uint64_t& value)
  {
    value = 0;
    if (m_bytes.size() < sizeof value) {
      m_whole = false;
      return;
    }
    std::memcpy(&value, m_bytes.data(), sizeof value);
    m_bytes.remove_prefix(sizeof value);
  }
  void text(std::string& value)
  {
    std::uint64_t size = 0;
    number(size);
    if (size > m_bytes.size()) {
      m_whole = false;
      size = 0;
    }
    value.assign(m_bytes.substr(0, size));
    m_bytes.remove_prefix(size);
  }
  bool isWhole() const { return m_whole && m_bytes.empty(); }
  bool canHold(std::uint64_t count) const { return m_whole && count <= m_bytes.size(); }

 private:
  std::string_view m_bytes;
  bool m_whole = true;
};

template <class Stream, class Value>
void integer(Stream& stream, Value& value)
{
  auto number = static_cast<std::uint64_t>(value);
  stream.number(number);
  value = static_cast<Value>(number);
}

template <class Stream, class List, class Item>
void list(Stream& stream, List& items, Item item)
{
  std::uint64_t size = items.size();
  stream.number(size);
  if constexpr (Stream::reads) {
    for (std::uint64_t i = 0; i < size && stream.canHold(size - i); ++i)
      item(stream, items.emplace_back());
  } else {
    for (auto& each : items)
      item(stream, each);
  }
}

template <class Stream>
void texts(Stream& stream, std::vector<std::string>& lines)
{
  list(stream, lines, [](Stream& s, std::string& line) { s.text(line); });
}

// Maps are read into lists first: their keys cannot be changed in place.
template <class Stream, class Map, class Item>
void map(Stream& stream, Map& entries, Item item)
{
  std::vector<std::pair<std::string, typename Map::mapped_type>> pairs(entries.begin(), entries.end());
  list(stream, pairs, [&](Stream& s, auto& pair) {
    s.text(pair.first);
    item(s, pair.second);
  });
  if constexpr (Stream::reads)
    entries.insert(pairs.begin(), pairs.end());
}

template <class Stream>
void item(Stream& stream, KSLUpdateInfo::UpdateItem& value)
{
  integer(stream, value.type);
  map(stream, value.objects, [](Stream& s, KSLUpdateInfo::ParamValues& values) {
    map(s, values, [](Stream& inner, KSLUpdateInfo::ParamValStatus& status) {
      inner.text(status.value);
      integer(inner, status.set);
      integer(inner, status.internal);
    });
  });
}

template <class Stream>
void report(Stream& stream, ErrorMsg& error)
{
  std::string className = error.getClassName();
  std::string function = error.getFunction();
  std::string message = error.getMessage();
  int type = error.getType();
  std::vector<std::string> notes = error.getNotes();
  stream.text(className);
  stream.text(function);
  stream.text(message);
  integer(stream, type);
  texts(stream, notes);
  if constexpr (Stream::reads) {
    error = ErrorMsg(className, function, message, type);
    error.setNotes(std::move(notes));
  }
}

template <class Stream>
void calculation(Stream& stream, CalculationLog::Entry& entry)
{
  stream.text(entry.path);
  stream.text(entry.scheduler);
  integer(stream, entry.command);
  list(stream, entry.reasons, [](Stream& s, CalculationReason& reason) {
    integer(s, reason.kind);
    s.text(reason.name);
    s.text(reason.scheduler);
  });
}

template <class Stream>
void walk(Stream& stream, Plan& plan)
{
  list(stream, plan.steps, [](Stream& s, Plan::Step& step) {
    list(s, step.items, [](Stream& inner, KSLUpdateInfo::UpdateItem& each) { item(inner, each); });
    list(s, step.reports, [](Stream& inner, ErrorMsg& each) { report(inner, each); });
    integer(s, step.failed);
  });
  list(stream, plan.calculations, [](Stream& s, CalculationLog::Entry& each) { calculation(s, each); });
  list(stream, plan.namedFiles, [](Stream& s, Plan::NamedFile& each) {
    s.text(each.path);
    s.text(each.param);
    s.text(each.file);
  });
  texts(stream, plan.writtenFiles);
  texts(stream, plan.passedOver);
}

}  // namespace

std::string packed(const Plan& plan)
{
  Plan copy = plan;
  Writer writer;
  walk(writer, copy);
  return writer.take();
}

bool unpack(std::string_view bytes, Plan& plan)
{
  plan = {};
  Reader reader(bytes);
  walk(reader, plan);
  return reader.isWhole();
}

}  // namespace orv
