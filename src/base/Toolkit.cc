#include "base/Toolkit.h"

#include <dlfcn.h>

#include <atomic>
#include <cstdio>
#include <string>
#include <string_view>

// A call of any toolkit signature that does nothing: 0, null or nothing, whatever it returns.
template <class Signature>
struct DoingNothing;
template <class R, class... Args>
struct DoingNothing<R (*)(Args...) noexcept> {
  static R call(Args...) noexcept { return R(); }
};
template <class R, class... Args>
struct DoingNothing<R (*)(Args..., ...) noexcept> {
  static R call(Args..., ...) noexcept { return R(); }
};

static constexpr KlgCalls kNoToolkit = {
#define VEL_KLG_NOTHING(library, name) DoingNothing<decltype(&::name)>::call,
    KLG_CALLS(VEL_KLG_NOTHING)
#undef VEL_KLG_NOTHING
};
static constinit std::atomic<const KlgCalls*> current{&kNoToolkit};
static constinit KlgCalls loaded = kNoToolkit;

const KlgCalls& klgCalls() { return *current.load(std::memory_order_acquire); }

void useKlgCalls(const KlgCalls* calls) {
  current.store(calls ? calls : &kNoToolkit, std::memory_order_release);
}

// The directory of the library that holds this code, with its final slash; empty when unknown.
static std::string ownDirectory() {
  Dl_info info{};
  if (!dladdr(reinterpret_cast<const void*>(&klgCalls), &info) || !info.dli_fname) return {};
  const std::string path = info.dli_fname;
  return path.substr(0, path.rfind('/') + 1);
}

// The libraries stay open as long as the process: threads may be inside them at any time.
static void* openLibrary(const char* name) {
  if (void* handle = dlopen((ownDirectory() + name).c_str(), RTLD_NOW | RTLD_LOCAL)) return handle;
  return dlopen(name, RTLD_NOW | RTLD_LOCAL);
}

template <class Pointer>
static bool find(void* library, const char* name, Pointer& call) {
  void* found = library ? dlsym(library, name) : nullptr;
  if (found) call = reinterpret_cast<Pointer>(found);
  return found != nullptr;
}

static bool loadCalls() {
  // The last one draws in the others; opened first to last so that all come from one directory.
  struct {
    const char* name;
    void* handle;
  } libraries[] = {
      {KLG_MSG_LIBRARY, nullptr}, {KLG_LOG_LIBRARY, nullptr}, {KLG_FDC_LIBRARY, nullptr}};
  bool complete = true;
  for (auto& library : libraries) {
    library.handle = openLibrary(library.name);
    if (library.handle) continue;
    complete = false;
    std::fprintf(stderr, "ERROR: Could not load %s: logging goes on without it\n", library.name);
  }
  const auto handleOf = [&](std::string_view name) {
    for (const auto& library : libraries)
      if (name == library.name) return library.handle;
    return static_cast<void*>(nullptr);
  };
#define VEL_KLG_FIND(library, name) complete &= find(handleOf(library), #name, loaded.name);
  KLG_CALLS(VEL_KLG_FIND)
#undef VEL_KLG_FIND
  return complete;
}

bool loadToolkit() {
  if (toolkitLoaded()) return true;
  static const bool complete = loadCalls();
  if (complete) useKlgCalls(&loaded);
  return complete;
}

bool toolkitLoaded() { return current.load(std::memory_order_acquire) != &kNoToolkit; }
