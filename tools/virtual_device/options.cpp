#include "tools/virtual_device/options.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <fstream>
#include <stdexcept>

namespace hvt::device {

const std::string_view kHelp =
    R"(Plays a serial device on a pseudo-terminal that HalvetricSerialTest lists as a port.

usage: hvt-virtual-device [option]...

  --name NAME              the port's name (default: the first free of ttyV0, ttyV1, ...)
  --echo                   send back what arrives
  --on REQUEST MS REPLY    answer REQUEST after MS milliseconds; repeatable
  --reply FILE             such a table: REQUEST, MS and REPLY separated by tabs, '#' begins a comment
  --every MS TEXT          say TEXT every MS milliseconds; repeatable
  --silent                 receive and say nothing (the default)
  --flood RATE             send numbered records at RATE bytes per second ("9600", "100k", "2M", "max"),
                           from record 0 on each time the port is opened: 100 ms after
                           the program emptied its queue, or 1 s after the opening
  --binary                 records of all byte values instead of text lines
  --count N, --bytes N     end the flood after N records or bytes
  --stall                  take nothing, so that writes to the port stall
  --stall-after N          take N bytes and then nothing more
  --vanish-after MS        unplug after MS milliseconds
  --return-after MS        plug in again so long after every unplugging, under the same name
  --control FIFO           read commands from FIFO as well
  --log FILE               a line for every chunk: steady clock in ns, rx or tx, length, bytes in hex
  --verify [--anywhere]    check a captured flood on standard input; --anywhere: it may begin with any record
  --help

Bytes are written as in the program's packets: \r \n \t \\ \x1B <CR> <0xAB>. "<50ms>" in a REPLY or TEXT is
a pause, so "OK<50ms>\r\n" comes in two pieces.

Standard output tells, a line each: "ready NAME PATH", "opened", "closed", "vanished".
Standard input takes commands, a line each: say TEXT, stall, resume, vanish, return, flood RATE, flood off,
quit. The device ends with "quit", SIGTERM or SIGINT; the end of the input means nothing.

examples:
  hvt-virtual-device --on 'ATI\r' 20 'Demo 1.0\r\nOK\r\n' --on 'AT\r' 5 'OK<30ms>\r\n'
  hvt-virtual-device --every 1000 'temp 21.5\r\n' --vanish-after 10000 --return-after 3000
  hvt-virtual-device --flood max --bytes 100000000
  hvt-virtual-device --verify < captured.bin
)";

