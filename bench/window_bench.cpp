// The window under load and at rest. full_repaint: one repaint of a large receive view, whatever it holds.
// flood: a device that sends as fast as the line takes it, beside a bare read loop in the same run, while a
// thread keeps asking the window for an answer: latency is from posting an event to its handler. idle: what a
// connection costs on which nothing happens, beside a thread that only wakes up as often as a read must.
// switch_theme: the whole window in the other colours, its view full as Buffer Size allows. Without a display
// they run on the toolkit's offscreen platform.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <unistd.h>

#include <QApplication>
#include <QEventLoop>
#include <QLabel>
#include <QScrollBar>
#include <QTimer>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "app/app.h"
#include "bench/application.h"
#include "serial/transport_limits.h"
#include "tests/support/device_process.h"
#include "ui/qt/look.h"
#include "ui/qt/main_window.h"

namespace hvt {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

enum Shape : std::int64_t { kShortLines, kEndlessLine, kTokens };

DisplayBatch make_batch(Shape shape) {
  DisplayBatch batch;
  while (batch.characters() < 8192) {
    if (shape == kEndlessLine) {
      batch.add(L"UUUUUUUU", ColorRole::normal);
    } else if (shape == kShortLines) {
      batch.add(
          L"a line of more characters than fit into a row of this window: it is wrapped and goes on with ",
          ColorRole::normal);
      batch.add(L"even more of them until it has about as many as two rows have, or perhaps some more\r\n",
                ColorRole::normal);
    } else {
      batch.add(L"[RX] ", ColorRole::header);
      batch.add(L"<0xAB>OK<STX><0x9F>7 of 9, and then some<0xEE>", ColorRole::rx_payload);
      batch.add(L"<CR><LF>", ColorRole::control);
      batch.add(L"[TX] ", ColorRole::header);
    }
  }
  return batch;
}

// On the screen, holding so many characters of the batch.
std::unique_ptr<ReceiveViewWidget> full_view(const DisplayBatch& batch, std::int64_t characters) {
  bench::application();
  auto view = std::make_unique<ReceiveViewWidget>(nullptr);
  view->setFont(look::fixed_font(QApplication::font()));
  view->resize(1600, 1200);
  view->show();
  view->begin_update();
  for (std::int64_t held = 0; held < characters;)
    held += static_cast<std::int64_t>(view->append(batch));
  view->end_update({.follow = true});
  return view;
}

void full_repaint(benchmark::State& state) {
  const DisplayBatch batch = make_batch(static_cast<Shape>(state.range(0)));
  const auto view = full_view(batch, state.range(1));
  QApplication::processEvents();
  if (state.range(2) != 0) view->select_all();
  for (auto _ : state)
    view->viewport()->repaint();
}
BENCHMARK(full_repaint)
    ->ArgNames({"shape", "held", "selected"})
    ->ArgsProduct({{kShortLines, kEndlessLine, kTokens}, {16'384, 24'000'000}, {0, 1}})
    ->Unit(benchmark::kMillisecond);

// The same batches appended with an update each, as the pump does while following a fast line.
void append_and_update(benchmark::State& state) {
  const DisplayBatch batch = make_batch(static_cast<Shape>(state.range(0)));
  const auto view = full_view(batch, state.range(1));
  for (auto _ : state) {
    view->begin_update();
    view->trim_head(view->append(batch));
    view->end_update({.follow = true, .scroll = false, .repaint = false});
  }
}
BENCHMARK(append_and_update)
    ->ArgNames({"shape", "held"})
    ->ArgsProduct({{kShortLines, kEndlessLine, kTokens}, {16'384, 24'000'000}})
    ->Unit(benchmark::kMicrosecond);

// Flood

std::uint64_t resident_bytes() {
  std::ifstream file("/proc/self/statm");
  std::uint64_t pages = 0;
  file >> pages >> pages;
  return pages * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

// Seconds of processor time of this thread.
double thread_seconds() {
  timespec time{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// Asks the interface thread for an answer again and again, as a hand that never rests.
class Asker final : public QObject {
 public:
  void run(const std::atomic<bool>& stop) {
    while (!stop) {
      answered_ = false;
      asked_at_ = Clock::now();
      QCoreApplication::postEvent(this, new QEvent(kAsk));
      while (!answered_ && !stop)
        std::this_thread::sleep_for(100us);
      std::this_thread::sleep_for(3ms);
    }
  }
  double quantile_ms(double part) {
    if (latencies_.empty()) return 0;
    std::sort(latencies_.begin(), latencies_.end());
    return latencies_[static_cast<std::size_t>(part * static_cast<double>(latencies_.size() - 1))];
  }
  std::size_t count() const { return latencies_.size(); }

 protected:
  bool event(QEvent* event) override {
    if (event->type() != kAsk) return QObject::event(event);
    latencies_.push_back(std::chrono::duration<double, std::milli>(Clock::now() - asked_at_.load()).count());
    answered_ = true;
    return true;
  }

 private:
  static constexpr auto kAsk = static_cast<QEvent::Type>(QEvent::User + 77);
  std::atomic<Clock::time_point> asked_at_{};
  std::atomic<bool> answered_{true};
  std::vector<double> latencies_;  // interface thread
};

std::string port_of(test::DeviceProcess& device) {
  const std::string ready = device.line("ready");
  return ready.substr(ready.rfind(' ') + 1);
}

// What a loop that only reads takes in `time`, in bytes per second.
double bare_rate(const std::vector<std::string>& device_arguments, std::chrono::duration<double> time) {
  const test::PrivateRuntimeFolder folder;
  test::DeviceProcess device(device_arguments);
  const UniqueFd port(::open(port_of(device).c_str(), O_RDONLY | O_NOCTTY));
  std::vector<char> buffer(1 << 16);
  std::uint64_t received = 0;
  auto start = Clock::now();
  while (Clock::now() - start < time) {
    const ssize_t count = ::read(port.get(), buffer.data(), buffer.size());
    if (count > 0 && received == 0) start = Clock::now();
    if (count > 0) received += static_cast<std::uint64_t>(count);
  }
  return static_cast<double>(received) / time.count();
}

// The program on a flooding device.
class Flooded {
 public:
  explicit Flooded(const std::vector<std::string>& device_arguments)
      : device_(device_arguments),
        port_(port_of(device_)),
        app_(folder_.path() / "data",
             {.port_source =
                  [this] {
                    return std::vector<PortDescription>{{std::wstring(port_.begin(), port_.end()), L""}};
                  }}),
        window_(app_) {
    app_.attach(window_);
    window_.resize(1600, 1200);
  }
  ~Flooded() {
    app_.closing();
    app_.detach();
  }

  App& app() { return app_; }
  QString status() { return find<QLabel>(ControlId::status).text(); }
  template <typename Widget>
  Widget& find(ControlId id) {
    return *window_.findChild<Widget*>(QString::fromUtf8(control(id).name.data()));
  }
  void serve(std::chrono::duration<double> time) {
    QEventLoop loop;
    QTimer::singleShot(std::chrono::duration_cast<std::chrono::milliseconds>(time), &loop,
                       [&loop] { loop.quit(); });
    loop.exec();
  }

 private:
  const test::PrivateRuntimeFolder folder_;
  test::DeviceProcess device_;
  const std::string port_;
  App app_;
  QtMainWindow window_;
};

// Bytes that all processes and threads took from this device so far cannot be asked for; the program's own
// read system calls can.
std::uint64_t read_bytes() {
  std::ifstream file("/proc/self/io");
  std::string name;
  std::uint64_t value = 0;
  file >> name >> value;  // "rchar:"
  return value;
}

// The first argument is the rate (0: as fast as it goes), the second 1 for Hex, the third 1 for paused.
void flood(benchmark::State& state) {
  bench::application();
  const std::string rate = state.range(0) == 0 ? "max" : std::to_string(state.range(0));
  const std::vector<std::string> arguments{"--flood", rate};
  const char* const asked = ::getenv("HVT_FLOOD_SECONDS");
  const std::chrono::duration<double> time(asked == nullptr ? 10 : std::atoi(asked));
  for (auto _ : state) {
    const double bare = state.range(0) == 0 ? bare_rate(arguments, time / 5) : 0;
    Flooded program(arguments);
    App& app = program.app();
    if (state.range(1) != 0) app.command(ControlId::receive_hex);
    app.command(ControlId::line_break);
    app.command(ControlId::connect);
    program.serve(1.5s);
    if (state.range(2) != 0) {
      QScrollBar& bar = *program.find<ReceiveViewWidget>(ControlId::receive_view).verticalScrollBar();
      bar.triggerAction(QAbstractSlider::SliderToMinimum);
    }
    Asker asker;
    std::atomic<bool> stop{false};
    std::jthread asking([&] { asker.run(stop); });
    const std::uint64_t memory = resident_bytes();
    const std::uint64_t before = read_bytes();
    const double busy = thread_seconds();
    const std::clock_t busy_all = std::clock();
    const auto start = Clock::now();
    program.serve(time);
    const std::chrono::duration<double> took = Clock::now() - start;
    stop = true;
    state.counters["bytes_per_second"] = static_cast<double>(read_bytes() - before) / took.count();
    if (bare > 0) state.counters["bare_bytes_per_second"] = bare;
    state.counters["interface_thread"] = (thread_seconds() - busy) / took.count();
    state.counters["process"] = static_cast<double>(std::clock() - busy_all) / CLOCKS_PER_SEC / took.count();
    state.counters["latency_p50_ms"] = asker.quantile_ms(0.5);
    state.counters["latency_p99_ms"] = asker.quantile_ms(0.99);
    state.counters["latency_max_ms"] = asker.quantile_ms(1);
    state.counters["answers"] = static_cast<double>(asker.count());
    state.counters["more_memory"] = static_cast<double>(resident_bytes()) - static_cast<double>(memory);
    state.counters["full"] = program.status().startsWith(QStringLiteral("Receive display is full"));
    app.command(ControlId::clear);
    state.counters["full_after_clear"] =
        program.status().startsWith(QStringLiteral("Receive display is full"));
    app.disconnect();
  }
}
BENCHMARK(flood)
    ->ArgNames({"rate", "hex", "paused"})
    ->Args({0, 0, 0})
    ->Args({0, 1, 0})
    ->Args({0, 0, 1})
    ->Args({2'000'000, 0, 0})
    ->Args({20'000'000, 0, 0})
    ->Args({150'000, 0, 0})
    ->Args({150'000, 1, 0})
    ->Args({150'000, 0, 1})
    ->Iterations(1)
    ->Unit(benchmark::kSecond);

// Milliseconds of processor time that a thread needs for nothing but waking up as often as a silent line's
// reader does.
double bare_wakes_ms(std::chrono::seconds time) {
  const double before = thread_seconds();
  for (auto woken = 0ms; woken < time; woken += kIdleReturn)
    ::poll(nullptr, 0, kIdleReturn.count());
  return 1e3 * (thread_seconds() - before);
}

void idle(benchmark::State& state) {
  bench::application();
  for (auto _ : state) {
    state.counters["bare_ms"] = bare_wakes_ms(20s);
    Flooded program({"--silent"});
    program.app().command(ControlId::connect);
    program.serve(2s);
    const std::clock_t before = std::clock();
    program.serve(20s);
    state.counters["processor_ms"] = 1e3 * static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC;
    state.counters["connected"] = program.status().startsWith(QStringLiteral("Connected to"));
    program.app().disconnect();
  }
}
BENCHMARK(idle)->Iterations(1)->Unit(benchmark::kSecond);

// Four million received bytes, each a token of six characters.
void switch_theme(benchmark::State& state) {
  bench::application();
  Flooded program({"--silent"});
  ReceiveView& view = program.find<ReceiveViewWidget>(ControlId::receive_view);
  const DisplayBatch batch = make_batch(kTokens);
  view.begin_update();
  for (std::size_t held = 0; held < 24'000'000;)
    held += view.append(batch);
  view.end_update({.follow = true});
  program.serve(100ms);
  bool dark = false;
  for (auto _ : state) {
    dark = !dark;
    program.app().menu_chosen(dark ? MenuItem::theme_dark : MenuItem::theme_light);
    QApplication::processEvents();
  }
}
BENCHMARK(switch_theme)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace hvt
