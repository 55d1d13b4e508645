#include <algorithm>
#include <new>
#include <string>

#include "base/JniScope.h"
#include "base/Jvmpi.h"
#include "base/Messages.h"
#include "base/Trace.h"
#include "base/platform.h"
#include "instrument/HandOver.h"
#include "instrument/LoadInjector.h"
#include "instrument/dumpclass.h"
#include "instrument/hook.h"
#include "jvm/ByteReader.h"

std::atomic<jclass> bcmBootstrapCls{nullptr};
jmethodID instrumentJNIMeth = nullptr;
std::atomic<bool> instrumentationActive{false};
std::atomic<bool> instrumentedClassLoader{false};
std::atomic<bool> instrumentedProxy{false};
std::atomic<int> classCount{0};
std::atomic<long> totalTime{0};

static const char* bootClassName = "";

void setBootClassName(const char* class_name) { bootClassName = class_name; }

void handleJavaException(JNIEnv* env) {
  VEL_TRACE();
  describeAndClear(env);
}

// A global reference: what FindClass returns dies with the JVM's call.
void notifyJVMInitDone(JVMPI_Event* event) {
  VEL_TRACE();
  JNIEnv* env = event->env_id;
  if (!env || bcmBootstrapCls) return;
  const LocalRef<jclass> found(env, env->FindClass("com/velora/bcm/bootstrap/BcmBootstrap"));
  handleJavaException(env);
  if (!found.get()) return;
  instrumentJNIMeth =
      env->GetStaticMethodID(found, "instrumentClassFromJVMPI", "([BLjava/lang/String;)[B");
  handleJavaException(env);
  if (instrumentJNIMeth) bcmBootstrapCls = static_cast<jclass>(env->NewGlobalRef(found));
}

bool classIsExcluded(const char* class_name) {
  VEL_TRACE();
  const std::string_view name(class_name ? class_name : "");
  for (std::string_view prefix : {"java", "org", "sun", "com.velora", "com/velora", "sun/misc"})
    if (name.starts_with(prefix)) return true;
  return false;
}

// Counts an event, and its milliseconds by the wall clock.
class HandlerCost {
 public:
  HandlerCost() {
    getCurrentTime(&sec_, &usec_);
    ++classCount;
  }
  HandlerCost(const HandlerCost&) = delete;
  HandlerCost& operator=(const HandlerCost&) = delete;
  ~HandlerCost() {
    ULONG sec = 0, usec = 0;
    getCurrentTime(&sec, &usec);
    totalTime += (long{sec} - long{sec_}) * 1000 + (long{usec / 1000} - long{usec_ / 1000});
  }

 private:
  ULONG sec_ = 0, usec_ = 0;
};

void logHookCost() {
  static std::atomic<int> told{0};
  const int count = classCount;
  if (told.exchange(count) != count)
    logInfo({1215, "Class-load hook handled %d classes in %d ms"}, count,
            static_cast<int>(totalTime.load()));
}

static void reportCorrupt(ClassBytes bytes) {
  logError({1048, "Class file corrupt"});
  dumpClass("BadClass", bytes);
}

// Later classes verify their code by maps that a new method would need, too.
static bool isRewritable(USHORT minor, USHORT major) {
  return (major >= 45 && major <= 47) || (major == 48 && minor == 0);
}

// Whether the class is to be read at all; what is none is told.
static bool concernsUs(ClassBytes bytes) {
  ByteReader in(bytes);
  const ULONG magic = in.u4();
  if (in.ok() && magic != 0xCAFEBABE) {
    logError({1049, "Bad class file magic %0X"}, magic);
    return false;
  }
  const USHORT minor = in.u2();
  const USHORT major = in.u2();
  if (!in.ok()) reportCorrupt(bytes);
  return in.ok() && isRewritable(minor, major);
}

static void noteServerStart(std::string_view class_name) {
  for (std::string_view start :
       {"com/norvik/av/bootstrap/AVLauncher", "weblogic/Server", bootClassName})
    if (class_name == start) instrumentationActive = true;
}

static std::vector<BYTE> bytesOf(JNIEnv* env, jbyteArray array) {
  const jsize length = array ? env->GetArrayLength(array) : 0;
  std::vector<BYTE> bytes(static_cast<std::size_t>(length));
  if (length > 0) env->GetByteArrayRegion(array, 0, length, reinterpret_cast<jbyte*>(bytes.data()));
  handleJavaException(env);
  return bytes;
}

