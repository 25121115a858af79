// The table of targets, and how an input chooses its type.
#include "fuzz/harness.h"

template <typename Coder> static std::vector<const L3TypeEntry*> allWith(Coder L3TypeEntry::*coder)
{
  std::vector<const L3TypeEntry*> types;
  for (size_t i = 0; i < l3TypeCount; ++i)
    if (l3TypeTable[i].*coder) types.push_back(&l3TypeTable[i]);
  return types;
}

static std::vector<Octets> texts(std::initializer_list<std::string> texts)
{
  std::vector<Octets> seeds;
  for (const std::string& text : texts) seeds.emplace_back(text.begin(), text.end());
  return seeds;
}

// Octets to draw a record from.
static Octets drawn()
{
  Draw draw(7);
  Octets octets(200);
  for (uint8_t& octet : octets) octet = uint8_t(draw.octet());
  return octets;
}

const std::vector<FuzzTarget>& fuzzTargets()
{
  const L3TypeEntry *const k5gs = l3FindType("TS24501Msg_PDU"), *const kEps = l3FindType("TS24301Msg_PDU"),
                           *const kControl = l3FindType("TS24011Msg_CP_PDU"),
                           *const kRelay = l3FindType("TS24011Msg_RP_PDU");
  static const std::vector<const L3TypeEntry*> kAll = allWith(&L3TypeEntry::decode);
  static const std::vector<FuzzTarget> kTargets = {
      {.name = "nas5gs", .check = checkMessage, .types = {k5gs}},
      {.name = "nas5gsSession", .check = checkMessage, .types = {l3FindType("TS24501Msg_PDU_SM")}},
      {.name = "nasEps", .check = checkMessage, .types = {kEps}},
      {.name = "nasEpsSession", .check = checkMessage, .types = {l3FindType("TS24301Msg_PDU_SM")}},
      {.name = "shortMessages", .check = checkMessage, .types = {kControl, kRelay}},
      {.name = "anyType", .check = checkMessage, .types = kAll},
      {.name = "fastSlow", .check = checkModes, .types = kAll, .leads = {{1}}},
      {.name = "trace", .check = checkTrace, .types = kAll},
      {.name = "print", .check = checkPrint, .types = kAll},
      {.name = "encoder", .check = checkEncoder, .types = allWith(&L3TypeEntry::encode), .leads = {drawn()}},
      {.name = "protectedMessages", .check = checkProtected, .types = {k5gs, kEps}, .leads = {{0}, {0x0E}, {0x3C}}},
      {.name = "streams", .check = checkStream, .types = kAll, .leads = {{4}}},
      {.name = "definitions", .check = checkDefinitions, .seeds = definitionSeeds()},
#ifdef VELNOR_FUZZ_PROGRAM
      {.name = "hexInput",
       .check = checkHex,
       .seeds = texts({"7e 00 41", "0x7E:0x00:41", "7e0041, 79", "7E 0", "7g", "", "0x", "::", "7e\t00\r\n"})},
      {.name = "keyFile",
       .check = checkKeys,
       .seeds = texts({"# one\nciphering-algorithm 2 # AES\nciphering-key 0102030405060708090a0b0c0d0e0f10\ncount 5\n",
                       "integrity-algorithm 2\nintegrity-key 0102030405060708090a0b0c0d0e0f10\nbearer 1\n"
                       "uplink-count 250\ndownlink-count = 0\n"})},
#endif
  };
  return kTargets;
}

const FuzzTarget* findTarget(const std::string& name)
{
  for (const FuzzTarget& target : fuzzTargets())
    if (name == target.name) return &target;
  return nullptr;
}

void runTarget(const FuzzTarget& target, const Octets& input)
{
  if (target.types.size() < 2) return target.check(target.types.empty() ? *l3TypeTable : *target.types[0], input);
  if (input.size() < 2) return;
  size_t choice = size_t{input[0]} << 8 | input[1];
  target.check(*target.types[choice % target.types.size()], Octets(input.begin() + 2, input.end()));
}

std::vector<Octets> seedsOf(const FuzzTarget& target)
{
  std::vector<TestMessage> messages = sampleMessages();
  for (TestMessage& message : corpusMessages(VELNOR_CORPUS)) messages.push_back(std::move(message));
  std::vector<Octets> seeds = target.seeds;
  for (const TestMessage& message : messages) {
    auto type = std::find(target.types.begin(), target.types.end(), message.entry);
    for (const Octets& lead : target.leads) {
      if (type == target.types.end()) continue;
      size_t choice = size_t(type - target.types.begin());
      Octets seed = {uint8_t(choice >> 8), uint8_t(choice)};
      if (target.types.size() < 2) seed.clear();
      seed.insert(seed.end(), lead.begin(), lead.end());
      seed.insert(seed.end(), message.octets.begin(), message.octets.end());
      seeds.push_back(std::move(seed));
    }
  }
  return seeds;
}

uint8_t takeFirst(Octets& input)
{
  if (input.empty()) return 0;
  uint8_t first = input[0];
  input.erase(input.begin());
  return first;
}

void promiseSame(const L3TypeEntry& entry, const char* where, const std::string& one, const std::string& other)
{
  promise(one == other, [&] {
    return entry.type->fullName + (std::string(" is not the same ") + where) + ":\n" + one + "and\n" + other;
  });
}
