#pragma once

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>

#include "instrument/jitOption.h"

// One walk through the installed applications: the package patterns of the classes in archives and
// below "/classes/" go into a list.
class AppScan {
 public:
  explicit AppScan(StringList& found) : found_(found) {}
  void scanDir(const std::string& dir);  // nothing when it is no directory
  void readJarFile(const std::string& path);
  int classes() const { return classes_; }
  int archives() const { return archives_; }

 private:
  // A directory by device and inode, and what its classes' patterns begin with. Whoever comes to
  // it again with the same beginning finds nothing new: that ends every loop of links.
  using Visit = std::tuple<dev_t, ino_t, std::optional<std::string>>;

  void takeEntry(const std::string& path, bool mayBeDirectory);
  void takeClass(std::string_view classPath);

  StringList& found_;
  std::set<Visit> visited_;
  int classes_ = 0;
  int archives_ = 0;
};

// Seeks and reads; false unless there are so many bytes.
bool readJarData(int fd, void* buf, off_t offset, std::size_t len);
