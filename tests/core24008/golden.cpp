#include "tests/core24008/golden.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "rt3gppsrc/engine/l3Engine.h"
#include "tests/printed.h"
#include "velnor3gpp/rtxContainer.h"
#include "velnor3gpp/rtxError.h"

using Octets = std::vector<uint8_t>;

static Octets fromHex(const char* text)
{
  Octets octets;
  for (; *text; text += *text == ' ' ? 1 : 2)
    if (*text != ' ') octets.push_back(uint8_t(std::stoul(std::string(text, 2), nullptr, 16)));
  return octets;
}

std::string flat(const std::string& text)
{
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    bool indent = text[i] == ' ' && (out.empty() || out.back() == '\n');
    if (!indent) out += text[i];
  }
  return out;
}

static void checkAgain(RtxContext* ctxt, const Golden& golden, const L3TypeEntry& entry, void* value)
{
  Octets octets(512, 0);
  rtxErrReset(ctxt);
  rtxCtxtSetBufPtr(ctxt, octets.data(), octets.size());
  int status = entry.encode(ctxt, value);
  bool refused = golden.again && !*golden.again;
  EXPECT_EQ(status < 0, refused) << status;
  if (refused || status < 0) return;
  octets.resize((rtxCtxtGetBitOffset(ctxt) + 7) / 8);
  EXPECT_EQ(octets, fromHex(golden.again ? golden.again : golden.octets));
}

static void checkOnce(const Golden& golden)
{
  const L3TypeEntry* entry = l3FindType(golden.type);
  ASSERT_NE(entry, nullptr) << golden.type;
  Octets octets = fromHex(golden.octets);
  octets.reserve(1); // an empty input is no null pointer
  std::vector<uint64_t> record(entry->type->size / 8 + 1, 0);
  RtxContext ctxt;
  ASSERT_EQ(rtxInitContext(&ctxt), 0);
  rtxCtxtSetBufPtr(&ctxt, octets.data(), octets.size());
  EXPECT_EQ(entry->decode(&ctxt, record.data()), golden.status);
  EXPECT_EQ(rtxErrCheckNonFatal(&ctxt), golden.findings);
  if (golden.text) {
    EXPECT_EQ(flat(printed(*entry->type, "x", record.data())), golden.text);
    checkAgain(&ctxt, golden, *entry, record.data());
  }
  rtxFreeContext(&ctxt);
}

void checkGolden(const Golden& golden)
{
  SCOPED_TRACE(golden.name);
  for (bool slow : {false, true}) {
    SCOPED_TRACE(slow ? "slow" : "fast");
    l3SetSlowMode(slow);
    checkOnce(golden);
  }
  l3SetSlowMode(false);
}
