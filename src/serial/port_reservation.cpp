#include "serial/port_reservation.h"

#include <set>
#include <utility>

#include "base/guarded.h"

namespace hvt {
namespace {

// Never destroyed: an abandoned open may end after main() has returned.
Guarded<std::set<std::wstring>>& reserved_names() {
  static auto& names = *new Guarded<std::set<std::wstring>>;
  return names;
}

}  // namespace

PendingPortLease::PendingPortLease(std::wstring key) : key_(std::move(key)) {}

PendingPortLease::~PendingPortLease() {
  if (reserved_) reserved_names().with([&](auto& names) { names.erase(key_); });
}

bool PendingPortLease::try_reserve() {
  reserved_ = reserved_names().with([&](auto& names) { return names.insert(key_).second; });
  return reserved_;
}

}  // namespace hvt
