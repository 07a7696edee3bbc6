#pragma once

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "recording/names.h"
#include "recording/recording_files.h"

namespace hvt::test {

enum class DiskOp { create_folders, create, write, flush, close, replace };

inline FileResult failed(std::uint32_t code) {
  return {FileResult::Fault::failed, code};
}

// A disk in memory that can be made to fail at any operation.
//
// `fault` is asked before every operation, with the file's name (the target's for a replace), and may throw
// or wait, too. It is set before the disk is used. `space` is what fits on the disk.
class MemoryDisk {
  template <typename Function>
  auto locked(Function function) const {
    const std::lock_guard lock(mutex_);
    return function();
  }

 public:
  std::function<FileResult(DiskOp, const std::string& name)> fault;

  std::unique_ptr<RecordingFiles> files();

  void put(const std::string& name, std::string content) {
    locked([&] { files_[name] = std::move(content); });
  }
  void set_space(std::uint64_t bytes) {
    locked([&] { space_ = bytes; });
  }
  bool has(const std::string& name) const {
    return locked([&] { return files_.contains(name); });
  }
  std::string content(const std::string& name) const {
    return locked([&] { return files_.contains(name) ? files_.at(name) : std::string("no such file"); });
  }
  // Names of all files, sorted.
  std::vector<std::string> names() const {
    return locked([&] {
      std::vector<std::string> names;
      for (const auto& [name, content] : files_)
        names.push_back(name);
      return names;
    });
  }
  // The parts of a session behind each other.
  std::string parts(const std::string& base) const {
    return locked([&] {
      std::string all;
      for (std::uint64_t number = 1;; ++number) {
        const auto part = files_.find(base + "_part" + padded(number, 3) + ".log");
        if (part == files_.end()) return all;
        all += part->second;
      }
    });
  }
  // Every text that was put in the place of the metadata, in order.
  std::vector<std::string> published() const {
    return locked([&] { return published_; });
  }
  int waits() const {
    return locked([&] { return waits_; });
  }
  int flushes() const {
    return locked([&] { return flushes_; });
  }

 private:
  class File;
  class Files;

  FileResult ask(DiskOp op, const std::string& name) { return fault ? fault(op, name) : FileResult{}; }

  mutable std::mutex mutex_;
  std::map<std::string, std::string> files_;
  std::vector<std::string> published_;
  std::uint64_t space_ = std::numeric_limits<std::uint64_t>::max();
  int waits_ = 0;
  int flushes_ = 0;
};

class MemoryDisk::File final : public OutputFile {
 public:
  File(MemoryDisk& disk, std::string name) : disk_(disk), name_(std::move(name)) {}

  std::size_t write(std::string_view bytes) override {
    const FileResult result = disk_.ask(DiskOp::write, name_);
    if (!result.ok()) return fail(result.code);
    return disk_.locked([&] {
      const std::size_t fits = static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), disk_.space_));
      disk_.space_ -= fits;
      disk_.files_[name_].append(bytes.substr(0, fits));
      if (fits < bytes.size()) fail(kNoSpace);
      return fits;
    });
  }
  bool flush() override {
    disk_.locked([&] { ++disk_.flushes_; });
    return outcome(disk_.ask(DiskOp::flush, name_));
  }
  bool close() override { return outcome(disk_.ask(DiskOp::close, name_)); }
  int last_error() const override { return last_error_; }

 private:
  static constexpr std::uint32_t kNoSpace = 28;

  std::size_t fail(std::uint32_t code) {
    last_error_ = static_cast<int>(code);
    return 0;
  }
  bool outcome(const FileResult& result) {
    if (!result.ok()) fail(result.code);
    return result.ok();
  }

  MemoryDisk& disk_;
  const std::string name_;
  int last_error_ = 0;
};

class MemoryDisk::Files final : public RecordingFiles {
 public:
  explicit Files(MemoryDisk& disk) : disk_(disk) {}

  FileResult create_folders(const std::filesystem::path& path) override {
    return disk_.ask(DiskOp::create_folders, path.filename().string());
  }
  std::shared_ptr<void> reserve(const std::filesystem::path&, std::size_t bytes) override {
    const auto change = [disk = &disk_](auto by) { disk->locked([&] { disk->space_ += by; }); };
    change(std::uint64_t{0} - bytes);
    return {&disk_, [=](void*) { change(bytes); }};
  }
  std::unique_ptr<OutputFile> create_new(const std::filesystem::path& path, FileResult& result) override {
    const std::string name = path.filename().string();
    result = disk_.ask(DiskOp::create, name);
    if (!result.ok()) return nullptr;
    if (disk_.has(name)) {
      result = {FileResult::Fault::exists, 17};
      return nullptr;
    }
    disk_.put(name, "");
    return std::make_unique<File>(disk_, name);
  }
  FileResult replace(const std::filesystem::path& from, const std::filesystem::path& to) override {
    const FileResult result = disk_.ask(DiskOp::replace, to.filename().string());
    if (!result.ok()) return result;
    disk_.locked([&] {
      auto moved = disk_.files_.extract(from.filename().string());
      disk_.published_.push_back(moved.mapped());
      disk_.files_[to.filename().string()] = std::move(moved.mapped());
    });
    return {};
  }
  void remove(const std::filesystem::path& path) override {
    disk_.locked([&] { disk_.files_.erase(path.filename().string()); });
  }
  void wait_for_reader() override {
    disk_.locked([&] { ++disk_.waits_; });
  }

 private:
  MemoryDisk& disk_;
};

inline std::unique_ptr<RecordingFiles> MemoryDisk::files() {
  return std::make_unique<Files>(*this);
}

}  // namespace hvt::test
