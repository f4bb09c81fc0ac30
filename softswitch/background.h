/// Leaving the caller's terminal without leaving it in the dark: the caller waits until the switch runs or has failed.
#pragma once

namespace dhcp::softswitch {

class Background {
 public:
  /// Splits the process. The caller's half waits for release() and ends with status 0, or with 1 when the other half
  /// ends first. Returns in the other half only; false when the system refuses.
  bool enter();
  /// Lets the caller go; standard streams then lead nowhere.
  void release();

 private:
  int ready_ = -1;
};

}  // namespace dhcp::softswitch
