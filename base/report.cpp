#include "base/report.h"

#include <cstring>

#include "platform/text.h"

namespace dhcp::base {

Report::Report(char* path, int a, int b) : path_(path), file_(nullptr) {
  path[0] = '\0';
  get_tmp_file_name(0, path, a, b);
  file_ = fopen(path, "w+");
}

Report::Report(const char* path) : path_(path), file_(fopen(path, "w+")) {}

Report::~Report() {
  if (file_ != nullptr) fclose(file_);
}

int Report::result() const { return ok() ? static_cast<int>(strlen(path_)) + 1 : -1; }

}  // namespace dhcp::base
