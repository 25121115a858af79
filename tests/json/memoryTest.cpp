// Guards what a long life asks of a session: whichever allocation is refused, a call ends with want of memory or as it
// would have without, nothing leaks, and the session serves the next message; and many messages cost no more memory
// than a few.
#include <gtest/gtest.h>

#include "tests/bench.h"
#include "tests/json/session.h"
#include "velnor3gpp/rtxMemHeap.h"

namespace {

// Sessions of this test take their memory from an allocator that refuses and counts.
struct Failing {
  Failing()
  {
    failing::allow(-1);
    failing::inUse = 0;
    rtxMemSetAllocFuncs(failing::mallocFunc, failing::reallocFunc, failing::freeFunc);
  }
  ~Failing() { rtxMemSetAllocFuncs(nullptr, nullptr, nullptr); }
};

// Everything that a session does with a message, and what it comes to.
std::string lifeOf(velnor3gpp_Session* session, const Octets& octets, const std::string& json)
{
  std::string told;
  const char* text = nullptr;
  const uint8_t* out = nullptr;
  size_t count = 0;
  auto add = [&](int status, const char* what) { told += what + std::to_string(status < 0 ? status : 0) + " "; };
  add(velnor3gpp_decode(session, nullptr, VELNOR3GPP_UP, octets.data(), octets.size()), "decode ");
  add(velnor3gpp_toJson(session, VELNOR3GPP_POSITIONS | VELNOR3GPP_NAMES, &text, &count), "json ");
  add(velnor3gpp_toText(session, &text, &count), "text ");
  add(velnor3gpp_encode(session, &out, &count), "encode ");
  add(velnor3gpp_fromJson(session, nullptr, json.data(), json.size()), "read ");
  add(velnor3gpp_encode(session, &out, &count), "encode ");
  add(velnor3gpp_sample(session, velnor3gpp_typeByName("TS24501Msg_PDU", nullptr), nullptr, 0), "sample ");
  velnor3gpp_Octets many = {octets.data(), octets.size(), VELNOR3GPP_UP};
  add(velnor3gpp_decodeMany(session, nullptr, &many, 1, 0, &text, &count), "many ");
  return told;
}

// What was refused shows as want of memory alone.
bool isShortOf(const std::string& told, const std::string& whole)
{
  std::istringstream a(told), b(whole);
  for (std::string one, other; a >> one && b >> other;)
    if (one != other && one != "-10" && one != "-20" && one != "-6" && one != "-50") return false;
  return true;
}

TEST(JsonMemory, RefusedAllocationsAreTold)
{
  JsonSession source;
  source.decode(nullptr, octetsOfHex("7E004179000D0109F1070000000000203190100405F0F0C0C02F020101"), VELNOR3GPP_UP);
  const std::string json = source.json();
  for (const char* hex : {"7E004179000D0109F1070000000000203190100405F0F0C0C02F020101", "7E0041790004F1", "0741"}) {
    Failing memory;
    velnor3gpp_Session* session = nullptr;
    ASSERT_EQ(velnor3gpp_open(&session), 0);
    const std::string whole = lifeOf(session, octetsOfHex(hex), json);
    velnor3gpp_close(session);
    EXPECT_EQ(failing::inUse, 0);
    long allocations = failing::calls;
    for (long refused = 1; refused <= allocations + 1; ++refused)
      for (bool forGood : {false, true}) {
        failing::setUp(refused, forGood);
        int opened = velnor3gpp_open(&session);
        EXPECT_TRUE(opened == 0 || opened == RTX_E_NO_MEMORY);
        const std::string told = opened ? "" : lifeOf(session, octetsOfHex(hex), json);
        EXPECT_TRUE(isShortOf(told, whole)) << told << "behind " << refused;
        failing::allow(-1);
        EXPECT_EQ(opened ? whole : lifeOf(session, octetsOfHex(hex), json), whole) << "behind " << refused;
        velnor3gpp_close(session);
        EXPECT_EQ(failing::inUse, 0) << refused;
        session = nullptr;
      }
  }
}

TEST(JsonMemory, ManyMessagesCostNoMoreThanFew)
{
  Failing memory;
  JsonSession session;
  std::vector<Octets> messages;
  for (const TestMessage& message : corpusMessages(VELNOR_CORPUS)) messages.push_back(message.octets);
  auto round = [&] {
    const char* text = nullptr;
    size_t count = 0;
    for (const Octets& octets : messages) {
      velnor3gpp_Octets one = {octets.data(), octets.size(), VELNOR3GPP_UP};
      velnor3gpp_decodeMany(session, nullptr, &one, 1, VELNOR3GPP_NAMES, &text, &count);
      std::string json(text, count);
      velnor3gpp_fromJson(session, nullptr, json.data(), json.size());
    }
    return failing::inUse;
  };
  round();
  long once = round(), calls = failing::calls;
  for (int i = 0; i < 10; ++i) EXPECT_LE(round(), once);
  EXPECT_LT((failing::calls - calls) / 10.0, double(messages.size())) << "allocations of the system a message";
}

} // namespace
