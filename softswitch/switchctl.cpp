/// The operator's end of the switch's command line: a terminal, commands given by -c, or a script on standard input.
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr char usage[] =
    "usage: switchctl --socket PATH [--json] [-c 'command']...\n"
    "       switchctl --help | --version\n"
    "Without -c: a terminal, or commands from standard input, one a line, up to the first that is refused.\n"
    "--json: what a command says is one line of JSON (not on a terminal).\n"
    "On a terminal Ctrl-C discards the line and Ctrl-\\ ends the program.\n";

struct Options {
  std::string socket;
  std::vector<std::string> commands;
  bool json = false;
};

/// What is told at the program's only word; null when that is another one.
const char* about(std::string_view word) {
  if (word == "--help") return usage;
  if (word == "--version") return "switchctl " SOFTSWITCH_VERSION "\n";
  return nullptr;
}

struct Answer {
  bool accepted = false;
  std::string text;
};

std::optional<Options> parse_options(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string_view name = argv[i];
    if (name == "--json") {
      options.json = true;
    } else if (name == "--socket" && i + 1 < argc) {
      options.socket = argv[++i];
    } else if (name == "-c" && i + 1 < argc) {
      options.commands.emplace_back(argv[++i]);
    } else {
      return {};
    }
  }
  if (options.socket.empty()) return {};
  return options;
}

int connect_to(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return -1;
  std::copy(path.begin(), path.end(), address.sun_path);  // the rest is zero
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0 || connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return fd;
  close(fd);
  return -1;
}

bool send_all(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno != EINTR) return false;
    if (sent > 0) bytes.remove_prefix(static_cast<size_t>(sent));
  }
  return true;
}

/// "ok LENGTH" or "refused LENGTH", then LENGTH bytes.
std::optional<Answer> read_answer(FILE* from) {
  char head[64];
  if (std::fgets(head, sizeof head, from) == nullptr) return {};
  const std::string_view line = head;
  const size_t blank = line.find(' ');
  if (blank == std::string_view::npos) return {};
  size_t length = 0;
  std::from_chars(line.data() + blank + 1, line.data() + line.size(), length);
  Answer answer{line.substr(0, blank) == "ok", std::string(length, '\0')};
  if (std::fread(answer.text.data(), 1, length, from) != length) return {};
  return answer;
}

/// One command; false = stop. `place` stands before the reason of a refusal.
bool run_command(int fd, FILE* from, const std::string& line, const std::string& place) {
  const auto answer = send_all(fd, line + "\n") ? read_answer(from) : std::nullopt;
  if (!answer) {
    std::fputs("switchctl: the switch ended the connection\n", stderr);
    return false;
  }
  std::fputs(answer->accepted ? "" : place.c_str(), stderr);
  std::fwrite(answer->text.data(), 1, answer->text.size(), answer->accepted ? stdout : stderr);
  std::fflush(stdout);
  return answer->accepted;
}

bool run_commands(int fd, FILE* from, const std::vector<std::string>& commands) {
  for (const std::string& command : commands) {
    if (!run_command(fd, from, command.substr(0, command.find('\n')), "")) return false;
  }
  return true;
}

bool run_script(int fd, FILE* from) {
  char* line = nullptr;
  size_t room = 0;
  bool good = true;
  for (unsigned number = 1; good && getline(&line, &room, stdin) >= 0; ++number) {
    std::string_view text = line;
    while (text.ends_with('\n') || text.ends_with('\r')) text.remove_suffix(1);
    good = run_command(fd, from, std::string(text), "-:" + std::to_string(number) + ": ");
  }
  std::free(line);
  return good;
}

int batch(int fd, const Options& options) {
  FILE* from = fdopen(dup(fd), "r");
  const bool good = from != nullptr && send_all(fd, options.json ? "batch json\n" : "batch\n") &&
                    (options.commands.empty() ? run_script(fd, from) : run_commands(fd, from, options.commands));
  if (from != nullptr) std::fclose(from);
  return good ? 0 : 1;
}

/// Keys go to the switch as they are pressed; the terminal is put back at the end.
class RawTerminal {
 public:
  RawTerminal() {
    tcgetattr(STDIN_FILENO, &before_);
    termios raw = before_;
    raw.c_iflag &= ~static_cast<tcflag_t>(ICRNL | INLCR | IGNCR | IXON | ISTRIP);
    raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | IEXTEN);
    raw.c_cc[VINTR] = raw.c_cc[VSUSP] = _POSIX_VDISABLE;  // Ctrl-C and Ctrl-Z are for the switch
    raw.c_cc[VMIN] = 1;
    raw.c_cc[VTIME] = 0;
    tcsetattr(STDIN_FILENO, TCSADRAIN, &raw);
  }
  ~RawTerminal() { tcsetattr(STDIN_FILENO, TCSADRAIN, &before_); }
  RawTerminal(const RawTerminal&) = delete;
  RawTerminal& operator=(const RawTerminal&) = delete;

 private:
  termios before_{};
};

unsigned rows_of_terminal() {
  winsize size{};
  return ioctl(STDIN_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_row : 0;
}

/// Ctrl-C discards the line being typed; the line editor's key for that is Ctrl-U.
void translate_interrupt(char* keys, size_t count) {
  constexpr char ctrl_c = 0x03, ctrl_u = 0x15;
  for (size_t i = 0; i < count; ++i) {
    if (keys[i] == ctrl_c) keys[i] = ctrl_u;
  }
}

bool pass_keys(int fd) {
  char keys[256];
  const ssize_t got = read(STDIN_FILENO, keys, sizeof keys);
  if (got <= 0) return false;
  translate_interrupt(keys, static_cast<size_t>(got));
  return send_all(fd, {keys, static_cast<size_t>(got)});
}

bool pass_output(int fd) {
  char block[4096];
  const ssize_t got = recv(fd, block, sizeof block, 0);
  return got > 0 && write(STDOUT_FILENO, block, static_cast<size_t>(got)) == got;
}

int terminal(int fd) {
  const RawTerminal raw;
  if (!send_all(fd, "interactive " + std::to_string(rows_of_terminal()) + "\n")) return 1;
  for (;;) {
    pollfd waits[] = {{STDIN_FILENO, POLLIN, 0}, {fd, POLLIN, 0}};
    if (poll(waits, 2, -1) < 0) continue;
    if (waits[1].revents != 0 && !pass_output(fd)) return 0;
    if (waits[0].revents != 0 && !pass_keys(fd)) return 0;
  }
}

}  // namespace

int main(int argc, char** argv) {
  const char* const told = argc == 2 ? about(argv[1]) : nullptr;
  if (told != nullptr) return std::fputs(told, stdout) < 0 ? 1 : 0;
  const auto options = parse_options(argc, argv);
  const bool at_terminal = options && options->commands.empty() && isatty(STDIN_FILENO) != 0;
  if (!options || (at_terminal && options->json)) {
    std::fputs(usage, stderr);
    return 2;
  }
  const int fd = connect_to(options->socket);
  if (fd < 0) {
    std::fprintf(stderr, "switchctl: cannot reach the switch at %s: %s\n", options->socket.c_str(),
                 std::strerror(errno));
    return 1;
  }
  const int status = at_terminal ? terminal(fd) : batch(fd, *options);
  close(fd);
  return status;
}
