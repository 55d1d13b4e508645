package com.velora.probe.boot;

import com.velora.probe.event.EventAgent;

final class EventAgentThread extends AgentThread {
  private final int id;

  EventAgentThread(int id) {
    super("Velora Event Agent " + id);
    this.id = id;
  }

  @Override
  void serve() {
    new EventAgent().startThread(id);
  }
}
