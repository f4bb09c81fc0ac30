/// The switch's log: severities as in syslog (0 = emergency ... 7 = debug), and three places for its lines, each with a
/// severity of its own: standard error, syslog, and a ring of the last lines in memory.
///
/// Lines that no place wants cost one look at a number. Every call may come from any thread.
#pragma once

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace dhcp::softswitch {

enum class LogPlace { console, syslog, buffer };
inline constexpr LogPlace log_places[] = {LogPlace::console, LogPlace::syslog, LogPlace::buffer};
constexpr int log_off = -1;  // a severity for a place that takes nothing

/// "warnings" for 4, "off" for log_off; as in the command line.
std::string_view severity_name(int severity);
/// Of a name, a unique beginning of one, or a digit. False = none of them.
bool severity_of(std::string_view text, int& severity);

/// What the program was asked for: the console's severity, and syslog's where it is to be used. Until then the ring
/// alone keeps lines.
void begin_log(int severity, bool with_syslog);
/// Standard error leads nowhere from now on.
void end_console_log();

int log_severity(LogPlace place);
int initial_log_severity(LogPlace place);
void set_log_severity(LogPlace place, int severity);

/// The last lines, oldest first, each with its time and severity.
std::vector<std::string> log_lines();
void clear_log_lines();

inline std::atomic<int> highest_severity_wanted{6};
inline bool log_wants(int severity) { return severity <= highest_severity_wanted.load(std::memory_order_relaxed); }

/// A line of the switch's own.
void log_line(int severity, const char* fmt, ...) __attribute__((format(printf, 2, 3)));
/// A line that log_wants(), in the name of whoever speaks.
void log_formatted(int severity, const char* name, const char* fmt, va_list args) __attribute__((format(printf, 3, 0)));

/// A line of level 7 that somebody has asked for: it goes to every place that is not off, whatever its severity.
void log_asked_for(const char* name, const char* text);

}  // namespace dhcp::softswitch
