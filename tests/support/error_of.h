#pragma once

#include <exception>
#include <string>

namespace hvt::test {

// What the function's exception says, or "no error".
template <typename Function>
std::string error_of(Function&& function) {
  try {
    function();
  } catch (const std::exception& error) {
    return error.what();
  }
  return "no error";
}

}  // namespace hvt::test
