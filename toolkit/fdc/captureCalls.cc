// The calls of the first-failure capture library.
#include <time.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>

#include "fdc/Capture.h"
#include "jvm/klg.h"
#include "log/FatalHook.h"
#include "log/Properties.h"
#include "text/Complaint.h"
#include "text/Guarded.h"

static std::string propertyOf(KlgObject* handler, const char* name) {
  const std::unique_ptr<char, decltype(&KosMemoryFree)> value(KlgGetObjProp(handler, name),
                                                              &KosMemoryFree);
  return value ? value.get() : "";
}

static std::int64_t monotonicMs() {
  timespec now;
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

static void captureFor(KlgObject* handler, std::string_view reason) {
  static CaptureGate* const gate = new CaptureGate;
  CaptureOrder order;
  order.baseDir = propertyOf(handler, "baseDir");
  if (order.baseDir.empty()) return;
  order.number = gate->admit(monotonicMs());
  if (order.number == 0) return;
  order.files = splitList(propertyOf(handler, "files"));
  order.maxSize = parseSize(propertyOf(handler, "maxCaptureSize")).value_or(order.maxSize);
  order.maxDirs =
      static_cast<int>(parseSize(propertyOf(handler, "maxDirs")).value_or(order.maxDirs));
  order.now = std::chrono::system_clock::now();
  order.process = ::getpid();
  order.reason = reason;
  const auto directory = capture(order);
  if (!directory.empty()) complain({"failure data is captured in ", directory});
}

static void onFatal(KlgObject* handler, const char* line, std::size_t size) {
  guarded([&] { captureFor(handler, {line, size}); });
}

int KlgInitFFDCExtensions(int on) noexcept {
  KlgSetFatalHook(on ? onFatal : nullptr);
  return 0;
}

char* KlgFFDCTriggerHandlerGetBaseDir(KlgObject* handler) noexcept {
  return KlgGetObjProp(handler, "baseDir");
}

int KlgFFDCTriggerHandlerSetBaseDir(KlgObject* handler, const char* directory) noexcept {
  return KlgSetObjProp(handler, "baseDir", directory);
}

char* KlgFileCopyHandlerGetFiles(KlgObject* handler) noexcept {
  return KlgGetObjProp(handler, "files");
}

int KlgFileCopyHandlerSetFiles(KlgObject* handler, const char* list) noexcept {
  return KlgSetObjProp(handler, "files", list);
}
