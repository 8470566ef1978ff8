#include "vexqom/events.h"

#include <algorithm>

#include "vexqom/error.h"
#include "vexqom/object.h"

namespace vexqom {

namespace {
constexpr int32_t kNoConnection = -2147220992;  // 0x80040200
}

uint32_t EventConnections::advise(Callback callback) {
  uint32_t cookie = next_cookie_++;
  connections_.push_back(Connection{cookie, std::make_shared<const Callback>(std::move(callback))});
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
  // A sink may drop the last reference to the source, and with it these connections.
  const Ref<Object> keep_alive(&source);
  // Sinks may advise and unadvise while being called: each turn looks the next one up
  // again by cookie (cookies grow in list order), so a sink gone meanwhile is skipped and
  // one advised during delivery, whose cookie is past the last, waits for the next event.
  const uint32_t last = next_cookie_;
  uint32_t previous = 0;
  for (;;) {
    auto next = std::upper_bound(
        connections_.begin(), connections_.end(), previous,
        [](uint32_t cookie, const Connection& c) { return cookie < c.cookie; });
    if (next == connections_.end() || next->cookie >= last) return;
    previous = next->cookie;
    // Its own reference: a sink that unadvises itself is still running.
    const std::shared_ptr<const Callback> sink = next->callback;
    (*sink)(source, dispid);
  }
}

}  // namespace vexqom
