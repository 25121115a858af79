// No octet that nobody set decides anything or leaves the library: the corpus, whole and damaged, and the samples of
// all types are decoded, printed and encoded under the memory sanitizer. Records, pieces of the heap and output start
// out unset. The C++ standard library is not used, since it is not instrumented: what it wrote would be taken for
// unset. memory FOLDER runs over the tables of the corpus there; memory --unset encodes an unset record, and must not
// end well.
#include <dirent.h>
#include <sanitizer/msan_interface.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "rt3gppsrc/engine/l3Engine.h"
#include "velnor3gpp/rt3gppNasSec.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxPrintStream.h"

struct Octets {
  uint8_t* data;
  size_t size;
};

// Ways through the library. `pieces`: each piece of the heap is one of the system's, and so unset, not one used before.
struct Mode {
  bool slow, trace, pieces;
};

static constexpr Mode kModes[] = {{false, false, false}, {false, false, true}, {true, false, true}, {true, true, true}};
static constexpr uint8_t kChanges[] = {0x01, 0xFF};
static constexpr size_t kCells = 16; // the most of any table
static constexpr size_t kTextRoom = 1 << 20, kRoom = 1 << 12;

// Keys and numbers of a protected message.
struct Security {
  uint8_t integrityKey[16], cipherKey[16];
  uint32_t integrityAlg, cipherAlg, count;
  uint8_t bearer, direction;
};

struct Counts {
  unsigned long messages, samples, decoded, refused, encoded, textOctets;
};

static Counts counts;
// What a report is about.
static const L3TypeEntry* underway;
static Octets input;
static char text[kTextRoom];

// Whatever leaves the library is set.
static void leaves(const void* octets, size_t size)
{
  __msan_check_mem_is_initialized(octets, size);
}

static void tellInput()
{
  fprintf(stderr, "%s, %zu octets: ", underway ? underway->type->fullName : "", input.size);
  for (size_t i = 0; i < input.size; ++i) fprintf(stderr, "%02x", input.data[i]);
  fputc('\n', stderr);
}

static void* unset(size_t size)
{
  void* octets = malloc(size ? size : 1);
  if (!octets) abort();
  return octets;
}

// Prints the value, and the bit trace if the context has one, into a text that is unset before.
static void print(RtxContext& ctxt, const L3TypeEntry& entry, const void* value)
{
  RtxPrintToStringBuffer target = {text, sizeof text, 0};
  __msan_allocated_memory(text, sizeof text);
  rtxSetPrintStream(&ctxt, rtxPrintStreamToStringCB, &target);
  if (value) l3Print(&ctxt, *entry.type, "x", value);
  if (ctxt.pBitFldList) rtxDiagBitTracePrint(ctxt.pBitFldList, nullptr);
  leaves(text, target.curPos);
  counts.textOctets += target.curPos;
}

// Findings as text, with the paths and parameters of their records.
static void printFindings(RtxContext& ctxt)
{
  __msan_allocated_memory(text, sizeof text);
  if (rtxErrGetTextBuf(&ctxt, text, sizeof text)) leaves(text, strlen(text) + 1);
}

static void begin(RtxContext& ctxt, const Mode& mode, const Security* security)
{
  rtxInitContext(&ctxt);
  if (mode.pieces) rtxMemHeapSetFlags(&ctxt.pMemHeap, RT_MH_USE_SYSMEM);
  l3SetSlowMode(mode.slow);
  rtx3gppSecInitialize(&ctxt);
  if (security) {
    rtx3gppAssignAlgorithmKeys(&ctxt, security->integrityKey, security->cipherKey, security->integrityAlg,
                               security->cipherAlg);
    ctxt.pSecurity->count = security->count;
    ctxt.pSecurity->bearer = security->bearer;
    ctxt.pSecurity->direction = security->direction;
  }
}

static void trace(RtxContext& ctxt, const Mode& mode)
{
  if (mode.trace) rtxDiagCtxtBitFieldListInit(&ctxt);
}

// The octets as they were encoded, in storage of their own size.
static Octets encode(RtxContext& ctxt, const L3TypeEntry& entry, void* value)
{
  Octets out = {static_cast<uint8_t*>(unset(kRoom)), 0};
  rtxCtxtSetBufPtr(&ctxt, out.data, kRoom);
  if (!entry.encode || entry.encode(&ctxt, value) < 0) return out;
  out.size = ctxt.buffer.byteIndex + (ctxt.buffer.bitOffset != 8);
  leaves(out.data, out.size);
  ++counts.encoded;
  return out;
}

// A mobility management message has no transaction identifier, so decoding leaves what the record held, and encoding
// tests it: callers initialise this record (docs/security.md).
static bool keepsWhatItHolds(const L3TypeEntry& entry)
{
  return strcmp(entry.type->fullName, "TS24008Msg_PDU") == 0;
}

// A decoding into an unset record, which is then printed and encoded again.
static void decode(const L3TypeEntry& entry, Octets octets, const Mode& mode, const Security* security)
{
  RtxContext ctxt;
  uint8_t* copy = static_cast<uint8_t*>(memcpy(unset(octets.size), octets.data, octets.size));
  void* record = unset(entry.type->size);
  underway = &entry;
  input = {copy, octets.size};
  if (keepsWhatItHolds(entry)) entry.init(record);
  begin(ctxt, mode, security);
  rtxCtxtSetBufPtr(&ctxt, copy, octets.size);
  trace(ctxt, mode);
  int status = entry.decode(&ctxt, record);
  print(ctxt, entry, status < 0 ? nullptr : record);
  printFindings(ctxt);
  if (status >= 0) free(encode(ctxt, entry, record).data);
  ++(status < 0 ? counts.refused : counts.decoded);
  rtxFreeContext(&ctxt);
  free(record);
  free(copy);
}