// What BcmBootstrap.instrumentClassFromJVMPI makes of the class; empty when that failed.
static std::vector<BYTE> askBootstrap(JNIEnv* env, ClassBytes bytes, const std::string& dotName,
                                      HandOver& handOver) {
  handleJavaException(env);
  const auto length = static_cast<jsize>(bytes.size());
  LocalRef<jbyteArray> array(env, env->NewByteArray(length));
  handleJavaException(env);
  if (!array.get()) return {};
  env->SetByteArrayRegion(array, 0, length, reinterpret_cast<const jbyte*>(bytes.data()));
  handleJavaException(env);
  LocalRef<jstring> name(env, env->NewStringUTF(dotName.c_str()));
  handleJavaException(env);
  if (!name.get()) return {};
  const LocalRef<jbyteArray> result(
      env,
      env->CallStaticObjectMethod(bcmBootstrapCls, instrumentJNIMeth, array.get(), name.get()));
  handleJavaException(env);
  return handOver.resultCounts() ? bytesOf(env, result) : std::vector<BYTE>();
}

static void handToJavaSide(JNIEnv* env, WorkingClass& work) {
  static auto& handOver = *new HandOver;
  std::string name(work.layout()->name);
  if (!env || !bcmBootstrapCls || classIsExcluded(name.c_str())) return;
  slashToDot(name.data());
  if (!handOver.begin(name)) return;
  const struct End {
    HandOver& handOver;
    ~End() { handOver.end(); }
  } end{handOver};
  auto instrumented = askBootstrap(env, work.bytes(), name, handOver);
  if (!instrumented.empty()) work.replace(std::move(instrumented));
}

static bool injectOne(std::atomic<bool>& done, const DefineClassMethod* methods, int count,
                      WorkingClass& work) {
  if (done) return false;
  const auto injects = [&work](const DefineClassMethod& method) {
    return instrumentLoader(method, work);
  };
  if (!std::any_of(methods, methods + count, injects)) return false;
  done = true;
  return true;
}

// The Java side may have made a class of a later version of it.
static bool stayedRewritable(const WorkingClass& work) {
  ByteReader in(work.bytes());
  in.u4();
  const USHORT minor = in.u2();
  return isRewritable(minor, in.u2());
}

static void switchHookOff() {
  traceMin("InstrumentJNI: turning off JVMPI ClassLoadHook");
  if (jvmpi) jvmpi->DisableEvent(JVMPI_EVENT_CLASS_LOAD_HOOK, nullptr);
  logHookCost();
}

// One class loader and one proxy in the life of the process, whichever threads load them.
static void inject(WorkingClass& work) {
  static auto& lock = *new VelOsLock;
  const LockScope held(lock);
  const bool rewritten =
      injectOne(instrumentedClassLoader, config.classLoaderMethods, config.classLoaderMethodCount,
                work) ||
      injectOne(instrumentedProxy, config.proxyMethods, config.proxyMethodCount, work);
  if (!rewritten) return;
  if (!work.layout()) work.restore();
  if (instrumentedClassLoader && instrumentedProxy) switchHookOff();
}

static void handBack(JVMPI_Event* event, ClassBytes bytes) {
  auto& hook = event->u.class_load_hook;
  void* copy = hook.malloc_f(static_cast<unsigned>(bytes.size()));
  if (!copy) {
    traceMin("malloc_f failed");
    return;
  }
  hook.new_class_data = static_cast<BYTE*>(copy);
  hook.new_class_data_len = static_cast<jint>(bytes.size());
  std::ranges::copy(bytes, hook.new_class_data);
}

static void handleClass(JVMPI_Event* event, ClassBytes bytes) {
  if (!concernsUs(bytes)) return;
  auto layout = readClassLayout(bytes);
  if (!layout || !namesHold(*layout)) return reportCorrupt(bytes);
  WorkingClass work(bytes, std::move(*layout));
  noteServerStart(work.layout()->name);
  if (instrumentationActive && !instrumentedClassLoader) handToJavaSide(event->env_id, work);
  if (config.instrumentDefineClass && stayedRewritable(work)) inject(work);
  if (work.changed()) handBack(event, work.bytes());
}

void notifyClassLoadHookEvent(JVMPI_Event* event) {
  VEL_TRACE();
  const HandlerCost cost;
  auto& hook = event->u.class_load_hook;
  hook.new_class_data = hook.class_data;
  hook.new_class_data_len = hook.class_data_len;
  if (!hook.class_data || hook.class_data_len < 0) return;
  try {
    handleClass(event, {hook.class_data, static_cast<std::size_t>(hook.class_data_len)});
  } catch (const std::bad_alloc&) {
    traceMin("malloc failed");
  }
}
