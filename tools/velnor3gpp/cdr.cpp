// velnor3gpp cdr: a file of charging data records (TS 32.297) walked through: its header, and of each record where it
// is, how large and of what kind. The records themselves are octets, which can be written to files.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "commands.h"
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

// By dataRecordFormat.
static constexpr Encoding kEncodings[] = {
    {"unknown encoding", "bin"}, {"BER", "ber"}, {"unaligned PER", "per"}, {"aligned PER", "aper"}, {"XER", "xml"}};

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

// What the library prints of a header, a line for each field.
static std::string headerText(Walk& walk)
{
  std::string text;
  rtxSetPrintStream(&walk.source.ctxt, printToOutput, &text);
  rtPrtToStrmTS32297FileHdr(&walk.source.ctxt, &walk.header);
  return text;
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
  std::string text = "{\"file\":{";
  text += number("fileLength", header.fileLength) + "," + number("headerLength", header.headerLength) + ",";
  text += quoted("highRelease", releaseText(header.highReleaseVersionID, header.highReleaseExtension)) + ",";
  text += quoted("lowRelease", releaseText(header.lowReleaseVersionID, header.lowReleaseExtension)) + ",";
  text += quoted("opened", timeText(header.openTimestamp)) + ",";
  text += quoted("lastAppended", timeText(header.lastAppendTimestamp)) + ",";
  text += number("records", header.cdrCount) + "," + number("sequenceNumber", header.fileSequenceNumber) + ",";
  text += number("closureReason", header.fileClosureReason) + ",";
  text += quoted("address", hexOf(header.ipAddress, sizeof header.ipAddress)) + ",";
  text += number("lostRecords", header.lostCDRIndicator) + ",";
  text += quoted("routingFilter", hexOf(header.cdrRoutingFilter.data, header.cdrRoutingFilter.length)) + ",";
  text += quoted("privateExtension", hexOf(header.privateExtension.data, header.privateExtension.length));
  return text + "}}\n";
}

// The header has the octets that its length says; those that no field has are passed over.
static void readHeader(Walk& walk)
{
  int status = rtDecTS32297FileHdr(&walk.source.ctxt, &walk.header);
  size_t count = status < 0 ? 0 : static_cast<size_t>(status);
  advance(walk, status, count, "the file header");
  if (walk.header.headerLength > count) {
    size_t rest = walk.header.headerLength - count;
    advance(walk, rtxReadBytes(&walk.source.ctxt, nullptr, rest), rest, "the file header");
  }
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
  char specification[20];
  rtTS32297TSNumberToText(header.tsNumber, specification, sizeof specification);
  std::string release = releaseText(header.releaseVersionId, header.releaseExtension);
  std::string tag = tagText(header, walk.record);
  if (walk.options.json) {
    std::string text = "{" + number("record", walk.records + 1) + "," + number("octet", at) + ",";
    text += number("size", header.cdrLength) + "," + quoted("encoding", encodingOf(header).name) + ",";
    text += quoted("specification", specification) + "," + quoted("release", release);
    return walk.out.write(text + (tag.empty() ? "" : "," + quoted("tag", tag)) + "}\n");
  }
  walk.out.write(recordName(walk) + "  octet " + std::to_string(at) + "  " + counted(header.cdrLength, "octet") + "  " +
                 encodingOf(header).name + (tag.empty() ? "" : " " + tag) + "  TS " + specification + "  " + release +
                 "\n");
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
  header.tsNumber &= 31;
  status = rtxReadBytes(&walk.source.ctxt, walk.record, header.cdrLength);
  advance(walk, status, header.cdrLength, recordName(walk) + ", whose length is " + std::to_string(header.cdrLength));
  showRecord(walk, header, at);
  if (!walk.options.folder.empty()) extractRecord(walk, header);
  ++walk.records;
}

// The count and the length in the header are two witnesses of what was there. A file that is still open may have 0 or
// all ones in both.
static void checkHeader(const Walk& walk)
{
  const TS32297FileHdr& header = walk.header;
  size_t at = walk.source.octets;
  bool hasCount = header.cdrCount && header.cdrCount != UINT32_MAX;
  bool hasLength = header.fileLength && header.fileLength != UINT32_MAX;
  if (hasLength && header.fileLength > at)
    damaged(walk, at, "the file ends here, and is " + counted(header.fileLength, "octet") + " long by its header");
  if (hasCount && header.cdrCount != walk.records)
    damaged(walk, at,
            "the file has " + counted(walk.records, "record") + ", its header says " + std::to_string(header.cdrCount));
  if (hasLength && header.fileLength < at)
    damaged(walk, header.fileLength, "the file goes on behind the length in its header");
}

static FILE* openFile(const std::string& name)
{
  if (name == "-") return stdin;
  if (fs::is_directory(name)) throw UsageError(name + ": is a directory; name a file in it");
  if (!fs::exists(name)) throw UsageError("no file '" + name + "'");
  FILE* file = fopen(name.c_str(), "rb");
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
  while (!walk->source.atEnd()) readRecord(*walk);
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
