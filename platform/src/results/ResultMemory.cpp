// Each result is an entry. Who gets one gets a *lease* of it; an entry is in use while a lease lives, or an entry in use
// holds it. Those that are not stand in the list of the idle in the order in which they came out of use, of which the first
// go; or, when they were in use when the command under way began, in that of those set aside, which comes behind the other
// when the command is over.
//
// INVARIANTS, between any two calls:
//  1. An entry of the table is in one of the lists when, and only when, its count of uses is 0.
//  2. What an entry of a list holds stands behind it, or is in use: it came out of use later. So what goes frees what it
//     takes, unless somebody outside has it.
//  3. The sum of a list is that of the bytes of its entries; that of the idle is within the limit.
#include "platform/ORVResultMemory.h"
#include "platform/ORVUtilities.h"
#include "platform/internal/ContextLocal.h"
#include "commandState.h"

#include <map>
#include <utility>
#include <vector>

namespace orv {

struct ResultMemory::Entry {
  explicit Entry(const ResultKey& of) : key(of) {}
  static void end(Entry* entry) noexcept;

  const ResultKey key;
  std::shared_ptr<const void> value;
  std::size_t bytes = 0;
  std::vector<std::shared_ptr<Entry>> held;
  std::weak_ptr<const void> lease;
  std::weak_ptr<Table> table;  // that finds it
  std::size_t uses = 0;
  std::uint64_t usedFrom = 0;  // the command in which, or behind which, the present use began
  bool isAside = false;        // in which list
  Entry* previous = nullptr;   // in it
  Entry* next = nullptr;
  Entry* waiting = nullptr;  // in a walk over what is held
};

struct ResultMemory::Table {
  struct List {
    Entry* first = nullptr;
    Entry* last = nullptr;
    std::size_t bytes = 0;
  };
  std::map<ResultKey, std::shared_ptr<Entry>> entries;
  List idle;
  List aside;
  std::size_t limit = std::size_t(512) << 20;
  std::size_t found = 0;
  std::size_t made = 0;
  ResultTrace* trace = nullptr;  // not owned
  bool evicting = false;

