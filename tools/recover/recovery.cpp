#include "tools/recover/recovery.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

#include "base/text.h"
#include "recording/names.h"

namespace hvt::recover {
namespace {

constexpr std::size_t kBlockBytes = std::size_t{1} << 20;

std::string read_file(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("Cannot open " + path.string() + ".");
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string counted(std::uint64_t count, const std::string& what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

class Session {
 public:
  explicit Session(const std::filesystem::path& metadata_path) : folder_(metadata_path.parent_path()) {
    const std::string document = read_file(metadata_path);
    if (document.empty())
      throw std::runtime_error("The metadata file is empty: the program ended while it began to record.");
    found_.metadata = parse_metadata(document);
  }

  Recovery recover(const TextDecoder::Sink& sink) {
    find_parts();
    check_end();
    check_text_size();
    const LineMarks marks = check_raw_bytes();
    if (sink) decode(marks, sink);
    return std::move(found_);
  }

 private:
  void problem(std::string text) { found_.problems.push_back(std::move(text)); }
  void remark(std::string text) { found_.remarks.push_back(std::move(text)); }

  std::filesystem::path part(std::uint64_t number) const {
    return folder_ / to_path(part_name(utf8_to_utf16(found_.metadata.session_base), number));
  }

  void find_parts() {
    const std::uint64_t claimed = found_.metadata.parts_created;
    for (std::uint64_t number = 1; number <= claimed; ++number) {
      if (!std::filesystem::exists(part(number))) {
        problem("Part " + std::to_string(number) + " of " + std::to_string(claimed) + " is missing.");
        continue;
      }
      parts_.push_back(part(number));
    }
    // The writer may have been killed between creating a part and saying so.
    const std::filesystem::path next = part(claimed + 1);
    if (std::filesystem::exists(next)) {
      if (found_.metadata.finalized) {
        remark(next.filename().string() + " does not belong to this session.");
      } else {
        parts_.push_back(next);
      }
    }
    found_.parts_found = parts_.size();
    for (const auto& path : parts_)
      found_.text_bytes += std::filesystem::file_size(path);
  }

  void check_end() {
    const SessionMetadata& said = found_.metadata;
    if (!said.finalized) problem("The session was not finished: what came last may be missing or cut short.");
    if (said.integrity == "incomplete") {
      problem("The program itself says that data is missing (" +
              (said.stop_reason.empty() ? "while recording" : said.stop_reason) + ").");
    }
    if (!said.log_error.empty()) remark("Error of the log: " + said.log_error);
    if (!said.metadata_error.empty()) remark("Error of the metadata: " + said.metadata_error);
    if (!said.receive_processing_error.empty()) remark("Reception: " + said.receive_processing_error);
    if (said.comm_error_observations > 0) {
      remark("The line reported " + counted(said.comm_error_observations, "error") +
             " while recording: bytes may have been lost before the program received them.");
    }
  }

  void check_text_size() {
    const std::uint64_t said = found_.metadata.log_written_bytes;
    const bool may_be_more = !found_.metadata.finalized;  // written behind the last word on it
    if (found_.text_bytes == said || (may_be_more && found_.text_bytes > said)) return;
    problem("The parts hold " + std::to_string(found_.text_bytes) + " bytes of text, the metadata says " +
            std::to_string(said) + ".");
  }

  // Marks that fit the number of delivered bytes: a device may send text that looks like a label.
  LineMarks check_raw_bytes() {
    const TextDecoder labels = decode(LineMarks::labels, {});
    const std::uint64_t said = found_.metadata.raw_rx_delivered_bytes;
    found_.raw_bytes = labels.raw_bytes();
    if (labels.first_fault()) {
      problem("The text is not in the receive format from byte " + std::to_string(*labels.first_fault()) +
              " on; the format was changed while recording, or the file was.");
    }
    if (labels.raw_bytes() == said || !found_.metadata.finalized) return LineMarks::labels;
    const TextDecoder data = decode(LineMarks::data, {});
    if (data.raw_bytes() == said && !data.first_fault()) {
      found_.raw_bytes = data.raw_bytes();
      remark("Lines that look like labels are received text: only so the counts agree.");
      return LineMarks::data;
    }
    const bool all_text_is_there = found_.problems.empty();
    problem("The text stands for " + std::to_string(labels.raw_bytes()) +
            " received bytes, the metadata says " + std::to_string(said) + ".");
    if (all_text_is_there) explain_difference(labels);
    return LineMarks::labels;
  }

  void explain_difference(const TextDecoder& decoder) {
    if (found_.metadata.format == ReceiveFormat::hex ||
        decoder.raw_bytes() > found_.metadata.raw_rx_delivered_bytes)
      return;
    remark(decoder.line_end_tokens() == 0
               ? "No CR or LF is in the text: with \"Hide CR/LF\" they leave nothing to recover them from."
               : "Received text that looks like a token (\"<LF>\" as four characters) counts as the token; "
                 "CR and LF that were hidden for a while are missing.");
  }

  TextDecoder decode(LineMarks marks, const TextDecoder::Sink& sink) const {
    TextDecoder decoder(found_.metadata.format, marks, sink);
    std::string block(kBlockBytes, '\0');
    for (const auto& path : parts_) {
      std::ifstream file(path, std::ios::binary);
      if (!file) throw std::runtime_error("Cannot open " + path.string() + ".");
      while (file.read(block.data(), static_cast<std::streamsize>(block.size())) || file.gcount() > 0)
        decoder.feed(std::string_view(block).substr(0, static_cast<std::size_t>(file.gcount())));
    }
    decoder.finish();
    return decoder;
  }

  const std::filesystem::path folder_;
  std::vector<std::filesystem::path> parts_;
  Recovery found_;
};

}  // namespace

Recovery recover(const std::filesystem::path& metadata_path, const TextDecoder::Sink& sink) {
  return Session(metadata_path).recover(sink);
}

}  // namespace hvt::recover
