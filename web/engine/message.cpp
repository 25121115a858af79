// A message: decoded, told in several forms, and encoded from changed JSON.
#include <cstring>

#include "engine.h"
#include "tools/velnor3gpp/forms.h"
#include "tools/velnor3gpp/hex.h"
#include "tools/velnor3gpp/names.h"
#include "tools/velnor3gpp/titles.h"
#include "velnor3gpp/velnor3gppJson.h"

// Decodes the octets in the room. Without a type the forms that the octets can belong to are tried. Returns 0 if
// nothing tells what they are, else 1, whatever came of them.
PAGE_CALL(decode) int decode(const velnor3gpp_Type* type, int direction, int channel, size_t count)
{
  Engine& own = engine();
  std::string_view given = roomText(count);
  std::vector<uint8_t> octets(given.begin(), given.end());
  auto from = static_cast<velnor3gpp_Direction>(direction);
  if (!type) {
    auto forms = formsOf(octets, from, static_cast<velnor3gpp_Channel>(channel));
    if (forms.empty()) return 0;
    type = bestForm(own.session, forms, from, octets);
  }
  velnor3gpp_decode(own.session, type, from, octets.data(), octets.size());
  return 1;
}

using Teller = int (*)(velnor3gpp_Session*, unsigned, const char**, size_t*);

static void tell(Teller teller, unsigned flags)
{
  const char* told = nullptr;
  size_t count = 0;
  bool good = teller(engine().session, flags, &told, &count) >= 0 && told;
  engine().text = good ? std::string(told, count) : std::string();
}

PAGE_CALL(json) void json(unsigned flags)
{
  tell(velnor3gpp_toJson, flags);
}

PAGE_CALL(trace) void trace()
{
  tell(velnor3gpp_trace, 0);
}

// The text, with the standard's names above ours.
PAGE_CALL(record) void record()
{
  const char* told = nullptr;
  size_t count = 0;
  Engine& own = engine();
  bool good = velnor3gpp_toText(own.session, &told, &count) >= 0;
  own.text = good ? withTitles(own.session, {told, count}) : "";
}

// "Unexpected end of buffer on decode, at lac", of the first finding that is no remark, or "".
static std::string firstFault()
{
  velnor3gpp_Finding finding = {};
  finding.size = sizeof finding;
  for (size_t i = 0; velnor3gpp_finding(engine().session, i, &finding) == 0; ++i)
    if (finding.fatal) return (*finding.path ? std::string(finding.path) + ": " : "") + finding.text;
  return "";
}

static const char* outcomeOf(const velnor3gpp_Result& result)
{
  if (result.headerOnly && result.status == RTX_E_NO_SECURITY) return "sealed";
  if (result.status < 0) return "bad";
  return result.findings || result.missing || !isAllRead(engine().session) ? "remarks" : "good";
}

// What a list says of the message.
PAGE_CALL(summary) void summary()
{
  velnor3gpp_Result result = resultOf(engine().session);
  std::string name = result.type ? factsOf(result.type).name : "";
  std::string& text = engine().text;
  text = "{\"title\":" + quoted(*result.title ? result.title : result.message) + ",\"type\":" + quoted(name);
  text += ",\"dir\":" + std::to_string(result.direction);
  text += std::string(",\"both\":") + (isSentByBoth(engine().session) ? "true" : "false") +
          ",\"outcome\":" + quoted(outcomeOf(result));
  text += ",\"fault\":" + quoted(result.status < 0 ? firstFault() : "");
  text += ",\"check\":" + std::to_string(result.check) + ",\"used\":" + std::to_string(result.used);
  text += ",\"missing\":" + std::to_string(result.missing) + "}";
}

// The octets as the decoder read them, which are others than the message's where it was ciphered.
PAGE_CALL(deciphered) void deciphered()
{
  velnor3gpp_Result result = resultOf(engine().session);
  engine().text = result.deciphered ? plainHex(result.deciphered, result.count) : "";
}

// Makes the record of the JSON in the room the session's. Returns a status.
PAGE_CALL(takeJson) int takeJson(size_t count)
{
  std::string_view changed = roomText(count);
  return velnor3gpp_fromJson(engine().session, nullptr, changed.data(), changed.size());
}

// Encodes the session's record; what came in a block fills one of `block` octets again. Returns a status; the text is
// its octets.
PAGE_CALL(encode) int encode(size_t block)
{
  Engine& own = engine();
  const uint8_t* octets = nullptr;
  size_t size = 0;
  int status = velnor3gpp_encode(own.session, &octets, &size);
  if (status < 0) return status;
  std::vector<uint8_t> whole(octets, octets + size);
  fillBlock(resultOf(own.session).type, block, whole);
  own.text = plainHex(whole.data(), whole.size());
  return 0;
}

// What is wrong with the record that was taken or encoded.
PAGE_CALL(fault) void fault()
{
  engine().text = firstFault();
}
