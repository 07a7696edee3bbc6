#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace hvt {

// How a file operation ended.
struct FileResult {
  enum class Fault : std::uint8_t {
    none,
    exists,         // create_new(): there is a file of that name
    held,           // replace(): a reader holds the target; it may let go
    no_descriptor,  // create_new(): the file is there, the runtime has no room for it
    no_stream,
    failed,
  };
  Fault fault = Fault::none;
  std::uint32_t code = 0;  // the system's number for the failure

  bool ok() const { return fault == Fault::none; }
};

// One file that is being written.
//
// Promises  what write() took is with the system: it survives the end of this process, and readers see it.
// Threads   one.
// Owns      the open file.
// Ends      with close(), once; the destructor closes a file that is still open and cannot tell how that
// went.
class OutputFile {
 public:
  virtual ~OutputFile() = default;

  // How many bytes were written. Fewer than given: it failed, and last_error() is the errno value.
  virtual std::size_t write(std::string_view bytes) = 0;
  // Whether it worked; last_error() as above. A file that was removed meanwhile is a failure where the system
  // allows removing an open file: what is written into it is lost.
  virtual bool flush() = 0;
  virtual bool close() = 0;
  virtual int last_error() const = 0;
};

// The file operations that a recording needs, and nothing about recordings: a double can make each one fail.
//
// Promises  each method tries once and reports what the system said. Nothing is overwritten but the target of
//           replace(). Others may read every file at any time, while it grows too.
// Threads   one at a time.
// Ends      after the writer that uses it.
class RecordingFiles {
 public:
  virtual ~RecordingFiles() = default;

  // With all parents; existing ones are no failure. The code is an errno value on every system.
  virtual FileResult create_folders(const std::filesystem::path& path) = 0;
  // Room on the disk of that folder, kept until the result goes: what is said about a recording that filled
  // the disk has to fit on it, too. Null where it cannot be had without a file that others see.
  virtual std::shared_ptr<void> reserve(const std::filesystem::path& folder, std::size_t bytes) = 0;
  // A new file to write to; null with the reason in `result`.
  virtual std::unique_ptr<OutputFile> create_new(const std::filesystem::path& path, FileResult& result) = 0;
  // Puts one file in the place of another in one step.
  virtual FileResult replace(const std::filesystem::path& from, const std::filesystem::path& to) = 0;
  // If it can.
  virtual void remove(const std::filesystem::path& path) = 0;
  // Gives the reader of a file that is held time to let go.
  virtual void wait_for_reader() = 0;
};

std::unique_ptr<RecordingFiles> system_recording_files();

// "(errno 13)." or "(Windows error 5).", for the code of create_new() and replace().
std::string system_error_suffix(std::uint32_t code);
std::string errno_suffix(int code);

}  // namespace hvt
