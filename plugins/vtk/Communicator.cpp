#include "Communicator.h"

#include <dlfcn.h>

namespace results {

namespace {

class Alone : public Communicator {
 public:
  int rank() const noexcept override { return 0; }
  int size() const noexcept override { return 1; }
  std::vector<std::string> exchange(const char*, const std::string& mine) override { return {mine}; }
  std::vector<std::string> gather(const char*, const std::string& mine) override { return {mine}; }
  void run(const std::function<void()>& calculation) override { calculation(); }
};

Communicator& ofProgram()
{
  static Alone alone;
  using Exported = decltype(&orvResultsCommunicator);
  const auto exported = reinterpret_cast<Exported>(::dlsym(RTLD_DEFAULT, "orvResultsCommunicator"));
  return exported ? *exported() : alone;
}

}  // namespace

Communicator& Communicator::instance()
{
  static Communicator& chosen = ofProgram();
  return chosen;
}

}  // namespace results
