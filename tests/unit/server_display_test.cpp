/// Display and save, to the letter.
#include "tests/unit/bench.h"

namespace bench {
namespace {

class ServerDisplay : public ServerBench {
 protected:
  static void set_option(uint8_t code, const Bytes& value, uint8_t type) {
    Bytes whole = value;
    whole.resize(312, 'Z');
    ASSERT_EQ(dhcp_server_set_pool_option(1, code, static_cast<uint8_t>(value.size()), whole.data(), type), 0);
  }
  static void make_full_pool() {
    make_pool();
    const uint32_t routers[] = {ip(192, 168, 1, 1), ip(192, 168, 1, 2)}, dns[] = {ip(8, 8, 8, 8)};
    dhcp_server_set_router(1, routers, 2);
    dhcp_server_set_dns_srv(1, dns, 1);
    dhcp_server_set_domain_name(1, "example.net");
    dhcp_server_set_tftp_server(1, "tftp.example.net");
    dhcp_server_set_boot_file_name(1, "image.bin");
    set_option(43, {0x01, 0xab}, 2);
    set_option(150, {10, 1, 2, 3}, 3);
    set_option(60, {'t', 'e', 'x', 't'}, 1);
  }
};

const std::string status = "\nserver status                  : disable \n\n";
const std::string pool_text =
    "\npool id                        : 1\n-------------------------------------------\n"
    "network                        : 192.168.1.0\nnetmask                        : 255.255.255.0\n"
    "lease time                     : 86400 secs\n"
    "start ip                       : 192.168.1.10\nend ip                         : 192.168.1.20\n"
    "domain name                    : example.net\n"
    "default router                 : 192.168.1.1 192.168.1.2 \ndns server                     : 8.8.8.8 \n"
    "option-60                      : text\noption-150                     : 10.1.2.3\n"
    "option-43                      : 0x01ab\n";

TEST_F(ServerDisplay, PoolIsShownLineByLine) {
  make_full_pool();
  EXPECT_EQ(shown(show_dhcp_server_conf), status + pool_text + "\n");
  EXPECT_EQ(shown(show_dhcp_server_conf_pool, 1), status + pool_text +
                                                      "Tftp Server name               : tftp.example.net\n"
                                                      "Boot file name                 : image.bin\n"
                                                      "Boot file name size            : 512\n\n");
}

TEST_F(ServerDisplay, LeaseTimeIsShownInSecondsAndSavedInWholeMinutes) {
  make_pool();
  const struct {
    uint32_t seconds;
    const char *shown, *saved;
  } rows[] = {{86400, "86400 secs", "10 192.168.1.20\r\nexit"},
              {0xffffffff, "infinite", "lease infinite\r\n"},
              {0x80000000, "-2147483648 secs", "lease "},
              {7200, "7200 secs", "lease 0 2\r\n"},
              {59, "59 secs", "lease 0 0\r\n"},
              {86460, "86460 secs", "lease 1 0 1\r\n"}};
  for (const auto& row : rows) {
    dhcp_server_set_pool_lease(1, row.seconds);
    EXPECT_THAT(shown(show_dhcp_server_conf),
                HasSubstr("\nlease time                     : " + std::string(row.shown) + "\n"));
    EXPECT_THAT(saved(onu_dhcp_server_save), HasSubstr(row.saved));
  }
}

TEST_F(ServerDisplay, LeasesShowTheMinuteThatHasBegun) {
  make_pool();
  const struct {
    uint32_t lease, passed;
    const char* text;
  } rows[] = {{3600, 3541, "0Day 0Hour 1Min"}, {90061, 0, "1Day 1Hour 2Min"},   {86400, 0, "1Day 0Hour 1Min"},
              {3600, 1, "0Day 0Hour 60Min"},   {0xffffffff, 0, "infinite    "}, {60, 61, "infinite    "}};
  for (const auto& row : rows) {
    at(0);
    dhcp_server_set_pool_lease(1, row.lease);
    lease(mac_number(0x0102));
    at(row.passed);
    EXPECT_THAT(shown(show_dhcp_server_binding),
                HasSubstr("         192.168.1.10    Ethernet 00:10:20:30:01:02  " + std::string(row.text) + "\n"));
    dhcp_server_clear_binding(0);
  }
}

TEST_F(ServerDisplay, OnlyAcknowledgedLeasesAreListed) {
  make_pool();
  const auto with_id = [](wire::Message message) { return message.option(61, {0, 'h', 'o', 's', 't'}); };
  const uint32_t address = offered(with_id(discover(mac_number(1))));
  receive(with_id(request(mac_number(1), address)));
  expect_reply({.type = wire::ACK});
  offered(discover(mac_number(2)));  // an offer only
  EXPECT_EQ(shown(show_dhcp_server_binding),
            "\n         ip address      hw type  hw address           expire time \n"
            "         ----------      -------  ----------         ---------------  \n"
            "         192.168.1.10    ClientId host               1Day 0Hour 1Min\n"
            "-------------------------------------------------------------------------------\r\n"
            "Total : 1 \r\n\n");
}

TEST_F(ServerDisplay, AddressesThatAreKeptBackAreListed) {
  make_pool();
  setenv("TZ", "UTC", 1);
  tzset();
  dhcp_add_conflict_ip(ip(192, 168, 1, 10));  // 1,700,000,000 = 14 November 2023, 22:13:20
  dhcp_server_set_exclude_ip(ip(192, 168, 1, 11), ip(192, 168, 1, 12));
  dhcp_server_set_static_host(1, mac_number(5).data(), ip(192, 168, 1, 15));
  EXPECT_EQ(shown(show_dhcp_server_conflict),
            "\n         IP Address               Detection Time   \n"
            "         ----------            --------------------\n"
            "         192.168.1.10          Tue Nov 14 22:13:20 2023\n\n");
  EXPECT_EQ(shown(show_dhcp_server_exclude),
            "\n            start ip            end ip     \n"
            "         ---------------   --------------- \n"
            "         192.168.1.11      192.168.1.12    \n\n");
  EXPECT_EQ(shown(show_dhcp_server_host),
            "         pool id   hardware address     ip address   \n"
            "         -------- ------------------ ----------------\n"
            "         1        00:10:20:30:00:05  192.168.1.15    \n");
}

TEST_F(ServerDisplay, FileThatCannotBeOpenedFails) {
  device().temp_files_cannot_be_made = true;
  char path[128];
  for (auto show : {show_dhcp_server_conf, show_dhcp_server_conf_pool, show_dhcp_server_binding,
                    show_dhcp_server_conflict, show_dhcp_server_exclude, show_dhcp_server_host}) {
    EXPECT_EQ(show(path, 0, 0), -1);
  }
}

TEST_F(ServerDisplay, ConfigurationIsSavedAsItIsTyped) {
  make_full_pool();
  dhcp_server_set_pool_lease(1, 90061);
  dhcp_server_set_boot_file_size(1, 9);
  dhcp_server_set_static_host(1, mac_number(5).data(), ip(192, 168, 1, 15));
  dhcp_server_create_pool_entry(2);  // without a network
  dhcp_server_set_exclude_ip(ip(192, 168, 1, 11), ip(192, 168, 1, 12));
  dhcp_server_set_exclude_ip(ip(192, 168, 1, 1), ip(192, 168, 1, 1));
  dhcp_server_start_stop(1);
  EXPECT_EQ(saved(onu_dhcp_server_save),
            "ip dhcp-server\r\n"
            "ip dhcp pool 2\r\nlease 0 0\r\nexit\r\n"
            "ip dhcp pool 1\r\nnetwork 192.168.1.0 255.255.255.0 192.168.1.10 192.168.1.20\r\nlease 1 1 1\r\n"
            "domain-name example.net\r\nserver-name tftp.example.net\r\nboot-file-name image.bin\r\n"
            "boot-file-size 9\r\n"
            "option 60 ascii text\r\noption 150 ip 10.1.2.3\r\noption 43 hex 01ab\r\n"
            "host 00:10:20:30:00:05 192.168.1.15\r\n"
            "default-router 192.168.1.1 192.168.1.2 \r\ndns-server 8.8.8.8 \r\nexit\r\n"
            "ip dhcp excluded-address 192.168.1.1\r\nip dhcp excluded-address 192.168.1.11 192.168.1.12\r\n");
  dhcp_server_start_stop(0);
}

TEST_F(ServerDisplay, ClearTakesOneOrAll) {
  make_pool();
  for (uint32_t n = 1; n <= 3; ++n) lease(mac_number(n));
  for (const uint32_t host : {11u, 99u}) dhcp_server_clear_binding(ip(192, 168, 1, host));
  EXPECT_THAT(leases(), SizeIs(2));
  EXPECT_EQ(device().logged_at("bind_ip:192.168.1.11.\n", "clear binding"), 1);
  for (uint32_t n = 1; n <= 3; ++n) dhcp_add_conflict_ip(n);
  dhcp_server_clear_conflict(2);
  EXPECT_EQ(dhcps_cfg.conflicts.count, 2);
  dhcp_server_clear_conflict(0);
  EXPECT_EQ(dhcps_cfg.conflicts.count, 0);
  EXPECT_EQ(device().logged_at("conflict_ip:0.0.0.0.\n", "clear conflict"), 1);
}

}  // namespace
}  // namespace bench
