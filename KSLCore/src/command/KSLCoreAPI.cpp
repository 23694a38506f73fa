#include "command/KSLCoreAPI.h"

#include "platform/ORVError.h"
#include "command/KSLInterface.h"

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

void KSLCoreAPI::destroyInstance()
{
  delete std::exchange(theInstance, nullptr);
}

KSLCoreAPI::KSLCoreAPI() = default;
KSLCoreAPI::~KSLCoreAPI() = default;

void KSLCoreAPI::processKSL(const std::string& text, kslUpdateMode mode)
{
  if (text.empty())
    throw internal::badParam("KSLCoreAPI", "processKSL", _("Input parameter %s is empty.", "p_KSLStr"));
  const ScopeGuard end([this] { endParseKSL(); });
  beginParseKSL();
  KSLInterface::instance()->parseKSL(text, mode);
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

void KSLCoreAPI::setValidationEnabled(bool on)
{
  KSLInterface::instance()->getKSLAPI()->enableValidation(on);
}

void KSLCoreAPI::forceUpdate(const std::vector<std::string>& names)
{
  KSLInterface::instance()->forceUpdate(names);
}

}  // namespace orv
