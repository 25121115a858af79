// Encodes every sample into a file through a buffer that it does not fit into, behind so many octets and bits.
#include <gtest/gtest.h>

#include "tests/fileText.h"
#include "tests/messages.h"
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
    EXPECT_LE(file.ctxt->buffer.byteIndex, file.ctxt->buffer.size);
    if (bit || file.status < 0) return;
  }
  const uint8_t* written = memory.ctxt->buffer.data;
  EXPECT_EQ(fileText(path), std::string(written, written + octetsDone(memory.ctxt)));
}

TEST(Files, TakeWhatMemoryTakesOrRefuse)
{
  Folder folder;
  std::string path = folder + "/encoded";
  for (const TestMessage& message : takenSamples(3)) {
    if (!message.entry->encode || message.octets.empty()) continue;
    Decoding decoding(*message.entry, message.octets);
    if (decoding.status < 0) continue;
    for (size_t before : {0, 36, 42})
      for (bool bit : {false, true}) checkFile(*message.entry, before, bit, decoding.record.get(), path);
  }
}

} // namespace
