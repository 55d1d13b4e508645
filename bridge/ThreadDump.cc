#include "ThreadDump.h"

#include <exception>
#include <mutex>

#include "DumpFiles.h"
#include "JavacoreText.h"
#include "Say.h"

namespace bridge {

static jint writeDump(JNIEnv* env) {
  const std::string text = javacoreText(env);
  if (text.empty()) return JNI_ERR;
  const std::string path = writeDumpFile(text);
  if (path.empty()) {
    complain("a thread dump could not be written to any directory");
    return JNI_ERR;
  }
  bool told = true;
  for (const char* file : kLocationFiles) told &= appendLocation(file, path);
  if (!told)
    note("%s is not named in every location file: one belongs to another user", path.c_str());
  return JNI_OK;
}

jint dumpThreads(JNIEnv* env) noexcept {
  static std::mutex oneAtATime;
  if (!env || !jvm.is(Phase::live)) return JNI_ERR;
  try {
    const std::lock_guard guard(oneAtATime);
    return writeDump(env);
  } catch (const std::exception& e) {
    complain("a thread dump failed: %s", e.what());
    return JNI_ERR;
  }
}

void onDataDumpRequest() { dumpThreads(currentEnv()); }

}  // namespace bridge
