#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string_view>

namespace hvt {

// The steps of the system by which one new file replaces another: create, write, flush, close, replace,
// sync_folder in this order, or discard at the first that fails.
//
// Promises  a step says whether it succeeded; none throws but for want of memory.
// Threads   one at a time; different objects are independent.
// Owns      the open temporary file.
// Ends      with its destructor, which closes a file that is still open and leaves it where it is.
class FileReplacement {
 public:
  enum class Outcome {
    kDone,
    kBusy,  // another program has the target open; may succeed shortly
    kFailed,
  };

  virtual ~FileReplacement() = default;

  // The place that the file really has: behind symbolic links where the system keeps those.
  virtual std::filesystem::path resolve(const std::filesystem::path& path) = 0;

  // Makes the temporary file, to be written by nobody else. Must fail where the name is taken. It may take
  // over the access rights of the target, which need not exist.
  virtual bool create(const std::filesystem::path& temporary, const std::filesystem::path& target) = 0;
  virtual bool write(std::string_view bytes) = 0;  // all of them, or it failed
  virtual bool flush() = 0;                        // to the disk
  virtual void close() = 0;                        // what could go wrong, flush() has told

  // Gives the temporary file the target's name in one step that nobody sees half done.
  virtual Outcome replace(const std::filesystem::path& temporary, const std::filesystem::path& target) = 0;
  virtual void pause();  // between two attempts to replace a busy target: 5 ms

  // Makes the new name as lasting as the content. The file is replaced by then, so a folder that cannot be
  // synchronised is no failure.
  virtual void sync_folder(const std::filesystem::path& target) = 0;

  // Closes the temporary file if it is open, and removes it.
  virtual void discard(const std::filesystem::path& temporary) = 0;
};

// Those of this system.
std::unique_ptr<FileReplacement> system_file_replacement();

std::uint32_t current_process_id();

// True only when no such process exists any more; false in doubt.
bool process_is_gone(std::uint32_t process_id);

}  // namespace hvt
