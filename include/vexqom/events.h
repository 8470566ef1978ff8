// Outgoing events: sinks are called synchronously, in the order they were advised.
#pragma once

#include "vexqom/api.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace vexqom {

class Object;

// A C++ sink of the item collection's CountChanged event.
class CountChangedSink {
 public:
  virtual ~CountChangedSink() = default;
  virtual void CountChanged() = 0;
};

class VEXQOM_API EventConnections {
 public:
  // Called with the event source and the event's dispatch identifier.
  using Callback = std::function<void(Object& source, int32_t dispid)>;

  // Returns the connection's cookie (never 0).
  uint32_t advise(Callback callback);
  // The sink is not owned; it must stay alive until unadvised.
  uint32_t advise(CountChangedSink* sink);
  // Unknown cookie: error -2147220992 (no such connection).
  void unadvise(uint32_t cookie);
  size_t size() const { return connections_.size(); }

  // Calls the sinks connected when the event starts, in order, skipping any that is
  // unadvised meanwhile; sinks may advise, unadvise or release the source while called.
  void fire(Object& source, int32_t dispid) const;

 private:
  struct Connection {
    uint32_t cookie;
    std::shared_ptr<const Callback> callback;
  };
  std::vector<Connection> connections_;
  uint32_t next_cookie_ = 1;
};

}  // namespace vexqom
