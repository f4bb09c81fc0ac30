/// Temporary files: in the test's own directory, named by what the module passed on.
#include "platform/text.h"

#include <cstdio>

#include "tests/fake/device.h"

extern "C" int __wrap_get_tmp_file_name(int kind, char* path, int a, int b);

int __wrap_get_tmp_file_name(int kind, char* path, int a, int b) {
  fake::Device& device = fake::device();
  if (device.temp_files_cannot_be_made) return snprintf(path, 128, "/nonexistent/%d", kind);
  return snprintf(path, 128, "%s/%d_%d_%d", device.temp_directory().c_str(), kind, a, b);
}
