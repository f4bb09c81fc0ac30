/// The interactive session. libcli edits lines, keeps the history and draws the prompt; the two questions that it
/// asks about a line -- run it, complete it -- are answered from the command table.
///
/// libcli asks both through its exported functions cli_run_command() and cli_get_completions(). The program's own
/// definitions, below, take their place, as they come before a library's in the order of symbol look-up. So terminal,
/// batch and files have one engine, with its carets and reasons.
#include <libcli.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

#include "softswitch/cli/session.h"
#include "softswitch/cli/settings.h"
#include "softswitch/cli/socket.h"

namespace dhcp::softswitch::cli {
namespace {

constexpr char prompt_end[] = "# ";
constexpr char tab = '\t';

struct Terminal {
  int fd;
  cli_def* editor;
  Session session;
};

Terminal& terminal_of(cli_def* editor) { return *static_cast<Terminal*>(cli_get_context(editor)); }

size_t prompt_width(const Terminal& t) {
  const std::string mode = t.session.mode_text();
  return hostname().size() + (mode.empty() ? 0 : mode.size() + 2) + sizeof prompt_end - 1;  // "(mode)" takes two more
}

void draw_prompt(Terminal& t) {
  const std::string mode = t.session.mode_text();
  cli_set_promptchar(t.editor, prompt_end);
  cli_set_hostname(t.editor, hostname().c_str());
  cli_set_modestring(t.editor, mode.empty() ? nullptr : ("(" + mode + ")").c_str());
  t.editor->mode = mode.empty() ? MODE_EXEC : MODE_CONFIG;
}

/// Waits for a key at the foot of a page: how many more lines to show, 0 = no more.
size_t ask_for_more(const Terminal& t) {
  constexpr std::string_view question = " --More-- ", erase = "\r          \r";
  send_all(t.fd, question);
  char key = 0;
  if (recv(t.fd, &key, 1, 0) != 1) return 0;
  send_all(t.fd, erase);
  if (key == '\r' || key == '\n') return 1;
  return key == ' ' ? std::max(t.session.page_length(), 2U) - 1 : 0;
}

void show(const Terminal& t, std::string_view text) {
  size_t left = t.session.page_length() == 0 ? SIZE_MAX : std::max(t.session.page_length(), 2U) - 1;
  for (size_t at = 0; at < text.size();) {
    if (left == 0 && (left = ask_for_more(t)) == 0) return;
    const size_t end = std::min(text.find('\n', at), text.size());
    if (!send_all(t.fd, std::string(text.substr(at, end - at)) + "\r\n")) return;
    at = end + 1;
    --left;
  }
}

int run_line(Terminal& t, std::string_view line) {
  if (t.editor->mode == MODE_EXEC && t.session.mode() != Mode::exec) t.session.enter(Mode::exec);  // Ctrl-Z
  const size_t width = prompt_width(t);
  const Reply reply = t.session.run(line);
  std::string text = reply.text;
  if (!reply.accepted) {
    if (reply.column != Reply::no_column) text += std::string(width + reply.column, ' ') + "^\n";
    text += "% " + reply.reason + "\n";
  }
  show(t, text);
  draw_prompt(t);
  return t.session.ended() ? CLI_QUIT : CLI_OK;
}

/// `?` gets every choice with its help, Tab the keywords alone.
void complete(Terminal& t, std::string_view line, char key, cli_comphelp* list) {
  const auto found = t.session.choices(line);
  size_t width = 0;
  for (const Choice& choice : found) width = std::max(width, choice.word.size());
  for (const Choice& choice : found) {
    if (key == tab && !choice.keyword) continue;
    std::string entry = key == tab ? "" : "  ";
    entry += choice.word;
    if (key != tab) entry.append(width - choice.word.size() + 2, ' ').append(choice.help);
    cli_add_comphelp_entry(list, entry.c_str());
  }
}

}  // namespace

void serve_terminal(int fd, uint32_t rows) {
  cli_def* editor = cli_init();
  if (editor == nullptr) return;
  Terminal t{fd, editor, Session()};
  t.session.set_page_length(rows);
  cli_set_context(editor, &t);
  cli_telnet_protocol(editor, 0);
  draw_prompt(t);
  cli_loop(editor, dup(fd));  // closes what it is given
  cli_done(editor);
}

}  // namespace dhcp::softswitch::cli

extern "C" {

int cli_run_command(cli_def* editor, const char* command) {
  using namespace dhcp::softswitch::cli;
  return run_line(terminal_of(editor), command);
}

void cli_get_completions(cli_def* editor, const char* command, char lastchar, cli_comphelp* comphelp);
void cli_get_completions(cli_def* editor, const char* command, char lastchar, cli_comphelp* comphelp) {
  using namespace dhcp::softswitch::cli;
  complete(terminal_of(editor), command, lastchar, comphelp);
}

}  // extern "C"
