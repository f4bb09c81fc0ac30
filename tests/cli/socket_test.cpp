/// What goes over the socket: batch framing, and the terminal's editing, help, paging and carets.
#include "softswitch/cli/socket.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <thread>

#include "softswitch/cli/running_config.h"
#include "softswitch/command_line.h"
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

TEST_F(SocketTest, ALineWithoutEndIsNotKeptForEver) {
  say("batch\nconfigure\n", "ok 0\n");
  EXPECT_THAT(say(std::string(2 * max_line, 'x'), ""), "");
  join();  // the connection is dropped
}

TEST_F(SocketTest, ATerminalEditsCompletesAndExplains) {
  EXPECT_THAT(say("interactive 0\n", "switch# "), Not(HasSubstr("Invalid")));
  EXPECT_THAT(say("sh ip d?", "switch# sh ip d"), HasSubstr("dhcp  DHCP\r\n"));
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

/// The listening side, and the program that operators use.
class CommandServerTest : public CliTest {
 protected:
  struct Result {
    int status;
    std::string out;
  };
  /// Runs switchctl; standard error is part of what it says.
  Result switchctl(const std::string& arguments, const std::string& input = "") {
    const std::string script = directory + "/input";
    std::ofstream(script) << input;
    const std::string line = std::string(SWITCHCTL) + " --socket " + path + " " + arguments + " <" + script + " 2>&1";
    FILE* pipe = popen(line.c_str(), "re");
    Result result{-1, {}};
    for (int c; (c = std::fgetc(pipe)) != EOF;) result.out += static_cast<char>(c);
    result.status = WEXITSTATUS(pclose(pipe));
    return result;
  }
  void start(CommandServer& server) {
    std::string error;
    ASSERT_TRUE(server.start(error)) << error;
  }

  const std::string path = directory + "/socket";
};

TEST_F(CommandServerTest, CommandsAndScriptsStopAtTheFirstRefusedLine) {
  CommandServer server(path, "");
  start(server);
  const Result good = switchctl("-c configure -c 'vlan 5' -c 'do show vlan'");
  EXPECT_EQ(good.status, 0);
  EXPECT_THAT(good.out, HasSubstr("   5  -"));
  const std::string fault = "a VLAN identifier must be a number from 1 to 4094\n";
  const Result bad = switchctl("-c configure -c 'vlan 6' -c 'vlan x' -c 'vlan 7'");
  EXPECT_EQ(bad.status, 1);
  EXPECT_EQ(bad.out, fault + "vlan x\n     ^\n");
  EXPECT_EQ(switchctl("", "configure\r\n! a comment\n\nvlan 8\nend\nexit\n").status, 0);
  EXPECT_EQ(switchctl("", "configure\n\nvlan 0\nvlan 10\n").out, "-:3: " + fault + "vlan 0\n     ^\n");
  EXPECT_THAT(running(), HasSubstr("vlan 5-6,8\n"));
}

TEST_F(CommandServerTest, ProgramsGetALineOfJsonForEachReadout) {
  CommandServer server(path, "");
  start(server);
  const Result good = switchctl("--json -c configure -c 'vlan 5' -c 'do show vlan' -c 'do show tasks'");
  EXPECT_EQ(good.status, 0);
  EXPECT_EQ(good.out.substr(0, 12), "[{\"vlan\":1,\"");
  EXPECT_THAT(good.out, testing::EndsWith("}]\n[]\n"));
  const Result bad = switchctl("-c 'show vlan 5' --json");
  EXPECT_EQ(bad.status, 1);
  EXPECT_EQ(bad.out, "the command ends before \"5\"\nshow vlan 5\n          ^\n");
}

TEST_F(CommandServerTest, EndsItsOperatorsAndLeavesNoSocket) {
  auto server = std::make_unique<CommandServer>(path, "");
  start(*server);
  std::string error;
  EXPECT_FALSE(CommandServer(path, "").start(error));
  EXPECT_THAT(error, HasSubstr("another switch listens here"));
  FILE* operator_ = popen((std::string(SWITCHCTL) + " --socket " + path + " >/dev/null 2>&1").c_str(), "we");
  std::fputs("configure\nvlan 9\n", operator_);
  std::fflush(operator_);
  while (Session().run("show vlan | count 9").text.find("1 lines") == std::string::npos) std::this_thread::yield();
  server.reset();
  pclose(operator_);
  EXPECT_EQ(switchctl("-c 'show vlan'").status, 1);
  EXPECT_NE(access(path.c_str(), F_OK), 0);
}

TEST_F(CommandServerTest, ReplacesALeftOverSocketButNoOtherFile) {
  const std::string file = directory + "/precious";
  std::ofstream(file) << "kept";
  std::string error;
  EXPECT_FALSE(CommandServer(file, "").start(error));
  EXPECT_EQ(read_file(file), "kept");
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  const int crashed = socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(bind(crashed, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  close(crashed);
  CommandServer server(path, "");
  start(server);
}

}  // namespace
}  // namespace dhcp::softswitch::cli
