#include "native/CheapJvm.h"

#include <cstring>
#include <mutex>

#include "fake/FakeJvm.h"

static std::u16string_view unitsOf(jstring string) {
  return reinterpret_cast<const JavaString*>(string)->units();
}

static jsize JNICALL length(JNIEnv*, jstring string) {
  return static_cast<jsize>(unitsOf(string).size());
}

static void JNICALL region(JNIEnv*, jstring string, jsize start, jsize count, jchar* out) {
  std::memcpy(out, unitsOf(string).data() + start, static_cast<std::size_t>(count) * sizeof *out);
}

static JNINativeInterface_ withCheapStrings() {
  JNINativeInterface_ table = *fakeJniTable();
  table.GetStringLength = length;
  table.GetStringRegion = region;
  return table;
}

void useCheapStrings(JNIEnv* env) {
  static const JNINativeInterface_ table = withCheapStrings();
  env->functions = &table;
}

static std::recursive_mutex& mutexOf(JVMPI_RawMonitor monitor) {
  return *reinterpret_cast<std::recursive_mutex*>(monitor);
}

void useCheapMonitors(JVMPI_Interface& profiler) {
  profiler.RawMonitorCreate = [](char*) {
    return reinterpret_cast<JVMPI_RawMonitor>(new std::recursive_mutex);
  };
  profiler.RawMonitorDestroy = [](JVMPI_RawMonitor monitor) { delete &mutexOf(monitor); };
  profiler.RawMonitorEnter = [](JVMPI_RawMonitor monitor) { mutexOf(monitor).lock(); };
  profiler.RawMonitorExit = [](JVMPI_RawMonitor monitor) { mutexOf(monitor).unlock(); };
}
