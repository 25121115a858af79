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

// Octets as runs, "00*20" is an octet 20 times.
static std::vector<Octets> octets(std::initializer_list<std::string> runs)
{
  std::vector<Octets> seeds;
  for (const std::string& run : runs) seeds.push_back(octetsOfRuns(run));
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

static std::vector<const L3TypeEntry*> radioForms()
{
  std::vector<const L3TypeEntry*> forms;
  for (const char* name : {"L2_PSEUDO_LEN", "DL_DCCH", "UL_DCCH", "UL_SACCH", "RR_Short_PD"})
    forms.push_back(l3FindType((std::string("TS44018Msg_") + name + "_PDU").c_str()));
  return forms;
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
      {.name = "coreNetwork", .check = checkMessage, .types = {l3FindType("TS24008Msg_PDU")}},
      {.name = "shortMessages", .check = checkMessage, .types = {kControl, kRelay}},
      {.name = "radioResource", .check = checkMessage, .types = radioForms()},
      {.name = "anyType", .check = checkMessage, .types = kAll},
      {.name = "fastSlow", .check = checkModes, .types = kAll, .leads = {{1}}},
      {.name = "kept", .check = checkKept, .types = kAll, .leads = {{3}}},
      {.name = "trace", .check = checkTrace, .types = kAll},
      {.name = "print", .check = checkPrint, .types = kAll},
      {.name = "encoder", .check = checkEncoder, .types = allWith(&L3TypeEntry::encode), .leads = {drawn()}},
      {.name = "protectedMessages", .check = checkProtected, .types = {k5gs, kEps}, .leads = {{0}, {0x0E}, {0x3C}}},
      {.name = "streams", .check = checkStream, .types = kAll, .leads = {{4}}},
      {.name = "facade", .check = checkFacade, .types = kAll, .leads = {{0}, {0x0F}, {0x30}, {0x3F}}},
#ifdef VELNOR_FUZZ_JSON
      {.name = "json", .check = checkJson, .seeds = jsonSeeds()},
#endif
      {.name = "definitions", .check = checkDefinitions, .seeds = definitionSeeds()},
      {.name = "charging",
       .check = checkCharging,
       .seeds =
           octets({"04 00000048 00000034 C141 58A9E880*2 00000002 00000001 00*22 00000000 0003A10B010203 000441EB05",
                   "09 00000060 0000003D FFE0 58A9E080*2 00000001 00000001 00*22 0002AABB 0003010203 0502 FF*2 "
                   "0001E04B07AA",
                   "00 FFFFFFFF 00000008", "02 00000040 00000034 00*44"})},
      {.name = "chargingText",
       .check = checkChargingText,
       .seeds = texts({"Grel-8 v.5", "Frel-11  v.31", "0Beyond", "E12/31 23:59-11:30", "132.251", "632.005"})},
      {.name = "capture",
       .check = checkCapture,
       .seeds = octets({"04 D4C3B2A1 02000400 00*8 0000040093000000 00*8 0400000004000000 7E005B01",
                        "07 A1B2C3D4 00020004 00*8 0004000000000001 00*8 0000001000000010 00*12 88B5 7E00"})},
      {.name = "captures", .check = checkCaptures, .seeds = captureSeeds()},
      {.name = "gsmtap",
       .check = checkRadio,
       .seeds =
           octets({"06 01 03 013F01 06 01 17 010053 05*20 06 01 08 010209 0502 2B2B", "01 00 17 2506210005F4C0 2B*16",
                   "86 00 17 05000303 49061D05 00*15 86 01 17 05000103 49 0615 00*16 86 00 08 05000303140A02 01",
                   "06 81 06 010009050200 08 80 06 030009050800 87 01 0B 0F000D000D090400 2B2B2B"})},
#ifdef VELNOR_FUZZ_PROGRAM
      {.name = "filterInput",
       .check = checkFilterInput,
       .seeds = texts({std::string(1, 0) + "a\t7e005b01\r\n\t7e\n\n7e 00\nlast\t0x7e",
                       "\x01\xEF\xBB\xBF"
                       "7e\n\xEF",
                       "\x02{\"key\":[1.0,{}],\"octets\":\"7e005b01\",\"dir\":\"up\"}\n{\"octets\":1}\n[[",
                       std::string("\x03\0\2\x7e\0\0\0\0\5x", 10),
                       "\x14"
                       "2\na\tb\t7e\n\n0\n1\n7e\nx\n",
                       "\x18k\t\xFE\nl\t7e005b01", "\x1a\xFE\xFE\n{}"})},
      {.name = "hexInput",
       .check = checkHex,
       .seeds = texts({"7e 00 41", "0x7E:0x00:41", "7e0041, 79", "7E 0", "7g", "", "0x", "::", "7e\t00\r\n"})},
      {.name = "keyFile",
       .check = checkKeys,
       .seeds = texts({"# one\nciphering-algorithm 2 # AES\nciphering-key 0102030405060708090a0b0c0d0e0f10\ncount 5\n",
                       "integrity-algorithm 2\nintegrity-key 0102030405060708090a0b0c0d0e0f10\nbearer 1\n"
                       "uplink-count 250\ndownlink-count = 0\n",
                       "connection address 192.0.2.1 port 40000 # UE 1\nintegrity-algorithm 0\nciphering-algorithm 0\n"
                       "connection arfcn 871 timeslot 2\nciphering-algorithm 0\nintegrity-algorithm null\n"})},
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
    return entry.type->fullName.get() + (std::string(" is not the same ") + where) + ":\n" + one + "and\n" + other;
  });
}
