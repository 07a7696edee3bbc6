// The risk: a server, or who pretends to be it, that makes the check hang, swell, leak, or believe.
// hostile_server.py starts this program and answers it.

#include "update/fetch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/text.h"
#include "tests/support/error_of.h"
#include "tests/update/system.h"

namespace hvt {
namespace {

using namespace std::chrono_literals;
using test::Answer;
using test::SystemFailures;
using test::TrustedAuthority;
using testing::StartsWith;
using Clock = std::chrono::steady_clock;

// The address of one of the servers with a path on it.
std::wstring at(const char* server, const std::string& path) {
  const char* const address = std::getenv(server);
  if (address == nullptr) throw std::runtime_error("Start this program with hostile_server.py.");
  return utf8_to_utf16(address + path);
}

// How a fetch ended: the length of what came, or the message.
std::string end_of(const ManifestSource& source) {
  CancelSignal never;
  std::size_t length = 0;
  const std::string error = test::error_of([&] { length = fetch_update_manifest(source, never).size(); });
  return error == "no error" ? std::to_string(length) + " bytes" : error;
}

class Fetch : public testing::Test {
 protected:
  static void SetUpTestSuite() { authority_ = std::make_unique<TrustedAuthority>(); }
  static void TearDownTestSuite() { authority_.reset(); }

  static ManifestSource source_at(const char* server, const std::string& path) {
    return authority_->source_of(at(server, path));
  }
  static std::string end_at(const char* server, const std::string& path) {
    return end_of(source_at(server, path));
  }

  const SystemFailures failures_ = test::system_failures();

