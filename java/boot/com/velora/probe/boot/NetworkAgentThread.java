package com.velora.probe.boot;

import com.velora.probe.event.NetworkAgent;

final class NetworkAgentThread extends AgentThread {
  private final int id;

  NetworkAgentThread(int id) {
    super("Velora Network Agent " + id);
    this.id = id;
  }

  @Override
  void serve() {
    new NetworkAgent().startThread(id);
  }
}
