#pragma once

#include <jni.h>

#include "base/Published.h"

// Who has something to say on each new connection: the portal's method table.
class ConnectionListener {
 public:
  virtual ~ConnectionListener() = default;
  // On a network agent's Java thread right after it has connected; events go to that thread's own
  // queue.
  virtual void pushMethodsToPS(JNIEnv* env) = 0;
  // What was pushed did not get through, though the connection holds. On any thread.
  virtual void pushMissed() = 0;
  // On a network agent's thread, again and again while it is connected: pushes what was missed.
  virtual void pushAgainIfMissed(JNIEnv* env) = 0;
};

extern Published<ConnectionListener> connectionListener;  // null: nobody
