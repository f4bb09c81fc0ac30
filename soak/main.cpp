/// soak: millions of frames through all services of the module, in one process, on the fake device, by an injected
/// clock. Lives of the module follow each other, each with other services on; strangers of every kind speak, a host
/// configures, memory is short now and then, the clock is set, the module starts anew. Checked meanwhile: that no
/// resident is forgotten, that lists, guards and counters are right, that memory stays within its bounds.
///
/// Ends with status 0 and a line of figures, or with 1 and what did not hold, by which seed and frame. 2 = wrong usage.
#include <fcntl.h>
#include <getopt.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <fstream>

#ifdef SOAK_SANITIZED
#include <sanitizer/common_interface_defs.h>
#endif

#include "packet/nic.h"
#include "soak/operator.h"
#include "soak/report.h"
#include "soak/residents.h"
#include "soak/strangers.h"

namespace {

struct Plan {
  uint64_t frames = 10'000'000, seed = 1;
};

Plan plan;
uint64_t frames_so_far = 0;

constexpr uint64_t short_frames = 200'000;
constexpr uint32_t lives = 16;
constexpr unsigned longest_operation_s = 60;
constexpr uint64_t most_blocks = 6000, most_growth_kb = 1024;

uint64_t resident_kb() {
  uint64_t size = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> size >> resident;
  return resident * static_cast<uint64_t>(sysconf(_SC_PAGESIZE)) / 1024;
}

/// The module says much on both streams; the report keeps the one that was given.
void silence_the_module() {
  soak::report = fdopen(dup(STDOUT_FILENO), "w");
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  dup2(nowhere, STDOUT_FILENO);
#ifdef SOAK_SANITIZED
  __sanitizer_set_report_fd(reinterpret_cast<void*>(static_cast<intptr_t>(fileno(soak::report))));
#endif
  dup2(nowhere, STDERR_FILENO);
  close(nowhere);
}

/// An operation that does not return: some guard is held.
void stuck(int /*signal*/) {
  constexpr char text[] = "soak: an operation does not return\n";
  (void)!write(fileno(soak::report), text, sizeof text - 1);
  _exit(1);
}

void set_up_device() {
  fake::reset();
  dhcp::packet::close_own_nic();
  fake::Device& device = fake::device();
  device.keeps_log = false;
  device.now = 1'700'000'000;
  device.vlan_interfaces[soak::client_vlan] = {
      .ip = soak::own_ip, .mac = soak::own_mac, .mask = 0xffff0000, .ip6 = "2001:db8:a::1", .prefix6 = 64};
  device.vlan_interfaces[soak::server_vlan] = {
      .ip = wire::ip(10, 20, 0, 1), .mac = soak::own_mac, .mask = 0xffffff00, .ip6 = "2001:db8:14::1", .prefix6 = 64};
  device.arp_hosts[soak::server_ip] = soak::server_mac;
  device.neighbours6[wire::ip6("2001:db8:14::5")] = soak::server_mac;
  device.mac_table[{soak::server_mac, soak::server_vlan}] = soak::uplink;
  for (uint32_t n = 0; n < 64; ++n) {
    device.mac_table[{{0x02, 0x66, 0, 0, 0, static_cast<uint8_t>(n)}, soak::client_vlan}] = 1 + n % 28;
  }
}

/// What memory the module and this program hold, against what they held when everything had been seen once.
class Memory {
 public:
  void check() {
    const uint64_t blocks = fake::allocations().live, kb = resident_kb();
    if (blocks > most_blocks_seen_) most_blocks_seen_ = blocks;
    if (blocks > most_blocks) soak::violated("%llu blocks are held", static_cast<unsigned long long>(blocks));
    if (warm_kb_ != 0 && kb > warm_kb_ + most_growth_kb && !grows_by_itself) {
      soak::violated("memory has grown from %llu to %llu kB", static_cast<unsigned long long>(warm_kb_),
                     static_cast<unsigned long long>(kb));
    }
  }
  void warm() { warm_kb_ = resident_kb(); }
  uint64_t warm_kb() const { return warm_kb_; }
  uint64_t most_blocks_seen() const { return most_blocks_seen_; }

