#include "session/Sweep.h"

#include "platform/ORVOutputFiles.h"
#include "platform/ORVProgress.h"
#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"
#include "blockText.h"
#include "session/Session.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <filesystem>
#include <mutex>
#include <set>
#include <thread>
#include <tuple>
#include <utility>

namespace orv {

namespace {

namespace fs = std::filesystem;

constexpr const char* sweepClass = "Sweep";
constexpr std::size_t longest = 100;  // of a result that is shown without being asked for

// "PATH.NAME": names may hold dots in paths, so the last one counts.
std::pair<std::string, std::string> splitTarget(const std::string& text)
{
  const std::size_t dot = text.rfind('.');
  if (dot == std::string::npos)
    return {text, {}};
  return {StringUtilities::removeWhitespace(text.substr(0, dot)),
          StringUtilities::removeWhitespace(text.substr(dot + 1))};
}

std::string unitsOf(const std::string& value)
{
  const std::size_t begin = value.find('[');
  return begin == std::string::npos ? std::string() : value.substr(begin);
}

// Of "A..B/N"; empty when the text is none.
std::vector<std::string> evenValues(const std::string& text)
{
  const std::size_t dots = text.find("..");
  const std::size_t slash = dots == std::string::npos ? dots : text.find('/', dots);
  if (slash == std::string::npos)
    return {};
  double first = 0;
  double last = 0;
  std::size_t count = 0;
  const char* const at = text.data();
  const bool isRead = std::from_chars(at, at + dots, first).ptr == at + dots
                      && std::from_chars(at + dots + 2, at + slash, last).ptr == at + slash
                      && std::from_chars(at + slash + 1, at + text.size(), count).ec == std::errc();
  if (!isRead || count < 2)
    return {};
  std::vector<std::string> values;
  for (std::size_t i = 0; i < count; ++i)
    values.push_back(StringUtilities::toString(
        first + (last - first) * static_cast<double>(i) / static_cast<double>(count - 1)));
  if (const std::string units = unitsOf(text); !units.empty())
    values.back() += " " + units;
  return values;
}

// What all threads share. Rows are each written by one thread.
struct Work {
  explicit Work(const SweepOptions& all) : options(all) {}

  const SweepOptions& options;
  SweepTable table;
  std::atomic<std::size_t> next = 0;
  std::atomic<bool> stopped = false;
  std::atomic<std::size_t> workers = 0;

  std::mutex mutex;
  std::condition_variable changed;
  std::size_t running = 0;
  std::exception_ptr failure;
};

class StopWatch : public ProgressWatcher {
 public:
  explicit StopWatch(const std::atomic<bool>& stopped) : m_stopped(stopped) {}
  void stepped(const Progress*) override
  {
    if (m_stopped)
      throw Interrupt(sweepClass, "sweep", _("Interrupted."));
  }

 private:
  const std::atomic<bool>& m_stopped;
};

// One thread's model.
class Worker {
 public:
  explicit Worker(Work& work)
      : m_work(work),
        m_session(sessionOptions(work.options)),
        m_scope(m_session),
        m_watch(work.stopped)
  {
    ProgressWatcher::set(&m_watch);
    OutputFiles::instance()->setNames([this](const std::string& name) { return placeOf(name); });
  }
  ~Worker() { ProgressWatcher::set(nullptr); }
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  void run()
  {
    runModel();
    for (std::size_t i; !m_work.stopped && (i = m_work.next++) < m_work.table.rows.size();)
      fill(m_work.table.rows[i], i);
  }

 private:
  static SessionOptions sessionOptions(const SweepOptions& options)
  {
    SessionOptions own;
    own.library = options.library;
    own.changes = false;
    return own;
  }

  void runModel();
  void fill(SweepTable::Row& row, std::size_t index);
  std::string placeOf(const std::string& name);
  void completeFiles(SweepTable::Row& row);
  void collect(SweepTable::Row& row) const;

