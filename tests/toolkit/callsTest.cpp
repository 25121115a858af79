// Guards: what each coding helper gives for good and bad input, how far it moves and what it leaves in its caller's
// memory. Every line of calls.txt is one call; the head of that file says how to read it.
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <regex>

#include "tests/context.h"
#include "velnor3gpp/rtBCD.h"
#include "velnor3gpp/rtx3GPP.h"
#include "velnor3gpp/rtxTBCD.h"

namespace {

// The frequency short list's selector: 0, 100, 101, 110, 111 (TS 44.018, 10.5.2.14).
constexpr Rtx3gppAltDetmntNode kShortList[] = {
    {0, 0, 0, 1, 0}, {0, 2, 0, 3, 0}, {0, 0, 0x80000000, 0, 0xA0000000}, {0, 0, 0xC0000000, 0, 0xE0000000}};
// Trees that end in a refusal, go on from their last node, lead outside, and tell a bit that equals the padding.
constexpr Rtx3gppAltDetmntNode kRefused[] = {{0, -1, 0, 0, 0}}, kLoop[] = {{0, 1, 0, 0, 0}, {0, 1, 0, 0, 0}},
                               kOutside[] = {{0, 7, 0, 0, 0}, {0, 0, 0, 0, 0}}, kRelative[] = {{1, 0, 10, 0, 20}};
const std::map<std::string, const Rtx3gppAltDetmntNode*> kTrees = {
    {"shortList", kShortList}, {"refused", kRefused}, {"loop", kLoop}, {"outside", kOutside}, {"relative", kRelative}};

Octets octetsOf(const std::string& text)
{
  size_t star = text.find('*');
  Octets unit = fromHex(text.substr(0, star)), all;
  for (size_t times = star == std::string::npos ? 1 : std::stoul(text.substr(star + 1)); times > 0; --times)
    all.insert(all.end(), unit.begin(), unit.end());
  return all;
}

std::string hex(const Octets& octets)
{
  std::string text;
  char digits[3];
  for (uint8_t octet : octets) snprintf(digits, sizeof digits, "%02X", octet), text += digits;
  return text;
}

std::string number(uint32_t value)
{
  return hex({uint8_t(value >> 24), uint8_t(value >> 16), uint8_t(value >> 8), uint8_t(value)});
}

// Characters as they stand, others as \x and two hexadecimal digits.
std::string quoted(const std::string& characters)
{
  std::string text;
  for (char c : characters)
    text += c >= ' ' && c <= '~' && c != '"' && c != '\\' ? std::string(1, c) : "\\x" + hex({uint8_t(c)});
  return '"' + text + '"';
}

Octets unquoted(const std::string& token)
{
  Octets characters;
  for (size_t i = 1; i + 1 < token.size(); ++i) {
    bool coded = token[i] == '\\';
    characters.push_back(coded ? fromHex(token.substr(i + 2, 2))[0] : uint8_t(token[i]));
    if (coded) i += 3;
  }
  characters.push_back(0);
  return characters;
}

// A call on its way: the arguments to take from its line, the memory they lead to, and what is told of it at the end.
struct Call {
  Octets given; // to the context
  std::sregex_iterator next;
  std::unique_ptr<TestContext> ctxt;
  std::list<Octets> memory; // each of its exact size, so that a sanitizer sees its end
  std::vector<std::function<std::string()>> told;

