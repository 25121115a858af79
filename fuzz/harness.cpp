#include "fuzz/harness.h"

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <regex>
#include <set>

static size_t gLive, gPeak;

static void count(void* memory)
{
  gLive += malloc_usable_size(memory);
  if (gLive > gPeak) gPeak = gLive;
}

static void* countedMalloc(size_t size)
{
  void* memory = malloc(size);
  if (memory) count(memory);
  return memory;
}

static void* countedRealloc(void* old, size_t size)
{
  size_t before = old ? malloc_usable_size(old) : 0;
  void* memory = realloc(old, size);
  if (!memory) return nullptr;
  gLive -= before;
  count(memory);
  return memory;
}

static void countedFree(void* memory)
{
  if (memory) gLive -= malloc_usable_size(memory);
  free(memory);
}

void endWith(const std::string& words)
{
  fprintf(stderr, "broken promise: %s\n", words.c_str());
  abort();
}

bool piecewise(const uint8_t* data, size_t size)
{
  uint8_t sum = 0;
  for (size_t i = 0; i < size; ++i) sum = uint8_t(sum + data[i]);
  return sum & 1;
}

const L3TypeEntry* typeOrNull(const char* fullName)
{
  return l3FindType(fullName);
}

const L3TypeEntry* takeType(const uint8_t*& data, size_t& size, bool encoders)
{
  if (size < 2) return nullptr;
  const L3TypeEntry& entry = l3TypeTable[(size_t{data[0]} << 8 | data[1]) % l3TypeCount];
  data += 2;
  size -= 2;
  bool usable = encoders ? entry.encode != nullptr : entry.decode != nullptr;
  return usable ? &entry : nullptr;
}

namespace {

// A context whose allocations are counted, over a copy of the octets of their exact size.
class Decoding {
public:
  Decoding(const L3TypeEntry& entry, const uint8_t* octets, size_t size)
      : data(new uint8_t[size]), record(recordStorage(*entry.type, 0)), piecewise(::piecewise(octets, size))
  {
    if (size) memcpy(data.get(), octets, size);
    gLive = gPeak = 0;
    rtxInitContextExt(&ctxt, countedMalloc, countedRealloc, countedFree);
    if (piecewise) rtxMemHeapSetFlags(&ctxt.pMemHeap, RT_MH_USE_SYSMEM);
    rtx3gppSecInitialize(&ctxt);
    rtxCtxtSetBufPtr(&ctxt, data.get(), size);
    status = entry.decode(&ctxt, record.get());
    peak = gPeak;
  }
  ~Decoding() { rtxFreeContext(&ctxt); }
  Decoding(const Decoding&) = delete;

  std::unique_ptr<uint8_t[]> data;
  std::unique_ptr<uint64_t[]> record;
  bool piecewise;
  RtxContext ctxt;
  int status;
  size_t peak;
};

} // namespace

// The body of a top-level form lies on the heap; its size is fixed by the standard's bounds, not by the input.
static size_t largestBody(const L3Type& type)
{
  size_t largest = 0;
  for (const L3Row* row = type.rows; row < type.rows + type.rowCount; ++row) {
    if (row->op != kL3Body) continue;
    const L3Body& body = *static_cast<const L3Body*>(row->info);
    for (unsigned i = 0; i < body.count; ++i)
      if (body.rows[i].type && body.rows[i].type->size > largest) largest = body.rows[i].type->size;
  }
  return largest;
}

static std::string hexOf(const Octets& octets)
{
  std::string text;
  char pair[3];
  for (uint8_t octet : octets) {
    snprintf(pair, sizeof pair, "%02x", octet);
    text += pair;
  }
  return text;
}

static std::string nameOf(const L3TypeEntry& entry)
{
  return entry.type->fullName;
}

static const RtxErrInfo* lastError(const RtxContext& ctxt)
{
  return ctxt.errInfo.tail ? static_cast<const RtxErrInfo*>(ctxt.errInfo.tail->data) : nullptr;
}

