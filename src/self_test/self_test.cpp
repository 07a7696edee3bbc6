#include "self_test/self_test.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "base/text.h"
#include "self_test/device_bay.h"
#include "self_test/driver.h"
#include "self_test/person.h"
#include "self_test/results.h"
#include "self_test/scenes.h"
#include "self_test/stage.h"
#include "settings/data_file.h"

namespace hvt::self_test {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kLimit{170};

std::chrono::milliseconds since(Clock::time_point begin) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
}

// The script of a run: plays the scenes one after the other and keeps the results on the disk up to date.
//
// Threads   run() on a thread of its own; it is watched from another one.
class Script {
 public:
  Script(std::filesystem::path folder, Stage& stage, Driver& driver, DeviceBay& bay)
      : folder_(std::move(folder)), stage_(stage), driver_(driver), bay_(bay) {}

  void run() {
    bool goes_on = true;
    for (const Scene& scene : all_scenes()) {
      if (goes_on) add(play(scene));
      goes_on = goes_on && !stage_.is_open();  // nothing can follow a window that does not close
    }
    if (!goes_on) end_without_window();
    const std::lock_guard lock(mutex_);
    results_.complete = true;
    finish();
  }

  // The interface thread cannot be ended.
  [[noreturn]] void end_without_window() {
    const std::lock_guard lock(mutex_);
    finish();
    std::_Exit(EXIT_FAILURE);
  }

  // Waits for the end of run(); without one in time, ends the process.
  void watch() {
    std::unique_lock lock(mutex_);
    if (changed_.wait_for(lock, kLimit, [this] { return finished_; })) return;
    results_.scenes.push_back({.name = current_, .finding = {L"time", L"an end", L"the self-test hangs"}});
    finish();
    std::_Exit(EXIT_FAILURE);
  }

  bool passed() const { return results_.passed(); }

 private:
  SceneResult play(const Scene& scene) {
    SceneResult result{.name = std::string(scene.name)};
    {
      const std::lock_guard lock(mutex_);
      current_ = result.name;
    }
    const auto begin = Clock::now();
    Person person(stage_, driver_, bay_, folder_ / scene.name);
    result.passed = attempt(result.finding, [&] { scene.play(person); });
    take_picture(person, result);
    Finding leaving;
    if (!attempt(leaving, [&] { person.leave(); }) && std::exchange(result.passed, false))
      result.finding = leaving;
    result.duration = since(begin);
    return result;
  }

  template <typename Action>
  static bool attempt(Finding& finding, Action&& action) {
    try {
      action();
      return true;
    } catch (const Mismatch& mismatch) {
      finding = mismatch.finding;
    } catch (const std::exception& error) {
      finding = {L"error", L"none", message_of(error)};
    }
    return false;
  }

  // A scene that ends with the window closed has taken its picture before.
  void take_picture(Person& person, SceneResult& result) {
    Finding finding;
    if (stage_.is_open() && !attempt(finding, [&] { person.take_picture(); }) &&
        std::exchange(result.passed, false))
      result.finding = finding;
    if (std::filesystem::exists(person.picture())) result.picture = person.picture().filename().string();
  }

  void add(SceneResult result) {
    const std::lock_guard lock(mutex_);
    std::fputs(scene_line(result).c_str(), stdout);
    std::fflush(stdout);
    results_.scenes.push_back(std::move(result));
    write();
  }

  // Under the lock.
  void write() {
    results_.duration = since(begin_);
    write_data_file_atomically(folder_ / "results.json", results_document(results_));
  }
  void finish() {
    finished_ = true;
    changed_.notify_all();
    write();
  }

  const std::filesystem::path folder_;
  Stage& stage_;
  Driver& driver_;
  DeviceBay& bay_;
  const Clock::time_point begin_ = Clock::now();
  std::mutex mutex_;
  std::condition_variable changed_;
  Results results_;
  std::string current_;
  bool finished_ = false;
};

}  // namespace
}  // namespace hvt::self_test

namespace hvt {

int run_self_test(const std::filesystem::path& run_folder, const Launch& launch) {
  using namespace self_test;
  const std::unique_ptr<Driver> driver = create_driver();
  DeviceBay bay;
  Stage stage(launch, *driver, bay);
  Script script(run_folder, stage, *driver, bay);
  std::thread watch([&] { script.watch(); });
  std::thread play([&] {
    script.run();
    stage.end();
  });
  stage.serve();
  play.join();
  watch.join();
  return script.passed() ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace hvt
