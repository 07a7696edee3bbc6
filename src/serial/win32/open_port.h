#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "serial/serial_transport.h"

namespace hvt {

// "COM12" opens as "\\.\COM12", which also works from COM10 up; a full device path stays as it is.
std::wstring device_path(std::wstring_view port);

// Opens and configures a COM port for this program alone, with both queues emptied. The factory of the
// connection manager, see TransportFactory; runs on its open worker and may take as long as the driver likes.
// The text of a failure is the system's own.
std::shared_ptr<SerialTransport> open_win32_port(const SerialSettings& settings, std::wstring& error);

}  // namespace hvt
