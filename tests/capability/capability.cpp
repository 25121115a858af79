#include "tests/capability/capability.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <sstream>

#include "tests/printed.h"
#include "velnor3gpp/rtxContainer.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxError.h"

Octets octetsOf(const std::string& bits)
{
  Octets octets;
  unsigned count = 0;
  for (char c : bits) {
    if (c != '0' && c != '1') continue;
    if (count % 8 == 0) octets.push_back(0);
    if (c == '1') octets.back() |= uint8_t(0x80 >> count % 8);
    ++count;
  }
  return octets;
}

std::string digits(unsigned value, unsigned width)
{
  std::string text;
  while (width-- > 0) text += char('0' + (value >> width & 1));
  return text;
}

std::string zeros(unsigned count)
{
  return std::string(count, '0');
}

unsigned countBits(const std::string& bits)
{
  unsigned count = 0;
  for (char c : bits) count += c == '0' || c == '1';
  return count;
}

static void encodeAgain(RtxContext& ctxt, const L3TypeEntry& entry, void* record, Outcome& outcome)
{
  outcome.again.assign(512, 0);
  rtxErrReset(&ctxt);
  rtxCtxtSetBufPtr(&ctxt, outcome.again.data(), outcome.again.size());
  outcome.againStatus = entry.encode(&ctxt, record);
  outcome.again.resize((rtxCtxtGetBitOffset(&ctxt) + 7) / 8);
}

static Outcome decodeOnce(const L3TypeEntry& entry, const Octets& octets, unsigned specRelease)
{
  RtxContext ctxt;
  rtxInitContext(&ctxt);
  ctxt.specRelease = uint16_t(specRelease);
  std::unique_ptr<uint8_t[]> exact(new uint8_t[octets.size()]); // a sanitizer sees any read beyond
  std::copy(octets.begin(), octets.end(), exact.get());
  rtxCtxtSetBufPtr(&ctxt, exact.get(), octets.size());
  std::vector<uint64_t> record(entry.type->size / 8 + 1, 0xA5A5A5A5A5A5A5A5);
  Outcome outcome;
  outcome.status = entry.decode(&ctxt, record.data());
  outcome.fatalStatus = rtxErrGetStatus(&ctxt);
  outcome.errors = rtxErrGetErrorCnt(&ctxt);
  outcome.firstError = rtxErrGetFirstError(&ctxt);
  outcome.position = rtxCtxtGetBitOffset(&ctxt);
  outcome.regions = ctxt.containerStack.dlist.count;
  outcome.names = ctxt.elemNameStack.count;
  if (outcome.status >= 0) {
    outcome.text = printed(*entry.type, "x", record.data());
    encodeAgain(ctxt, entry, record.data(), outcome);
  }
  rtxFreeContext(&ctxt);
  return outcome;
}

Outcome decode(const char* type, const Octets& octets, unsigned specRelease)
{
  const L3TypeEntry* entry = l3FindType((std::string("TS24008IE_") + type).c_str());
  if (!entry) {
    ADD_FAILURE() << "no type " << type;
    return {};
  }
  Outcome fast = decodeOnce(*entry, octets, specRelease);
  l3SetSlowMode(true);
  Outcome slow = decodeOnce(*entry, octets, specRelease);
  l3SetSlowMode(false);
  auto seen = [](const Outcome& o) {
    return std::make_tuple(o.status, o.fatalStatus, o.errors, o.firstError, o.position, o.regions, o.names, o.text,
                           o.againStatus, o.again);
  };
  EXPECT_EQ(seen(fast), seen(slow)) << type;
  return fast;
}

std::string valueOf(const std::string& text, const std::string& path)
{
  std::string wanted = "x." + path, at;
  std::vector<size_t> outer;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    size_t begin = line.find_first_not_of(' ');
    if (begin == std::string::npos) continue;
    line = line.substr(begin);
    size_t assign = line.find(" = ");
    if (line == "}" && !outer.empty()) {
      at.resize(outer.back());
      outer.pop_back();
    } else if (line.ends_with(" {")) {
      outer.push_back(at.size());
      at += (at.empty() ? "" : ".") + line.substr(0, line.size() - 2);
    } else if (assign != std::string::npos && at + "." + line.substr(0, assign) == wanted) {
      return line.substr(assign + 3);
    }
  }
  return "-";
}

size_t spareBitsOf(const std::string& text)
{
  static const std::string kLabel = "spareBits = { ";
  size_t begin = text.rfind(kLabel);
  return begin == std::string::npos ? 0 : std::stoul(text.substr(begin + kLabel.size()));
}
