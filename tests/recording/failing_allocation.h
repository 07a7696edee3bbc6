#pragma once

namespace hvt::test {

// While one lives, arrays cannot be allocated on this thread.
class FailingAllocation {
 public:
  FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
  ~FailingAllocation();
};

}  // namespace hvt::test
