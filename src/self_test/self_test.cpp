#include "self_test/self_test.h"

#include <iostream>

namespace hvt {

// Not part of this build.
int run_self_test(const std::filesystem::path&, const Launch&) {
  std::cerr << "HalvetricSerialTest: this build has no self-test.\n";
  return 1;
}

}  // namespace hvt
