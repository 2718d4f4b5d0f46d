#include "kit/util/deferred_libraries.h"

#include "kit/util/vorno_error.h"

#include <dlfcn.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>

namespace vorno::DeferredLibraries {
namespace {

std::mutex& lock() {
  static std::mutex shared;
  return shared;
}

// Open handles by soname; never closed, as the functions stay in use.
std::map<std::string, void*>& handles() {
  static std::map<std::string, void*> shared;
  return shared;
}

// The handle of that library, opened on first use; null with `error` set when it can't be.
void* handleOf(const std::string& soname, std::string& error) {
  std::lock_guard guard(lock());
  auto found = handles().find(soname);
  if (found != handles().end()) return found->second;
  void* handle = dlopen(soname.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle) {
    const char* reason = dlerror();
    error = reason ? reason : soname + " could not be opened";
    return nullptr;
  }
  handles().emplace(soname, handle);
  return handle;
}

}  // namespace

void require(const std::string& soname) {
  std::string error;
  if (!handleOf(soname, error)) throw VornoError::io("Could not load " + soname + ": " + error + ".");
}

bool loaded(const std::string& soname) {
  std::lock_guard guard(lock());
  return handles().count(soname) != 0;
}

}  // namespace vorno::DeferredLibraries

namespace {

// The descriptor deferred_symbols.S lays out for each function.
struct Deferred {
  std::atomic<void*> slot;
  const char* name;
  const char* soname;
};

}  // namespace

// Called by a stand-in on its first call, with its descriptor: the real address, also written
// to the slot. It can't throw (there is hand-written code between it and the caller), so a
// library that can't be loaded ends the program with a sentence; installed packages depend on
// every one of them.
extern "C" void* vornoResolveDeferred(Deferred* deferred) noexcept {
  std::string error;
  void* handle = vorno::DeferredLibraries::handleOf(deferred->soname, error);
  void* address = handle ? dlsym(handle, deferred->name) : nullptr;
  if (!address) {
    if (error.empty()) error = std::string(deferred->name) + " is missing from it";
    std::fprintf(stderr, "vorno: could not load %s: %s\n", deferred->soname, error.c_str());
    std::abort();
  }
  deferred->slot.store(address, std::memory_order_release);
  return address;
}
