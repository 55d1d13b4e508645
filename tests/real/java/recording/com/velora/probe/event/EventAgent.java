package com.velora.probe.event;

import com.velora.probe.Calls;

/** Notes on which thread it was started. */
public final class EventAgent {
  public static int getEvtAgentCount() {
    return 2;
  }

  public void startThread(int id) {
    Calls.noteThread(id);
  }
}
