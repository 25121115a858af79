// No decoder reads an octet behind the end of its input: every message ends at a page that cannot be read, under each
// prefix, each flipped bit and each value that a length could be given.
#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

#include "tests/messages.h"

namespace {

constexpr size_t kRoom = 1 << 16;

// Octets that end at an unreadable page, and a context to decode them in.
class GuardedInput {
public:
  GuardedInput()
  {
    size_t page = size_t(sysconf(_SC_PAGESIZE));
    void* area = mmap(nullptr, kRoom + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (area == MAP_FAILED || mprotect(static_cast<uint8_t*>(area) + kRoom, page, PROT_NONE) != 0) abort();
    base = static_cast<uint8_t*>(area);
    end = base + kRoom;
    rtxInitContext(&ctxt);
  }
  ~GuardedInput()
  {
    rtxFreeContext(&ctxt);
    munmap(base, kRoom + size_t(sysconf(_SC_PAGESIZE)));
  }
  GuardedInput(const GuardedInput&) = delete;

  void decode(const L3TypeEntry& entry, const uint8_t* octets, size_t size)
  {
    uint8_t* at = end - size;
    if (size) memcpy(at, octets, size);
    rtxMemReset(&ctxt);
    ctxt.pSecurity = nullptr; // it went with the heap
    rtx3gppSecInitialize(&ctxt);
    rtxCtxtSetBufPtr(&ctxt, at, size);
    auto record = recordStorage(*entry.type, 0xA5);
    int status = entry.decode(&ctxt, record.get());
    if (status < 0)
      ++failures;
    else
      ++successes;
  }
  size_t failures = 0, successes = 0;

private:
  uint8_t *base, *end;
  RtxContext ctxt;
};

void decodePrefixes(GuardedInput& input, const TestMessage& message)
{
  for (size_t size = 0; size <= message.octets.size(); ++size)
    input.decode(*message.entry, message.octets.data(), size);
}

void decodeFlips(GuardedInput& input, const TestMessage& message)
{
  Octets octets = message.octets;
  for (size_t bit = 0; bit < octets.size() * 8; ++bit) {
    octets[bit / 8] = uint8_t(octets[bit / 8] ^ 0x80U >> bit % 8);
    input.decode(*message.entry, octets.data(), octets.size());
    octets[bit / 8] = message.octets[bit / 8];
  }
}

// Any octet can be a length: finding out which are would not spare much.
void decodeLengths(GuardedInput& input, const TestMessage& message)
{
  Octets octets = message.octets;
  for (size_t i = 0; i < octets.size(); ++i) {
    uint8_t old = message.octets[i];
    for (uint8_t value :
         {uint8_t{0}, uint8_t{1}, uint8_t(old - 1), uint8_t(old + 1), uint8_t{0x7F}, uint8_t{0x80}, uint8_t{0xFF}}) {
      octets[i] = value;
      input.decode(*message.entry, octets.data(), octets.size());
    }
    if (i + 1 < octets.size()) {
      octets[i] = octets[i + 1] = 0xFF;
      input.decode(*message.entry, octets.data(), octets.size());
      octets[i + 1] = message.octets[i + 1];
    }
    octets[i] = old;
  }
}

void decodeAll(const std::vector<TestMessage>& messages, GuardedInput& input)
{
  for (const TestMessage& message : messages) {
    if (message.octets.size() > kRoom) continue;
    SCOPED_TRACE(message.name);
    decodePrefixes(input, message);
    if (message.octets.size() > 400) continue; // quadratic work
    decodeFlips(input, message);
    decodeLengths(input, message);
  }
}

TEST(GuardPage, Samples)
{
  GuardedInput input;
  decodeAll(sampleMessages(), input);
  EXPECT_GT(input.failures, 0U);
  EXPECT_GT(input.successes, 0U);
}

TEST(GuardPage, Corpus)
{
  GuardedInput input;
  auto messages = corpusMessages(VELNOR_TEST_DATA "/../corpus/data");
  decodeAll(messages, input);
  EXPECT_TRUE(messages.empty() || input.successes);
}

} // namespace
