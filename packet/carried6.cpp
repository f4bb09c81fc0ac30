#include "packet/carried6.h"

#include "packet/options6.h"

namespace dhcp::packet {

Carried6 carried_message(const RelayMessage6& relay, std::span<uint8_t>& out) {
  const auto options = relay.options();
  if (options.size() < option6::header_size || load_be16(&options[0]) != option6::relay_message)
    return Carried6::nothing;
  size_t index = 0;
  Option6 option{};
  if (!next_option6(options, index, option)) return Carried6::runs_off;
  out = option.value;
  return Carried6::message;
}

size_t put_relay_message(std::span<uint8_t> room, MessageType6 type, uint8_t hop_count,
                         std::span<const uint8_t, 32> link_and_peer, std::span<const uint8_t> content) {
  if (room.size() < carrying_size || room.size() - carrying_size < content.size() || content.size() > 0xffff) return 0;
  room[relay6::msg_type.offset] = static_cast<uint8_t>(type);
  room[relay6::hop_count.offset] = hop_count;
  std::copy(link_and_peer.begin(), link_and_peer.end(), &room[relay6::link.offset]);
  uint8_t* option = &room[relay6::header_size];
  store_be16(option, option6::relay_message);
  store_be16(option + 2, static_cast<uint16_t>(content.size()));
  std::copy(content.begin(), content.end(), option + option6::header_size);
  return carrying_size + content.size();
}

}  // namespace dhcp::packet
