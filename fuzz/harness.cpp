#include "fuzz/harness.h"

#include <malloc.h>

#include <cstdio>
#include <cstdlib>

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

void promise(bool kept, const std::string& words)
{
  if (kept) return;
  fprintf(stderr, "broken promise: %s\n", words.c_str());
  abort();
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
      : data(new uint8_t[size]), record(recordStorage(*entry.type, 0))
  {
    if (size) memcpy(data.get(), octets, size);
    gLive = gPeak = 0;
    rtxInitContextExt(&ctxt, countedMalloc, countedRealloc, countedFree);
    rtx3gppSecInitialize(&ctxt);
    rtxCtxtSetBufPtr(&ctxt, data.get(), size);
    status = entry.decode(&ctxt, record.get());
    peak = gPeak;
  }
  ~Decoding() { rtxFreeContext(&ctxt); }
  Decoding(const Decoding&) = delete;

  std::unique_ptr<uint8_t[]> data;
  std::unique_ptr<uint64_t[]> record;
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

// Three enumerations and some header fields are tested on encoding alone, so that a value without a name comes in but
// not out: false.
static bool encodeAgain(const L3TypeEntry& entry, Decoding& decoding, Octets& octets)
{
  rtxCtxtSetBufPtr(&decoding.ctxt, octets.data(), octets.size());
  int status = entry.encode(&decoding.ctxt, decoding.record.get());
  if (status == RTX_E_ENUM_VALUE) return false;
  promise(status >= 0, "an accepted " + std::string(entry.type->fullName) +
                           " does not encode: " + std::to_string(status) + "\n" + errorsOf(&decoding.ctxt) +
                           printed(*entry.type, "x", decoding.record.get()));
  octets.resize((rtxCtxtGetBitOffset(&decoding.ctxt) + 7) / 8);
  return true;
}

// The 7-bit alphabet has characters that its encoder writes as question marks or as a bare escape.
static bool isLossyText(const std::string& line)
{
  static const char kSafe[] = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ*#. ";
  size_t start = line.find('\''), end = line.rfind('\'');
  if (start == std::string::npos) return false;
  return line.find_first_not_of(kSafe, start + 1) < end;
}

static bool sameText(const std::string& text, const std::string& other)
{
  std::istringstream one(text), two(other);
  std::string line, same;
  while (std::getline(one, line)) {
    if (!std::getline(two, same)) return false;
    if (line != same && !isLossyText(line)) return false;
  }
  return !std::getline(two, same);
}

void checkMessage(const L3TypeEntry& entry, const uint8_t* data, size_t size)
{
  Decoding first(entry, data, size);
  size_t bound = kHeapBase + kHeapFactor * size + 2 * largestBody(*entry.type);
  promise(first.peak <= bound, std::string(entry.type->fullName) + " of " + std::to_string(size) + " octets took " +
                                   std::to_string(first.peak) + " octets of heap");
  char words[2048];
  rtxErrGetTextBuf(&first.ctxt, words, sizeof words);
  // A remark is a value outside its bounds, which the encoder refuses; above 255 octets it cuts 16-bit lengths.
  if (first.status < 0 || first.ctxt.errInfo.count || size > 255 || !entry.encode) return;
  std::string before = printed(*entry.type, "x", first.record.get());
  Octets octets(4096 + 8 * size);
  if (!encodeAgain(entry, first, octets)) return;
  std::string text = printed(*entry.type, "x", first.record.get()); // with the lengths as written
  Decoding second(entry, octets.data(), octets.size());
  promise(second.status >= 0, std::string(entry.type->fullName) + " does not decode what it encoded: " +
                                  std::to_string(second.status) + "\n" + errorsOf(&second.ctxt) + "from " +
                                  hexOf(Octets(data, data + size)) + " to " + hexOf(octets) + "\n" + before);
  std::string again = printed(*entry.type, "x", second.record.get());
  promise(sameText(text, again), std::string(entry.type->fullName) + " changes in coding: from " +
                                     hexOf(Octets(data, data + size)) + " to " + hexOf(octets) + "\n" + text + "to\n" +
                                     again);
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
