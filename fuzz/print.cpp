// Whatever was decoded prints: the record, also one that failed, the errors, the trace as text and as a page, and the
// octets.
#include "fuzz/harness.h"

#include <cstdio>

#include "velnor3gpp/rtxHexDump.h"
#include "velnor3gpp/rtxPrintStream.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  const L3TypeEntry* entry = takeType(data, size);
  if (!entry || size > 1000) return 0;
  Octets octets(data, data + size);
  octets.push_back(0);
  Setting setting;
  setting.trace = true;
  OutcomeContext ctxt(setting);
  ctxt.bind(octets.data(), size);
  auto record = recordStorage(*entry->type, 0);
  entry->decode(ctxt, record.get());
  std::string text;
  rtxSetPrintStream(ctxt, appendPrinted, &text);
  entry->print(ctxt, "x", record.get());
  promise(text == printed(*entry->type, "x", record.get()),
          "one text for a function that takes pieces, another in a buffer");
  rtxDiagBitTracePrint(ctxt->pBitFldList, "x");
  rtxDiagBitTracePrintHTML("/dev/null", ctxt->pBitFldList, "x");
  size_t length = 0;
  rtxErrGetText(ctxt, nullptr, &length);
  promise(ctxt->indent == 0, "the print is left indented");
  return 0;
}

std::vector<Octets> fuzzSeeds()
{
  return seedsOfAllTypes();
}
