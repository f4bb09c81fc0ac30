#include "module/watch.h"

#include "dhcp/counters.h"
#include "dhcp/debug.h"
#include "platform/text.h"

namespace dhcp::module {

Watch::Watch(base::FrameSink sink, const skpack& skp) : frame_(sink) {
  line_.add("in %s", str_intf_id(skp.in_intf));
  line_.describe({skp.data, skp.data != nullptr ? skp.psize : 0});
}

Watch::~Watch() {
  const char* before = " -- ";
  for (const auto& [service, reason] : frame_.fates()) {
    line_.add("%s%s: %s", before, dhcp_service_name(service), dhcp_reason_name(service, reason));
    before = ", ";
  }
  frame_.tell(line_.c_str());
}

}  // namespace dhcp::module

void dhcp_watch_frames(DhcpFrameSink sink) { dhcp::base::frame_sink.store(sink); }