// The message itself, every prefix of it, and the message with each octet changed in its lowest and in all bits.
static void decodeAll(const L3TypeEntry& entry, Octets octets, const Security* security)
{
  for (const Mode& mode : kModes) decode(entry, octets, mode, security);
  for (size_t i = 0; i < octets.size; ++i) {
    decode(entry, {octets.data, i}, kModes[1], security);
    for (uint8_t change : kChanges) {
      octets.data[i] ^= change;
      decode(entry, octets, kModes[1], security);
      octets.data[i] ^= change;
    }
  }
}

static void sample(const L3TypeEntry& entry, const Mode& mode)
{
  RtxContext ctxt;
  begin(ctxt, mode, nullptr);
  trace(ctxt, mode);
  void* value = entry.sample ? entry.sample(&ctxt) : l3Sample(&ctxt, *entry.type);
  if (value) {
    Octets octets = encode(ctxt, entry, value);
    print(ctxt, entry, value);
    if (entry.decode && octets.size) decode(entry, octets, mode, nullptr);
    free(octets.data);
    ++counts.samples;
  }
  rtxFreeContext(&ctxt);
}

static unsigned digit(char c)
{
  return static_cast<unsigned>(c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10);
}

static Octets octetsOf(const char* hex)
{
  Octets octets = {static_cast<uint8_t*>(unset(strlen(hex) / 2)), strlen(hex) / 2};
  for (size_t i = 0; i < octets.size; ++i)
    octets.data[i] = static_cast<uint8_t>(digit(hex[2 * i]) << 4 | digit(hex[2 * i + 1]));
  return octets;
}

static void copyKey(uint8_t (&key)[16], const char* hex)
{
  Octets octets = octetsOf(hex);
  memset(key, 0, sizeof key);
  memcpy(key, octets.data, octets.size < sizeof key ? octets.size : sizeof key);
  free(octets.data);
}

// Columns 4 to 10 of the table of protected messages.
static Security securityOf(char** cells)
{
  auto number = [cells](size_t column) { return static_cast<uint32_t>(strtoul(cells[column], nullptr, 10)); };
  Security security = {{}, {}, number(6), number(7), number(8), 0, 0};
  security.bearer = static_cast<uint8_t>(number(9));
  security.direction = static_cast<uint8_t>(number(10));
  copyKey(security.integrityKey, cells[4]);
  copyKey(security.cipherKey, cells[5]);
  return security;
}

// A row: id, source, type, octets, and with as many cells as the table of protected messages has, keys.
static void runLine(char* line)
{
  char* cells[kCells] = {};
  size_t n = 0;
  for (char* cell; n < kCells && (cell = strsep(&line, "\t"));) cells[n++] = cell;
  const L3TypeEntry* entry = n > 3 ? l3FindType(cells[2]) : nullptr;
  if (!entry || !entry->decode) return;
  Octets octets = octetsOf(cells[3]);
  Security security = {};
  if (n == kCells) security = securityOf(cells);
  decodeAll(*entry, octets, &security);
  free(octets.data);
  ++counts.messages;
}

static void runFile(const char* folder, const char* name)
{
  char path[4096];
  snprintf(path, sizeof path, "%s/%s", folder, name);
  FILE* file = fopen(path, "r");
  if (!file) return;
  char* line = nullptr;
  size_t room = 0;
  for (ssize_t length; (length = getline(&line, &room, file)) > 0;) {
    if (line[length - 1] == '\n') line[length - 1] = 0;
    if (line[0] != '#' && strncmp(line, "id\t", 3) != 0) runLine(line);
  }
  free(line);
  fclose(file);
}

static bool runFolder(const char* folder)
{
  DIR* dir = opendir(folder);
  if (!dir) return false;
  while (const dirent* entry = readdir(dir))
    if (strstr(entry->d_name, ".tsv")) runFile(folder, entry->d_name);
  closedir(dir);
  return counts.messages > 0;
}

// Encodes a record that nobody filled: the sanitizer must see it.
static int encodeUnset()
{
  RtxContext ctxt;
  begin(ctxt, kModes[0], nullptr);
  const L3TypeEntry* entry = l3FindType("TS24501IE_AccessType");
  return entry ? static_cast<int>(encode(ctxt, *entry, unset(entry->type->size)).size) : 0;
}

int main(int argc, char** argv)
{
  if (argc == 2 && strcmp(argv[1], "--unset") == 0) return encodeUnset();
  __msan_set_death_callback(tellInput);
  for (size_t i = 0; i < l3TypeCount; ++i)
    for (const Mode& mode : kModes) sample(l3TypeTable[i], mode);
  if (argc != 2 || !runFolder(argv[1])) return 2;
  printf("%lu messages, %lu samples; %lu decodings, %lu refusals, %lu encodings, %lu octets of text\n", counts.messages,
         counts.samples, counts.decoded, counts.refused, counts.encoded, counts.textOctets);
  return 0;
}
