#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace hvt {

// Values of a pattern in the order of its slots, each of which is written "{}".
using PatternValues = std::vector<std::wstring_view>;

// As many values as the pattern has slots; what a value holds is never taken for a slot.
std::wstring fill(std::wstring_view pattern, const PatternValues& values);

// The values inside `message`, each as short as possible, when it has the form of `pattern`.
std::optional<PatternValues> match(std::wstring_view message, std::wstring_view pattern);

}  // namespace hvt
