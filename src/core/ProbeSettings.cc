#include <strings.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/JniScope.h"
#include "base/Messages.h"
#include "base/Trace.h"
#include "core/ClassFilter.h"
#include "core/ProbeMgr.h"
#include "core/PropertyMgr.h"
#include "instrument/ClassTable.h"
#include "instrument/norvikperf.h"

bool ProbeMgr::setProbeLevel(int level) {
  VEL_TRACE_AS("ProbeMgr.cc");
  if (level > 1000) level -= 1000;  // the Java side speaks in 1001 to 1003
  const int current = getProbeLevel();
  if (level == current) {
    traceMin("Current Native MOD level is same as new level");
    return true;
  }
  if (level < 1 || level > 3) {
    traceMin("Incorrect MOD level given (%0$d) rejecting, current MOD level %1$d", level, current);
    return false;
  }
  AgentState::setProbeLevel(level);
  if (current == 3) turnMethodTrace(false);
  if (level == 3) turnMethodTrace(true);
  traceMin("Native MOD level changed from (%0$d) to (%1$d)", current, level);
  return true;
}

// Method events come from the Java side: nothing is switched here.
void ProbeMgr::turnMethodTrace(bool) {
  VEL_TRACE_AS("ProbeMgr.cc");
  if (PropertyMgr::getInstance()->isProperty("internal.disableL3", "YES"))
    traceMin("L3 disabled, not enabling/disabling method events");
  else
    traceMin("L3 is handled in Java now ...");
}

struct TracingMode {
  const char* name;
  int number;
  bool appListAtLevel1;
  bool appListAbove;
  bool interfaceAboveLevel1;
  bool restartOnToFromL1;
};
constexpr TracingMode kTracingModes[] = {
    {"classic", kTracingClassic, false, false, true, true},
    {"new", kTracingNew, true, true, false, false},
    {"hybrid", kTracingHybrid, false, true, false, true},
};

static void chooseTracingMode(const char* name) {
  if (!name) {
    traceMin("Tracing MODE not specified. Using default value of NEW");
    vel_tracing_mode = kTracingNew;
    return;
  }
  const auto* mode = std::ranges::find_if(
      kTracingModes, [name](const TracingMode& m) { return strcasecmp(m.name, name) == 0; });
  if (mode == std::end(kTracingModes))
    traceMin("Invalid value specified for TRACING MODE. Using default value");
  else
    vel_tracing_mode = mode->number;
}

static void leaveAppsToInterpreter() {
  if (PropertyMgr::getInstance()->isProperty("internal.use.applist", "NO")) {
    traceMin("No App list created");
    return;
  }
  traceMin("Using AppList");
  turnOffJitOfApps();
}

void ProbeMgr::setTracingMode() {
  VEL_TRACE_AS("ProbeMgr.cc");
  chooseTracingMode(PropertyMgr::getInstance()->getProperty("internal.tracing.mode"));
  const TracingMode& mode =
      *std::ranges::find(kTracingModes, vel_tracing_mode.load(), &TracingMode::number);
  const int level = getProbeLevel();
  logInfo({1018, "Using tracing mode %0$s(%1$d), and mod level is %2$d"}, mode.name, mode.number,
          level);
  initInterface_ = level != 1 && mode.interfaceAboveLevel1;
  restartOnToFromL1_ = mode.restartOnToFromL1;
  if (level == 1 ? mode.appListAtLevel1 : mode.appListAbove) leaveAppsToInterpreter();
}

// One owned copy per element; a null element is left out, a null array gives an empty list.
static std::unique_ptr<TextArray> textsOf(JNIEnv* env, jobjectArray array) {
  std::vector<std::string> texts;
  const jsize count = array ? env->GetArrayLength(array) : 0;
  for (jsize i = 0; i < count; ++i) {
    const LocalRef<jstring> element(env, env->GetObjectArrayElement(array, i));
    if (describeAndClear(env)) break;
    if (const UtfChars text(env, element); text) texts.emplace_back(text.get());
  }
  std::vector<const char*> pointers;
  pointers.reserve(texts.size());
  for (const std::string& text : texts) pointers.push_back(text.c_str());
  return std::make_unique<TextArray>(pointers);
}

void ProbeMgr::setIncludeExcludeList(JNIEnv* env, jobjectArray include, jobjectArray exclude) {
  VEL_TRACE_AS("ProbeMgr.cc");
  auto included = textsOf(env, include);
  auto excluded = textsOf(env, exclude);
  for (char** text = included->get(); *text; ++text) traceMin("Include List: %s", *text);
  for (char** text = excluded->get(); *text; ++text) traceMin("Exclude List: %s", *text);
  setClassFilterLists(std::move(included), std::move(excluded));
  reapplyFilter();
}
