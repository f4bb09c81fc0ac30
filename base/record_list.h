/// Records on a counted list: made by new, linked at the head, counted, poisoned and freed in one place.
#pragma once

#include <memory>
#include <new>

#include "base/list.h"
#include "dhcp/types.h"

namespace dhcp::base {

/// Puts a record made by new at the head; from here on the list owns it. `List` has a count and a head.
template <class List, class Record>
void link_record(List& list, Record* record) {
  list_add_head(list.head, record->link);
  ++list.count;
}

/// Takes the record off the list; it is the caller's then.
template <class List, class Record>
void unlink_record(List& list, Record* record) {
  list_unlink(record->link);
  --list.count;
}

template <class List, class Record>
void free_record(List& list, Record* record) {
  unlink_record(list, record);
  delete record;
}

template <class Record, class List>
void free_records(List& list) {
  for (Record& record : Records<Record>(list.head)) free_record(list, &record);
}

/// The first record, newest first, that `matches` accepts; null = none.
template <class Record, class Match>
Record* find_record(const DhcpListHead& head, Match matches) {
  for (Record& record : Records<Record>(head)) {
    if (matches(record)) return &record;
  }
  return nullptr;
}

}  // namespace dhcp::base
