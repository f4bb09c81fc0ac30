/// A snooping's binding file: where it lies, when it is written, and what became of it. The caller holds the lock.
#pragma once

#include <array>
#include <cstdio>
#include <cstring>

#include "binding/clocks.h"
#include "binding/file.h"
#include "dhcp/binding.h"

namespace dhcp::binding {

/// The modes in which the host asks for the file to be written.
enum WriteMode { write_never = 0, write_cyclic = 1, write_once = 2 };

template <class Traits>
class Database {
  using Entry = typename Traits::Entry;

 public:
  constexpr Database(const Table<Traits>& table, FilePaths device_places)
      : table_(table), device_places_(device_places) {}

  /// Forgets what became of the file, and when it was last saved; its place stays.
  void restart() {
    file_.forget();
    cycle_.reset();
    changed_ = unread_ = false;
  }

  /// Bindings have entered since the last write.
  void set_changed() { changed_ = true; }

  /// A file of which lines are still to be read is not written over: that counts as a failure.
  int write() {
    if (!unread_) return file_.write(table_, paths());
    file_.count_write_failure();
    return 0;
  }

  /// Hands every line to `take` as a new, bound entry. After a reading that was cut short the next one brings what was
  /// left out: clients that have a binding by then keep it.
  template <class Take>
  FileRead read(Take take) {
    const FileRead result = file_.read(paths().path, [&](Entry* entry) {
      if (unread_ && table_.find(entry->mac) != nullptr) {
        delete entry;
      } else {
        take(entry);
      }
    });
    unread_ = result == FileRead::cut_short;
    return result;
  }
  template <class Take>
  void read(FILE* stream, Take take) {
    file_.read(stream, take);
  }

  void remove() {
    ::remove(paths().path);
    unread_ = false;
  }

  /// To be called every two seconds: writes once an interval what has changed.
  void cycle(int32_t enabled, int32_t interval_s) {
    if (enabled != 0 && cycle_.due(interval_s) && changed_) write_now();
  }

  /// What a mode asks for; the record's two settings follow it. Other modes ask for nothing.
  void set_mode(int mode, int interval_s, int32_t& enabled, int32_t& interval) {
    if (mode == write_cyclic) {
      enabled = 1;
      interval = interval_s;
    } else if (mode == write_never) {
      remove();
      enabled = interval = 0;
    } else if (mode == write_once) {
      write_now();
    }
  }

  /// Null for both = the device's own places. False = a path is too long; then nothing changes.
  bool place(const char* path, const char* temporary) {
    Place chosen{}, chosen_temporary{};
    if (path != nullptr && temporary != nullptr && (!fill(chosen, path) || !fill(chosen_temporary, temporary))) {
      return false;
    }
    path_ = chosen;
    temporary_ = chosen_temporary;
    return true;
  }

  void copy(DhcpSnoopDatabase& out) const {
    const FileHistory& history = file_.history();
    out = {};
    out.last_write = history.last_write;
    out.last_read = history.last_read;
    out.written = history.written;
    out.loaded = history.loaded;
    out.write_failures = history.write_failures;
    out.skipped = history.skipped;
    memcpy(out.path, paths().path, strlen(paths().path) + 1);
  }

 private:
  using Place = std::array<char, DHCP_SNOOP_PATH_SIZE>;

  static bool fill(Place& place, const char* text) {
    const size_t length = strlen(text);
    if (length >= place.size()) return false;
    memcpy(place.data(), text, length + 1);
    return true;
  }

  FilePaths paths() const {
    if (path_[0] == '\0') return device_places_;
    return {path_.data(), temporary_.data()};
  }

  void write_now() {
    changed_ = unread_ && changed_;
    write();
  }

  const Table<Traits>& table_;
  FilePaths device_places_;
  Place path_{}, temporary_{};
  File<Table<Traits>, Traits> file_;
  CycleClock cycle_;
  bool changed_ = false;
  bool unread_ = false;  // some lines of the file are not in the table yet
};

}  // namespace dhcp::binding
