// velnor3gpp cdr: a file of charging data records (TS 32.297) walked through: its header, and of each record where it
// is, how large and of what kind. The records themselves are octets, which can be written to files.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "commands.h"
#include "sameFile.h"
#include "source.h"
#include "velnor3gpp/rt3GPPTS32297.h"
#include "velnor3gpp/rtContext.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxPrintStream.h"
#include "velnor3gpp/rtxStatus.h"
#include "velnor3gpp/rtxStreamFile.h"

namespace fs = std::filesystem;

namespace {

struct Options {
  std::string file, folder;
  bool json = false;
};

struct CloseFile {
  void operator()(FILE* file) const
  {
    if (file != stdin) fclose(file);
  }
};

// A context that reads a file, and how far it has come.
struct Source {
  RtxContext ctxt;
  std::unique_ptr<FILE, CloseFile> file;
  size_t octets = 0;

  explicit Source(FILE* opened) : file(opened)
  {
    if (rtInitContext(&ctxt) < 0 || rtxStreamFileAttach(&ctxt, opened, RTX_STREAM_READ) < 0) throw std::bad_alloc();
  }
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;
  ~Source() { rtFreeContext(&ctxt); }
  bool atEnd() { return rtxPeekByte(&ctxt, nullptr) <= 0; }
  bool isBroken() const { return ferror(file.get()) != 0; }
};

struct Walk {
  const Options& options;
  Output& out;
  Source source;
  TS32297FileHdr header = {};
  size_t records = 0;
  uint8_t record[UINT16_MAX] = {};

  ~Walk()
  {
    free(header.cdrRoutingFilter.data);
    free(header.privateExtension.data);
  }
};

struct Encoding {
  const char* name;
  const char* ending;
};

} // namespace

// By dataRecordFormat; standards name no others.
static constexpr Encoding kEncodings[] = {
    {"", "bin"}, {"BER", "ber"}, {"unaligned PER", "per"}, {"aligned PER", "aper"}, {"XER", "xml"}};

static const Encoding& encodingOf(const TS32297Hdr& header)
{
  return kEncodings[header.dataRecordFormat < std::size(kEncodings) ? header.dataRecordFormat : 0];
}

[[noreturn]] static void damaged(const Walk& walk, size_t octet, const std::string& what)
{
  std::string place = walk.options.file == "-" ? "standard input" : walk.options.file;
  throw DamageError(place + ": octet " + std::to_string(octet) + ": " + what);
}

static std::string recordName(const Walk& walk)
{
  return "record " + std::to_string(walk.records + 1);
}

// Passes what a step has read, or says where the file ends too early.
static void advance(Walk& walk, int status, size_t count, const std::string& what)
{
  size_t at = walk.source.octets;
  if (status == RTX_E_NO_MEMORY) throw std::bad_alloc();
  if (status == RTX_E_READ || ferror(walk.source.file.get()))
    throw InputError(walk.options.file + ": cannot be read: " + strerror(errno));
  if (status == RTX_E_END_OF_FILE || status == RTX_E_END_OF_BUFFER) damaged(walk, at, "the file ends inside " + what);
  if (status < 0) damaged(walk, at, what + " is damaged");
  walk.source.octets += count;
}

static void printToOutput(void* arg, const char* format, va_list args)
{
  char text[2048];
  int count = vsnprintf(text, sizeof text, format, args);
  if (count > 0)
    static_cast<std::string*>(arg)->append(text, std::min<size_t>(static_cast<size_t>(count), sizeof text - 1));
}

// How many fields the header has: an older one ends earlier. Extensions stand behind the last of these.
static size_t fieldsIn(const TS32297FileHdr& header)
{
  size_t filter = 50U + header.cdrRoutingFilter.length, extension = filter + 2U + header.privateExtension.length;
  const size_t ends[] = {4, 8, 9, 10, 14, 18, 22, 26, 27, 47, 48, filter, extension};
  size_t count = static_cast<size_t>(std::upper_bound(ends, std::end(ends), header.headerLength) - ends);
  return count < std::size(ends) ? count : SIZE_MAX;
}

