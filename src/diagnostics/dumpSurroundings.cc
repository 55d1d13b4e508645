#include "diagnostics/dumpSurroundings.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/Jvmpi.h"
#include "base/Trace.h"
#include "jvm/ras.h"

static UniqueFd openRegular(const char* path, int flags, struct stat& status) {
  UniqueFd file(open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | flags));
  if (file && fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode)) return file;
  return {};
}

UniqueFd openDumpFile(const char* path) {
  struct stat status;
  return openRegular(path, 0, status);
}

UniqueFd openOwnFile(const char* path) {
  struct stat status;
  UniqueFd file = openRegular(path, O_NOFOLLOW, status);
  return file && status.st_uid == geteuid() ? std::move(file) : UniqueFd();
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
