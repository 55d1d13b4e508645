#include "instrument/dumpclass.h"

#include <cstdio>

#include "base/Trace.h"
#include "instrument/config.h"

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

void dumpClass(std::string_view class_name, ClassBytes result) {
  VEL_TRACE();
  if (!config.dumpClasses) return;
  std::string name(class_name);
  slashToDot(name.data());  // no name leads out of the directory
  const std::string path = (config.dumpPath ? config.dumpPath : "") + name + ".class";
  // "e": the servers that this runs in start programs, which inherit nothing of ours.
  const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "wbe"));
  if (file) std::fwrite(result.data(), 1, result.size(), file.get());
}
