/// A file that takes the place of another one whole, or not at all.
///
/// It is put together under a name of its own and moved over the old one in a single step, so that whoever reads the
/// old name at any moment, also after a crash in the middle, finds the old content or the new one.
#pragma once

#include <cstdio>

namespace dhcp::binding {

struct FilePaths {
  const char* path;
  const char* temporary;  // where a new one is put together; need not be on the same file system
};

class Replacement {
 public:
  /// Opens the temporary file, emptied.
  explicit Replacement(const FilePaths& paths);
  /// Drops what has not been committed; the old file stays.
  ~Replacement();
  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;

  bool ok() const { return file_ != nullptr; }
  FILE* file() const { return file_; }
  /// Brings everything written to the disk and into the old file's place. False = something failed on the way and the
  /// old file is still there.
  bool commit();

 private:
  FilePaths paths_;
  FILE* file_;
};

}  // namespace dhcp::binding
