#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string_view>

#include "tools/recover/binary_stdout.h"
#include "tools/recover/recovery.h"

namespace hvt::recover {
namespace {

constexpr std::string_view kHelp =
    "usage: hvt-recover SESSION.meta.json [RAW]\n"
    "\n"
    "Compares a recording with what its metadata says and turns its text back into the received bytes, "
    "which\n"
    "are written to the file RAW (\"-\" is standard output; the report then goes to standard error).\n"
    "\n"
    "Exit status: 0 the recording is whole, 1 it is not, 2 it cannot be read.\n"
    "\n"
    "Not in the text, and so not to be recovered: CR and LF while \"Hide CR/LF\" was checked, and which "
    "bytes\n"
    "came as ASCII and which as Hex when that was changed meanwhile. A device that\n"
    "sends the four characters <LF> looks like one that sends a line feed; the byte counts then differ.\n";

void print(const Recovery& found, std::ostream& out) {
  const SessionMetadata& said = found.metadata;
  out << "session  " << said.session_base << ", " << said.port << ", "
      << (said.format == ReceiveFormat::hex ? "HEX" : "ASCII") << '\n'
      << "ended    " << (said.finalized ? said.stop_reason : "not finished") << ", integrity "
      << said.integrity << '\n'
      << "parts    " << found.parts_found << " of " << said.parts_created << '\n'
      << "text     " << found.text_bytes << " bytes, metadata " << said.log_written_bytes << '\n'
      << "received " << found.raw_bytes << " bytes, metadata " << said.raw_rx_delivered_bytes << '\n';
  for (const std::string& remark : found.remarks)
    out << "note     " << remark << '\n';
  for (const std::string& problem : found.problems)
    out << "problem  " << problem << '\n';
  out << "verdict  " << (found.whole() ? "whole" : "NOT WHOLE") << '\n';
}

Recovery recover_to(std::string_view session, std::ostream& raw) {
  const auto found = recover(std::filesystem::path(session), [&](std::span<const std::uint8_t> bytes) {
    raw.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  });
  if (!raw.flush()) throw std::runtime_error("Cannot write the received bytes.");
  return found;
}

int run(std::string_view session, std::string_view raw) {
  Recovery found;
  if (raw == "-") {
    make_stdout_binary();
    found = recover_to(session, std::cout);
  } else if (raw.empty()) {
    found = recover(std::filesystem::path(session));
  } else {
    std::ofstream file(std::filesystem::path(raw), std::ios::binary);
    if (!file) throw std::runtime_error("Cannot create " + std::string(raw) + ".");
    found = recover_to(session, file);
  }
  print(found, raw == "-" ? std::cerr : std::cout);
  return found.whole() ? 0 : 1;
}

}  // namespace
}  // namespace hvt::recover

int main(int count, char** values) {
  const std::string_view first = count > 1 ? values[1] : "";
  if (count < 2 || count > 3 || first == "--help") {
    (first == "--help" ? std::cout : std::cerr) << hvt::recover::kHelp;
    return first == "--help" ? 0 : 2;
  }
  try {
    return hvt::recover::run(first, count > 2 ? values[2] : "");
  } catch (const std::exception& error) {
    std::cerr << "hvt-recover: " << error.what() << '\n';
    return 2;
  }
}