  Work& m_work;
  const std::size_t m_number = m_work.workers++;
  Session m_session;
  Session::Scope m_scope;
  StopWatch m_watch;
  fs::path m_folder;                          // of the row under way; of the model before
  std::set<std::string> m_names;              // in it
  std::map<std::string, std::string> m_last;  // the newest file of each name
};

void requireDone(const Outcome& outcome)
{
  if (!outcome)
    throw data::error(sweepClass, "sweep", outcome.errors().front().getMessage());
}

void Worker::runModel()
{
  const SweepOptions& options = m_work.options;
  if (!options.pictures.empty())
    m_folder = fs::path(options.pictures) / ".model";
  if (!options.modelFile.empty())
    requireDone(m_session.runFile(options.modelFile));
  requireDone(m_session.run(options.model));
  for (const SweepSetting& setting : options.settings)
    if (!m_session.has(setting.object))
      throw data::notFound(sweepClass, "sweep", _("Object '%s' does not exist.", setting.object));
}

// Rows share nothing but the model: each sets all that others have set.
void Worker::fill(SweepTable::Row& row, std::size_t index)
{
  const SweepOptions& options = m_work.options;
  m_names.clear();
  if (!options.pictures.empty()) {
    const std::string number = StringUtilities::toString(index + 1);
    m_folder =
        fs::path(options.pictures) / (std::string(4 - std::min<std::size_t>(number.size(), 4), '0') + number);
  }
  std::string text;
  for (std::size_t i = 0; i < options.settings.size(); ++i)
    text += blockText(m_session.object(options.settings[i].object).getPath(),
                      {{options.settings[i].parameter, row.values[i]}});
  const Outcome outcome = m_session.run(text);
  row.errors = outcome.errors();
  if (!outcome)
    return;
  completeFiles(row);
  collect(row);
}

// Every thread runs the model; what it writes then is kept for rows that change nothing of it.
std::string Worker::placeOf(const std::string& name)
{
  if (m_folder.empty())
    return {};
  fs::path folder = m_folder;
  if (folder.filename() == ".model")
    folder /= StringUtilities::toString(m_number);
  fs::create_directories(folder);
  std::string own = fs::path(name).filename().string();
  std::string place = (folder / own).string();
  m_names.insert(own);
  m_last[std::move(own)] = place;
  return place;
}

void Worker::completeFiles(SweepTable::Row& row)
{
  for (auto& [name, last] : m_last) {
    const fs::path own = m_folder / name;
    if (m_names.count(name) == 0) {
      fs::create_directories(m_folder);
      fs::copy_file(last, own, fs::copy_options::overwrite_existing);
      last = own.string();
    }
    row.files.push_back(own.string());
  }
}

void Worker::collect(SweepTable::Row& row) const
{
  for (const std::string& shown : m_work.options.shown) {
    const auto [path, name] = splitTarget(shown);
    row.results[shown] = m_session.value(path, name);
  }
  if (!m_work.options.shown.empty())
    return;
  for (const std::string& path : m_session.objects({})) {
    m_session.object(path).forEachParam([&](const ParamDefinition& param) {
      const std::string& value = param.getValue();
      const bool isShown = !value.empty() && value.size() <= longest && value.find(',') == std::string::npos;
      if (isShown && (param.isInternal() || param.categoryIs("Result"))
          && !param.categoryIs("application-param"))
        row.results[path + "." + param.getName()] = value;
    });
  }
}

// The others need not go on after a failure; why they stop then is not told.
void runWorker(Work& work) noexcept
{
  try {
    Worker(work).run();
  } catch (...) {
    const std::lock_guard lock(work.mutex);
    if (!work.failure)
      work.failure = std::current_exception();
    work.stopped = true;
  }
  const std::lock_guard lock(work.mutex);
  --work.running;
  work.changed.notify_one();
}

void waitFor(Work& work)
{
  bool isAsked = false;
  std::unique_lock lock(work.mutex);
  while (work.running > 0) {
    work.changed.wait_for(lock, std::chrono::milliseconds(50));
    lock.unlock();
    if (!isAsked && work.options.stop && work.options.stop())
      work.stopped = isAsked = true;
    lock.lock();
  }
  if (isAsked)
    throw Interrupt(sweepClass, "sweep", _("Interrupted."));
  if (work.failure)
    std::rethrow_exception(work.failure);
}

// All combinations, the last setting's values changing fastest.
std::vector<SweepTable::Row> rowsOf(const std::vector<SweepSetting>& settings)
{
  std::vector<SweepTable::Row> rows(1);
  for (const SweepSetting& setting : settings) {
    std::vector<SweepTable::Row> longer;
    for (const SweepTable::Row& row : rows)
      for (const std::string& value : setting.values) {
        longer.push_back(row);
        longer.back().values.push_back(value);
      }
    rows = std::move(longer);
  }
  if (settings.empty() || rows.empty())
    throw data::error(sweepClass, "sweep", _("There are no values."));
  return rows;
}

}  // namespace

SweepSetting SweepSetting::parse(const std::string& text)
{
  const std::size_t equals = text.find('=');
  SweepSetting setting;
  if (equals != std::string::npos) {
    std::tie(setting.object, setting.parameter) = splitTarget(text.substr(0, equals));
    const std::string values = StringUtilities::removeWhitespace(text.substr(equals + 1));
    setting.values = evenValues(values);
    if (setting.values.empty() && !values.empty())
      setting.values = StringUtilities::splitValue(values);
  }
  if (setting.object.empty() || setting.parameter.empty() || setting.values.empty())
    throw data::invalid("SweepSetting", "parse", _("'%s' is not PATH.PARAMETER=VALUES.", text));
  const std::string units = unitsOf(setting.values.back());
  for (std::string& value : setting.values)
    if (!units.empty() && unitsOf(value).empty())
      value += " " + units;
  return setting;
}

SweepTable sweep(const SweepOptions& options)
{
  Work work(options);
  work.table.rows = rowsOf(options.settings);
  for (const SweepSetting& setting : options.settings)
    work.table.settings.push_back(setting.object + "." + setting.parameter);
  std::size_t jobs = options.jobs > 0 ? options.jobs : std::thread::hardware_concurrency();
  jobs = std::clamp<std::size_t>(jobs, 1, work.table.rows.size());
  const ScopeGuard clean([&] {
    if (!options.pictures.empty())
      fs::remove_all(fs::path(options.pictures) / ".model");
  });
  std::vector<std::thread> threads;
  const ScopeGuard join([&] {
    for (std::thread& thread : threads)
      thread.join();
  });
  while (threads.size() < jobs) {
    const std::lock_guard lock(work.mutex);
    threads.emplace_back([&work] { runWorker(work); });
    ++work.running;
  }
  waitFor(work);
  return std::move(work.table);
}

}  // namespace orv
