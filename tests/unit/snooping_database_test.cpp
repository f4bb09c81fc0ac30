/// The binding file: what is written when, what is read back from good and bad lines, and a file that is whole at any
/// moment.
#include <sys/resource.h>

#include <cerrno>
#include <csignal>
#include <filesystem>

#include "base/os.h"
#include "tests/unit/snooping_bench.h"

namespace {

using bench::device;
using bench::mac_number;
using bench::read_file;
using bench::write_file;

class SnoopingDatabase : public bench::SnoopingBench {
 protected:
  static DhcpSnoopDatabase history() {
    DhcpSnoopDatabase database;
    dhcp_snoop_get_database(&database);
    return database;
  }
  static void load(const std::string& lines) {
    write_file(table_path(), lines);
    EXPECT_EQ(read_dhcp_snoop_from_flash(), 0);
  }
  static size_t files() {
    const std::filesystem::directory_iterator all(device().temp_directory());
    return static_cast<size_t>(std::distance(begin(all), end(all)));
  }
};

TEST_F(SnoopingDatabase, BoundEntriesAreWrittenLineByLineAndComeBack) {
  bind(client, address, group, 20, 86400);
  set_dhcp_snoop_bind(1, neighbour.data(), 0, port, 10, -1);
  receive(bench::discover(mac_number(1)), port);
  bind(mac_number(200), 0xfffffffe);
  EXPECT_EQ(write_dhcp_snoop_to_flash(), 0);
  const std::string text =
      "00:10:20:30:00:c8,600,10,3,0,4294967294\n"
      "02:aa:00:00:00:01,86400,20,268435458,0,3232235786\n"
      "02:aa:00:00:00:02,-1,10,3,1,0\n";
  EXPECT_EQ(read_file(table_path()), text) << "bucket by bucket";
  init_dhcp_snooping();
  at(500);
  EXPECT_EQ(read_dhcp_snoop_from_flash(), 0);
  EXPECT_EQ(get_mac_bind_entry_count(), 3);
  EXPECT_EQ(find_VlanIp_entry(20, address)->time, static_cast<int32_t>(start + 500)) << "the lease runs anew";
  EXPECT_EQ(find(client)->new_intf, uint32_t{group});
  EXPECT_EQ(find(client)->new_vlan, 20);
  EXPECT_EQ(history().loaded, 3u);
  EXPECT_EQ(history().last_read, start + 500);
  write_dhcp_snoop_to_flash();
  EXPECT_EQ(read_file(table_path()), text);
  EXPECT_EQ(files(), 1u);
}

TEST_F(SnoopingDatabase, EveryLineIsTakenAsFarAsItGoes) {
  load(
      "\n"
      "garbage\n"
      "02:aa:00:00:00:02,700,20\n"
      "1ff:2,5\n"
      "02:aa:00:00:00:03,50,99999,-4,0,7\n"
      "02:aa:00:00:00:04,60,10,3,0,8 and more\n" +
      std::string(300, '7') + "\n02:aa:00:00:00:05,40,10,3,0,9");
  EXPECT_EQ(history().loaded, 3u);
  EXPECT_EQ(history().skipped, 6u);
  EXPECT_EQ(find(neighbour)->lease, 700);
  EXPECT_EQ(find({0xff, 2, 0, 0, 0, 0})->state, 1) << "bytes are cut to eight bits";
  EXPECT_NE(find_VlanIp_entry(99999, 7), nullptr);
  EXPECT_EQ(receive(ack({0x02, 0xaa, 0, 0, 0, 3}), uplink).sent.size(), 1u) << "a VLAN that is none is not snooped";
  EXPECT_NE(find_VlanIp_entry(10, 9), nullptr) << "a last line without its end";
  dhcp_snoop_binds_clear_all();
  const std::string kept = read_file(table_path());
  EXPECT_EQ(write_dhcp_snoop_to_flash(), 0);
  EXPECT_EQ(read_file(table_path()), kept) << "an empty table keeps the last file";
}

TEST_F(SnoopingDatabase, LoadedBindingWinsOverWhatIsThere) {
  bind(client);
  load("02:aa:00:00:00:02,600,10,4,0,3232235786\n");
  EXPECT_EQ(find(client), nullptr) << "another MAC had its address";
  EXPECT_EQ(find_VlanIp_entry(10, address), find(neighbour));
  load("02:aa:00:00:00:02,900,10,4,0,3232235786\n");
  EXPECT_EQ(get_mac_bind_entry_count(), 1) << "the very same one is replaced";
  EXPECT_EQ(find(neighbour)->lease, 900);
  load("02:aa:00:00:00:02,900,10,5,0,3232235786\n");
  EXPECT_EQ(get_mac_bind_entry_count(), 1) << "its own former port loses it";
  EXPECT_EQ(find(neighbour)->intf, 5u);
  // A MAC that is just being learnt is there twice, the loaded one in front; each goes for itself.
  receive(bench::discover(client), other_port);
  load("02:aa:00:00:00:01,600,10,3,0,3232235787\n");
  EXPECT_EQ(get_mac_bind_entry_count(), 3);
  EXPECT_EQ(find(client)->ip, address + 1);
  at(31);
  check_mac_bind_valid();
  EXPECT_EQ(get_mac_bind_entry_count(), 2);
  EXPECT_EQ(find_VlanIp_entry(10, address + 1), find(client));
}

TEST_F(SnoopingDatabase, ShortestLeaseIsTakenFromTheFile) {
  load("02:aa:00:00:00:01,0,10,3,0,1\n02:aa:00:00:00:02,700,10,3,0,2\n02:aa:00:00:00:03,0,10,3,0,3\n");
  EXPECT_EQ(g_dhcp_snooping.min_lease, 700) << "a lease of 0 leaves it open, and shortens none";
  load("02:aa:00:00:00:04,800,10,3,0,4\n02:aa:00:00:00:05,650,10,3,1,5\n");
  EXPECT_EQ(g_dhcp_snooping.min_lease, 650);
}

TEST_F(SnoopingDatabase, FileIsWholeUntilTheMomentItIsReplaced) {
  bind(client);
  write_dhcp_snoop_to_flash();
  const std::string old = read_file(table_path());
  bind(neighbour, address + 1);
  // Killed before the last step: nothing but the new file is in its own place.
  static std::string seen, ready;
  dhcp::base::os.rename = [](const char* from, const char* to) {
    seen = read_file(to);
    ready = read_file(from);
    return errno = EIO, -1;
  };
  EXPECT_EQ(write_dhcp_snoop_to_flash(), 0);
  EXPECT_EQ(seen, old);
  EXPECT_EQ(std::count(ready.begin(), ready.end(), '\n'), 2);
  EXPECT_EQ(read_file(table_path()), old);
  EXPECT_EQ(history().write_failures, 1u);
  EXPECT_EQ(history().written, 1u);
  // Another file system: a copy beside the old file is what takes its place.
  static int renames;
  renames = 0;
  dhcp::base::os.rename = [](const char* from, const char* to) {
    return ++renames == 1 ? (errno = EXDEV, -1) : ::rename(from, to);
  };
  EXPECT_EQ(write_dhcp_snoop_to_flash(), 0);
  EXPECT_EQ(renames, 2);
  EXPECT_EQ(read_file(table_path()), ready);
  EXPECT_EQ(files(), 1u);
  // A temporary file that cannot be opened is the one failure that is answered.
  dhcp_snoop_set_database_path(table_path().c_str(), "/nonexistent/next.ini");
  EXPECT_EQ(write_dhcp_snoop_to_flash(), -1);
  EXPECT_EQ(read_file(table_path()), ready);
  EXPECT_EQ(dhcp_snoop_set_database_path(std::string(200, 'x').c_str(), "next.ini"), -1);
  EXPECT_EQ(history().path, table_path());
}

TEST_F(SnoopingDatabase, FullDiskAndMissingFilesChangeNothing) {
  EXPECT_EQ(read_dhcp_snoop_from_flash(), 0);
  EXPECT_EQ(get_mac_bind_entry_count(), 0);
  write_file(table_path(), "02:aa:00:00:00:01,600,10,3,0,3232235786\n02:aa:00:00:00:02,600,10,3,0,3232235787\n");
  fake::fail_allocations(1);
  EXPECT_EQ(read_dhcp_snoop_from_flash(), -1);
  EXPECT_EQ(get_mac_bind_entry_count(), 1) << "the line without memory is still to come";
  EXPECT_EQ(write_dhcp_snoop_to_flash(), 0);
  EXPECT_EQ(history().write_failures, 1u) << "and nothing is written over it";
  EXPECT_EQ(read_dhcp_snoop_from_flash(), 0);
  EXPECT_EQ(get_mac_bind_entry_count(), 2);
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit ten_bytes{10, before.rlim_max};
  const auto handler = signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &ten_bytes);
  EXPECT_EQ(write_dhcp_snoop_to_flash(), 0);
  setrlimit(RLIMIT_FSIZE, &before);
  signal(SIGXFSZ, handler);
  EXPECT_EQ(history().write_failures, 2u);
  EXPECT_NE(read_file(table_path()).find("00:01,"), std::string::npos);
}

}  // namespace
