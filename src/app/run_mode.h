#pragma once

#include <span>
#include <string>

namespace hvt {

enum class RunMode {
  normal,
  self_test,  // "--self-test-ui"
};

// From the arguments after the program's name. All others are the toolkit's.
RunMode run_mode(std::span<const std::wstring> arguments);

}  // namespace hvt
