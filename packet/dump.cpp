/// What a frame looks like, for an engineer at the console.
#include <cstdio>

#include "dhcp/packet.h"
#include "packet/bytes.h"
#include "packet/layout.h"
#include "platform/adp.h"

namespace {

using namespace dhcp::packet;

uint8_t byte_at(const uint8_t* header, Field f) { return header[f.offset]; }
unsigned half_at(const uint8_t* header, Field f) { return load_be16(header + f.offset); }
unsigned word_at(const uint8_t* header, Field f) { return load_be32(header + f.offset); }

void print_mac(const char* name, const uint8_t* mac) {
  printf("%s = %02x:%02x:%02x:%02x:%02x:%02x\n", name, mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
}

bool inside(const skpack& skp, const uint8_t* header, size_t size) {
  if (header == nullptr || skp.data == nullptr || header < skp.data) return false;
  const auto offset = static_cast<size_t>(header - skp.data);
  return offset <= skp.psize && skp.psize - offset >= size;
}

/// A bit field of the switch tag, counted from the most significant bit.
unsigned tag_bits(const uint8_t* tag, unsigned first_bit, unsigned count) {
  return (load_be32(tag) >> (32 - first_bit - count)) & ((1u << count) - 1);
}

}  // namespace

void dhcp_dump_packet(const char* title, const uint8_t* buf, int len) {
  constexpr int row = 16;
  fprintf(stderr, "\r\n------------------------------------------------\r\n");
  fprintf(stderr, "%s:%d(0x%X)\r\n    ", title, len, static_cast<unsigned>(len));
  for (int i = 0; i < row; ++i) fprintf(stderr, i == row / 2 ? "  %02X " : "%02X ", static_cast<unsigned>(i));
  for (int i = 0; i < len; ++i) {
    if (i % row == 0) fprintf(stderr, "\r\n%03d ", i / row);
    fprintf(stderr, i % row == row / 2 - 1 ? "%02X   " : "%02X ", buf[i]);
  }
  fprintf(stderr, "\r\n");
}

void print_ether_header(const uint8_t* header) {
  print_mac("et_hdr->ether_dhost", header + eth::destination.offset);
  print_mac("et_hdr->ether_shost", header + eth::source.offset);
  printf("et_hdr->ether_type = 0x%x\n", half_at(header, eth::tpid));
}

void print_iphdr(const uint8_t* header) {
  printf("ip_hdr->saddr = 0x%x\n", word_at(header, ip4::source));
  printf("ip_hdr->daddr = 0x%x\n", word_at(header, ip4::destination));
  printf("ip_hdr->protocol = 0x%x\n", byte_at(header, ip4::protocol));
  printf("ip_hdr->ttl = 0x%x\n", byte_at(header, ip4::ttl));
}

void print_udphdr(const uint8_t* header) {
  printf("ud_hdr->source = 0x%x\n", half_at(header, udp::source));
  printf("ud_hdr->dest = 0x%x\n", half_at(header, udp::destination));
  printf("ud_hdr->len = 0x%x\n", half_at(header, udp::length));
  printf("ud_hdr->check = 0x%x\n", half_at(header, udp::checksum));
}

void print_dhcp(const uint8_t* message) {
  printf("dhcp_data->op = 0x%x\n", byte_at(message, dhcp4::op));
  printf("dhcp_data->htype = 0x%x\n", byte_at(message, dhcp4::htype));
  printf("dhcp_data->hlen = 0x%x\n", byte_at(message, dhcp4::hlen));
  printf("dhcp_data->hops = 0x%x\n", byte_at(message, dhcp4::hops));
  printf("dhcp_data->xid = 0x%x\n", word_at(message, dhcp4::xid));
  printf("dhcp_data->secs = 0x%x\n", half_at(message, dhcp4::secs));
  printf("dhcp_data->flags = 0x%x\n", half_at(message, dhcp4::flags));
  printf("dhcp_data->ciaddr = 0x%x\n", word_at(message, dhcp4::ciaddr));
  printf("dhcp_data->yiaddr = 0x%x\n", word_at(message, dhcp4::yiaddr));
  printf("dhcp_data->siaddr = 0x%x\n", word_at(message, dhcp4::siaddr));
  printf("dhcp_data->giaddr = 0x%x\n", word_at(message, dhcp4::giaddr));
  print_mac("dhcp_data->chaddr", message + dhcp4::chaddr.offset);
  // Neither field need be terminated (RFC 2131 section 2).
  printf("dhcp_data->srvname = %.64s\n", reinterpret_cast<const char*>(message + dhcp4::sname.offset));
  printf("dhcp_data->file = %.128s\n", reinterpret_cast<const char*>(message + dhcp4::file.offset));
  printf("dhcp_data->cookie = 0x%x\n", word_at(message, dhcp4::cookie));
}

void print_bcmtag_to_cpu(const uint8_t* tag) {
  printf("bcm_tag->src_pid = %u\n", tag_bits(tag, 26, 6));
  printf("bcm_tag->ermon = %u\n", tag_bits(tag, 24, 2));
  printf("bcm_tag->reason = %u\n", tag_bits(tag, 18, 6));
  printf("bcm_tag->qos = %u\n", tag_bits(tag, 16, 2));
  printf("bcm_tag->rsvd = %u\n", tag_bits(tag, 15, 1));
  printf("bcm_tag->oct_cnt = %u\n", tag_bits(tag, 3, 12));
  printf("bcm_tag->opcode = %u\n", tag_bits(tag, 0, 3));
}

void print_sk_packet(const skpack* skp) {
  constexpr size_t ethernet_size = 14, tag_size = 4;
  printf("skp info:");
  printf("skp->users = %d\n", skp->users);
  printf("skp->psize = %d\n", static_cast<int>(skp->psize));
  if (inside(*skp, skp->data, ethernet_size)) print_ether_header(skp->data);
  if (inside(*skp, skp->ip_hdr, ip4::header_size)) print_iphdr(skp->ip_hdr);
  if (inside(*skp, skp->ud_hdr, udp::header_size)) {
    print_udphdr(skp->ud_hdr);
    const uint8_t* message = skp->ud_hdr + udp::header_size;
    if (inside(*skp, message, dhcp4::fixed_size)) print_dhcp(message);
  }
  if (inside(*skp, skp->vlan_tag, tag_size)) {
    const unsigned tci = load_be16(skp->vlan_tag + 2);
    printf("c_vlan_tpid = 0x%x,c_vlan_vid = 0x%x,c_vlan_pri = 0x%x\n", load_be16(skp->vlan_tag), tci & eth::vid_mask,
           tci >> 13);
  }
  if (skp->upper != nullptr) printf("skp->upper = %p\n", static_cast<void*>(skp->upper));
  print_bcmtag_to_cpu(skp->bcm_tag);
}
