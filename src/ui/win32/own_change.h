#pragma once

namespace hvt {

// Counts one change that the program makes; what the controls report meanwhile is no event.
class OwnChange {
 public:
  explicit OwnChange(int& count) : count_(count) { ++count_; }
  ~OwnChange() { --count_; }
  OwnChange(const OwnChange&) = delete;
  OwnChange& operator=(const OwnChange&) = delete;

 private:
  int& count_;
};

}  // namespace hvt
