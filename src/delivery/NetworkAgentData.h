#pragma once

#include <memory>

#include "base/VeloraBase.h"

// One packet on its way out: a private copy of its bytes, and how many events they are.
class NetworkAgentData : public virtual VeloraBase {
 public:
  NetworkAgentData(const char* record, long size, int events = 0);
  long getSize() const { return size_; }  // 0 when the copy could not be made
  const char* getRecord() const { return record_.get(); }
  int getEvents() const { return events_; }

 private:
  long size_;
  std::unique_ptr<char[]> record_;
  int events_;
};
