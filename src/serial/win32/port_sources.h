#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace hvt {

// The start of a full device path.
inline constexpr std::wstring_view kDevicePrefix = L"\\\\.\\";

// The port list out of the texts that serial drivers registered: bare upper-case "COM" names, sorted, without
// duplicates; every other text is dropped.
std::vector<std::wstring> ports_from_registry(const std::vector<std::wstring>& texts);

}  // namespace hvt
