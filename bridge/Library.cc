#include "Library.h"

#include <dlfcn.h>
#include <limits.h>
#include <stdlib.h>

namespace bridge {

std::string libraryPath() {
  static const char anchor = 0;
  Dl_info info{};
  if (dladdr(&anchor, &info) == 0 || !info.dli_fname) return {};
  char* resolved = realpath(info.dli_fname, nullptr);
  std::string path = resolved ? resolved : info.dli_fname;
  free(resolved);
  return path;
}

std::string libraryDirectory() {
  const std::string path = libraryPath();
  const auto slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

}  // namespace bridge
