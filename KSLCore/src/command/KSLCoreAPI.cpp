#include "command/KSLCoreAPI.h"

#include "platform/ORVError.h"
#include "database/ObjectDB.h"
#include "command/KSLInterface.h"
#include "command/KSLUpdateRecorder.h"

namespace orv {

namespace {

KSLCoreAPI* theInstance = nullptr;

}  // namespace

KSLCoreAPI* KSLCoreAPI::instance()
{
  if (!theInstance)
    theInstance = new KSLCoreAPI;
  return theInstance;
}

KSLCoreAPI* KSLCoreAPI::current() noexcept
{
  return theInstance;
}

void KSLCoreAPI::destroyInstance()
{
  delete std::exchange(theInstance, nullptr);
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
  commands->parseKSL(text, mode, from);
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
