#pragma once

#include <memory>

#include "base/VeloraBase.h"

// Logs its message when it is made. Nothing throws it: failures are return values here.
class VelException : public virtual VeloraBase {
 public:
  explicit VelException(const char* message);
  const char* getMessage() const { return message_.get(); }

 private:
  std::unique_ptr<char[]> message_;
};