// What the library prints of a header, a line for each field that the file has.
static std::string headerText(Walk& walk)
{
  std::string text;
  rtxSetPrintStream(&walk.source.ctxt, printToOutput, &text);
  rtPrtToStrmTS32297FileHdr(&walk.source.ctxt, &walk.header);
  size_t end = 0, lines = fieldsIn(walk.header);
  while (lines-- && end < text.size()) end = text.find('\n', end) + 1;
  return text.substr(0, end);
}

static std::string releaseText(const TS32297RelVers& release, uint8_t extension)
{
  char text[40];
  rtTS32297RelVersIdToText(&release, extension, text, sizeof text);
  return text;
}

static std::string timeText(const TS32297Timestamp& time)
{
  char text[40];
  rtTS32297TimestampToText(&time, text, sizeof text);
  return text;
}

static std::string number(const char* name, uint64_t value)
{
  return std::string("\"") + name + "\":" + std::to_string(value);
}

static std::string quoted(const char* name, const std::string& text)
{
  return std::string("\"") + name + "\":\"" + text + "\"";
}

static std::string hexOf(const uint8_t* octets, size_t count)
{
  std::string text;
  for (size_t i = 0; i < count; ++i) {
    char digits[3];
    snprintf(digits, sizeof digits, "%02x", octets[i]);
    text += digits;
  }
  return text;
}

static std::string headerJson(const TS32297FileHdr& header)
{
  const std::string members[] = {
      number("fileLength", header.fileLength),
      number("headerLength", header.headerLength),
      quoted("highRelease", releaseText(header.highReleaseVersionID, header.highReleaseExtension)),
      quoted("lowRelease", releaseText(header.lowReleaseVersionID, header.lowReleaseExtension)),
      quoted("opened", timeText(header.openTimestamp)),
      quoted("lastAppended", timeText(header.lastAppendTimestamp)),
      number("records", header.cdrCount),
      number("sequenceNumber", header.fileSequenceNumber),
      number("closureReason", header.fileClosureReason),
      quoted("address", hexOf(header.ipAddress, sizeof header.ipAddress)),
      number("lostRecords", header.lostCDRIndicator),
      quoted("routingFilter", hexOf(header.cdrRoutingFilter.data, header.cdrRoutingFilter.length)),
      quoted("privateExtension", hexOf(header.privateExtension.data, header.privateExtension.length))};
  std::string text = "{\"file\":{" + members[0];
  for (size_t i = 1; i < std::min(fieldsIn(header), std::size(members)); ++i) text += "," + members[i];
  return text + "}}\n";
}

static size_t lengthAt(const std::vector<uint8_t>& octets, size_t at)
{
  return size_t{octets[at]} << 24 | size_t{octets[at + 1]} << 16 | size_t{octets[at + 2]} << 8 | octets[at + 3];
}

static void readOctets(Walk& walk, std::vector<uint8_t>& octets, size_t count, const std::string& what)
{
  size_t have = octets.size();
  octets.resize(have + count);
  advance(walk, rtxReadBytes(&walk.source.ctxt, octets.data() + have, count), 0, what);
}

// The octets of the header, as many as its length says; of those that no field has the first will do.
static std::vector<uint8_t> headerOctets(Walk& walk)
{
  static constexpr size_t kLengths = 8, kMost = 52 + 2 * size_t{UINT16_MAX} + 2;
  std::vector<uint8_t> octets;
  readOctets(walk, octets, kLengths, "the file header");
  size_t count = lengthAt(octets, 4), kept = std::min(count, kMost);
  std::string what = "the file header, " + counted(count, "octet") + " by its length";
  if (count < kLengths) damaged(walk, 4, what + ", has 8 at least: the two lengths");
  readOctets(walk, octets, kept - kLengths, what);
  advance(walk, rtxReadBytes(&walk.source.ctxt, nullptr, count - kept), 0, what);
  walk.source.octets = count;
  return octets;
}

