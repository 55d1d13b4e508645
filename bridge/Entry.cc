#include <cstring>
#include <exception>
#include <string>

#include "Events.h"
#include "JavaSide.h"
#include "Options.h"
#include "Say.h"
#include "Settings.h"
#include "Setup.h"
#include "WrappedVm.h"

// The doors of a current JVM. The agent behind them is entered through its own, JVM_OnLoad.

extern "C" JNIEXPORT jint JNICALL JVM_OnLoad(JavaVM* vm, char* options, void* reserved);

namespace bridge {

static Options readOptions(const char* text) {
  Options options = parseOptions(text ? text : "");
  setQuiet(options.quiet);
  if (options.help) complain("%s", kOptionHelp);
  if (!options.unknown.empty()) note("unknown options: %s", options.unknown.c_str());
  return options;
}

static bool alreadyLoaded() {
  if (!wrappedVm()) return false;
  note("the agent is loaded already; this second load does nothing");
  return true;
}

static bool runAgent(const Options& options) try {
  // Kept: the agent may hold on to its option string.
  char* text = options.forAgent.empty() ? nullptr : strdup(options.forAgent.c_str());
  if (JVM_OnLoad(wrappedVm(), text, nullptr) == JNI_OK) return true;
  complain("the agent did not load; the server runs without it");
  return false;
} catch (...) {
  complain("the agent failed while it loaded; the server runs without it");
  return false;
}

static bool load(JavaVM* vm, const char* text, void (*beforeAgent)()) try {
  const Options options = readOptions(text);
  if (!setUp(vm)) return false;
  wrapVm(vm);
  beforeAgent();
  if (options.javaSide) addBootJar();
  if (runAgent(options)) return true;
  stopDelivery();
  return false;
} catch (const std::exception& e) {
  complain("the server runs without the agent: %s", e.what());
  stopDelivery();
  return false;
}

}  // namespace bridge

// Whatever is wrong with the agent, the server starts: the answer is always 0.
extern "C" JNIEXPORT jint JNICALL Agent_OnLoad(JavaVM* vm, char* options, void*) {
  using namespace bridge;
  if (!alreadyLoaded()) load(vm, options, offerSettings);
  return JNI_OK;
}

// The environment is not touched here: other threads of the running server read it.
extern "C" JNIEXPORT jint JNICALL Agent_OnAttach(JavaVM* vm, char* options, void*) {
  using namespace bridge;
  if (alreadyLoaded()) return JNI_OK;
  if (!load(vm, options, [] {})) return JNI_ERR;
  goLive(currentEnv());
  return JNI_OK;
}

// Threads of the agent may still run: nothing is taken down, and Java is out of reach.
extern "C" JNIEXPORT void JNICALL Agent_OnUnload(JavaVM*) {}
