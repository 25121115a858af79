// Whatever the octets, cut anywhere, with any bit or length bent: a decoder reads nothing behind their end, where a
// page begins that cannot be read, ends with a specified status that its error records tell, takes heap in proportion,
// and its record can be printed and encoded, whatever stood in it before and also after a failure.
#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include "tests/messages.h"
#include "tests/robustness/countedHeap.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

constexpr size_t kRoom = 1 << 17;
constexpr int kStatuses[] = {RTX_E_END_OF_BUFFER, RTX_E_ENUM_VALUE, RTX_E_INVALID_CHOICE, RTX_E_BAD_VALUE,
                             RTX_E_TOO_BIG,       RTX_E_NO_MEMORY,  RTX_E_NOT_SUPPORTED,  RTX_E_MULTIPLE,
                             RTX_E_BAD_LENGTH,    RTX_E_UNKNOWN_IE, RTX_E_BAD_MAC,        RTX_E_CONSTRAINT,
                             RTX_E_BAD_CHAR};

struct Ending {
  int status;
  size_t bits; // up to the cursor, which a length may have set behind the end
  std::string errors;
};

class Input : public testing::Test {
protected:
  size_t failures = 0, successes = 0;

  Input()
  {
    void* area = mmap(nullptr, kRoom + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (area == MAP_FAILED || mprotect(static_cast<uint8_t*>(area) + kRoom, page, PROT_NONE) != 0) abort();
    end = static_cast<uint8_t*>(area) + kRoom;
  }
  ~Input() override
  {
    EXPECT_GT(failures, 0U);
    EXPECT_GT(successes, 0U);
    munmap(end - kRoom, kRoom + page);
  }

  Ending decode(const L3TypeEntry& entry, const uint8_t* octets, size_t size)
  {
    RtxContext ctxt;
    std::copy_n(octets, size, end - size);
    heap::live = heap::peak = 0;
    rtxInitContextExt(&ctxt, heap::allocate, heap::grow, heap::release);
    // In pieces, a sanitizer sees each use of what was freed.
    if (size % 2) rtxMemHeapSetFlags(&ctxt.pMemHeap, RT_MH_USE_SYSMEM);
    rtx3gppSecInitialize(&ctxt);
    rtxCtxtSetBufPtr(&ctxt, end - size, size);
    auto record = recordStorage(*entry.type, 0xA5);
    int status = entry.decode(&ctxt, record.get());
    Ending ending = {status, rtxCtxtGetBitOffset(&ctxt), errorsOf(&ctxt)};
    bool known = std::find(std::begin(kStatuses), std::end(kStatuses), status) != std::end(kStatuses);
    EXPECT_TRUE((status >= 0 || known) && heap::peak <= heap::mostFor(*entry.type, size))
        << status << ", heap " << heap::peak << ", " << hexText(Octets(octets, octets + size));
    EXPECT_TRUE(status >= 0 || rtxErrGetStatus(&ctxt) < 0) << status;
    useRecord(entry, &ctxt, record.get());
    ++(status < 0 ? failures : successes);
    rtxFreeContext(&ctxt);
    return ending;
  }

  void decodeDamaged(const TestMessage& message)
  {
    if (message.octets.size() > 1 << 16) return;
    SCOPED_TRACE(message.name);
    Octets octets = message.octets;
    auto decodeWith = [&](size_t place, unsigned value) {
      octets[place] = uint8_t(value);
      decode(*message.entry, octets.data(), octets.size());
    };
    for (size_t size = 0; size <= octets.size(); ++size) decode(*message.entry, octets.data(), size);
    for (size_t i = 0; i < octets.size() && octets.size() <= 400; ++i) { // it is quadratic work
      const unsigned was = octets[i];
      for (unsigned bit = 0; bit < 8; ++bit) decodeWith(i, was ^ 1U << bit);
      // Any octet can be a length: finding out which are would not spare much.
      for (unsigned value : {0U, 1U, was - 1U, was + 1U, 127U, 128U, 255U}) decodeWith(i, value);
      if (i + 1 < octets.size()) decodeWith(i + 1, 255);
      octets = message.octets;
    }
  }

private:
  const size_t page = size_t(sysconf(_SC_PAGESIZE));
  uint8_t* end;
};

TEST_F(Input, DamagedSamples)
{
  for (const TestMessage& message : takenSamples(0)) decodeDamaged(message);
}

TEST_F(Input, DamagedCorpus)
{
  for (const TestMessage& message : takenCorpus(VELNOR_TEST_DATA "/../corpus/data", 0)) decodeDamaged(message);
}

// The length in whole octets that a type begins with.
const L3Length* lengthOf(const L3Type& type)
{
  if (!type.rowCount || type.rows[0].op != kL3Length) return nullptr;
  const auto* info = static_cast<const L3Length*>(type.rows[0].info);
  return info->unitBits == 8 && info->bits % 8 == 0 ? info : nullptr;
}

// The sample, cut or drawn out to a length.
Octets ofLength(const Octets& sample, size_t lead, size_t length)
{
  Octets octets(lead + length);
  for (size_t i = 0; i < length; ++i)
    octets[lead + i] = sample.size() > lead ? sample[lead + i % (sample.size() - lead)] : uint8_t(i);
  for (size_t i = 0; i < lead; ++i) octets[i] = uint8_t(length >> 8 * (lead - 1 - i));
  return octets;
}

// Every length up to the greatest and two more; of an open or a very great one, those about the sample's and the bound.
std::vector<size_t> lengthsToTry(const L3Length& info, size_t sample)
{
  size_t end = (info.ranged && info.hi <= 600 ? info.hi : sample) + 2;
  std::vector<size_t> lengths;
  for (size_t length = 0; length <= end; ++length) lengths.push_back(length);
  for (size_t length = info.hi; info.ranged && info.hi > 600 && length <= info.hi + 2; ++length)
    lengths.push_back(length);
  std::erase_if(lengths, [&info](size_t length) { return length >> info.bits; });
  return lengths;
}

// A length outside its bounds is remarked, no other is, and the element ends where its length says, in both modes; of
// long content the slow mode, which takes its time, reads some.
TEST_F(Input, ElementsOfEveryLength)
{
  for (const TestMessage& message : takenSamples(0)) {
    const L3Type& type = *message.entry->type;
    const L3Length* info = lengthOf(type);
    SCOPED_TRACE(message.name);
    for (size_t length : info ? lengthsToTry(*info, message.octets.size()) : std::vector<size_t>()) {
      Octets octets = ofLength(message.octets, info->bits / 8, length);
      Ending ending = decode(*message.entry, octets.data(), octets.size());
      std::string report = std::string("error -16 (not fatal) at ") + l3NameOf(type) + (info->member ? ".length '" : " '");
      bool reported = ending.errors.find(report) != std::string::npos;
      EXPECT_EQ(reported, info->ranged && (length < info->lo || length > info->hi)) << length << "\n" << ending.errors;
      EXPECT_TRUE(ending.status < 0 || ending.bits == 8 * octets.size()) << length;
      if (octets.size() > 64 && octets.size() % 8) continue;
      EXPECT_EQ(decodingDiffers(*message.entry, octets, {}), "");
    }
  }
}

} // namespace
