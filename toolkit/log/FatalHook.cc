#include "log/FatalHook.h"

#include <atomic>

static std::atomic<FatalHook> currentHook{nullptr};

void KlgSetFatalHook(FatalHook hook) noexcept {
  currentHook.store(hook, std::memory_order_release);
}

FatalHook fatalHook() { return currentHook.load(std::memory_order_acquire); }
