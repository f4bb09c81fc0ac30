/// The file in which bound entries outlive a restart: one line a binding, and a history of what became of it.
///
/// The traits type of the table also says how a binding is spelt:
///
///   longest_line           characters that are read of a line at once
///   print(stream, entry)   one line, with its end; negative = failed
///   parse(line, entry)     fills a zeroed entry as far as the line goes; true = every field was there
///
/// The caller holds the service's lock.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>

#include "base/os.h"
#include "binding/replacement.h"
#include "binding/table.h"

namespace dhcp::binding {

/// Times are seconds since the epoch, 0 = never.
struct FileHistory {
  uint32_t last_write, last_read;
  uint32_t written, loaded;  // entries, at the last write and read
  uint32_t write_failures;
  uint32_t skipped;  // lines of the last read that were no whole binding
};

enum class FileRead {
  absent,
  whole,
  cut_short,  // for some lines there was no memory
};

/// Calls `take(line)` for each line of the stream, a longer one in pieces of at most `longest` characters.
template <size_t longest, class Take>
void each_line(FILE* stream, Take take) {
  std::array<char, longest + 1> line;
  while (fgets(line.data(), static_cast<int>(line.size()), stream) != nullptr) take(line.data());
}

template <class Table, class Traits>
class File {
 public:
  using Entry = typename Traits::Entry;

  /// Puts all bound entries in the place of the file. Without any, a table that has become empty keeps its last file.
  /// -1 = the temporary file could not be opened; other failures keep the old file and are counted.
  int write(const Table& table, const FilePaths& paths) {
    Replacement next(paths);
    if (!next.ok()) {
      ++history_.write_failures;
      return -1;
    }
    uint32_t entries = 0;
    table.each_bound([&](const Entry& entry) {
      Traits::print(next.file(), entry);  // a failure sticks to the stream
      ++entries;
    });
    if (entries == 0) return 0;
    if (!next.commit()) {
      ++history_.write_failures;
      return 0;
    }
    history_.last_write = base::now32();
    history_.written = entries;
    return 0;
  }

  /// Hands every line to `take` as a new entry, bound from now on, with what the line gave. Nothing is rejected: a line
  /// that is no binding is counted, and its entry holds what could be read of it.
  template <class Take>
  FileRead read(const char* path, Take take) {
    const std::unique_ptr<FILE, int (*)(FILE*)> stream(fopen(path, "re"), fclose);
    return stream != nullptr ? read(stream.get(), take) : FileRead::absent;
  }

  template <class Take>
  FileRead read(FILE* stream, Take take) {
    history_.loaded = history_.skipped = 0;
    history_.last_read = base::now32();
    FileRead result = FileRead::whole;
    each_line<Traits::longest_line>(stream, [&](const char* line) {
      auto* entry = new (std::nothrow) Entry{};
      if (entry == nullptr) {
        result = FileRead::cut_short;
        return;
      }
      ++(Traits::parse(line, *entry) ? history_.loaded : history_.skipped);
      entry->state = bound;
      entry->time = static_cast<int32_t>(base::now32());
      take(entry);
    });
    return result;
  }

  void count_write_failure() { ++history_.write_failures; }

  const FileHistory& history() const { return history_; }
  void forget() { history_ = {}; }

 private:
  FileHistory history_{};
};

}  // namespace dhcp::binding
