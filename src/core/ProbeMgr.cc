#include "core/ProbeMgr.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "base/Jvmpi.h"
#include "base/Messages.h"
#include "base/ProbeKlgLog.h"
#include "base/ProbeLog.h"
#include "base/Trace.h"
#include "core/PropertyMgr.h"
#include "core/velora.h"
#include "diagnostics/VelJvmmi.h"

static constinit InstanceSlot<ProbeMgr> slot;

static char bootClassName[256] = "";  // "/" form; written while the library loads

ProbeMgr* ProbeMgr::getInstance() {
  VEL_TRACE();
  return slot.getOrCreate();
}

void ProbeMgr::destroy() {
  VEL_TRACE();
  slot.destroy();
}

ProbeMgr::ProbeMgr() : VeloraBase("ProbeMgr") { VEL_TRACE(); }

// Where one identity value comes from: the command line, else the environment, else a default, of
// which the log is told.
struct IdentityRule {
  char (&field)[Identity::kSize];
  const char* commandLine;
  const char* environment;
  const char* standard;
  void (*complain)();
};
static const IdentityRule kIdentityRules[] = {
    {velIdentity.veloraHome, velora_home, "am.home", "/velora",
     [] {
       logError({1006, "am.home system property is undefined"});
     }},
    {velIdentity.nodeName, nodename, "am.nodename", "defaultnode",
     [] {
       logWarn({1008, "am.nodename system property is undefined"});
     }},
    {velIdentity.appServerName, appname, "am.appserver", "appserver",
     [] {
       logWarn({1010, "am.appserver system property is undefined"});
     }},
    {velIdentity.profileName, profilename, "am.profilename", "", [] {}},
};

struct Settled {
  bool said;   // false: the default applies
  bool whole;  // false: the text had to be cut
};

static Settled settle(const IdentityRule& rule) {
  const char* text = *rule.commandLine ? rule.commandLine : std::getenv(rule.environment);
  const bool said = text && *text;
  return {said, setIdentity(rule.field, said ? text : rule.standard)};
}

// The logs need the home before they open, so what is amiss is said afterwards.
void ProbeMgr::settleIdentity() {
  Settled settled[std::size(kIdentityRules)];
  std::ranges::transform(kIdentityRules, settled, settle);
  ProbeLog::initialize();
  ProbeKlgLog::initialize();
  for (std::size_t i = 0; i < std::size(settled); ++i) {
    const IdentityRule& rule = kIdentityRules[i];
    if (!settled[i].said) rule.complain();
    if (!settled[i].whole)
      traceMin("%s is cut to %d characters", rule.environment, Identity::kSize - 1);
  }
}

static void readBootClassName() {
  const char* name = PropertyMgr::getInstance()->getStringProperty(
      "Zetrel.bootclassname", "com.norvik.corvane.transperf.instr.controller.BootIC");
  const auto length = std::string_view(name).copy(bootClassName, sizeof bootClassName - 1);
  bootClassName[length] = '\0';
  std::replace(bootClassName, bootClassName + length, '.', '/');
}

const char* ProbeMgr::getZetrelBootClassName() { return bootClassName; }

void ProbeMgr::onLoadInitialize(JavaVM* vm, char*) {
  VEL_TRACE();
  jvm_ptr = vm;
  velIdentity = Identity{};
  for (char* text : {velora_home, nodename, appname, profilename, veloraextdirs}) *text = '\0';
  velora_argc = 0;
  velora_argv = getCommandLineArgs(velora_argc);
  initCommandLineArgs();
  settleIdentity();
  PropertyMgr::getInstance();
  FindMODFile();
  setTracingMode();
  readBootClassName();
}

bool ProbeMgr::isJVMPIEnabled() { return jvmpi.get() != nullptr; }

bool ProbeMgr::initializeJVMPI() {
  VEL_TRACE();
  if (jvmpi) return true;
  void* found = nullptr;
  JavaVM* vm = jvm_ptr;
  if (!vm || vm->GetEnv(&found, JVMPI_VERSION_1_1) != JNI_OK || !found) {
    logFatal({1015, "Failed during interface initialization"});
    velTrace_.leaveSilently();
    return false;
  }
  auto* interface = static_cast<JVMPI_Interface*>(found);
  interface->EnableEvent(JVMPI_EVENT_STANDING_SET, nullptr);
  jvmpi = interface;
  logInfo({1016, "Initialized event interface successfully"});
  return true;
}

bool ProbeMgr::initializeJVMMI(JavaVM* vm) {
  VEL_TRACE();
  if (VelJvmmi::getInstance()->init(vm)) return true;
  logFatal({1017, "Failed to initialize JVMMI"});
  velTrace_.leaveSilently();
  return false;
}

static void installCallback() {
  if (!jvmpi->NotifyEvent) jvmpi->NotifyEvent = EventDispatcher;
}

static void enableEvent(jint event) {
  if (!ProbeMgr::initializeJVMPI()) {
    traceMin("Unable to initialize JVMPI");
    return;
  }
  installCallback();
  jvmpi->EnableEvent(event, nullptr);
}

void ProbeMgr::enableClassLoad() {
  VEL_TRACE();
  if (jvmpi) installCallback();
}

void ProbeMgr::enableClassLoadHook() {
  VEL_TRACE();
  enableEvent(JVMPI_EVENT_CLASS_LOAD_HOOK);
}

void ProbeMgr::enableJVMInitDone() {
  VEL_TRACE();
  enableEvent(JVMPI_EVENT_JVM_INIT_DONE);
}

void ProbeMgr::disableClassLoadHook() {
  VEL_TRACE();
  if (jvmpi) jvmpi->DisableEvent(JVMPI_EVENT_CLASS_LOAD_HOOK, nullptr);
}
