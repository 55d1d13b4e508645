#include "WrappedVm.h"

#include "Events.h"

namespace bridge {

// The real JVM is never asked for these: it would print an error on standard output.
static constexpr bool isJvmpiVersion(jint version) {
  return (version & ~0xffff) == (JVMPI_VERSION_1 & ~0xffff);
}

static jint answer(void** env, void* table) {
  *env = table;
  return table ? JNI_OK : JNI_EVERSION;
}

static jint JNICALL getEnv(JavaVM*, void** env, jint version) {
  if (isJvmpiVersion(version)) {
    const bool known = version == JVMPI_VERSION_1 || version == JVMPI_VERSION_1_1;
    return answer(env, known ? jvmpiTable() : nullptr);
  }
  if (version == JVMMI_VERSION_1_2 || version == JVMMI_VERSION_2_1)
    return answer(env, jvmmiTable(version));
  if (version == RAS_VERSION) return answer(env, rasTable());
  return jvm.real->GetEnv(env, version);
}

// Attaching a thread before the JVM runs Java code crashes it.
static bool canAttach() {
  if (!jvm.is(Phase::loading)) return true;
  jvmtiPhase phase{};
  return jvm.jvmti->GetPhase(&phase) == JVMTI_ERROR_NONE && phase != JVMTI_PHASE_ONLOAD &&
         phase != JVMTI_PHASE_PRIMORDIAL;
}

static jint JNICALL attach(JavaVM*, void** env, void* arguments) {
  return canAttach() ? jvm.real->AttachCurrentThread(env, arguments) : JNI_ERR;
}

static jint JNICALL attachAsDaemon(JavaVM*, void** env, void* arguments) {
  return canAttach() ? jvm.real->AttachCurrentThreadAsDaemon(env, arguments) : JNI_ERR;
}

static const JNIInvokeInterface_ functions = {
    nullptr, nullptr,
    nullptr, [](JavaVM*) { return jvm.real->DestroyJavaVM(); },
    attach,  [](JavaVM*) { return jvm.real->DetachCurrentThread(); },
    getEnv,  attachAsDaemon,
};

static constinit JavaVM_ wrapper{nullptr};

JavaVM* wrappedVm() { return wrapper.functions ? &wrapper : nullptr; }

JavaVM* wrapVm(JavaVM* real) {
  jvm.real = real;
  wrapper.functions = &functions;
  return &wrapper;
}

}  // namespace bridge
