#include "diagnostics/dumpSurroundings.h"

#include "base/Jvmpi.h"
#include "base/Trace.h"
#include "jvm/ras.h"

UniqueFd openOwnFile(const char* path) {
  struct stat status;
  UniqueFd file = openRegularFile(path, O_RDONLY | O_NOFOLLOW);
  const bool own = file && fstat(file.get(), &status) == 0 && status.st_uid == geteuid();
  return own ? std::move(file) : UniqueFd();
}

OwnedFile asFile(UniqueFd fd) {
  OwnedFile file(fd ? fdopen(fd.get(), "r") : nullptr);
  if (file) fd.release();  // the file's from here
  return file;
}

bool askForDump(JNIEnv* env) {
  JavaVM* vm = jvm_ptr;
  void* found = nullptr;
  if (!vm || vm->GetEnv(&found, RAS_VERSION) != JNI_OK || !found) {
    traceMin("Unable to get RAS");
    return false;
  }
  if (static_cast<RAS_Interface*>(found)->ThreadDump(env) == 0) return true;
  traceMin("the JVM wrote no thread dump");
  return false;
}
