#include "delivery/NetworkAgentData.h"

#include <cstring>
#include <new>

#include "base/Trace.h"

NetworkAgentData::NetworkAgentData(const char* record, long size, int events)
    : VeloraBase("NetworkAgentData"),
      size_(size),
      record_(new (std::nothrow) char[static_cast<std::size_t>(size)]),
      events_(events) {
  VEL_TRACE();
  if (!record_) {
    traceMin("new() failure - out of memory");
    size_ = 0;
    return;
  }
  if (size > 0) std::memcpy(record_.get(), record, static_cast<std::size_t>(size));
}
