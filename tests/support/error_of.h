#pragma once

#include <stdexcept>
#include <string>

namespace hvt::test {

// What the function's std::runtime_error says, or "no error".
template <typename Function>
std::string error_of(Function&& function) {
  try {
    function();
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "no error";
}

}  // namespace hvt::test
