/// What scrapers get: the text form, and the socket that gives it.
#include "softswitch/cli/metrics.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include "dhcp/server.h"
#include "softswitch/cli/socket.h"
#include "softswitch/command_line.h"
#include "tests/cli/bench.h"

namespace dhcp::softswitch::cli {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class MetricsTest : public CliTest {
 protected:
  MetricsTest() : server_(path()) {}

  std::string path() const { return directory + "/metrics.sock"; }
  void start() {
    std::string error;
    ASSERT_TRUE(server_.start(error)) << error;
  }
  int connected() const {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path().copy(address.sun_path, sizeof address.sun_path - 1);
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    EXPECT_EQ(connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return fd;
  }
  /// All that comes until the other side closes.
  std::string ask(const std::string& request) const {
    const int fd = connected();
    send_all(fd, request);
    std::string got;
    char block[4096];
    for (ssize_t size; (size = recv(fd, block, sizeof block, 0)) > 0;) got.append(block, static_cast<size_t>(size));
    close(fd);
    return got;
  }

 private:
  MetricsServer server_;
};

TEST_F(MetricsTest, TextIsEscapedAndWholeNumbersStayWhole) {
  Metric metric{"a_total", "back\\slash\nand \"quotes\"", Metric::Kind::counter};
  metric.add({}, uint64_t{1} << 52);
  metric.add({{"port", "a\"b\\c\nd\xff"}, {"vlan", "1"}}, 0.25);
  EXPECT_EQ(exposition({metric, {"empty", "Nothing.", Metric::Kind::gauge}}),
            "# HELP a_total back\\\\slash\\nand \"quotes\"\n"
            "# TYPE a_total counter\n"
            "a_total 4503599627370496\n"
            "a_total{port=\"a\\\"b\\\\c\\nd?\",vlan=\"1\"} 0.250\n"
            "# HELP empty Nothing.\n"
            "# TYPE empty gauge\n");
}

TEST_F(MetricsTest, FamiliesAreToldWithTheirValues) {
  fake().port_rows[3].config.device = "veth\"3";
  fake().port_rows[3].config.arp_check = true;
  fake().port_rows[3].counters.rx_frames = 11;
  fake().guards[3].of(GuardKind::arp).dropped[static_cast<size_t>(GuardDrop::other_mac)] = 7;
  dhcp_add_conflict_ip(1);
  const std::string text = type({"show metrics"});
  for (const char* line : {"\nswitch_port_received_frames_total{port=\"Gi3\"} 11\n",
                           "\nswitch_port_up{port=\"Gi3\",device=\"veth\\\"3\"} 0\n",
                           "\nswitch_guard_dropped_frames_total{guard=\"arp\",port=\"Gi3\",reason=\"other mac\"} 7\n",
                           "\ndhcp_conflicts{service=\"server\"} 1\n", "\ndhcp_service_enabled{service=\"server\"} 0\n",
                           "\ndhcp_snooping_bindings{service=\"snooping6\",state=\"bound\",type=\"static\"} 0\n"})
    EXPECT_THAT(text, HasSubstr(line));
  EXPECT_EQ(text.find("Gi4"), std::string::npos) << "a port without a device has nothing to tell";
  const auto document = nlohmann::json::parse(type({"show metrics json"}));
  EXPECT_EQ(document.size(), all_metrics().size());
  for (const auto& family : document)
    EXPECT_EQ(family["type"] == "counter", family["name"].get<std::string>().ends_with("_total"));
  dhcp_server_clear_conflict(0);
}

TEST_F(MetricsTest, OneRequestAConnectionAndSilentPeersDoNotHinderOthers) {
  start();
  std::vector<int> silent;
  for (int n = 0; n < 6; ++n) silent.push_back(connected());
  send_all(silent[0], "GET /metrics HT");
  const std::string got = ask("GET /metrics?a=b HTTP/1.1\r\nHost: localhost\r\n\r\n");
  EXPECT_THAT(got, StartsWith("HTTP/1.1 200 OK\r\nContent-Type: text/plain; version=0.0.4; charset=utf-8\r\n"));
  const size_t body = got.find("\r\n\r\n") + 4;
  EXPECT_THAT(got, HasSubstr("\r\nContent-Length: " + std::to_string(got.size() - body) + "\r\n"));
  EXPECT_THAT(got.substr(body), StartsWith("# HELP dhcp_frames_total "));
  const std::string head = ask("HEAD /metrics HTTP/1.0\n\n");
  EXPECT_THAT(head, StartsWith("HTTP/1.1 200 OK\r\n"));
  EXPECT_EQ(head.find("\r\n\r\n") + 4, head.size());
  const std::pair<std::string, const char*> refused[] = {
      {"GET / HTTP/1.1\r\n\r\n", "404 "}, {"POST /metrics HTTP/1.1\r\n\r\n", "405 "}, {"rubbish\r\n\r\n", "400 "},
      {"GET /metrics\r\n\r\n", "400 "},   {std::string(5000, 'x'), "431 "},           {"\r\n\r\n", "400 "},
  };
  for (const auto& [request, status] : refused)
    EXPECT_THAT(ask(request), StartsWith(std::string("HTTP/1.1 ") + status));
  for (const int fd : silent) close(fd);
  MetricsServer second(path());
  std::string error;
  EXPECT_FALSE(second.start(error));
  EXPECT_EQ(error, path() + ": another switch listens here");
}

}  // namespace
}  // namespace dhcp::softswitch::cli
