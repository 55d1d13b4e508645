#include "native/CheapJvm.h"

#include <algorithm>
#include <mutex>

#include "fake/FakeJvm.h"

static std::string_view asciiOf(jstring string) {
  return reinterpret_cast<const JavaString*>(string)->ascii();
}

static jsize JNICALL length(JNIEnv*, jstring string) {
  return static_cast<jsize>(asciiOf(string).size());
}

static void JNICALL utfRegion(JNIEnv*, jstring string, jsize start, jsize count, char* out) {
  *std::copy_n(asciiOf(string).data() + start, count, out) = '\0';
}

static JNINativeInterface_ withCheapStrings() {
  JNINativeInterface_ table = *fakeJniTable();
  table.GetStringLength = length;
  table.GetStringUTFLength = length;
  table.GetStringUTFRegion = utfRegion;
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
