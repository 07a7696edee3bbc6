#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "serial/port_list.h"

namespace hvt {

// Which ports the selector shows and which one is chosen.
//
// Promises  a refresh never changes the choice while its port is present; a chosen port that was used and
//           then vanished stays, by its bare name. A port that is merely listed is never the target.
// Threads   the interface thread.
class PortSelection {
 public:
  // At start: the saved port when it is listed, otherwise the first one.
  void start(std::vector<PortDescription> ports, std::wstring saved);
  void refresh(std::vector<PortDescription> ports);
  void choose(std::size_t row);
  // A connection to the chosen port is being made.
  void mark_used() { used_ = true; }

  const std::wstring& chosen() const { return chosen_; }  // bare name, empty for none
  std::vector<std::wstring> labels() const;
  std::optional<std::size_t> chosen_row() const;
  bool empty() const { return ports_.empty(); }

 private:
  std::vector<PortDescription> ports_;
  std::wstring chosen_;
  bool used_ = false;  // since it was chosen
};

}  // namespace hvt
