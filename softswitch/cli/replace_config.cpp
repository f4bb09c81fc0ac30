#include "softswitch/cli/replace_config.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <set>
#include <tuple>

#include "softswitch/cli/running_config.h"
#include "softswitch/cli/settings_text.h"

namespace dhcp::softswitch::cli {
namespace {

using Lines = std::vector<Setting>;

bool has(const Lines& settings, const Setting& wanted) {
  return std::any_of(settings.begin(), settings.end(), [&](const Setting& s) { return same_setting(s, wanted); });
}

/// A line to be typed, and the block it belongs into.
struct Step {
  std::string opener, line;
  bool operator<(const Step& other) const { return std::tie(opener, line) < std::tie(other.opener, other.line); }
};
using Done = std::set<Step>;

Step step_of(const Setting& setting) { return {setting.opener, setting.line}; }

/// What a configuration has and the wanted one has not. Its last lines go first: earlier ones may carry them.
std::vector<Step> removals(const Lines& have, const Lines& want, const Done& done) {
  std::vector<Step> steps;
  Lines gone;  // openers of blocks that go as a whole
  for (const Setting& s : have) {
    if (!has(want, s) && !taking_back(s).empty()) gone.push_back(s);
  }
  for (auto s = have.rbegin(); s != have.rend(); ++s) {
    if (has(want, *s)) continue;
    // Another value that is about to come takes its place without a gap; one that was taken may show in other words.
    const auto replaces = [&](const Setting& w) {
      return same_thing(w, *s) && !has(have, w) && (done.empty() || done.contains(step_of(w)));
    };
    if (std::any_of(want.begin(), want.end(), replaces)) continue;
    const auto carries = [&](const Setting& opener) { return opens_block_of(opener, *s); };
    if (std::any_of(gone.begin(), gone.end(), carries)) continue;
    const std::string line = taking_back(*s);
    if (!line.empty()) steps.push_back({s->opener, line});
  }
  return steps;
}

std::vector<Step> additions(const Lines& have, const Lines& want) {
  std::vector<Step> steps;
  for (const Setting& s : want) {
    if (!has(have, s)) steps.push_back(step_of(s));
  }
  return steps;
}

/// Types lines until nothing is left to do. A line that is refused may be taken once others are in force, and one that
/// was taken and does not show says what goes without saying: it is not repeated.
class Change {
 public:
  explicit Change(const Lines& want) : want_(want) {}

  Outcome run(std::string& typed) {
    constexpr int most_rounds = 4;
    for (int round = 0; round < most_rounds; ++round) {
      Lines have;
      if (auto bad = read_settings(running_config(), have)) return bad;
      refused_.reset();
      const size_t before = done_.size();
      for (const Step& step : removals(have, want_, done_)) take(step, typed);
      for (const Step& step : additions(have, want_)) take(step, typed);
      if (done_.size() == before) break;
    }
    return refused_;
  }

 private:
  void take(const Step& step, std::string& typed) {
    if (done_.contains(step)) return;
    Session session = Session::for_file();
    Reply reply;
    if (!step.opener.empty()) reply = session.run_in_command(step.opener);
    if (reply.accepted) reply = session.run_in_command(step.line);
    if (!reply.accepted) {
      if (!refused_) refused_ = Fault{step.line + ": " + reply.reason};
      return;
    }
    done_.insert(step);
    if (step.opener != last_opener_ && !step.opener.empty()) typed += step.opener + "\n";
    typed += (step.opener.empty() ? "" : " ") + step.line + "\n";
    last_opener_ = step.opener;
  }

  const Lines& want_;
  Done done_;
  std::string last_opener_;
  Outcome refused_;
};

}  // namespace

Outcome replace_configuration(const std::string& path, std::string& typed) {
  const auto text = read_file(path);
  if (!text) return Fault{path + ": " + std::strerror(errno)};
  Lines before, want;
  if (auto bad = read_settings(*text, want)) return Fault{path + ":" + bad->reason};
  if (auto bad = read_settings(running_config(), before)) return bad;
  auto fault = Change(want).run(typed);
  if (!fault) return {};
  std::string undone;
  const auto left = Change(before).run(undone);
  return Fault{path + ": " + fault->reason + (left ? "; not everything could be put back" : "; all is as it was")};
}

}  // namespace dhcp::softswitch::cli
