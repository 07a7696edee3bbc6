#include "tests/serial/win32/mapped_port_rig.h"

// Before windows.h, which would bring its own older sockets.
#include <windows.h>
#include <winsock2.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string>
#include <utility>

#include "serial/win32/open_port.h"

namespace hvt::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr DWORD kPatienceMs = 5'000;
constexpr int kSmallQueue = 4'096;  // so that a device that takes nothing is soon felt at the other end

// The bridge's TCP port on this machine, or 0 without a bridge.
u_short bridge_port() {
  std::array<wchar_t, 16> text{};
  const DWORD length = GetEnvironmentVariableW(L"HVT_PTY_BRIDGE", text.data(), DWORD{text.size()});
  return length == 0 || length >= text.size() ? u_short{0} : static_cast<u_short>(std::stoul(text.data()));
}

// One end of a connection; every call gives up after 5 s.
class Connection {
 public:
  Connection() : socket_(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP)) {
    set(SOL_SOCKET, SO_RCVBUF, kSmallQueue);
    set(SOL_SOCKET, SO_SNDBUF, kSmallQueue);
    set(SOL_SOCKET, SO_RCVTIMEO, kPatienceMs);
    set(SOL_SOCKET, SO_SNDTIMEO, kPatienceMs);
    set(IPPROTO_TCP, TCP_NODELAY, 1);
    sockaddr_in bridge{};
    bridge.sin_family = AF_INET;
    bridge.sin_port = htons(bridge_port());
    bridge.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(socket_, reinterpret_cast<const sockaddr*>(&bridge), sizeof(bridge)) != 0) {
      close();
      throw std::runtime_error("no pseudo-terminal bridge");
    }
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection() { close(); }

  bool send_all(std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
      const int sent =
          send(socket_, reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size()), 0);
      if (sent <= 0) return false;
      bytes = bytes.subspan(static_cast<std::size_t>(sent));
    }
    return true;
  }

  Bytes receive(std::size_t count) {
    Bytes received(count);
    std::size_t filled = 0;
    while (filled < count) {
      const int got = recv(socket_, reinterpret_cast<char*>(received.data() + filled),
                           static_cast<int>(count - filled), 0);
      if (got <= 0) break;
      filled += static_cast<std::size_t>(got);
    }
    received.resize(filled);
    return received;
  }

  void close() {
    if (socket_ != INVALID_SOCKET) closesocket(std::exchange(socket_, INVALID_SOCKET));
  }

 private:
  template <typename Value>
  void set(int level, int option, Value value) {
    setsockopt(socket_, level, option, reinterpret_cast<const char*>(&value), sizeof(value));
  }

  SOCKET socket_;
};

struct Sockets {
  Sockets() {
    WSADATA data{};
    WSAStartup(MAKEWORD(2, 2), &data);
  }
  Sockets(const Sockets&) = delete;
  Sockets& operator=(const Sockets&) = delete;
  ~Sockets() { WSACleanup(); }
};

class MappedPortRig final : public TransportRig {
 public:
  MappedPortRig() {
    SerialSettings settings;
    settings.port = port_name();
    std::wstring error;
    transport_ = open_win32_port(settings, error);
    if (!transport_) {
      throw std::runtime_error("cannot open the mapped port: " + std::string(error.begin(), error.end()));
    }
  }
  // The port before the device, as a user would: Wine serves a port that outlives its device badly.
  ~MappedPortRig() override {
    transport_->cancel();
    transport_.reset();
  }

  const std::shared_ptr<SerialTransport>& transport() const override { return transport_; }

  void device_sends(std::span<const std::uint8_t> bytes) override {
    while (!bytes.empty()) {
      const std::span<const std::uint8_t> piece =
          bytes.first(std::min<std::size_t>(bytes.size(), kSmallQueue));
      if (!device_.send_all(piece) || on_the_line_.receive(piece.size()).size() < piece.size()) return;
      bytes = bytes.subspan(piece.size());
    }
  }

  Bytes device_receives(std::size_t count) override { return device_.receive(count); }
  void device_stalls() override {}  // it takes only what device_receives() asks for
  void device_vanishes() override {
    device_.close();
    on_the_line_.receive(1);  // ends when the bridge has let go of the line
  }

 private:
  // The bridge greets with the port's name and a line feed.
  std::wstring port_name() {
    std::wstring name;
    for (Bytes next = device_.receive(1); !next.empty() && next[0] != '\n'; next = device_.receive(1)) {
      name.push_back(static_cast<wchar_t>(next[0]));
    }
    return name;
  }

  Sockets sockets_;
  Connection device_;
  Connection on_the_line_;  // repeats what the device sent, once it is on the line
  std::shared_ptr<SerialTransport> transport_;
};

}  // namespace

bool mapped_ports_available() {
  return bridge_port() != 0;
}

std::unique_ptr<TransportRig> make_mapped_port_rig() {
  return std::make_unique<MappedPortRig>();
}

}  // namespace hvt::test