// The library refuses strings that are longer than the file. A file that is still open has no length, so the largest
// one stands in; strings are within the header.
static void readHeader(Walk& walk)
{
  std::vector<uint8_t> octets = headerOctets(walk);
  size_t fileLength = lengthAt(octets, 0);
  std::fill_n(octets.begin(), 4, uint8_t{255});
  RtxContext ctxt;
  if (rtInitContext(&ctxt) < 0) throw std::bad_alloc();
  rtxInitContextBuffer(&ctxt, octets.data(), octets.size());
  int status = rtDecTS32297FileHdr(&ctxt, &walk.header);
  size_t at = ctxt.buffer.byteIndex;
  rtFreeContext(&ctxt);
  if (status == RTX_E_NO_MEMORY) throw std::bad_alloc();
  walk.header.fileLength = static_cast<uint32_t>(fileLength);
  if (status < 0)
    damaged(walk, at,
            "the file header, " + counted(walk.header.headerLength, "octet") + " by its length, ends inside a field");
  walk.out.write(walk.options.json ? headerJson(walk.header) : headerText(walk));
}

// The outermost tag of a record in BER: bits of its class, then 5 bits of number, or more octets of 7 behind 31.
static std::string tagText(const TS32297Hdr& header, const uint8_t* record)
{
  static constexpr const char* kClasses[] = {"universal ", "application ", "", "private "};
  if (header.dataRecordFormat != TS32297_BER || !header.cdrLength) return "";
  unsigned value = record[0] & 31U;
  size_t at = 0;
  if (value == 31) {
    value = 0;
    do {
      if (++at == header.cdrLength || at > 4) return "";
      value = value << 7 | (record[at] & 0x7FU);
    } while (record[at] & 0x80);
  }
  return std::string("[") + kClasses[record[0] >> 6] + std::to_string(value) + "]";
}

static void showRecord(Walk& walk, const TS32297Hdr& header, size_t at)
{
  char specification[20] = "";
  unsigned tsNumber = header.tsNumber & 31U;
  bool isKnown = rtTS32297TSNumberToText(header.tsNumber, specification, sizeof specification) >= 0;
  std::string release = releaseText(header.releaseVersionId, header.releaseExtension);
  std::string tag = tagText(header, walk.record), encoding = encodingOf(header).name;
  if (walk.options.json) {
    std::string text = "{" + number("record", walk.records + 1) + "," + number("octet", at) + ",";
    text += number("size", header.cdrLength) + "," + number("dataRecordFormat", header.dataRecordFormat) + ",";
    if (!encoding.empty()) text += quoted("encoding", encoding) + ",";
    text += number("tsNumber", tsNumber) + ",";
    if (isKnown) text += quoted("specification", specification) + ",";
    return walk.out.write(text + quoted("release", release) + (tag.empty() ? "" : "," + quoted("tag", tag)) + "}\n");
  }
  if (encoding.empty()) encoding = "encoding " + std::to_string(header.dataRecordFormat);
  walk.out.write(recordName(walk) + "  octet " + std::to_string(at) + "  " + counted(header.cdrLength, "octet") + "  " +
                 encoding + (tag.empty() ? "" : " " + tag) + "  TS " +
                 (isKnown ? specification : "number " + std::to_string(tsNumber)) + "  " + release + "\n");
}

static void extractRecord(const Walk& walk, const TS32297Hdr& header)
{
  char name[40];
  snprintf(name, sizeof name, "%06zu.%s", walk.records + 1, encodingOf(header).ending);
  std::string path = (fs::path(walk.options.folder) / name).string();
  refuseInput(path, {walk.options.file}, "");
  Output file(path);
  file.write({reinterpret_cast<const char*>(walk.record), header.cdrLength});
  file.close();
}

