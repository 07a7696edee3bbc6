// The transport over a terminal device, with a pseudo-terminal as its line.

#include <stdexcept>

#include "base/text.h"
#include "serial/posix/open_port.h"
#include "tests/support/pty.h"
#include "tests/support/transport_rig.h"

namespace hvt::test {
namespace {

class PtyRig final : public TransportRig {
 public:
  PtyRig() {
    std::wstring error;
    SerialSettings settings;
    settings.port = pty_.port();
    transport_ = open_posix_port(settings, error);
    if (!transport_) throw std::runtime_error(utf16_to_utf8(error));
  }
  ~PtyRig() override { transport_->cancel(); }

  const std::shared_ptr<SerialTransport>& transport() const override { return transport_; }
  void device_sends(std::span<const std::uint8_t> bytes) override { pty_.send(bytes); }
  std::vector<std::uint8_t> device_receives(std::size_t count) override { return pty_.receive(count); }
  void device_stalls() override {}  // it takes nothing but what device_receives() asks for
  void device_vanishes() override { pty_.unplug(); }

 private:
  Pty pty_;
  std::shared_ptr<SerialTransport> transport_;
};

}  // namespace

std::vector<RigKind> system_rig_kinds() {
  return {{"PseudoTerminal", kSerialLine, [] { return std::make_unique<PtyRig>(); }}};
}

}  // namespace hvt::test
