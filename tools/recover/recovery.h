#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "tools/recover/session_metadata.h"
#include "tools/recover/text_decoder.h"

namespace hvt::recover {

// What is left of a recording.
struct Recovery {
  SessionMetadata metadata;
  std::uint64_t parts_found = 0;
  std::uint64_t text_bytes = 0;
  std::uint64_t raw_bytes = 0;
  std::vector<std::string> problems;  // why the recording is not whole
  std::vector<std::string> remarks;   // what else a reader should know

  bool whole() const { return problems.empty(); }
};

// Reads the session whose ".meta.json" is given, compares it with its parts and hands the received bytes to
// `sink`, if there is one. Throws std::runtime_error when the metadata cannot be read.
Recovery recover(const std::filesystem::path& metadata_path, const TextDecoder::Sink& sink = {});

}  // namespace hvt::recover
