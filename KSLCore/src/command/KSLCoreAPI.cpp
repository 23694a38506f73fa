#include "command/KSLCoreAPI.h"

#include "platform/ORVError.h"
#include "platform/internal/ContextLocal.h"
#include "database/ObjectDB.h"
#include "command/KSLInterface.h"
#include "command/KSLUpdateRecorder.h"

namespace orv {

namespace {

constinit ContextLocal<KSLCoreAPI*> theKSLCoreAPI(ContextEnd::observers, &KSLCoreAPI::destroyInstance);

}  // namespace

KSLCoreAPI* KSLCoreAPI::instance()
{
  KSLCoreAPI*& instance = *theKSLCoreAPI;
  if (!instance)
    instance = new KSLCoreAPI;
  return instance;
}

KSLCoreAPI* KSLCoreAPI::current() noexcept
{
  return *theKSLCoreAPI;
}

void KSLCoreAPI::destroyInstance()
{
  delete std::exchange(*theKSLCoreAPI, nullptr);
}

KSLCoreAPI::KSLCoreAPI()
{
  CommandNotifier::setSubject(this);
}

KSLCoreAPI::~KSLCoreAPI()
{
  CommandNotifier::setSubject(nullptr);
  stopRecording();
}

void KSLCoreAPI::processKSL(const std::string& text, kslUpdateMode mode, const TextSource& from)
{
  processText(text, mode, from, nullptr);
}

void KSLCoreAPI::processText(const std::string& text, kslUpdateMode mode, const TextSource& from,
                             ParsedText* ahead)
{
  if (m_parseCount == 0 && m_recorder)
    m_recorder->reset();
  if (text.empty())
    throw internal::badParam("KSLCoreAPI", "processKSL", _("Input parameter %s is empty.", "p_KSLStr"));
  KSLInterface* commands = KSLInterface::instance();
  const ScopeGuard leave([this] { --m_depth; });
  ++m_depth;
  // Of one that is too deep nobody is told: those who are told may be the ones who go on and on.
  const bool tells = m_depth <= KSLInterface::maxDepth;
  const ScopeGuard end([this, tells] { tells ? endParseKSL() : void(); });
  try {
    KSLInterface::requireDepth(m_depth);
    beginParseKSL();
  } catch (...) {
    return commands->failParse();
  }
  commands->parseKSL(text, mode, from, ahead);
}

bool KSLCoreAPI::beginCommand()
{
  if (m_depth > 0)
    throw internal::error("KSLCoreAPI", "beginCommand", _("A command is under way."));
  if (m_parseCount == 0 && m_recorder)
    m_recorder->reset();
  KSLInterface* commands = KSLInterface::instance();
  ScopeGuard close([this] { closeCommand(); });
  ++m_depth;
  try {
    beginParseKSL();
  } catch (...) {
    commands->failParse();
    return false;
  }
  if (!commands->beginCommand())
    return false;
  close.dismiss();
  return m_commandOpen = true;
}

void KSLCoreAPI::closeCommand()
{
  m_commandOpen = false;
  m_entered.clear();
  const ScopeGuard leave([this] { --m_depth; });
  endParseKSL();
}

void KSLCoreAPI::beginParseKSL()
{
  ++m_parseCount;
  notify(parseBegin);
}

void KSLCoreAPI::endParseKSL()
{
  --m_parseCount;
  notify(parseEnd);
}

void KSLCoreAPI::recordKSLChanges(bool on)
{
  if (!on)
    stopRecording();
  else if (!m_recorder)
    startRecording();
}

void KSLCoreAPI::startRecording()
{
  auto recorder = std::make_unique<KSLUpdateRecorder>();
  ObjectDB::instance()->registerChangeNotify(recorder.get());
  m_recorder = std::move(recorder);
  m_recording = true;
}

// The database may have ended before, and the observer may be another by now.
void KSLCoreAPI::stopRecording()
{
  m_recording = false;
  ObjectDB* database = ObjectDB::current();
  if (database && database->getChangeNotify() == m_recorder.get())
    database->registerChangeNotify(nullptr);
}

KSLUpdateInfo* KSLCoreAPI::getUpdateInfo() const
{
  return m_recording ? m_recorder.get() : nullptr;
}

void KSLCoreAPI::setValidationEnabled(bool on)
{
  KSLInterface::instance()->getKSLAPI()->enableValidation(on);
}

void KSLCoreAPI::forceUpdate(const std::vector<std::string>& names)
{
  KSLInterface::instance()->forceUpdate(names);
}

}  // namespace orv
