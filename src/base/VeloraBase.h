#pragma once

#include <memory>

// What every manager and container is: something with a class name that logs under it.
class VeloraBase {
 public:
  explicit VeloraBase(const char* clsName);
  VeloraBase(const VeloraBase& other);
  VeloraBase& operator=(const VeloraBase& other);
  virtual ~VeloraBase() = default;

  void _log(const char* file, int line, const char* message) const;       // trace, detail 3000
  void _logDebug(const char* file, int line, const char* message) const;  // trace, detail 1000
  void _logInfo(const char* file, int line, const char* message) const;
  void _logWarn(const char* file, int line, const char* message) const;
  void _logError(const char* file, int line, const char* message) const;

 protected:
  std::unique_ptr<char[]> clsName_;
};
