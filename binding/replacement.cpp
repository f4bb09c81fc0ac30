#include "binding/replacement.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "base/os.h"

namespace dhcp::binding {

namespace {

/// A descriptor that is closed on every way out, unless close() has been called for its result.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() { close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  bool ok() const { return number_ >= 0; }
  int number() const { return number_; }
  bool close() {
    const int number = number_;
    number_ = -1;
    return number < 0 || ::close(number) == 0;
  }

 private:
  int number_;
};

/// Empties or makes a file; a link in a directory that others may write is not followed.
int open_for_writing(const char* path) { return open(path, O_RDWR | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0644); }

bool write_all(int to, const char* bytes, size_t left) {
  while (left > 0) {
    const ssize_t written = write(to, bytes, left);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes += written;
    left -= static_cast<size_t>(written);
  }
  return true;
}

bool copy_all(int from, int to) {
  std::array<char, 512> block;
  for (;;) {
    const ssize_t got = read(from, block.data(), block.size());
    if (got == 0) return true;
    if (got < 0 && errno == EINTR) continue;
    if (got < 0 || !write_all(to, block.data(), static_cast<size_t>(got))) return false;
  }
}

bool copy_to_disk(const char* from, const char* to) {
  Descriptor source(open(from, O_RDONLY | O_CLOEXEC));
  Descriptor target(open_for_writing(to));
  return source.ok() && target.ok() && copy_all(source.number(), target.number()) && fsync(target.number()) == 0 &&
         target.close();
}

/// To another file system: a copy beside the old file first, because only a neighbour can be moved in one step.
bool move_across(const FilePaths& paths) {
  std::array<char, 256> beside;
  const int length = snprintf(beside.data(), beside.size(), "%s.new", paths.path);
  if (length < 0 || static_cast<size_t>(length) >= beside.size()) return false;
  if (copy_to_disk(paths.temporary, beside.data()) && base::os.rename(beside.data(), paths.path) == 0) {
    unlink(paths.temporary);
    return true;
  }
  unlink(beside.data());
  return false;
}

bool move_into_place(const FilePaths& paths) {
  if (base::os.rename(paths.temporary, paths.path) == 0) return true;
  return errno == EXDEV && move_across(paths);
}

}  // namespace

Replacement::Replacement(const FilePaths& paths) : paths_(paths), file_(nullptr) {
  const int descriptor = open_for_writing(paths.temporary);
  if (descriptor < 0) return;
  file_ = fdopen(descriptor, "w+");
  if (file_ == nullptr) ::close(descriptor);
}

Replacement::~Replacement() {
  if (file_ == nullptr) return;
  fclose(file_);
  unlink(paths_.temporary);
}

bool Replacement::commit() {
  if (file_ == nullptr) return false;
  const bool written = ferror(file_) == 0 && fflush(file_) == 0 && fsync(fileno(file_)) == 0;
  const bool closed = fclose(file_) == 0;
  file_ = nullptr;
  if (written && closed && move_into_place(paths_)) return true;
  unlink(paths_.temporary);
  return false;
}

}  // namespace dhcp::binding
