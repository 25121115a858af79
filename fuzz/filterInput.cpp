// What the filter reads: lines, frames and chunks from strangers. Blocks are the same whatever pieces the input comes
// in, they hold every line, and each line is a message or says what is wrong with it.
#include "fuzz/harness.h"

#include "tools/velnor3gpp/filterMessage.h"

namespace {

struct Blocks {
  std::string text; // of all of them
  std::string fault;
};

Blocks blocksOf(const std::string& input, FilterFormat format, bool chunks, const std::vector<size_t>& pieces)
{
  size_t at = 0, turn = 0;
  auto read = [&](char* to, size_t room, bool) {
    size_t count = std::min({room, input.size() - at, pieces[turn++ % pieces.size()]});
    memcpy(to, input.data() + at, count);
    at += count;
    return count;
  };
  FilterInput source(read, format, chunks);
  Blocks all;
  try {
    for (std::string block; source.next(block); all.text += block) {
      promise(!block.empty(), "a block without a record");
      promise(block.size() <= 2 * 65536 + kFilterMostLine, "a block that grows with the input");
      promise(format == FilterFormat::kFrames || block.back() == '\n', "a block that cuts a line");
    }
  } catch (const ChunkError& error) {
    all.fault = error.what();
  }
  return all;
}

// Returns what the record was read as.
std::string lookAt(const FilterMessage& message, std::string_view record)
{
  promise(message.fault.status || !message.octets.empty(), "a message without octets");
  promise(message.octets.size() <= record.size(), "more octets than were read");
  promise(!message.hasKey || record.find(message.key) != std::string_view::npos, "a key of nowhere");
  promise(message.key.size() <= kFilterMostKey || !message.hasKey, "a key that is too long");
  promise(message.fault.status <= 0, "a fault without a status");
  std::string told(message.octets.begin(), message.octets.end());
  told.append(message.fault.path).append(std::to_string(message.fault.status)).append(1, ' ');
  told.append(std::to_string(message.fault.octet)).append(message.hasKey ? message.key : "-");
  return told + "\n";
}

// An over-long line can be kept whole or in part: what it is read as does not tell.
std::string lookAtAll(std::string_view text, FilterFormat format, unsigned keyColumns)
{
  std::string told;
  FilterMessage message;
  while (!text.empty() && format == FilterFormat::kFrames) {
    std::string_view before = text;
    readFilterFrame(text, message);
    promise(text.size() < before.size(), "a frame that takes nothing");
    told += lookAt(message, before);
  }
  while (!text.empty()) {
    std::string_view line = text.substr(0, text.find('\n'));
    readFilterLine(line, format, keyColumns, message);
    told += lookAt(message, line);
    promise(line.size() <= kFilterMostLine + 1 || message.fault.status == RTX_E_STRING_TOO_LONG, "an over-long line");
    text.remove_prefix(line.size() + 1);
  }
  return told;
}

} // namespace

// The first octet tells format, chunks, columns, and whether an octet 0xFE stands for more than any line may have.
void checkFilterInput(const L3TypeEntry&, Octets input)
{
  uint8_t first = takeFirst(input);
  FilterFormat format = static_cast<FilterFormat>(first & 3);
  bool chunks = first & 4 && format != FilterFormat::kFrames;
  std::string text(input.begin(), input.end());
  size_t mark = first & 8 ? text.find('\xFE') : std::string::npos;
  if (mark != std::string::npos) text.replace(mark, 1, kFilterMostLine + 20, 'a');
  std::vector<size_t> pieces = {first % 7U + 1, 65536, first % 3U + 1};
  Blocks whole = blocksOf(text, format, chunks, {SIZE_MAX}), cut = blocksOf(text, format, chunks, pieces);
  promise(whole.fault == cut.fault, "chunks that are read otherwise in pieces");
  promise(lookAtAll(whole.text, format, first >> 4 & 3) == lookAtAll(cut.text, format, first >> 4 & 3),
          "an input that is read otherwise in pieces");
  bool bare = format != FilterFormat::kFrames && !chunks && mark == std::string::npos;
  if (bare && text.find("\xEF\xBB\xBF") != 0)
    promise(whole.text == text + (text.empty() || text.back() == '\n' ? "" : "\n"), "lines that are lost or made up");
}
