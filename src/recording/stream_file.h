#pragma once

#include <cstdio>
#include <memory>

#include "recording/recording_files.h"

namespace hvt {

// An output file over a stream of the C runtime without a buffer of its own: the blocks are large, and what
// lies in a buffer of the process is lost when the process is killed.
//
// Takes the open stream.
class StreamFile : public OutputFile {
 public:
  explicit StreamFile(std::FILE* stream);
  std::size_t write(std::string_view bytes) override;
  bool flush() override;
  bool close() override;
  int last_error() const override { return last_error_; }

 protected:
  std::FILE* stream() const { return stream_.get(); }
  bool fail(int error);

 private:
  struct Closer {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
  };
  std::unique_ptr<std::FILE, Closer> stream_;
  int last_error_ = 0;
};

// What is alike on every system.
class PortableFiles : public RecordingFiles {
 public:
  FileResult create_folders(const std::filesystem::path& path) override;
  void remove(const std::filesystem::path& path) override;
  void wait_for_reader() override;
};

}  // namespace hvt
