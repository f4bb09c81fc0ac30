/// A display: a text file whose name the device gives, written whole, whose length of path + 1 is the answer.
#pragma once

#include <cstdio>

namespace dhcp::base {

class Report {
 public:
  /// Asks the device for the file's name (into `path`, room for 128 bytes) and opens it.
  Report(char* path, int a, int b);
  /// Opens the file of this name.
  explicit Report(const char* path);
  ~Report();
  Report(const Report&) = delete;
  Report& operator=(const Report&) = delete;

  bool ok() const { return file_ != nullptr; }
  FILE* file() const { return file_; }
  /// What the display function returns: the path's length + 1, or -1 when the file could not be opened.
  int result() const;

 private:
  const char* path_;
  FILE* file_;
};

/// Opens the report and, when that worked, writes it by `write(FILE*)`.
template <class Write>
int write_report(char* path, int a, int b, Write write) {
  Report report(path, a, b);
  if (report.ok()) write(report.file());
  return report.result();
}

/// The same under a name that the host gives.
template <class Write>
int write_report_to(const char* path, Write write) {
  Report report(path);
  if (report.ok()) write(report.file());
  return report.result();
}

}  // namespace dhcp::base
