#pragma once

#include <filesystem>
#include <string_view>

#include "recording/recording_files.h"

namespace hvt {

// The session's metadata file: claimed once, replaced as a whole from then on.
//
// Promises  a reader sees the old text or the new one, never a mixture. A left-over ".pending" file of
// another
//           writer is neither overwritten nor removed; one that a failed attempt of this writer left is.
// Threads   one.
// Owns      nothing; the file stays.
// Ends      any time.
//
// Failures are std::runtime_error with a sentence for the user.
class MetadataFile {
 public:
  static constexpr int kMoveAttempts = 20;

  MetadataFile(RecordingFiles& files, std::filesystem::path path);

  // Creates the file with its first text; false when there is one of that name already.
  bool claim(std::string_view text);
  void publish(std::string_view text);

 private:
  void move_into_place();

  RecordingFiles& files_;
  std::filesystem::path path_;
  std::filesystem::path pending_;
};

}  // namespace hvt
