#include "app/error_log.h"

#include <exception>
#include <fstream>

#include "base/text.h"

namespace hvt {

std::string error_log_line(const LocalTime& time, std::wstring_view message) {
  const auto number = [](int value) { return std::to_string(value); };
  return number(time.year) + "-" + number(time.month) + "-" + number(time.day) + " " + number(time.hour) +
         ":" + number(time.minute) + ":" + number(time.second) + " " + utf16_to_utf8(message) + "\r\n";
}

void ErrorLog::append(std::wstring_view message) const {
  if (file_.empty()) return;
  try {
    const std::string line = error_log_line(local_time_now(), message);
    std::filesystem::create_directories(file_.parent_path());
    std::ofstream file(file_, std::ios::binary | std::ios::app);
    file.write(line.data(), static_cast<std::streamsize>(line.size()));
  } catch (const std::exception&) {
    // It is in the status line all the same.
  }
}

}  // namespace hvt
