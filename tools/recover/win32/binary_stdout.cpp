#include "tools/recover/binary_stdout.h"

#include <fcntl.h>
#include <io.h>
#include <stdio.h>

namespace hvt::recover {

void make_stdout_binary() {
  _setmode(_fileno(stdout), _O_BINARY);
}

}  // namespace hvt::recover
