/// Moving between modes, saving, and the session's own settings.
#include "softswitch/cli/running_config.h"
#include "softswitch/cli/session.h"
#include "softswitch/cli/settings.h"

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

Outcome page_length(Session& session, const Args& args) {
  session.set_page_length(args[0].number);
  return {};
}

constexpr Command rows[] = {
    {in(Mode::exec), "configure [terminal]", "Enter configuration mode", configure, ""},
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
