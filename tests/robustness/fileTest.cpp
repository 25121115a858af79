// Encodes every sample into a file through a buffer that it does not fit into, behind so many octets and bits.
#include <gtest/gtest.h>

#include <unistd.h>

#include <fstream>
#include <iterator>

#include "tests/messages.h"
#include "tests/outcome.h"
#include "velnor3gpp/rtxBitEncode.h"
#include "velnor3gpp/rtxStreamFile.h"

namespace {

struct Coding {
  OutcomeContext ctxt{Setting()};
  int status = 0;
  explicit Coding(size_t octets, bool bit, const L3TypeEntry& entry, void* record, const std::string& path = "")
  {
    if (path.empty())
      rtxCtxtSetBufPtr(ctxt, nullptr, 0);
    else
      status = rtxStreamFileCreateWriter(ctxt, path.c_str());
    while (octets-- > 0) rtxEncBits(ctxt, 0xEE, 8);
    if (bit) rtxEncBit(ctxt, 1);
    if (status >= 0) status = entry.encode(ctxt, record);
  }
  const RtxBuffer& buffer() { return static_cast<RtxContext*>(ctxt)->buffer; }
};

// A file that cannot go back for a length refuses; otherwise it has what memory has. Within an octet some strings are
// written over what was begun, so that only the buffer's bounds are looked at.
void checkFile(const L3TypeEntry& entry, size_t octets, bool bit, void* record, const std::string& path)
{
  SCOPED_TRACE(std::string(entry.type->fullName) + " behind " + std::to_string(octets) +
               (bit ? " octets and a bit" : ""));
  Coding memory(octets, bit, entry, record);
  {
    Coding file(octets, bit, entry, record, path);
    EXPECT_TRUE(file.status == memory.status || file.status == RTX_E_NOT_SUPPORTED) << file.status;
    EXPECT_LE(file.buffer().byteIndex, file.buffer().size);
    if (bit || file.status < 0) return;
  }
  std::ifstream in(path, std::ios::binary);
  Octets written{std::istreambuf_iterator<char>(in), {}};
  const RtxBuffer& buffer = memory.buffer();
  EXPECT_EQ(written, Octets(buffer.data, buffer.data + buffer.byteIndex + (buffer.bitOffset != 8)));
}

TEST(Files, TakeWhatMemoryTakesOrRefuse)
{
  std::string path = testing::TempDir() + "encoded." + std::to_string(getpid());
  for (const TestMessage& message : sampleMessages()) {
    if (!message.entry->encode || message.octets.empty()) continue;
    OutcomeContext ctxt{Setting()};
    Octets octets = message.octets;
    ctxt.bind(octets.data(), octets.size());
    auto record = recordStorage(*message.entry->type, 0);
    if (message.entry->decode(ctxt, record.get()) < 0) continue;
    for (size_t before : {0, 36, 42})
      for (bool bit : {false, true}) checkFile(*message.entry, before, bit, record.get(), path);
  }
  std::remove(path.c_str());
}

} // namespace
