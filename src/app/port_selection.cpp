#include "app/port_selection.h"

#include <algorithm>
#include <utility>

namespace hvt {

void PortSelection::start(std::vector<PortDescription> ports, std::wstring saved) {
  ports_ = std::move(ports);
  chosen_ = std::move(saved);
  used_ = false;
  if (!chosen_row()) chosen_ = ports_.empty() ? std::wstring() : ports_.front().port;
}

void PortSelection::refresh(std::vector<PortDescription> ports) {
  ports_ = std::move(ports);
  if (chosen_.empty() || chosen_row()) return;
  if (!used_) {
    chosen_.clear();
    return;
  }
  std::vector<std::wstring> names{chosen_};
  for (const PortDescription& port : ports_)
    names.push_back(port.port);
  sort_ports(names);
  const auto place = std::ranges::find(names, chosen_) - names.begin();
  ports_.insert(ports_.begin() + place, {chosen_, {}});
}

void PortSelection::choose(std::size_t row) {
  if (row >= ports_.size()) return;
  chosen_ = ports_[row].port;
  used_ = false;
}

std::vector<std::wstring> PortSelection::labels() const {
  std::vector<std::wstring> labels;
  labels.reserve(ports_.size());
  for (const PortDescription& port : ports_)
    labels.push_back(port_label(port));
  return labels;
}

std::optional<std::size_t> PortSelection::chosen_row() const {
  const auto found = std::ranges::find(ports_, chosen_, &PortDescription::port);
  if (chosen_.empty() || found == ports_.end()) return std::nullopt;
  return static_cast<std::size_t>(found - ports_.begin());
}

}  // namespace hvt