  void append(Entry& entry, bool toAside) noexcept;
  void remove(Entry& entry) noexcept;
  void drop(Entry& entry) noexcept;
  void evict() noexcept;
  void endAside() noexcept;
  static void use(Entry& start) noexcept;
  static void release(Entry& start) noexcept;
};

// Ends a lease; holds the entry for it. The entry and the lease know each other, so this lets go of both.
struct ResultMemory::Release {
  std::shared_ptr<Entry> entry;
  void operator()(const void*) noexcept
  {
    const std::shared_ptr<Entry> own = std::move(entry);
    own->lease.reset();
    Table::release(*own);
    if (const std::shared_ptr<Table> table = own->table.lock())
      table->evict();
  }
};

namespace {

constinit ContextLocal<ResultMemory*> theMemory(ContextEnd::files, &ResultMemory::destroyInstance);

}  // namespace

ResultTrace::~ResultTrace() = default;

// ------------------------------------------------------------------------------------------------------------- commands

namespace {

constinit ContextLocal<ResultCommand> theCommand;

}  // namespace

ResultCommand& ResultCommand::current() noexcept
{
  return *theCommand;
}

void ResultMemory::beginCommand() noexcept
{
  ResultCommand& command = *theCommand;
  ++command.number;
  command.underWay = true;
}

void ResultMemory::takeBack() noexcept
{
  theCommand->takesBack = theCommand->underWay;
}

void ResultMemory::endCommand() noexcept
{
  ResultCommand& command = *theCommand;
  endFileStamps(!command.takesBack);
  command.underWay = false;
  command.takesBack = false;
  if (const ResultMemory* memory = *theMemory)
    memory->m_table->endAside();
}

// ------------------------------------------------------------------------------------------------------ what is in use

namespace {

// Entries that nobody has any more, by their `next`.
struct Ending {
  void* first = nullptr;
  bool underWay = false;
};
constinit ContextLocal<Ending> theEnding;

}  // namespace

// One after the other: what an entry holds may be held by it alone, and so on, as deep as there are results.
void ResultMemory::Entry::end(Entry* entry) noexcept
{
  Ending& ending = *theEnding;
  entry->next = static_cast<Entry*>(std::exchange(ending.first, entry));
  if (std::exchange(ending.underWay, true))
    return;
  while (auto* const first = static_cast<Entry*>(ending.first)) {
    ending.first = first->next;
    delete first;
  }
  ending.underWay = false;
}

void ResultMemory::Table::append(Entry& entry, bool toAside) noexcept
{
  List& list = toAside ? aside : idle;
  entry.isAside = toAside;
  entry.previous = list.last;
  entry.next = nullptr;
  (list.last ? list.last->next : list.first) = &entry;
  list.last = &entry;
  list.bytes += entry.bytes;
}

void ResultMemory::Table::remove(Entry& entry) noexcept
{
  List& list = entry.isAside ? aside : idle;
  (entry.previous ? entry.previous->next : list.first) = entry.next;
  (entry.next ? entry.next->previous : list.last) = entry.previous;
  list.bytes -= entry.bytes;
}

void ResultMemory::Table::use(Entry& start) noexcept
{
  if (start.uses++ > 0)
    return;
  start.waiting = nullptr;
  for (Entry* waiting = &start; waiting;) {
    Entry& entry = *std::exchange(waiting, waiting->waiting);
    if (const std::shared_ptr<Table> table = entry.table.lock())
      table->remove(entry);
    if (!entry.isAside)  // else it was in use when the command began, and counts so
      entry.usedFrom = ResultCommand::current().number;
    for (const std::shared_ptr<Entry>& held : entry.held) {
      if (held->uses++ == 0)
        held->waiting = std::exchange(waiting, held.get());
    }
  }
}

// What is held comes out of use after all its holders.
void ResultMemory::Table::release(Entry& start) noexcept
{
  if (--start.uses > 0)
    return;
  start.waiting = nullptr;
  for (Entry* waiting = &start; waiting;) {
    Entry& entry = *std::exchange(waiting, waiting->waiting);
    const ResultCommand& command = ResultCommand::current();
    if (const std::shared_ptr<Table> table = entry.table.lock())
      table->append(entry, command.underWay && entry.usedFrom < command.number);
    for (const std::shared_ptr<Entry>& held : entry.held) {
      if (--held->uses == 0)
        held->waiting = std::exchange(waiting, held.get());
    }
  }
}

void ResultMemory::Table::drop(Entry& entry) noexcept
{
  remove(entry);
  entry.table.reset();
  const auto at = entries.find(entry.key);
  const std::shared_ptr<Entry> end = std::move(at->second);
  entries.erase(at);
}

// What goes may end leases in its turn.
void ResultMemory::Table::evict() noexcept
{
  if (evicting)
    return;
  evicting = true;
  while (idle.bytes > limit)
    drop(*idle.first);
  evicting = false;
}

void ResultMemory::Table::endAside() noexcept
{
  while (Entry* const entry = aside.first) {
    remove(*entry);
    append(*entry, false);
  }
  evict();
}

// ---------------------------------------------------------------------------------------------------------- the memory

ResultMemory::ResultMemory() : m_table(std::make_shared<Table>()) {}

// Those in use do not know it any more, and end with their leases.
ResultMemory::~ResultMemory()
{
  for (Table::List* list : {&m_table->idle, &m_table->aside})
    while (list->first)
      m_table->drop(*list->first);
  for (const auto& [key, entry] : m_table->entries)
    entry->table.reset();
}

ResultMemory& ResultMemory::instance()
{
  ResultMemory*& memory = *theMemory;
  if (!memory)
    memory = new ResultMemory;
  return *memory;
}

void ResultMemory::destroyInstance()
{
  delete std::exchange(*theMemory, nullptr);
}

std::shared_ptr<const void> ResultMemory::find(const ResultKey& key, std::string_view what)
{
  const auto known = m_table->entries.find(key);
  if (known == m_table->entries.end())
    return nullptr;
  ++m_table->found;
  if (m_table->trace)
    m_table->trace->recalled(what, true);
  return leaseOf(known->second);
}

std::shared_ptr<const void> ResultMemory::leaseOf(const std::shared_ptr<Entry>& entry)
{
  std::shared_ptr<const void> lease = entry->lease.lock();
  if (lease)
    return lease;
  Table::use(*entry);  // which the lease ends, even one that cannot be made
  lease = std::shared_ptr<const void>(entry->value.get(), Release{entry});
  entry->lease = lease;
  return lease;
}

bool ResultMemory::isKnown(const ResultKey& key) const
{
  return m_table->entries.contains(key);
}

ResultMemory::Making ResultMemory::begin(const ResultKey& key)
{
  return Making(std::shared_ptr<Entry>(new Entry(key), &Entry::end));
}

ResultMemory::Making::Making(std::shared_ptr<Entry> entry) : m_entry(std::move(entry)) {}

ResultMemory::Making::~Making() = default;

std::shared_ptr<const void> ResultMemory::Making::holdAny(const std::shared_ptr<const void>& other)
{
  const Release* const release = std::get_deleter<Release>(other);
  if (!release)  // not of a memory
    return other;
  m_entry->held.push_back(release->entry);
  return {release->entry, other.get()};
}

std::shared_ptr<const void> ResultMemory::keep(Making& making, std::shared_ptr<const void> made,
                                               std::string_view what)
{
  if (!made)
    return nullptr;
  ++m_table->made;
  if (m_table->trace)
    m_table->trace->recalled(what, false);
  if (const auto known = m_table->entries.find(making.m_entry->key); known != m_table->entries.end())
    return leaseOf(known->second);  // what was made meanwhile, on the way, is the same
  const std::shared_ptr<Entry> entry = making.m_entry;
  entry->value = std::move(made);
  entry->bytes = making.m_bytes + sizeof(Entry);
  m_table->entries.emplace(entry->key, entry);
  entry->table = m_table;
  m_table->append(*entry, false);  // until the lease is there
  return leaseOf(entry);
}

void ResultMemory::setLimit(std::size_t bytes) noexcept
{
  m_table->limit = bytes;
  m_table->evict();
}

std::size_t ResultMemory::getLimit() const noexcept
{
  return m_table->limit;
}

ResultMemory::Counts ResultMemory::getCounts() const noexcept
{
  return {m_table->found, m_table->made, m_table->entries.size(), m_table->idle.bytes + m_table->aside.bytes};
}

ResultTrace* ResultMemory::setTrace(ResultTrace* trace) noexcept
{
  return std::exchange(m_table->trace, trace);
}

}  // namespace orv
