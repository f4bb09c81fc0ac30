/// What goes over the socket: batch framing, and the terminal's editing, help, paging and carets.
#include "softswitch/cli/socket.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <thread>

#include "tests/cli/bench.h"

namespace dhcp::softswitch::cli {
namespace {

using testing::HasSubstr;
using testing::Not;

class SocketTest : public CliTest {
 protected:
  SocketTest() {
    int pair[2];
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
    client_ = pair[0];
    served_ = std::thread([fd = pair[1]] {
      serve(fd);
      close(fd);
    });
  }
  ~SocketTest() override {
    shutdown(client_, SHUT_RDWR);
    served_.join();
    close(client_);
  }

  /// Sends and reads until `until` has come, or the other side is silent for long.
  std::string say(const std::string& bytes, const std::string& until) {
    send_all(client_, bytes);
    std::string got;
    timeval patience{5, 0};
    setsockopt(client_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    for (char c; got.find(until) == std::string::npos && recv(client_, &c, 1, 0) == 1;) got += c;
    EXPECT_THAT(got, HasSubstr(until));
    return got;
  }
  void join() {
    served_.join(), served_ = std::thread([] {});
  }

 private:
  int client_ = -1;
  std::thread served_;
};

TEST_F(SocketTest, BatchAnswersAreFramed) {
  EXPECT_EQ(say("batch\nconfigure\nvlan 5\n\n", "ok 0\nok 0\nok 0\n"), "ok 0\nok 0\nok 0\n");
  const std::string fault = "a VLAN identifier must be a number from 1 to 4094\nvlan 0\n     ^\n";
  EXPECT_EQ(say("vlan 0\n", "^\n"), "refused " + std::to_string(fault.size()) + "\n" + fault);
  EXPECT_THAT(say("do show vlan\n", "5  -"), HasSubstr("ok "));
}

TEST_F(SocketTest, ALineWithoutEndIsNotKeptForEver) {
  send_all(-1, "");
  say("batch\nconfigure\n", "ok 0\n");
  EXPECT_THAT(say(std::string(2 * max_line, 'x'), ""), "");
  join();  // the connection is dropped
}

TEST_F(SocketTest, ATerminalEditsCompletesAndExplains) {
  EXPECT_THAT(say("interactive 0\n", "switch# "), Not(HasSubstr("Invalid")));
  EXPECT_THAT(say("sh ip d?", "switch# sh ip d"), HasSubstr("dhcp  DHCP server"));
  EXPECT_THAT(say("\t", "dhcp "), Not(HasSubstr("\a")));
  EXPECT_THAT(say("serber\x1b[D\x1b[D\bv\r", "switch# "), HasSubstr("server status"));
  EXPECT_THAT(say("conf\r", "switch(config)# "), Not(HasSubstr("%")));
  const std::string told = say("vlan 0\r", "switch(config)# ");
  EXPECT_THAT(told,
              HasSubstr("\r\n" + std::string(std::string("switch(config)# vlan ").size(), ' ') + "^\r\n% a VLAN"));
  EXPECT_THAT(say("hostname lab\rint gi 2\r", "lab(config-if)# "), Not(HasSubstr("%")));
  EXPECT_THAT(say("do sh ver | ?", "count"), HasSubstr("begin"));
  say("\x15", "\b");
  EXPECT_THAT(say("\x1a", "lab# "), Not(HasSubstr("config")));  // Ctrl-Z
  EXPECT_THAT(say("vlan 5\r", "lab# "), HasSubstr("% \"vlan\" is not known here"));
  say("exit\r", "exit");
  join();
}

TEST_F(SocketTest, LongOutputStopsAtThePagesFoot) {
  say("interactive 5\n", "switch# ");
  const std::string page = say("show interfaces\r", " --More-- ");
  EXPECT_THAT(page, HasSubstr("Gi2"));
  EXPECT_THAT(page, Not(HasSubstr("Gi3")));
  EXPECT_THAT(say("\r", " --More-- "), HasSubstr("Gi3"));
  EXPECT_THAT(say(" ", " --More-- "), HasSubstr("Gi7"));
  EXPECT_THAT(say("q", "switch# "), Not(HasSubstr("Gi8")));
  EXPECT_THAT(say("terminal length 0\rshow interfaces\r", "Gi10"), Not(HasSubstr("More")));
}

}  // namespace
}  // namespace dhcp::softswitch::cli
