#include "bench/common/messages.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>

#include "velnor3gpp/rt3gppNasSec.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxContext.h"

Keyed::Keyed()
{
  rtxInitContext(&context);
  rtx3gppSecInitialize(&context);
}

Keyed::~Keyed()
{
  rtxFreeContext(&context);
}

double Mix::meanOctets() const
{
  size_t octets = 0;
  for (auto& message : messages) octets += message.octets.size();
  return static_cast<double>(octets) / static_cast<double>(messages.size());
}

void giveUp(const std::string& why)
{
  fprintf(stderr, "%s\n", why.c_str());
  exit(2);
}

Octets fromHex(const std::string& hex)
{
  Octets out;
  for (size_t i = 0; i + 1 < hex.size(); i += 2)
    out.push_back(static_cast<uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
  return out;
}

// 0 if it decodes and, where that is asked for, encodes without complaint; else the status.
static int statusOf(const Message& message, bool andEncodes = true)
{
  RtxContext* pctxt = rtNewContext();
  Octets in = message.octets, record(message.type->type->size), out(70000);
  if (message.keys) pctxt->pSecurity = message.keys->context.pSecurity;
  rtxCtxtSetBufPtr(pctxt, in.data(), in.size());
  int status = message.type->decode(pctxt, record.data());
  rtxCtxtSetBufPtr(pctxt, out.data(), out.size());
  if (status == 0 && andEncodes) status = message.type->encode(pctxt, record.data());
  pctxt->pSecurity = nullptr;
  rtFreeContext(pctxt);
  return status;
}

bool encodes(const Mix& mix)
{
  return std::all_of(mix.messages.begin(), mix.messages.end(), [](auto& message) { return statusOf(message) == 0; });
}

static std::vector<std::vector<std::string>> readRows(const std::string& file)
{
  std::ifstream in(std::string(VELNOR_BENCH_DATA) + "/" + file);
  std::vector<std::vector<std::string>> rows;
  std::string line;
  std::getline(in, line); // names of the columns
  while (std::getline(in, line)) {
    std::stringstream fields(line);
    auto& row = rows.emplace_back();
    for (std::string field; std::getline(fields, field, '\t');) row.push_back(field);
    row.resize(16);
  }
  if (rows.empty()) giveUp("cannot read " + file);
  return rows;
}

static const L3TypeEntry* typeOf(const std::string& form)
{
  const L3TypeEntry* type = l3FindType(form.c_str());
  if (!type) giveUp("no type " + form);
  return type;
}

static Mix shuffled(Mix mix)
{
  if (mix.messages.empty()) giveUp("no messages for " + mix.name);
  std::shuffle(mix.messages.begin(), mix.messages.end(), std::mt19937(7));
  return mix;
}

Mix readMix(const char* name, const char* file)
{
  enum { kForm = 2, kHex, kObject, kWellFormed };
  Mix mix{name, {}};
  for (auto& row : readRows(file)) {
    if (row[kWellFormed] != "yes") continue;
    Message message{typeOf(row[kForm]), row[kObject], fromHex(row[kHex]), nullptr};
    if (statusOf(message) == 0) mix.messages.push_back(message);
  }
  return shuffled(mix);
}

Mix shortOnes(const char* name, const Mix& mix, double meanOctets)
{
  Mix sorted = mix, out{name, {}};
  std::stable_sort(sorted.messages.begin(), sorted.messages.end(),
                   [](auto& a, auto& b) { return a.octets.size() < b.octets.size(); });
  for (auto& message : sorted.messages) {
    out.messages.push_back(message);
    if (out.meanOctets() <= meanOctets) continue;
    out.messages.pop_back();
    break;
  }
  return shuffled(out);
}

Mix allOf(const char* name, const std::vector<const Mix*>& mixes)
{
  Mix out{name, {}};
  for (const Mix* mix : mixes) out.messages.insert(out.messages.end(), mix->messages.begin(), mix->messages.end());
  return shuffled(out);
}

Mix single(const Mix& mix, const char* name, const char* object, size_t most)
{
  const Message* best = nullptr;
  for (auto& message : mix.messages) {
    if (message.object != object || message.octets.size() > most) continue;
    if (!best || message.octets.size() > best->octets.size()) best = &message;
  }
  if (!best) giveUp(std::string("no message ") + object);
  return {name, {*best}};
}

Mix withUnknown(const char* name, Mix mix)
{
  mix.name = name;
  mix.keeps = true;
  for (Message& message : mix.messages) message.octets.insert(message.octets.end(), {0x7F, 2, 1, 2});
  return mix;
}

Mix readProtected(const char* name, const char* form)
{
  enum { kForm = 2, kHex, kIntegrityKey, kCipherKey, kIntegrityAlg, kCipherAlg, kCount, kBearer, kDirection, kMac };
  Mix mix{name, {}};
  for (auto& row : readRows("security.tsv")) {
    if (row[kForm] != form || row[kMac] != "ok" || row[kIntegrityAlg] != "2" || row[kCipherAlg] != "2") continue;
    auto keys = std::make_shared<Keyed>();
    keys->integrityKey = fromHex(row[kIntegrityKey]);
    keys->cipherKey = fromHex(row[kCipherKey]);
    rtx3gppAssignAlgorithmKeys(&keys->context, keys->integrityKey.data(), keys->cipherKey.data(), 2, 2);
    keys->context.pSecurity->count = static_cast<uint32_t>(std::stoul(row[kCount]));
    keys->context.pSecurity->bearer = static_cast<uint8_t>(std::stoul(row[kBearer]));
    keys->context.pSecurity->direction = static_cast<uint8_t>(std::stoul(row[kDirection]));
    Message message{typeOf(row[kForm]), "", fromHex(row[kHex]), keys};
    if (statusOf(message) == 0) mix.messages.push_back(message);
  }
  return shuffled(mix);
}

Mix made(const std::string& name, const Octets& octets)
{
  Mix mix{name, {{typeOf("TS24501Msg_PDU"), "", octets, nullptr}}};
  if (int status = statusOf(mix.messages[0], false)) giveUp(name + " fails: " + std::to_string(status));
  return mix;
}

static void add(Octets& out, const Octets& more)
{
  out.insert(out.end(), more.begin(), more.end());
}

// A length of 16 bits and the octets.
static void addCounted(Octets& out, const Octets& octets)
{
  add(out, {static_cast<uint8_t>(octets.size() >> 8), static_cast<uint8_t>(octets.size())});
  add(out, octets);
}

// Extended configuration options (TS 24.008, 10.5.6.3A): empty units of three octets each.
static Octets units(size_t size)
{
  Octets out = {0x80};
  while (out.size() + 3 <= size) add(out, {0x00, 0x10, 0x00});
  return out;
}

static size_t roomOf(size_t size, size_t around)
{
  return std::min<size_t>(size > around ? size - around : 0, 65535);
}

Octets manyUnits(size_t size)
{
  Octets out = {0x2E, 0x05, 0x01, 0xC1, 0xFF, 0xFF, 0x7B};
  addCounted(out, units(roomOf(size, out.size() + 2)));
  return out;
}

Octets onePayload(size_t size)
{
  Octets out = {0x7E, 0x00, 0x67, 0x03};
  addCounted(out, Octets(roomOf(size, out.size() + 2), 0x55));
  return out;
}

Octets inTransport(const Octets& session)
{
  Octets out = {0x7E, 0x00, 0x68, 0x01};
  addCounted(out, session);
  return out;
}

Octets nestedUnits(size_t size)
{
  Octets inner = {0x2E, 0x05, 0x01, 0xCB, 0x7B};
  addCounted(inner, units(roomOf(std::min<size_t>(size, 65535), inner.size() + 2 + 6)));
  return inTransport(inner);
}

Octets manyEntries(size_t count, size_t each)
{
  Octets out = {0x7E, 0x00, 0x67, 0x0F}, entries = {static_cast<uint8_t>(count)};
  for (size_t i = 0; i < count; ++i) {
    add(entries, {static_cast<uint8_t>(each + 1), 0x03});
    add(entries, Octets(each, 0x55));
  }
  addCounted(out, entries);
  return out;
}
