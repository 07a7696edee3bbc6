#pragma once

#include <memory>

#include "base/win32/unique_handle.h"
#include "serial/serial_transport.h"

namespace hvt {

// What is behind a handle: discarding input and polling errors mean something on a serial device only.
enum class StreamKind { kSerialDevice, kOther };

// The transport over a handle opened for overlapped reading and writing: a configured serial device, or any
// other byte stream such as a named pipe. Takes the handle. Throws std::runtime_error ("Cannot create
// overlapped stream") for an empty handle or when the system is out of events.
std::shared_ptr<SerialTransport> make_stream_transport(UniqueHandle handle, StreamKind kind);

}  // namespace hvt