static void readRecord(Walk& walk)
{
  TS32297Hdr header = {};
  size_t at = walk.source.octets;
  int status = rtDecTS32297Hdr(&walk.source.ctxt, &header);
  advance(walk, status, status < 0 ? 0 : static_cast<size_t>(status), "the header of " + recordName(walk));
  status = rtxReadBytes(&walk.source.ctxt, walk.record, header.cdrLength);
  advance(walk, status, header.cdrLength, recordName(walk) + ", whose length is " + std::to_string(header.cdrLength));
  showRecord(walk, header, at);
  if (!walk.options.folder.empty()) extractRecord(walk, header);
  ++walk.records;
}

// The count and the length in the header are two witnesses of what was there. A file that is still open may have 0 or
// all ones in both.
static bool isTold(uint32_t value)
{
  return value && value != UINT32_MAX;
}

// Behind the length in the header there are no records, unless the count says that there are more.
static bool isOver(const Walk& walk)
{
  const TS32297FileHdr& header = walk.header;
  bool reached = isTold(header.fileLength) && walk.source.octets >= header.fileLength;
  return reached && (!isTold(header.cdrCount) || walk.records >= header.cdrCount);
}

static void checkHeader(Walk& walk)
{
  const TS32297FileHdr& header = walk.header;
  size_t at = walk.source.octets;
  bool goesOn = !walk.source.atEnd(), hasLength = isTold(header.fileLength);
  if (hasLength && header.fileLength > at)
    damaged(walk, at, "the file ends here, and is " + counted(header.fileLength, "octet") + " long by its header");
  if (isTold(header.cdrCount) && header.cdrCount != walk.records)
    damaged(walk, at,
            "the file has " + counted(walk.records, "record") + ", its header says " + std::to_string(header.cdrCount));
  if (goesOn || (hasLength && header.fileLength < at))
    damaged(walk, header.fileLength, "the file goes on behind the length in its header");
}

static FILE* openFile(const std::string& name)
{
  refuseOutput(name);
  if (name == "-") return stdin;
  std::error_code error;
  if (fs::is_directory(name, error)) throw UsageError(name + ": is a directory; name a file in it");
  FILE* file = fopen(name.c_str(), "rb");
  if (!file && errno == ENOENT) throw UsageError("no file '" + name + "'");
  if (!file) throw InputError(name + ": cannot be opened: " + strerror(errno));
  return file;
}

static void checkReading(const Walk& walk)
{
  const std::string& name = walk.options.file;
  if (walk.source.isBroken())
    throw InputError((name == "-" ? "standard input" : name) + ": cannot be read: " + strerror(errno));
}

static int walkFile(const Options& options, Output& out)
{
  auto walk = std::unique_ptr<Walk>(new Walk{options, out, Source(openFile(options.file))});
  bool empty = walk->source.atEnd();
  checkReading(*walk);
  if (empty) return kExitDone;
  if (!options.folder.empty()) {
    std::error_code error;
    fs::create_directories(options.folder, error);
    if (error) throw OutputError(options.folder + ": cannot be made: " + error.message(), false);
  }
  readHeader(*walk);
  while (!isOver(*walk) && !walk->source.atEnd()) readRecord(*walk);
  checkReading(*walk);
  checkHeader(*walk);
  return kExitDone;
}

void addCdr(Command& app, Program& program)
{
  Command command =
      newCommand(app, "cdr", "Walk through a file of charging data records",
                 {{"velnor3gpp cdr samples/records.cdr", "its header, and a line for each record"},
                  {"velnor3gpp cdr --json samples/records.cdr", "the same as JSON, a line each"},
                  {"velnor3gpp cdr --extract /tmp/records samples/records.cdr", "write each record to a file"}});
  auto options = std::make_shared<Options>();
  command.addOption("file", options->file, "charging file (TS 32.297); - is standard input").required();
  command.addOption("--extract", options->folder, "write each record to a file in this folder").valueName("DIR");
  command.addFlag("--json", options->json, "a line of JSON for the header and for each record");
  command.callback([&program, options] { program.code = walkFile(*options, program.out); });
}
