/// Which lines are understood, where the caret goes when not, and what help and Tab offer.
#include "softswitch/cli/match.h"

#include "tests/cli/bench.h"

namespace dhcp::softswitch::cli {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

class MatchTest : public CliTest {};

std::string form_of(const Match& match) {
  if (match.command == nullptr) return "refused at " + std::to_string(match.column) + ": " + match.reason;
  return match.undo ? "no " + std::string(match.command->no_form) : std::string(match.command->form);
}

std::vector<std::string> words_of(const std::vector<Choice>& list) {
  std::vector<std::string> words;
  for (const Choice& choice : list) words.push_back(choice.word);
  return words;
}

TEST_F(MatchTest, AcceptsAbbreviationsBlanksCaseAndSavedSpellings) {
  const struct {
    Mode mode;
    const char *line, *form;
  } rows[] = {
      {Mode::exec, "conf t", "configure [terminal]"},
      {Mode::exec, "sh int", "show interfaces"},
      {Mode::exec, "SHOW IP DHCP SE", "show ip dhcp server"},
      {Mode::exec, "clear ip dhcp binding *", "clear ip dhcp binding *"},
      {Mode::exec, "clear ip dhcp binding 10.0.0.1", "clear ip dhcp binding ADDRESS"},
      {Mode::configure, "interface gigabitethernet  3", "interface gigabitethernet PORT"},
      {Mode::configure, "  int  vlan\t7  \r", "interface vlan VLAN"},
      {Mode::configure, "no ip dhcp-s", "no ip dhcp-server"},
      {Mode::pool, "lease inf", "lease infinite"},
      {Mode::pool, "lease 1", "lease DAYS [HOURS [MINUTES]]"},
      {Mode::pool, "default-router 10.0.0.1 10.0.0.2 ", "default-router ROUTER..."},
      {Mode::pool, "no default-router", "no default-router [ROUTER...]"},
      {Mode::pool, "no dns 10.0.0.1 10.0.0.2", "no dns-server [SERVER...]"},
      {Mode::port, "description a | b  ! c", "description TEXT"},
      {Mode::vlan_interface, "no ip address 10.0.0.1 255.0.0.0", "no ip address [ADDRESS MASK]"},
  };
  for (const auto& row : rows) EXPECT_EQ(form_of(match_line(row.line, row.mode)), row.form) << row.line;
}

TEST_F(MatchTest, PointsAtTheWordThatIsWrong) {
  const struct {
    Mode mode;
    const char *line, *fault;
  } rows[] = {
      {Mode::exec, "frobnicate", "0: \"frobnicate\" is not known here"},
      {Mode::exec, "c t", "0: \"c\" is ambiguous: configure copy clear"},
      {Mode::exec, "show ip dhcp xyz", "13: \"xyz\" is not known here"},
      {Mode::exec, "  show  vlan 5", "13: the command ends before \"5\""},
      {Mode::exec, "show ip",
       "8: the command is not complete; expected: arp, dhcp, helper-address, igmp, interface, verify"},
      {Mode::configure, "vlan 7-5", "5: the range 7-5 ends before it begins"},
      {Mode::configure, "vlan 5,,7", "5: a VLAN identifier must be a number from 1 to 4094"},
      {Mode::configure, "interface vlan 0", "15: the VLAN identifier must be a number from 1 to 4094"},
      {Mode::vlan_interface, "ip address 10.0.0.256 255.0.0.0", "11: not an IPv4 address"},
      {Mode::vlan_interface, "ip address 10.0.0.1 255.0.255.0", "20: not a network mask: its ones must stand together"},
      {Mode::vlan_interface, "ip address 10.0.0.1", "20: the command is not complete; expected: MASK"},
      {Mode::vlan_interface, "ipv6 address 2001:db8::1",
       "13: the prefix length is missing; write it as 2001:db8::1/64"},
      {Mode::vlan_interface, "ipv6 address 2001:db8::1/129", "13: the prefix length must be a number from 1 to 128"},
      {Mode::pool, "option 43 hex 012", "14: a byte takes two hexadecimal digits; one is missing"},
      {Mode::pool, "option 43 hex 01zz", "14: not hexadecimal digits"},
      {Mode::pool, "host 02:00:00:00:00 10.0.0.1", "5: not a hardware address; write it as 00:11:22:33:44:55"},
      {Mode::pool, "host 03:00:00:00:00:01 10.0.0.1", "5: not the hardware address of one station"},
      {Mode::pool, "lease 1 24", "8: the hours must be a number from 0 to 23"},
      {Mode::pool, "default-router 10.0.0.1 x", "24: not an IPv4 address"},
  };
  for (const auto& row : rows) {
    const Match match = match_line(row.line, row.mode);
    EXPECT_EQ(std::to_string(match.column) + ": " + match.reason, row.fault) << row.line;
    EXPECT_EQ(match.command, nullptr) << row.line;
  }
}

TEST_F(MatchTest, TextTakesTheRestOfTheLineUpToItsLimit) {
  EXPECT_EQ(match_line("domain-name a  b\tc \r\n", Mode::pool).args[0].text, "a  b\tc");
  EXPECT_EQ(match_line("option 100 ascii x y", Mode::pool).args[1].text, "x y");
  const struct {
    const char* line;
    size_t limit;
  } rows[] = {{"domain-name ", 255}, {"server-name ", 64}, {"boot-file-name ", 128}, {"option 100 ascii ", 255}};
  for (const auto& row : rows) {
    const std::string longest = row.line + std::string(row.limit, 'x');
    EXPECT_NE(match_line(longest, Mode::pool).command, nullptr) << row.line;
    EXPECT_EQ(match_line(longest + "x", Mode::pool).command, nullptr) << row.line;
  }
  EXPECT_EQ(match_line("domain-name a\x01", Mode::pool).command, nullptr);
  EXPECT_NE(match_line("domain-name b\xc3\xbc"
                       "cher",
                       Mode::pool)
                .command,
            nullptr);
}

TEST_F(MatchTest, VlanListsAreSortedAndJoined) {
  const Match match = match_line("switchport trunk allowed vlan 10,5-7,6", Mode::port);
  EXPECT_THAT(match.args[0].vlans, ElementsAre(5, 6, 7, 10));
  EXPECT_EQ(vlan_list_text(match.args[0].vlans), "5-7,10");
}

TEST_F(MatchTest, OffersWhatMayComeNext) {
  EXPECT_THAT(words_of(choices("show ip ", Mode::exec)),
              ElementsAre("arp", "dhcp", "helper-address", "igmp", "interface", "verify"));
  EXPECT_THAT(words_of(choices("sh ip d", Mode::exec)), ElementsAre("dhcp"));
  EXPECT_THAT(words_of(choices("show interfaces ", Mode::exec)), ElementsAre("gigabitethernet", "json", "<cr>"));
  EXPECT_THAT(words_of(choices("lease ", Mode::pool)), ElementsAre("infinite", "<0-49710>"));
  EXPECT_THAT(words_of(choices("lease 1 ", Mode::pool)), ElementsAre("<0-23>", "<cr>"));
  EXPECT_THAT(words_of(choices("dns-server 10.0.0.1 ", Mode::pool)), ElementsAre("A.B.C.D", "<cr>"));
  EXPECT_THAT(words_of(choices("interface gigabitethernet ", Mode::configure)), ElementsAre("<1-10>"));
  EXPECT_THAT(words_of(choices("no ", Mode::pool)), Contains("dns-server"));
  EXPECT_THAT(words_of(choices("no ", Mode::pool)), Not(Contains("exit")));
  EXPECT_THAT(words_of(choices("nonsense ", Mode::exec)), ElementsAre());
}

TEST_F(MatchTest, EveryWordOfEveryCommandHasHelp) {
  for (const Mode mode : all_modes) {
    for (const Choice& first : choices("", mode)) {
      EXPECT_NE(first.help, "") << first.word;
      for (const Choice& second : choices(first.word + " ", mode)) {
        EXPECT_TRUE(second.word == "<cr>" || !second.help.empty()) << first.word << " " << second.word;
      }
    }
  }
}

}  // namespace
}  // namespace dhcp::softswitch::cli
