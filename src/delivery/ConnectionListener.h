#pragma once

#include <jni.h>

#include "base/Published.h"

// Who has something to say on each new connection: the portal's method table. Called on the network
// agent's Java thread right after it has connected; events go to that thread's own queue.
class ConnectionListener {
 public:
  virtual ~ConnectionListener() = default;
  virtual void pushMethodsToPS(JNIEnv* env) = 0;
};

extern Published<ConnectionListener> connectionListener;  // null: nobody