 private:
#ifdef SOAK_PROCESS_GROWS
  static constexpr bool grows_by_itself = true;
#else
  static constexpr bool grows_by_itself = false;
#endif
  uint64_t warm_kb_ = 0, most_blocks_seen_ = 0;
};

struct Figures {
  uint64_t restarts = 0, changes = 0;
};

constexpr soak::Life all_lives[] = {soak::Life::servers, soak::Life::snooping, soak::Life::relays,
                                    soak::Life::snooping_and_relays};

/// One life of the module, until so many frames have passed.
void live(soak::Switch& device, soak::Dice& dice, soak::Residents& residents, Memory& memory, uint64_t until,
          Figures& figures) {
  soak::Strangers strangers(device, dice);
  soak::Operator host(device, dice);
  const auto check = [&] {
    device.check();
    residents.check();
    memory.check();
    alarm(longest_operation_s);
  };
  residents.move_in();
  while (device.frames() < until) {
    frames_so_far = device.frames();
    strangers.speak();
    if (dice.one_in(40)) residents.act();
    if (dice.one_in(200)) {
      device.second();
      residents.answer_own_client();
      soak::Switch::sent();
    }
    if (dice.one_in(500)) {
      ++figures.changes;
      host.act();
    }
    if (dice.one_in(1000)) check();
    if (dice.one_in(50000)) {
      check();
      ++figures.restarts;
      device.restart();
      residents.return_after_restart();
      check();
    }
  }
  check();
}

int run() {
  using Clock = std::chrono::steady_clock;
  const auto began = Clock::now();
  soak::Dice dice(plan.seed);
  soak::Switch device;
  soak::Residents residents(device, dice);
  Memory memory;
  Figures figures;
  for (uint32_t life = 0; life < lives; ++life) {
    ++figures.restarts;
    device.begin(all_lives[life % std::size(all_lives)]);
    live(device, dice, residents, memory, plan.frames * (life + 1) / lives, figures);
    device.end();
    if (life + 1 == lives / 4) memory.warm();
  }
  const double seconds = std::chrono::duration<double>(Clock::now() - began).count();
  fprintf(
      soak::report,
      "soak: %llu frames in %.1f s (%.0f/s), seed %llu, RSS %llu kB warm and %llu kB at the end, at most %llu blocks,"
      " %llu leases checked, %llu restarts, %llu changes: all holds\n",
      static_cast<unsigned long long>(device.frames()), seconds, static_cast<double>(device.frames()) / seconds,
      static_cast<unsigned long long>(plan.seed), static_cast<unsigned long long>(memory.warm_kb()),
      static_cast<unsigned long long>(resident_kb()), static_cast<unsigned long long>(memory.most_blocks_seen()),
      static_cast<unsigned long long>(residents.checked()), static_cast<unsigned long long>(figures.restarts),
      static_cast<unsigned long long>(figures.changes));
  return 0;
}

bool read_options(int argc, char** argv) {
  static const option known[] = {{"frames", required_argument, nullptr, 'f'},
                                 {"seed", required_argument, nullptr, 's'},
                                 {"short", no_argument, nullptr, 'S'},
                                 {nullptr, 0, nullptr, 0}};
  for (int chosen; (chosen = getopt_long(argc, argv, "", known, nullptr)) != -1;) {
    switch (chosen) {
      case 'f': plan.frames = strtoull(optarg, nullptr, 10); break;
      case 's': plan.seed = strtoull(optarg, nullptr, 10); break;
      case 'S': plan.frames = short_frames; break;
      default: return false;
    }
  }
  return optind == argc && plan.frames != 0;
}

}  // namespace

std::FILE* soak::report = nullptr;

void soak::violated(const char* format, ...) {
  char text[512];
  va_list args;
  va_start(args, format);
  vsnprintf(text, sizeof text, format, args);
  va_end(args);
  fprintf(report, "soak: %s; seed %llu, frame %llu of %llu\n", text, static_cast<unsigned long long>(plan.seed),
          static_cast<unsigned long long>(frames_so_far), static_cast<unsigned long long>(plan.frames));
  fflush(report);
  _exit(1);
}

int main(int argc, char** argv) {
  if (!read_options(argc, argv)) {
    fputs("usage: soak [--frames 10000000] [--seed 1] [--short]\n", stderr);
    return 2;
  }
  silence_the_module();
  signal(SIGALRM, stuck);
  alarm(longest_operation_s);
  set_up_device();
  return run();
}
