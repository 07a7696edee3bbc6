#include "tools/recover/binary_stdout.h"

namespace hvt::recover {

// A stream of this system changes nothing.
void make_stdout_binary() {}

}  // namespace hvt::recover
