/// Moving between modes, saving, and the session's own settings.
#include <algorithm>

#include "softswitch/cli/replace_config.h"
#include "softswitch/cli/running_config.h"
#include "softswitch/cli/session.h"
#include "softswitch/cli/settings.h"
#include "softswitch/log.h"

namespace dhcp::softswitch::cli {
namespace {

Outcome configure(Session& session, const Args&) {
  session.enter(Mode::configure);
  return {};
}

Outcome end(Session& session, const Args&) {
  session.enter(Mode::exec);
  return {};
}

Outcome exit(Session& session, const Args&) {
  if (session.mode() == Mode::exec) {
    session.end_session();
  } else {
    session.enter(session.mode() == Mode::configure ? Mode::exec : Mode::configure);
  }
  return {};
}

Outcome do_exec(Session& session, const Args& args) { return session.run_in_exec(args[0].text); }

Outcome save(Session& session, const Args&) {
  const std::string path = startup_path();
  if (path.empty()) return Fault{"the switch was started without a file to save to"};
  if (auto bad = replace_file(path, running_config())) return Fault{*bad};
  session.say("Saved to " + path + "\n");
  return {};
}

/// Says which lines it took, as they could have been typed.
Outcome replace_by(Session& session, const std::string& path) {
  std::string typed;
  if (auto fault = replace_configuration(path, typed)) {
    log_line(3, "configuration not replaced: %s", fault->reason.c_str());
    return Fault{fault->reason};
  }
  log_line(5, "configuration replaced by %s, lines: %td", path.c_str(), std::count(typed.begin(), typed.end(), '\n'));
  session.say(typed.empty() ? "The configuration is that already\n" : typed);
  return {};
}

Outcome replace(Session& session, const Args& args) {
  if (args[0].text.front() != '/') return Fault{"write the whole path of the file, from /", 0};
  return replace_by(session, args[0].text);
}

Outcome reload(Session& session, const Args&) {
  const std::string path = startup_path();
  if (path.empty()) return Fault{"the switch was started without a file"};
  return replace_by(session, path);
}

Outcome page_length(Session& session, const Args& args) {
  session.set_page_length(args[0].number);
  return {};
}

constexpr Command rows[] = {
    {in(Mode::exec), "configure [terminal]", "Enter configuration mode", configure, ""},
    {in(Mode::exec), "configure replace PATH", "Go over to the configuration in a file; what both have is not touched",
     replace, ""},
    {in(Mode::exec), "configure replace startup-config", "Go over to the saved configuration, likewise", reload, ""},
    {in(Mode::exec), "write memory", "Save the running configuration", save, "write memory"},
    {in(Mode::exec), "copy running-config startup-config", "Save the running configuration", save,
     "copy running-config startup-config"},
    {in(Mode::exec), "terminal length LINES", "Lines on a page of this terminal", page_length, "terminal length 0"},
    {in_configuration, "do TEXT", "Run an exec command from here", do_exec, "do show vlan"},
    {in_configuration, "end", "Leave configuration mode", end, ""},
    {everywhere, "exit", "Go one mode up, or end the session", exit, ""},
    {in(Mode::exec), "quit", "End the session", exit, ""},
};

}  // namespace

std::span<const Command> session_commands() { return rows; }

}  // namespace dhcp::softswitch::cli