// A text of which nothing stands in front of its first zero character, or whose labels are all empty.
static bool isEmptyText(const RtxContext& ctxt, int status)
{
  const RtxErrInfo* error = lastError(ctxt);
  return status == RTX_E_CONSTRAINT && error && error->parmcount == 2 && !strcmp(error->parms[1], "0");
}

// Is there a row of this line with a length that must be larger, or an array for fewer octets than came? Where the rest
// of an element goes into an array, what finds no place there is counted and passed over.
static bool isOutsideRow(const L3Type& type, const RtxErrInfo& error, uint64_t value)
{
  if (error.stack[0].module != std::string(type.module->encoder)) return false;
  for (const L3Row* row = type.rows; row < type.rows + type.rowCount; ++row)
    if (row->op == kL3Length && row->line == error.stack[0].line)
      return value < static_cast<const L3Length*>(row->info)->lo;
    else if (row->op == kL3Octets && row->line == error.stack[0].line)
      return value > static_cast<const L3Octets*>(row->info)->cap;
  return false;
}

// An element that came with more octets than its content needs, and is too short without them, or with more than its
// record holds.
static bool isCut(const RtxContext& ctxt, int status)
{
  const RtxErrInfo* error = lastError(ctxt);
  if (status != RTX_E_CONSTRAINT || !error || error->parmcount != 2 || !error->stkx) return false;
  for (size_t i = 0; i < l3TypeCount; ++i)
    if (isOutsideRow(*l3TypeTable[i].type, *error, strtoull(error->parms[1], nullptr, 10))) return true;
  return false;
}

// Three enumerations and some header fields are tested on encoding alone, so that a value without a name comes in but
// not out: false. So do a text or octets that the record cannot hold and an element that is too short without its
// filling.
static bool encodeAgain(const L3TypeEntry& entry, Decoding& decoding, Octets& octets)
{
  rtxCtxtSetBufPtr(&decoding.ctxt, octets.data(), octets.size());
  int status = entry.encode(&decoding.ctxt, decoding.record.get());
  if (status == RTX_E_ENUM_VALUE || isEmptyText(decoding.ctxt, status) || isCut(decoding.ctxt, status)) return false;
  if (status == RTX_E_BAD_ALIGNMENT) return false; // an open tail that begins inside an octet
  promise(status >= 0, [&] {
    return "an accepted " + nameOf(entry) + " does not encode: " + std::to_string(status) + "\n" +
           errorsOf(&decoding.ctxt) + printed(*entry.type, "x", decoding.record.get());
  });
  octets.resize((rtxCtxtGetBitOffset(&decoding.ctxt) + 7) / 8);
  return true;
}

static void addLossyText(const L3Row& row, std::set<std::string>& names)
{
  if (row.op == kL3TextType && row.type->fullName == std::string("TS24008IE_GSMString")) names.insert(row.name);
  if (row.op != kL3Choice) return;
  const L3Choice& choice = *static_cast<const L3Choice*>(row.info);
  for (unsigned i = 0; i < choice.count; ++i) addLossyText(choice.alternatives[i].row, names);
}

// The names of elements in the 7-bit alphabet, which has characters that its encoder writes as question marks or as a
// bare escape.
static std::set<std::string> namesOfLossyText()
{
  std::set<std::string> names = {"x"}; // the string by itself
  for (size_t i = 0; i < l3TypeCount; ++i) {
    const L3Type& type = *l3TypeTable[i].type;
    for (const L3Row* row = type.rows; row < type.rows + type.rowCount; ++row) addLossyText(*row, names);
  }
  return names;
}

