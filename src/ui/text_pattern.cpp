#include "ui/text_pattern.h"

namespace hvt {
namespace {

constexpr std::wstring_view kSlot = L"{}";

}  // namespace

std::wstring fill(std::wstring_view pattern, const PatternValues& values) {
  std::wstring filled;
  for (const std::wstring_view value : values) {
    const std::size_t slot = pattern.find(kSlot);
    filled.append(pattern.substr(0, slot)).append(value);
    pattern.remove_prefix(slot + kSlot.size());
  }
  return filled.append(pattern);
}

std::optional<PatternValues> match(std::wstring_view message, std::wstring_view pattern) {
  PatternValues values;
  std::size_t slot = pattern.find(kSlot);
  if (!message.starts_with(pattern.substr(0, slot))) return std::nullopt;
  while (slot != std::wstring_view::npos) {
    message.remove_prefix(slot);
    pattern.remove_prefix(slot + kSlot.size());
    slot = pattern.find(kSlot);
    const std::wstring_view behind = pattern.substr(0, slot);
    const bool is_last = slot == std::wstring_view::npos;
    if (is_last && !message.ends_with(behind)) return std::nullopt;
    const std::size_t end = is_last ? message.size() - behind.size() : message.find(behind);
    if (end == std::wstring_view::npos) return std::nullopt;
    values.push_back(message.substr(0, end));
    message.remove_prefix(end);
  }
  return values;
}

}  // namespace hvt
