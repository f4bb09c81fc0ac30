#include "softswitch/footprint.h"

#include <link.h>
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

namespace dhcp::softswitch {
namespace {

/// Only segments that are never written: a page of another may hold what is nowhere else.
int give_back_object(dl_phdr_info* object, size_t, void*) {
  const auto page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
  for (const ElfW(Phdr)* header = object->dlpi_phdr; header != object->dlpi_phdr + object->dlpi_phnum; ++header) {
    if (header->p_type != PT_LOAD || (header->p_flags & PF_W) != 0) continue;
    const uintptr_t begin = (object->dlpi_addr + header->p_vaddr + page - 1) & ~(page - 1);
    const uintptr_t end = (object->dlpi_addr + header->p_vaddr + header->p_memsz) & ~(page - 1);
    if (begin < end) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_DONTNEED);
  }
  return 0;
}

}  // namespace

void share_one_heap() { mallopt(M_ARENA_MAX, 1); }

void give_back_unused() {
  malloc_trim(0);
  dl_iterate_phdr(give_back_object, nullptr);
}

}  // namespace dhcp::softswitch
