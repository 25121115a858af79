// The input of the filter, cut into blocks of whole records: lines, or frames led by a length of two octets. A block
// goes to one worker, so it never cuts a record, whatever pieces the system reads in. Memory stays flat: of a line that
// is longer than any line may be, only the beginning is kept, which is enough to find its key and to call it over-long.
#ifndef VELNOR3GPP_PROGRAM_FILTER_INPUT_H
#define VELNOR3GPP_PROGRAM_FILTER_INPUT_H

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

enum class FilterFormat { kTsv, kHex, kNdjson, kFrames };

// Characters of a message in hexadecimal, and octets of the key in front of it.
inline constexpr size_t kFilterMostHex = 131072;
inline constexpr size_t kFilterMostKey = 65536;
// Octets of a line without its end: key, TAB, message.
inline constexpr size_t kFilterMostLine = kFilterMostKey + 1 + kFilterMostHex;

// A chunk whose header is no number, or that ends before its last line: the caller of the filter does not keep to what
// --chunk-header means.
struct ChunkError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

class FilterInput {
public:
  // Reads up to `room` octets to `to` and returns how many; 0 is the end. `between`: chunks are read, and nothing of
  // the next one is there yet. It may throw.
  using Read = std::function<size_t(char* to, size_t room, bool between)>;

  FilterInput(Read read, FilterFormat format, bool chunkHeader);
  // Makes `block` some whole records: lines that each end in a line feed, also the last one of the input, or frames;
  // the last frame of the input can be cut. Waits for no more than one record. Returns false at the end. Throws
  // ChunkError behind the lines of a chunk that is in order.
  bool next(std::string& block);

private:
  bool readMore(std::string& block);
  void passByteOrderMark();
  void passLongLine(std::string& block);
  bool nextLines(std::string& block);
  bool nextFrames(std::string& block);
  void takeHeaders(std::string& block);
  void takeHeader(std::string_view line);

  Read source;
  bool frames;
  bool chunked;
  bool begun = false;
  bool ended = false;
  size_t linesLeft = 0;   // of the chunk
  std::string rest;       // the beginning of the next record
  std::string chunkFault; // what is wrong behind the last block, or empty
};

#endif
