#include "vexqom/events.h"

#include <algorithm>

#include "vexqom/error.h"

namespace vexqom {

namespace {
constexpr int32_t kNoConnection = -2147220992;  // 0x80040200
}

uint32_t EventConnections::advise(Callback callback) {
  uint32_t cookie = next_cookie_++;
  connections_.push_back(Connection{cookie, std::move(callback)});
  return cookie;
}

uint32_t EventConnections::advise(CountChangedSink* sink) {
  if (sink == nullptr) throw Error(errc::kInvalidArgument);
  return advise([sink](Object&, int32_t) { sink->CountChanged(); });
}

void EventConnections::unadvise(uint32_t cookie) {
  auto it = std::find_if(connections_.begin(), connections_.end(),
                         [cookie](const Connection& c) { return c.cookie == cookie; });
  if (it == connections_.end()) throw Error(kNoConnection, u"No such connection");
  connections_.erase(it);
}

void EventConnections::fire(Object& source, int32_t dispid) const {
  // A snapshot, so that sinks may advise or unadvise while being called.
  std::vector<Callback> sinks;
  sinks.reserve(connections_.size());
  for (const Connection& c : connections_) sinks.push_back(c.callback);
  for (const Callback& sink : sinks) sink(source, dispid);
}

}  // namespace vexqom
