/// The soft switch: a device in one process, with the module in it.

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "dhcp/module.h"
#include "softswitch/background.h"
#include "softswitch/cli/reference.h"
#include "softswitch/cli/session.h"
#include "softswitch/cli/snooping_family.h"
#include "softswitch/command_line.h"
#include "softswitch/control.h"
#include "softswitch/fabric.h"
#include "softswitch/follow_bindings.h"
#include "softswitch/footprint.h"
#include "softswitch/log.h"
#include "softswitch/options.h"
#include "softswitch/reporter.h"
#include "softswitch/service_manager.h"
#include "softswitch/state.h"
#include "softswitch/vlan_interfaces.h"
#include "softswitch/watch.h"

using namespace dhcp::softswitch;

namespace {

/// From here on no frame comes in or goes out, so nobody is told of an address that is not saved.
void close_ports() {
  for (uint32_t port = 1; port <= fabric().port_count(); ++port) fabric().set_device(port, "");
}

/// The module's life inside the switch's.
class RunningModule {
 public:
  bool start() {
    if (dhcp_module_init() != 0) return false;
    started_ = true;
    dhcp_module_start();
    return true;
  }
  ~RunningModule() {
    if (!started_) return;
    close_ports();
    save_bindings();
    dhcp_module_stop();
  }

 private:
  bool started_ = false;
};

bool failed(const std::string& why) {
  std::fprintf(stderr, "softswitch: %s\n", why.c_str());
  return false;
}

sigset_t block_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&signals, signal);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
  return signals;
}

/// Goes over to the configuration file as it now is each time that is asked for. Gives the signal that ends the switch.
int obey(const sigset_t& signals) {
  for (;;) {
    int signal = 0;
    sigwait(&signals, &signal);
    if (signal != SIGHUP) return signal;
    cli::Session().run("configure replace startup-config");
  }
}

std::vector<KnownHost6> bound_hosts() {
  using cli::Snooping6;
  std::vector<KnownHost6> hosts;
  for (const Dhcp6SnoopBinding& binding : cli::all_bindings<Snooping6>()) {
    if (binding.state == 0 || !Snooping6::has_address(binding)) continue;
    KnownHost6& host = hosts.emplace_back();
    host.intf = binding.intf;
    host.vlan = static_cast<uint16_t>(binding.vlan);
    std::copy_n(binding.mac, host.mac.size(), host.mac.begin());
    std::copy_n(binding.ip6, host.ip6.size(), host.ip6.begin());
    host.lease = binding.lease;
  }
  return hosts;
}

/// Everything from the CPU's interfaces to the command line; what was started is ended in the opposite order.
bool run(const Options& options, Background& background) {
  const sigset_t signals = block_signals();
  const auto mac = options.mac ? *options.mac : derived_mac(options.socket);
  fabric().setup(options.ports, mac);
  if (const Refusal why = vlan_interfaces().setup(mac)) return failed(*why);
  if (const Refusal why = keep_state_in(options.state)) return failed(*why);
  const Watch watch;
  RunningModule module;
  if (!module.start()) return failed("the module does not start");
  const FollowBindings follow(bound_hosts);
  await_saved_bindings();
  std::string error;
  if (!load_configuration(options.config, error)) return failed(error);
  CommandServer commands(options.socket, options.config);
  if (!commands.start(error)) return failed(error);
  std::optional<MetricsServer> metrics;
  if (!options.metrics.empty() && !metrics.emplace(options.metrics).start(error)) return failed(error);
  if (!options.foreground) end_console_log();
  background.release();
  tell_service_manager("READY=1");
  const Reporter reporter;
  log_line(5, "running with %u ports, address %s", options.ports, switch_control().mac_address().c_str());
  give_back_unused();
  const int signal = obey(signals);
  tell_service_manager("STOPPING=1");
  log_line(5, "ending on signal %d", signal);
  return true;
}

/// What can be told without running; "" when that is not asked for.
std::string tell(std::string_view word) { return word == "--print-commands" ? cli::command_reference() : about(word); }

}  // namespace

int main(int count, char** words) {
  if (count == 2) {
    const std::string told = tell(words[1]);
    if (!told.empty()) return std::fputs(told.c_str(), stdout) < 0 ? 1 : 0;
  }
  const auto options = read_options(count, words);
  if (!options) return 2;
  share_one_heap();
  begin_log(options->log_level, !options->foreground);
  Background background;
  if (!options->foreground && !background.enter()) {
    std::perror("softswitch");
    return 1;
  }
  const bool good = run(*options, background);
  switch_control().stop_capture();
  vlan_interfaces().clear();
  return good ? 0 : 1;
}
