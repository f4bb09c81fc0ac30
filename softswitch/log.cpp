#include "softswitch/log.h"

#include <strings.h>
#include <sys/stat.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>

#include "softswitch/cancel_hold.h"

namespace dhcp::softswitch {
namespace {

constexpr size_t line_room = 1280;
constexpr size_t lines_kept = 512;
constexpr std::string_view names[] = {"emergencies", "alerts",        "critical",      "errors",
                                      "warnings",    "notifications", "informational", "debugging"};
constexpr std::string_view off_name = "off";

struct Place {
  std::atomic<int> severity{log_off};
  std::atomic<int> initial{log_off};
};
std::array<Place, 3> places = {{{}, {}, {LOG_INFO, LOG_INFO}}};
std::atomic<bool> console_open{true}, console_is_journal{false};

Place& at(LogPlace place) { return places[static_cast<size_t>(place)]; }

struct Ring {
  std::mutex lock;
  std::deque<std::string> lines;
};
Ring& ring() {
  static Ring the_ring;
  return the_ring;
}

void note_wanted() {
  int highest = log_off;
  for (const LogPlace place : log_places)
    if (place != LogPlace::console || console_open) highest = std::max(highest, at(place).severity.load());
  highest_severity_wanted = highest;
}

/// The system's journal says in the environment which file it gave as standard error.
bool stderr_is_journal() {
  const char* const stream = std::getenv("JOURNAL_STREAM");
  struct stat found {};
  if (stream == nullptr || fstat(STDERR_FILENO, &found) != 0) return false;
  return std::to_string(found.st_dev) + ":" + std::to_string(found.st_ino) == stream;
}

/// Texts of the device end in line breaks of either kind, or in none.
void cut_line_end(char* text) {
  size_t length = std::strlen(text);
  while (length > 0 && (text[length - 1] == '\n' || text[length - 1] == '\r')) text[--length] = '\0';
}

void keep(std::string line) {
  const HeldLock held(ring().lock);
  if (ring().lines.size() == lines_kept) ring().lines.pop_front();
  ring().lines.push_back(std::move(line));
}

enum class Asked { by_severity, expressly };

void write_line(int severity, const char* name, const char* text, Asked asked = Asked::by_severity) {
  const auto wants = [&](LogPlace place) {
    const int wanted = at(place).severity;
    return asked == Asked::expressly ? wanted != log_off : severity <= wanted;
  };
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  tm parts{};
  localtime_r(&now.tv_sec, &parts);
  char time[32];
  std::snprintf(time, sizeof time, "%02d:%02d:%02d.%03d", parts.tm_hour, parts.tm_min, parts.tm_sec,
                static_cast<int>(now.tv_nsec / 1000000));
  if (wants(LogPlace::syslog)) syslog(severity, "%s: %s", name, text);
  if (wants(LogPlace::console) && console_open) {
    if (console_is_journal) {
      std::fprintf(stderr, "<%d>%s: %s\n", severity, name, text);
    } else {
      std::fprintf(stderr, "%s <%d> %s: %s\n", time, severity, name, text);
    }
  }
  if (!wants(LogPlace::buffer)) return;
  char date[16];
  std::strftime(date, sizeof date, "%Y-%m-%d", &parts);
  keep(std::string(date) + " " + time + " <" + std::to_string(severity) + "> " + name + ": " + text);
}

}  // namespace

std::string_view severity_name(int severity) { return severity == log_off ? off_name : names[severity]; }

bool severity_of(std::string_view text, int& severity) {
  if (text.empty()) return false;
  int found = 0;
  for (int value = log_off; value < static_cast<int>(std::size(names)); ++value) {
    const std::string_view name = severity_name(value);
    const bool begins = text.size() <= name.size() && strncasecmp(text.data(), name.data(), text.size()) == 0;
    const bool is_digit = value >= 0 && text == std::to_string(value);
    if (!begins && !is_digit) continue;
    severity = value;
    ++found;
  }
  return found == 1;
}

void begin_log(int severity, bool with_syslog) {
  const int syslogs = with_syslog ? severity : log_off;
  at(LogPlace::console).initial = severity;
  at(LogPlace::syslog).initial = syslogs;
  openlog("softswitch", LOG_PID, LOG_DAEMON);
  console_is_journal = stderr_is_journal();
  set_log_severity(LogPlace::console, severity);
  set_log_severity(LogPlace::syslog, syslogs);
}

void end_console_log() {
  console_open = false;
  note_wanted();
}

int log_severity(LogPlace place) { return at(place).severity; }
int initial_log_severity(LogPlace place) { return at(place).initial; }
void set_log_severity(LogPlace place, int severity) {
  at(place).severity = severity;
  note_wanted();
}

std::vector<std::string> log_lines() {
  const HeldLock held(ring().lock);
  return {ring().lines.begin(), ring().lines.end()};
}

void clear_log_lines() {
  const HeldLock held(ring().lock);
  ring().lines.clear();
}

void log_formatted(int severity, const char* name, const char* fmt, va_list args) {
  const CancelHold hold;
  char text[line_room];
  std::vsnprintf(text, sizeof text, fmt, args);
  cut_line_end(text);
  write_line(severity, name, text);
}

void log_asked_for(const char* name, const char* text) {
  const CancelHold hold;
  write_line(LOG_DEBUG, name, text, Asked::expressly);
}

void log_line(int severity, const char* fmt, ...) {
  if (!log_wants(severity)) return;
  va_list args;
  va_start(args, fmt);
  log_formatted(severity, "switch", fmt, args);
  va_end(args);
}

}  // namespace dhcp::softswitch
