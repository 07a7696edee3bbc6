#include "tests/recording/failing_allocation.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

thread_local bool fail_now = false;

}  // namespace

void* operator new[](std::size_t size) {
  void* memory = fail_now ? nullptr : std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void operator delete[](void* memory) noexcept {
  std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
  std::free(memory);
}

namespace hvt::test {

FailingAllocation::FailingAllocation() {
  fail_now = true;
}

FailingAllocation::~FailingAllocation() {
  fail_now = false;
}

}  // namespace hvt::test
