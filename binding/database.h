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
 public:
  constexpr Database(const Table<Traits>& table, FilePaths device_places)
      : table_(table), device_places_(device_places) {}

  /// Forgets what became of the file, and when it was last saved; its place stays.
  void restart() {
    file_.forget();
    cycle_.reset();
    changed_ = false;
  }

  /// Bindings have entered since the last write.
  void set_changed() { changed_ = true; }

  int write() { return file_.write(table_, paths()); }

  /// Hands every line to `take` as a new, bound entry. False = there is no file.
  template <class Take>
  bool read(Take take) {
    return file_.read(paths().path, take);
  }
  template <class Take>
  void read(FILE* stream, Take take) {
    file_.read(stream, take);
  }

  void remove() { ::remove(paths().path); }

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
    changed_ = false;
    write();
  }

  const Table<Traits>& table_;
  FilePaths device_places_;
  Place path_{}, temporary_{};
  File<Table<Traits>, Traits> file_;
  CycleClock cycle_;
  bool changed_ = false;
};

}  // namespace dhcp::binding
