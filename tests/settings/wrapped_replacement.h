#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "settings/file_replacement.h"

namespace hvt::test {

// The system's own steps with a place before each of them where a test can act.
//
// Promises  every step is told to before_step() by its name, which may forbid it; it then fails without
// having
//           been tried. A write that is forbidden stores the first half of the bytes, as a full disk does.
// Threads   like FileReplacement.
// Owns      the system's steps.
// Ends      like FileReplacement.
class WrappedReplacement : public FileReplacement {
 public:
  enum class Verdict { kGoOn, kFail, kBusy };

  // "create", "write", "flush", "close", "replace", "pause", "sync_folder", "discard".
  virtual Verdict before_step(std::string_view name) = 0;

  std::filesystem::path resolve(const std::filesystem::path& path) override { return real_->resolve(path); }

  bool create(const std::filesystem::path& temporary, const std::filesystem::path& target) override {
    return goes_on("create") && real_->create(temporary, target);
  }

  bool write(std::string_view bytes) override {
    if (goes_on("write")) return real_->write(bytes);
    real_->write(bytes.substr(0, bytes.size() / 2));
    return false;
  }

  bool flush() override { return goes_on("flush") && real_->flush(); }

  void close() override {
    before_step("close");
    real_->close();
  }

  Outcome replace(const std::filesystem::path& temporary, const std::filesystem::path& target) override {
    switch (before_step("replace")) {
      case Verdict::kGoOn: break;
      case Verdict::kFail: return Outcome::kFailed;
      case Verdict::kBusy: return Outcome::kBusy;
    }
    return real_->replace(temporary, target);
  }

  void pause() override { before_step("pause"); }

  void sync_folder(const std::filesystem::path& target) override {
    if (goes_on("sync_folder")) real_->sync_folder(target);
  }

  void discard(const std::filesystem::path& temporary) override {
    before_step("discard");
    real_->discard(temporary);
  }

 private:
  bool goes_on(std::string_view name) { return before_step(name) == Verdict::kGoOn; }

  const std::unique_ptr<FileReplacement> real_ = system_file_replacement();
};

}  // namespace hvt::test
