#include "jvm/LoadCheck.h"

#include "Jvm.h"
#include "Library.h"
#include "Say.h"
#include "WrappedVm.h"

namespace bridge {

// JVMTI 1.2 and JNI 1.6 came after the last JVM with JVMPI. Both questions are silent, unlike the
// one for JVMPI itself.
static bool offersJvmpi(JavaVM* vm) {
  void* answer = nullptr;
  if (vm->GetEnv(&answer, JNI_VERSION_1_6) == JNI_OK) return false;
  return vm->GetEnv(&answer, kJvmtiVersion) != JNI_OK;
}

}  // namespace bridge

LoadRoad classifyLoad(JavaVM* vm) {
  using namespace bridge;
  if (wrappedVm()) return vm == wrappedVm() ? LoadRoad::runAgent : LoadRoad::ignore;
  if (offersJvmpi(vm)) return LoadRoad::runAgent;
  complain("this JVM cannot run the agent through -Xrun; start it with -agentpath:%s",
           libraryPath().c_str());
  return LoadRoad::refuse;
}