  RtxContext* context()
  {
    ctxt = std::make_unique<TestContext>(given);
    return *ctxt;
  }
  const uint8_t* keep(const Octets& octets) { return memory.emplace_back(octets).data(); }
  template <class T> T* room(size_t size)
  {
    Octets* room = &memory.emplace_back(size, '?');
    T* filled = reinterpret_cast<T*>(room->data());
    if constexpr (std::is_same_v<T, uint32_t>) told.push_back([=] { return number(*filled); });
    if constexpr (std::is_same_v<T, char>) told.push_back([=] { return quoted(std::string(filled, size)); });
    if constexpr (std::is_same_v<T, uint8_t>) told.push_back([=] { return hex(*room); });
    return filled;
  }
  std::string result(int status)
  {
    std::string text = std::to_string(status);
    if (ctxt) {
      text += " at " + std::to_string(ctxt->position());
      if (ctxt->data != given) text += " " + hex(ctxt->written());
      EXPECT_EQ(rtxErrGetErrorCnt(*ctxt), status < 0 ? 1U : 0U);
    }
    for (auto& tell : told) text += " " + tell();
    return text;
  }
};

template <class T> T argument(Call& call)
{
  if constexpr (std::is_same_v<T, RtxContext*>) {
    return call.context();
  } else {
    std::string token = (call.next++)->str();
    if constexpr (std::is_integral_v<T>)
      return T(std::stoll(token, nullptr, 0));
    else if (token == "null")
      return nullptr;
    else if constexpr (std::is_same_v<T, const char*>)
      return reinterpret_cast<const char*>(call.keep(unquoted(token)));
    else if constexpr (std::is_same_v<T, const uint8_t*>)
      return call.keep(octetsOf(token));
    else if constexpr (std::is_same_v<T, const Rtx3gppAltDetmntNode*>)
      return kTrees.at(token);
    else
      return call.room<std::remove_pointer_t<T>>(std::stoul(token));
  }
}

using Function = std::function<std::string(Call&)>;

template <class... Arguments> Function calling(int (*function)(Arguments...))
{
  return [=](Call& call) {
    std::tuple<Arguments...> arguments{argument<Arguments>(call)...}; // in their order
    return call.result(std::apply(function, arguments));
  };
}

// Those that give back their destination tell the status of having done so.
template <class... Arguments> Function calling(char* (*function)(Arguments...))
{
  return [=](Call& call) {
    std::tuple<Arguments...> arguments{argument<Arguments>(call)...};
    return call.result(std::apply(function, arguments) ? 1 : 0);
  };
}

// Those that give a text in the system's memory.
Function calling(char* (*function)(const uint8_t*))
{
  return [=](Call& call) {
    std::unique_ptr<char, decltype(&free)> text(function(argument<const uint8_t*>(call)), free);
    return text ? quoted(text.get()) : "null";
  };
}

#define ROW(name) std::pair(#name, calling(name)),
#define ROWS(row)                                                                                                      \
  row(rtx3GPPDecAltDetmnt) row(rtx3GPPEncAltDetmnt) row(rtx3GPPDecVarAltDetmnt) row(rtx3GPPDecIntAsBits)               \
      row(rtx3GPPEncIntAsBits) row(rtx3GPPDecIntAsBitsPattern) row(rtx3GPPDecL3NonImperative) row(rtx3GPPEnc_MCC_MNC)  \
          row(rtx3GPPDec_MCC_MNC) row(rtx3GPPEncMobileIdentityType1) row(rtx3GPPDecMobileIdentityType1)                \
              row(rtx3GPPEncGSMCharStr) row(rtx3GPPDecGSMCharStr) row(rtStringToTBCD) row(rtTBCDToString)              \
                  row(rtStringToBCD) row(rtBCDToString) row(rtStringToPLMNidentity) row(rtStringToPGWPLMNidentity)     \
                      row(rtGetMCCFromPLMNidentity) row(rtGetMNCFromPLMNidentity) row(rtGetMNCFromPGWPLMNidentity)     \
                          row(rtxTBCDBinToChar) row(rtxEncQ825TBCDString) row(rtxDecQ825TBCDString)                    \
                              row(rtxQ825TBCDToString)
const std::map<std::string, Function> kFunctions = {ROWS(ROW)};

TEST(Toolkit, CallsGiveWhatTheirLinesSay)
{
  std::ifstream file(VELNOR_TEST_DATA "/calls.txt");
  const std::regex word("\"[^\"]*\"|\\S+");
  size_t calls = 0;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::sregex_iterator words(line.begin(), line.end(), word);
    std::string octets = (words++)->str();
    auto function = kFunctions.find((words++)->str());
    ASSERT_NE(function, kFunctions.end()) << line;
    Call call{octetsOf(octets), words, nullptr, {}, {}};
    std::string result = function->second(call);
    EXPECT_EQ(line.substr(line.rfind(" = ") + 3), result) << line;
    ++calls;
  }
  EXPECT_GT(calls, 130U);
}

TEST(Toolkit, CharacterSetsHoldTheDigits)
{
  for (const char* set : {gs_TS24008IES_IMSI_CharSet, gs_TS24008IES_IMEI_CharSet, gs_TS24008IES_IMEISV_CharSet})
    EXPECT_STREQ(set, "0123456789");
  for (const char* set : {gs_TS24008IES_TBCDString_CharSet, gs_TS24008IES_TBCDString3_CharSet})
    EXPECT_STREQ(set, "#*0123456789abc");
}

} // namespace
