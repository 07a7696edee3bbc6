#pragma once

#include <filesystem>
#include <string>
#include <thread>

#include "recording/recording_writer.h"
#include "tests/support/folder.h"
#include "tests/support/time_limit.h"
#include "tools/recover/session_metadata.h"

namespace hvt::test {

// A recording called "run" in a folder of its own on this machine's disk.
struct OnDisk {
  Folder folder;
  RecordingConfig config;

  OnDisk() {
    config.directory = folder.path();
    config.filename = L"run";
  }
  std::filesystem::path path(const std::string& name) const { return folder.path() / name; }
  std::string content(const std::string& name) const { return read_file(path(name)); }
  recover::SessionMetadata metadata() const { return recover::parse_metadata(content("run.meta.json")); }
};

inline void wait_for_end(const RecordingWriter& writer) {
  const TimeLimit limit("the end of the recording");
  while (!writer.status().ended)
    std::this_thread::yield();
}

}  // namespace hvt::test
