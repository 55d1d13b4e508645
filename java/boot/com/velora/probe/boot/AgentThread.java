package com.velora.probe.boot;

/**
 * A thread lent to a native agent for the agent's whole life. Daemon, so that it never keeps a
 * server from ending, and without a context class loader, so that it keeps no application loaded.
 */
abstract class AgentThread extends Thread {
  AgentThread(String name) {
    super(name);
    setDaemon(true);
    setContextClassLoader(null);
  }

  /** Returns when the agent was stopped. */
  abstract void serve();

  @Override
  public final void run() {
    try {
      serve();
    } catch (Throwable e) {
      Starter.complain(getName() + ": " + e);
    }
  }
}
