#include "tests/transport/ResolverGate.h"

#include <memory>
#include <mutex>
#include <string_view>

#include <dlfcn.h>
#include <netdb.h>

namespace tarnwell::test {
namespace {

struct LookUp {
  Gate entered;
  Gate released;
  Gate left;
};

std::mutex mutex;
std::shared_ptr<LookUp> current;

}  // namespace

ResolverGate::ResolverGate() {
  const std::lock_guard lock(mutex);
  current = std::make_shared<LookUp>();
}

ResolverGate::~ResolverGate() {
  std::shared_ptr<LookUp> lookUp;
  {
    const std::lock_guard lock(mutex);
    lookUp.swap(current);
  }
  lookUp->released.open();
  if (lookUp->entered.isOpen()) (void)lookUp->left.wait();
}

bool ResolverGate::waitForLookUp() {
  std::shared_ptr<LookUp> lookUp;
  {
    const std::lock_guard lock(mutex);
    lookUp = current;
  }
  return lookUp->entered.wait();
}

}  // namespace tarnwell::test

/// Takes the place of the system's function for the whole test program, the transfer library
/// included.
extern "C" int getaddrinfo(const char* node, const char* service, const addrinfo* hints,
                           addrinfo** result) {
  using namespace tarnwell::test;
  std::shared_ptr<LookUp> lookUp;
  if (node != nullptr && std::string_view(node) == "stuck.example") {
    const std::lock_guard lock(mutex);
    lookUp = current;
  }
  if (lookUp) {
    lookUp->entered.open();
    (void)lookUp->released.wait();
    lookUp->left.open();
    return EAI_NONAME;
  }
  using Function = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
  static const auto system = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "getaddrinfo"));
  return system(node, service, hints, result);
}
