/// One log call for the whole module: the trace record when tracing is on, then the log.
///
/// A line that nobody wants costs two calls into the device and no formatting, so the path of a frame may speak freely.
/// The arguments may be evaluated twice: they are plain values.
#pragma once

#include "platform/log.h"

namespace dhcp::base {

/// Module numbers of the log.
inline constexpr int module_task = 7;      // begin and end lines of the tasks
inline constexpr int module_frame = 13;    // module frame, IPv4 server, relay configuration
inline constexpr int module_relay = 20;    // relay packet path
inline constexpr int module_service = 28;  // receive lines and service tables

/// Texts that every task and the dispatcher share.
inline constexpr const char* task_begin_text = "Task entry begin process!~\n";
inline constexpr const char* task_end_text = "Task entry end   process!~\n";

/// Keeps one trace record, "function():line" and the text, each cut to 1023 characters.
void trace(const char* function, int line, const char* fmt, ...) __attribute__((format(printf, 3, 4)));

}  // namespace dhcp::base

/// One line, said in the name of `function` at `line`.
#define DHCP_LOG_FROM(function, line, level, module, name, ...)                 \
  do {                                                                          \
    if (sys_trace_get() != 0) ::dhcp::base::trace(function, line, __VA_ARGS__); \
    Log_logging_func(level, module, name, __VA_ARGS__);                         \
  } while (0)

/// A line at level 7 under the calling function's name.
#define DHCP_LOG(module, name, ...) DHCP_LOG_FROM(__func__, __LINE__, 7, module, name, __VA_ARGS__)

/// A level-7 line that begins "[function:line]"; `text` is the rest, a string literal.
#define DHCP_LOG_AT(module, name, text, ...) \
  DHCP_LOG(module, name, "[%s:%d]" text, __func__, __LINE__ __VA_OPT__(, ) __VA_ARGS__)

/// The same said in the name of `function`: for lambdas and for inner functions that log for an exported one.
#define DHCP_LOG_IN(function, module, name, text, ...) \
  DHCP_LOG_FROM(function, __LINE__, 7, module, name, "[%s:%d]" text, function, __LINE__ __VA_OPT__(, ) __VA_ARGS__)

/// The same in the other spelling, "[function : line]".
#define DHCP_LOG_AT_SPACED(module, name, text, ...) \
  DHCP_LOG(module, name, "[%s : %d]" text, __func__, __LINE__ __VA_OPT__(, ) __VA_ARGS__)
