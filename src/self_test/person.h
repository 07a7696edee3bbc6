#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "self_test/device_bay.h"
#include "self_test/driver.h"
#include "self_test/results.h"
#include "self_test/stage.h"
#include "settings/app_settings.h"
#include "ui/texts.h"

namespace hvt::self_test {

// A scene saw something else than it should.
struct Mismatch {
  Finding finding;
};

// Who plays a scene: starts the program, uses it, and says what should be seen.
//
// Promises  what should be seen is waited for, up to kPatience; then a Mismatch is thrown. Input goes to
//           controls that can be used; one that cannot be is waited for in the same way.
// Threads   the thread of the script.
// Owns      nothing; the program's data stays in the scene's folder.
// Ends      with the scene; leave() closes what is still open.
class Person {
 public:
  static constexpr std::chrono::seconds kPatience{10};

  Person(Stage& stage, Driver& driver, DeviceBay& bay, std::filesystem::path folder);

  // The program

  // Starts it with these settings, or with what is in its folder.
  void start(const AppSettings& settings);
  void start();
  void set_recording(RecordingConfig recording) { recording_ = std::move(recording); }
  // The button in the window's corner; what was left must be closed within `limit`.
  void close(std::chrono::milliseconds limit = kPatience);
  // Whatever state the program is in.
  void leave();
  const std::filesystem::path& folder() const { return folder_; }
  // What there is to be seen now, in place of an earlier picture of the scene. close() takes one by itself.
  void take_picture() { driver_.take_picture(picture_); }
  const std::filesystem::path& picture() const { return picture_; }

  // Using it

  void click(ControlId id);
  void double_click(ControlId id);
  void press(Key key) { driver_.press(key); }
  void press_in(ControlId id, Key key);
  // The field holds this text afterwards, typed in place of what it held.
  void fill(ControlId id, std::wstring_view text);
  void choose(ControlId id, std::wstring_view entry);
  void choose_menu(MenuItem item);
  void set_checked(ControlId id, bool checked);
  void connect();
  void disconnect();
  void answer_notice(std::wstring_view text);
  // A box with these words somewhere in it; it is closed afterwards.
  void sees_box(std::wstring_view title, std::wstring_view words);
  void answer_file_dialog(std::wstring_view title, std::wstring_view name);
  void cancel_file_dialog(std::wstring_view title);

  // What should be seen

  void sees(std::wstring_view what, const std::function<std::wstring()>& now, std::wstring_view expected);
  void sees_true(std::wstring_view what, const std::function<bool()>& now);
  void sees_text(ControlId id, std::wstring_view expected);
  void sees_status(std::wstring_view expected) { sees_text(ControlId::status, expected); }
  void sees_enabled(ControlId id, bool expected);
  void sees_visible(ControlId id, bool expected);
  void sees_checked(ControlId id, bool expected);
  // Elapsed times read "[t ms]".
  void sees_received(std::wstring_view expected);
  void device_gets(std::string_view expected);
  // The program has handled all input so far.
  void settle();

  std::wstring received() const;
  Driver& driver() { return driver_; }
  DeviceBay& bay() { return bay_; }
  ScriptedDevice& device();

 private:
  void settle_briefly();
  Box front_box();
  void answer_box(bool accept);

  Stage& stage_;
  Driver& driver_;
  DeviceBay& bay_;
  const std::filesystem::path folder_;
  const std::filesystem::path picture_ = std::filesystem::path(folder_) += ".png";
  const std::filesystem::path box_picture_ = std::filesystem::path(folder_) += "_box.png";
  RecordingConfig recording_;
};

// "[12.3 ms]" becomes "[t ms]".
std::wstring without_times(std::wstring_view text);

// Settings of a person who sends and receives, with the port chosen.
AppSettings sending_settings(std::wstring_view port = kScriptedPort);

}  // namespace hvt::self_test