namespace {

std::runtime_error bad(std::string_view option, std::string_view reason) {
  return std::runtime_error(std::string(option).append(": ").append(reason));
}

std::uint64_t parse_number(std::string_view text) {
  std::uint64_t number = 0;
  const auto [rest, failed] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (failed != std::errc() || rest != text.data() + text.size() || number == kUnlimited)
    throw std::runtime_error("\"" + std::string(text) + "\" is not a number.");
  return number;
}

std::chrono::milliseconds parse_time(std::string_view text) {
  constexpr std::uint64_t kDay = 86'400'000;
  const std::uint64_t time = parse_number(text);
  if (time > kDay) throw std::runtime_error("A time of more than a day makes no sense.");
  return std::chrono::milliseconds(time);
}

Reply parse_reply(std::string_view request, std::string_view delay, std::string_view reply) {
  Reply result{parse_bytes(request), parse_script(reply)};
  if (result.request.empty()) throw std::runtime_error("An empty request never arrives.");
  if (!result.reply.empty()) result.reply.front().after += parse_time(delay);
  return result;
}

std::vector<Reply> read_replies(std::string_view path) {
  std::ifstream file{std::string(path)};
  if (!file) throw std::runtime_error("Could not read " + std::string(path) + ".");
  std::vector<Reply> replies;
  std::size_t number = 0;
  for (std::string line; std::getline(file, line);) {
    ++number;
    if (line.empty() || line.starts_with('#')) continue;
    const std::string_view text = line;
    const std::size_t first = text.find('\t');
    const std::size_t second = text.find('\t', first == text.npos ? first : first + 1);
    if (second == text.npos)
      throw std::runtime_error("Line " + std::to_string(number) + " does not have three columns.");
    replies.push_back(parse_reply(text.substr(0, first), text.substr(first + 1, second - first - 1),
                                  text.substr(second + 1)));
  }
  return replies;
}

// What the options say before they are put together.
struct Draft {
  Options options;
  std::optional<std::uint64_t> rate;
  std::optional<std::uint64_t> count;
  std::optional<std::uint64_t> bytes;
  bool silent = false;
};

using Values = std::span<const std::string_view>;
struct Rule {
  std::string_view option;
  std::size_t values;
  void (*apply)(Draft& draft, Values values);
};

constexpr std::array kRules{
    Rule{"--name", 1, [](Draft& d, Values v) { d.options.name = v[0]; }},
    Rule{"--echo", 0, [](Draft& d, Values) { d.options.echo = true; }},
    Rule{"--on", 3, [](Draft& d, Values v) { d.options.replies.push_back(parse_reply(v[0], v[1], v[2])); }},
    Rule{"--reply", 1,
         [](Draft& d, Values v) {
           for (Reply& reply : read_replies(v[0]))
             d.options.replies.push_back(std::move(reply));
         }},
    Rule{"--every", 2,
         [](Draft& d, Values v) {
           d.options.periodic.push_back({parse_time(v[0]), parse_script(v[1])});
           if (d.options.periodic.back().interval.count() == 0)
             throw std::runtime_error("The interval must not be 0.");
         }},
    Rule{"--silent", 0, [](Draft& d, Values) { d.silent = true; }},
    Rule{"--flood", 1, [](Draft& d, Values v) { d.rate = parse_rate(v[0]); }},
    Rule{"--binary", 0, [](Draft& d, Values) { d.options.pattern = PatternKind::kBinary; }},
    Rule{"--count", 1, [](Draft& d, Values v) { d.count = parse_number(v[0]); }},
    Rule{"--bytes", 1, [](Draft& d, Values v) { d.bytes = parse_number(v[0]); }},
    Rule{"--stall", 0, [](Draft& d, Values) { d.options.stall_after = 0; }},
    Rule{"--stall-after", 1, [](Draft& d, Values v) { d.options.stall_after = parse_number(v[0]); }},
    Rule{"--vanish-after", 1, [](Draft& d, Values v) { d.options.vanish_after = parse_time(v[0]); }},
    Rule{"--return-after", 1, [](Draft& d, Values v) { d.options.return_after = parse_time(v[0]); }},
    Rule{"--control", 1, [](Draft& d, Values v) { d.options.control = v[0]; }},
    Rule{"--log", 1, [](Draft& d, Values v) { d.options.log = v[0]; }},
    Rule{"--verify", 0, [](Draft& d, Values) { d.options.verify = true; }},
    Rule{"--anywhere", 0,
         [](Draft& d, Values) { d.options.verify_start = PatternVerifier::Start::kAnywhere; }},
    Rule{"--help", 0, [](Draft& d, Values) { d.options.help = true; }},
};

Options complete(Draft draft) {
  Options& options = draft.options;
  if (draft.rate) {
    Flood flood{*draft.rate, options.pattern, kUnlimited};
    if (draft.count) flood.limit = *draft.count * record_bytes(options.pattern);
    if (draft.bytes) flood.limit = std::min(flood.limit, *draft.bytes);
    options.flood = flood;
  }
  if (!options.flood && (draft.count || draft.bytes))
    throw std::runtime_error("--count and --bytes say how long a --flood lasts.");
  const bool talks = options.echo || !options.replies.empty() || !options.periodic.empty() || options.flood;
  if (draft.silent && talks) throw bad("--silent", "Another option lets the device talk.");
  return options;
}

}  // namespace

std::uint64_t parse_rate(std::string_view text) {
  if (text == "max") return kUnlimited;
  std::uint64_t factor = 1;
  if (text.ends_with('k')) factor = 1'000;
  if (text.ends_with('M')) factor = 1'000'000;
  const std::uint64_t rate = parse_number(text.substr(0, text.size() - (factor == 1 ? 0 : 1)));
  if (rate == 0 || rate > 1'000'000'000'000 / factor) throw std::runtime_error("The rate is out of range.");
  return rate * factor;
}

Options parse_options(std::span<const std::string_view> arguments) {
  Draft draft;
  for (std::size_t at = 0; at < arguments.size();) {
    const std::string_view option = arguments[at++];
    const auto* const rule =
        std::find_if(kRules.begin(), kRules.end(), [&](const Rule& r) { return r.option == option; });
    if (rule == kRules.end()) throw bad(option, "There is no such option.");
    if (arguments.size() - at < rule->values) throw bad(option, "A value is missing.");
    try {
      rule->apply(draft, arguments.subspan(at, rule->values));
    } catch (const std::runtime_error& error) {
      throw bad(option, error.what());
    }
    at += rule->values;
  }
  return complete(std::move(draft));
}

}  // namespace hvt::device
