#include "serial/serial_transport.h"

namespace hvt {

bool SerialTransport::query_errors(CommErrorSnapshot& out, std::wstring& error) {
  out = {};
  error.clear();
  return true;
}

}  // namespace hvt
