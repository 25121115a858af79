#include "filterInput.h"

#include <cstdint>
#include <cstring>
#include <utility>

#include "frame.h"

// As much as a pipe holds: a filter between two programs gets no more at once.
static constexpr size_t kPiece = 65536;
// What is kept of an over-long line. A byte order mark and a carriage return do not count, so that the rest is still
// longer than a line may be when they are gone.
static constexpr size_t kKept = kFilterMostLine + 8;
static constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";

FilterInput::FilterInput(Read read, FilterFormat format, bool chunkHeader)
    : source(std::move(read)), frames(format == FilterFormat::kFrames), chunked(chunkHeader)
{
}

// Appends what the source has. Returns false at its end.
bool FilterInput::readMore(std::string& block)
{
  if (ended) return false;
  size_t had = block.size();
  block.resize(had + kPiece);
  size_t count = 0;
  try {
    count = source(block.data() + had, kPiece, chunked && !linesLeft && !had);
  } catch (...) {
    block.resize(had);
    throw;
  }
  block.resize(had + count);
  ended = count == 0;
  return !ended;
}

// Editors of some systems put a mark in front of a text. It belongs to no key.
void FilterInput::passByteOrderMark()
{
  begun = true;
  if (frames) return;
  const std::string_view mark = kByteOrderMark;
  while (rest.size() < mark.size() && mark.starts_with(rest))
    if (!readMore(rest)) return;
  if (rest.starts_with(mark)) rest.erase(0, mark.size());
}

// Drops the rest of a line up to its line feed. What stands behind it is the beginning of the next record.
void FilterInput::passLongLine(std::string& block)
{
  block.resize(kKept);
  std::string piece;
  while (readMore(piece)) {
    size_t end = piece.find('\n');
    if (end != std::string::npos) {
      rest.assign(piece, end + 1);
      break;
    }
    piece.clear();
  }
  block += '\n';
}

bool FilterInput::nextLines(std::string& block)
{
  for (size_t searched = 0;;) {
    const void* last = memrchr(block.data() + searched, '\n', block.size() - searched);
    if (last) {
      size_t end = static_cast<size_t>(static_cast<const char*>(last) - block.data()) + 1;
      rest.assign(block, end);
      block.resize(end);
      return true;
    }
    if (block.size() > kKept) {
      passLongLine(block);
      return true;
    }
    searched = block.size();
    if (readMore(block)) continue;
    if (block.empty()) return false;
    block += '\n'; // the last line may lack it
    return true;
  }
}

// Octets of the whole frames at the beginning.
static size_t wholeFrames(const std::string& block)
{
  size_t at = 0;
  while (block.size() - at >= 2) {
    size_t length = static_cast<size_t>(static_cast<uint8_t>(block[at])) << 8 | static_cast<uint8_t>(block[at + 1]);
    if (length > block.size() - at - 2) break;
    at += 2 + length;
  }
  return at;
}

bool FilterInput::nextFrames(std::string& block)
{
  for (;;) {
    size_t end = wholeFrames(block);
    if (end) {
      rest.assign(block, end);
      block.resize(end);
      return true;
    }
    if (!readMore(block)) return !block.empty();
  }
}

void FilterInput::takeHeader(std::string_view line)
{
  if (line.ends_with('\r')) line.remove_suffix(1);
  bool good = !line.empty() && line.size() <= 18; // so many digits fit
  for (char c : line) {
    good = good && c >= '0' && c <= '9';
    if (good) linesLeft = linesLeft * 10 + static_cast<size_t>(c - '0');
  }
  if (good) return;
  linesLeft = 0;
  chunkFault = "a chunk must begin with a line that has the number of its lines";
}

// Takes the headers out of a block of lines. Lines move up to where a header was.
void FilterInput::takeHeaders(std::string& block)
{
  size_t kept = 0;
  for (size_t at = 0; at < block.size() && chunkFault.empty();) {
    size_t end = block.find('\n', at) + 1;
    if (!linesLeft) {
      takeHeader(std::string_view(block).substr(at, end - 1 - at));
    } else {
      --linesLeft;
      memmove(block.data() + kept, block.data() + at, end - at);
      kept += end - at;
    }
    at = end;
  }
  block.resize(kept);
}

bool FilterInput::next(std::string& block)
{
  if (!begun) passByteOrderMark();
  for (;;) {
    if (!chunkFault.empty()) throw ChunkError(chunkFault);
    block.swap(rest);
    rest.clear();
    bool any = frames ? nextFrames(block) : nextLines(block);
    if (!chunked) return any;
    if (!any && linesLeft)
      throw ChunkError("the input ends " + counted(linesLeft, "line") + " before the end of a chunk");
    if (!any) return false;
    takeHeaders(block);
    if (!block.empty()) return true;
  }
}
