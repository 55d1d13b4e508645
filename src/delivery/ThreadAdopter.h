#pragma once

#include "base/Published.h"

class ThreadData;

// Who drains the queues of new thread records: the event-agent manager, or a test.
class ThreadAdopter {
 public:
  virtual ~ThreadAdopter() = default;
  virtual bool isReady() = 0;  // false: no record is made now
  // True: one agent drains the record from now on, until the record is dead and deleted.
  virtual bool manageThreadData(ThreadData* thr) = 0;
};

extern Published<ThreadAdopter> threadAdopter;  // null: nobody, as before the agents exist
