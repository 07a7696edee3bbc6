#pragma once

namespace hvt::recover {

// Bytes written to standard output leave it unchanged from now on.
void make_stdout_binary();

}  // namespace hvt::recover
