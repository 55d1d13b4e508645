#pragma once

// Told that a connection to the publish server must be (re)established: what the server was told on
// the old one has to be told again. Called on the network agent's thread.
class NetworkAgentMgrConnInitListener {
 public:
  virtual ~NetworkAgentMgrConnInitListener() = default;
  virtual void notifySocketStatus() = 0;
};
