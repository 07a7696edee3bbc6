#pragma once

#include <string>

namespace hvt {

// Reserves one port name for as long as an open may still own a handle to it.
//
// Promises  at most one lease of a name holds it, in the whole process.
// Threads   any; the registry has its own mutex, a leaf.
// Owns      its entry in the registry.
// Ends      with its last reference, which frees the name.
class PendingPortLease {
 public:
  // `key` is a normalised port name, see normalize_port_key().
  explicit PendingPortLease(std::wstring key);
  PendingPortLease(const PendingPortLease&) = delete;
  PendingPortLease& operator=(const PendingPortLease&) = delete;
  ~PendingPortLease();

  // False when another lease holds the name. Called once.
  bool try_reserve();

 private:
  std::wstring key_;
  bool reserved_ = false;
};

}  // namespace hvt