static bool hasLossyText(const std::string& text)
{
  static const std::set<std::string> kNames = namesOfLossyText();
  static const char kSafe[] = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ*#. ";
  for (const std::string& name : kNames) {
    std::string opening = name + " = '";
    size_t start = text.find(opening);
    if (start == std::string::npos) continue;
    start += opening.size();
    bool high = std::any_of(text.begin() + long(start), text.end(), [](char c) { return c < 0; });
    if (high || text.find_first_not_of(kSafe, start) < text.find("'\n", start)) return true;
  }
  return false;
}

// An identity of one digit is written with the length 1, which the decoder takes for one more octet.
static bool hasOneDigit(const std::string& text)
{
  static const std::regex kOneDigit("(imsi|imei|imeisv) = '.?'");
  return std::regex_search(text, kOneDigit);
}

// A string type by itself reads as many octets as its caller asks for, also where its characters end at a filler.
static bool isShortenedText(const L3TypeEntry& entry, int status)
{
  return status == RTX_E_END_OF_BUFFER && l3TextForm(*entry.type) != L3TextForm::none;
}

static void checkSecond(const L3TypeEntry& entry, Decoding& first, const Octets& octets, const Octets& input)
{
  std::string text = printed(*entry.type, "x", first.record.get()); // with the lengths as written
  Decoding second(entry, octets.data(), octets.size());
  if (second.status < 0 && (hasOneDigit(text) || isShortenedText(entry, second.status))) return;
  promise(second.status >= 0, [&] {
    return nameOf(entry) + " does not decode what it encoded: " + std::to_string(second.status) + "\n" +
           errorsOf(&second.ctxt) + "from " + hexOf(input) + " to " + hexOf(octets) + "\n" + text;
  });
  std::string again = printed(*entry.type, "x", second.record.get());
  promise(text == again || hasLossyText(text), [&] {
    return nameOf(entry) + " changes in coding: from " + hexOf(input) + " to " + hexOf(octets) + "\n" + text + "to\n" +
           again;
  });
}

void checkMessage(const L3TypeEntry& entry, const uint8_t* data, size_t size)
{
  Decoding first(entry, data, size);
  size_t bound = kHeapBase + kHeapFactor * size + 2 * largestBody(*entry.type);
  promise(first.piecewise || first.peak <= bound, [&] {
    return nameOf(entry) + " of " + std::to_string(size) + " octets took " + std::to_string(first.peak) +
           " octets of heap";
  });
  promise(first.ctxt.elemNameStack.count <= kMostNames, [&] { return "too deep:\n" + stacksOf(&first.ctxt); });
  char words[2048];
  rtxErrGetTextBuf(&first.ctxt, words, sizeof words);
  // A remark is a value outside its bounds, which the encoder refuses; above 255 octets it cuts 16-bit lengths.
  if (first.status < 0 || first.ctxt.errInfo.count || size > 255 || !entry.encode) return;
  Octets octets(4096 + 8 * size);
  if (!encodeAgain(entry, first, octets)) return;
  checkSecond(entry, first, octets, Octets(data, data + size));
}

static std::vector<TestMessage> corpus()
{
  return corpusMessages(VELNOR_CORPUS);
}

std::vector<Octets> seedsOf(const char* fullName)
{
  std::vector<Octets> seeds;
  const L3TypeEntry* entry = l3FindType(fullName);
  if (!entry) return seeds;
  seeds.push_back(sampleOf(*entry));
  for (TestMessage& message : corpus())
    if (message.entry == entry) seeds.push_back(std::move(message.octets));
  return seeds;
}

static Octets ledByType(const TestMessage& message)
{
  size_t index = size_t(message.entry - l3TypeTable);
  Octets seed = {uint8_t(index >> 8), uint8_t(index)};
  seed.insert(seed.end(), message.octets.begin(), message.octets.end());
  return seed;
}

std::vector<Octets> seedsOfAllTypes()
{
  std::vector<Octets> seeds;
  for (const TestMessage& message : sampleMessages()) seeds.push_back(ledByType(message));
  for (const TestMessage& message : corpus()) seeds.push_back(ledByType(message));
  return seeds;
}