 private:
  static inline std::unique_ptr<TrustedAuthority> authority_;
};

TEST_F(Fetch, every_answer_gives_its_bytes_or_its_message) {
  const std::string kTooLong = "Update manifest exceeds 64 KiB.";
  std::vector<Answer> answers{
      {"/bytes/2", "2 bytes"},
      {"/bytes/0", "0 bytes"},
      {"/bytes/65536", "65536 bytes"},
      {"/bytes/65537", kTooLong},
      {"/bytes/10000000", kTooLong},
      {"/chunked/65536", "65536 bytes"},
      {"/chunked/65537", kTooLong},
      {"/no-length/65536", "65536 bytes"},
      {"/no-length/65537", kTooLong},
      {"/endless", kTooLong},
      {"/gzip", "22 bytes"},

      {"/status/201", "2 bytes"},
      {"/status/204", "0 bytes"},
      {"/status/299", "2 bytes"},
      {"/status/300", "Update server returned HTTP 300"},
      {"/status/304", "Update server returned HTTP 304"},
      {"/status-with-location/304", "Update server returned HTTP 304"},
      {"/status/404", "Update server returned HTTP 404"},
      {"/status/500", "Update server returned HTTP 500"},
      {"/status-and-stall/404", "Update server returned HTTP 404"},

      {"/redirect/1", "2 bytes"},
      {"/redirect/4", "2 bytes"},
      {"/redirect/5", failures_.redirects},
      {"/loop", failures_.redirects},
      {"/to-stranger", failures_.certificate},

      {"/cut", failures_.cut},
      {"/reset", failures_.reset},
      {"/no-answer", failures_.no_answer},
      {"/no-http", failures_.no_http},
  };
  for (Answer& answer : test::system_answers())
    answers.push_back(std::move(answer));
  for (const char* const server : {"HVT_HTTP", "HVT_HTTPS"}) {
    for (const Answer& answer : answers) {
      const auto start = Clock::now();
      EXPECT_THAT(end_at(server, answer.path), StartsWith(answer.expected)) << server << answer.path;
      // None of them may wait for the time limit.
      EXPECT_LT(Clock::now() - start, 5s) << server << answer.path;
    }
  }
}

TEST_F(Fetch, a_request_asks_for_a_fresh_and_plain_answer) {
  for (const char* const path : {"/request", "/request?of=the&day=1"}) {
    CancelSignal never;
    const std::string request = fetch_update_manifest(source_at("HVT_HTTPS", path), never);
    EXPECT_TRUE(request.starts_with("GET " + std::string(path) + " HTTP/1.1\r\n")) << request;
    EXPECT_NE(request.find("\r\nUser-Agent: HalvetricSerialTest/1.0.7\r\n"), std::string::npos) << request;
    EXPECT_NE(request.find("\r\nCache-Control: no-cache\r\n"), std::string::npos) << request;
    EXPECT_EQ(request.find("Accept-Encoding"), std::string::npos) << request;
  }
}

TEST_F(Fetch, only_a_trusted_server_is_believed) {
  for (const char* const server : {"HVT_STRANGER", "HVT_OTHER_NAME", "HVT_EXPIRED"})
    EXPECT_THAT(end_at(server, "/bytes/2"), StartsWith(failures_.certificate)) << server;
  EXPECT_EQ(end_at("HVT_NOBODY", "/bytes/2"), failures_.nobody);
  EXPECT_EQ(end_at("HVT_HTTPS", "/to-http"), failures_.downgrade);
}

TEST_F(Fetch, only_https_is_fetched_and_plain_http_from_this_machine_in_a_test) {
  ManifestSource source;
  source.location = at("HVT_HTTP", "/bytes/2");
  EXPECT_EQ(end_of(source), failures_.scheme) << "as released";

  source.plain_loopback = true;
  EXPECT_EQ(end_of(source), "2 bytes");
  source.location.replace(source.location.find(L"127.0.0.1"), 9, L"localhost");
  EXPECT_NE(end_of(source), failures_.scheme) << "a bare system may know no address for the name";
  for (const wchar_t* const elsewhere :
       {L"http://example.invalid/", L"http://localhost.example.invalid/",
        L"http://localhost@example.invalid/", L"http://127.0.0.1.example.invalid/"}) {
    source.location = elsewhere;
    EXPECT_EQ(end_of(source), failures_.scheme) << utf16_to_utf8(source.location);
  }
  for (const wchar_t* const no_address :
       {L"", L"https://", L"nonsense", L"ftp://localhost/", L"file:///etc/hostname"}) {
    source.location = no_address;
    EXPECT_TRUE(end_of(source).starts_with("Update request failed (")) << utf16_to_utf8(source.location);
  }
}

TEST(ReleaseSource, it_is_an_https_location_and_trusts_the_system_alone) {
  const ManifestSource source = manifest_source();
  EXPECT_TRUE(source.location.starts_with(L"https://"));
  EXPECT_FALSE(source.plain_loopback);
  EXPECT_TRUE(source.test_authority.empty());
}

// Real time is the subject: 10 s, and half a second for a loaded machine. All at the same time.
TEST_F(Fetch, nothing_that_a_server_does_outlasts_ten_seconds) {
  struct Slow {
    const char* server;
    const char* path;
    std::string end = {};
    Clock::duration taken = {};
  };
  std::vector<Slow> slow{{"HVT_MUTE", "/"}};
  for (const char* const server : {"HVT_HTTP", "HVT_HTTPS"}) {
    for (const char* const path :
         {"/silent", "/slow-headers", "/slow-body", "/stalled-body", "/slow-redirect"})
      slow.push_back({server, path});
  }
  std::vector<std::thread> threads;
  for (Slow& s : slow) {
    threads.emplace_back([&s] {
      const auto start = Clock::now();
      s.end = end_at(s.server, s.path);
      s.taken = Clock::now() - start;
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  for (const Slow& s : slow) {
    EXPECT_EQ(s.end, "Update request timed out.") << s.server << s.path;
    EXPECT_GE(s.taken, 10s) << s.server << s.path;
    EXPECT_LE(s.taken, 10s + 500ms) << s.server << s.path;
  }
}

TEST_F(Fetch, a_cancelled_one_ends_at_once) {
  CancelSignal before;
  before.cancel();
  EXPECT_EQ(test::error_of([&] { fetch_update_manifest(source_at("HVT_HTTP", "/bytes/2"), before); }),
            "Update request cancelled.");

  int name = 0;
  for (const char* const server : {"HVT_HTTP", "HVT_HTTPS"}) {
    for (const char* const kind : {"/silent/", "/stalled-body/"}) {
      const std::string number = std::to_string(++name);
      CancelSignal cancel;
      std::string error;
      std::thread fetch([&] {
        error = test::error_of([&] { fetch_update_manifest(source_at(server, kind + number), cancel); });
      });
      EXPECT_EQ(end_at(server, "/when-stalled/" + number), "0 bytes");
      const auto start = Clock::now();
      cancel.cancel();
      fetch.join();
      EXPECT_LT(Clock::now() - start, 100ms) << server << kind;
      EXPECT_EQ(error, "Update request cancelled.") << server << kind;
    }
  }
}

TEST_F(Fetch, nothing_stays_open_however_it_ends) {
  const auto every_end = [] {
    for (const char* const path : {"/bytes/65536", "/bytes/65537", "/endless", "/status-and-stall/404",
                                   "/loop", "/cut", "/reset", "/no-answer"})
      end_at("HVT_HTTPS", path);
    for (const char* const server : {"HVT_STRANGER", "HVT_NOBODY"})
      end_at(server, "/bytes/2");
  };
  every_end();  // what the libraries keep for good is there now
  const std::size_t before = test::open_handles();
  for (int i = 0; i < 10; ++i)
    every_end();
  EXPECT_LT(test::open_handles(), before + 10);
  // Wine needs its 10 s to close what was left in the middle.
  std::string end;
  for (int i = 0; i < 3 && end != "0 bytes"; ++i)
    end = end_at("HVT_HTTP", "/when-alone");
  EXPECT_EQ(end, "0 bytes") << "a connection stayed open";
}

}  // namespace
}  // namespace hvt
