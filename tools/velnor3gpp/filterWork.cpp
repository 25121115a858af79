#include "filterWork.h"

#include <new>
#include <utility>

#include "forms.h"
#include "names.h"
#include "velnor3gpp/velnor3gppJson.h"

// What is collected before it is handed over: as much as saves calls, and no more, since each worker holds that much.
static constexpr size_t kCollected = 524288;

static Session plainSession()
{
  velnor3gpp_Session* session = nullptr;
  checkMemory(velnor3gpp_open(&session));
  return Session(session);
}

FilterWork::FilterWork(const FilterOptions& wanted)
    : options(wanted), type(typeOf(wanted.session)), direction(readDirection(wanted.session.direction)),
      channel(readChannel(wanted.session.channel)), session(openSession(wanted.session)),
      text(plainSession()), out{text.get(), nullptr, 0, 0, false, false}
{
}

bool FilterWork::readNext(std::string_view& block)
{
  if (block.empty()) return false;
  if (options.format == FilterFormat::kFrames) {
    readFilterFrame(block, message);
    return true;
  }
  size_t end = block.find('\n');
  readFilterLine(block.substr(0, end), options.format, options.keyColumns, message);
  block.remove_prefix(end + 1);
  return true;
}

// The first finding that ended decoding says what the message is not in order with.
void FilterWork::takeFault(const velnor3gpp_Result& result)
{
  velnor3gpp_Finding finding = {};
  finding.size = sizeof finding;
  message.fault = {result.status, SIZE_MAX, {}};
  for (size_t i = 0; i < result.findings; ++i) {
    if (velnor3gpp_finding(session.get(), i, &finding) < 0 || !finding.fatal) continue;
    message.fault = {finding.status, finding.octet, finding.path};
    return;
  }
}

// Returns whether the message is in order. One that is ciphered is, as far as it can be read without keys.
bool FilterWork::decode()
{
  if (message.direction == VELNOR3GPP_DIRECTION_UNKNOWN) message.direction = direction;
  const velnor3gpp_Type* form = message.type ? message.type : type;
  const uint8_t* octets = message.octets.data();
  size_t count = message.octets.size();
  int status = form ? velnor3gpp_decode(session.get(), form, message.direction, octets, count)
                    : velnor3gpp_decodeOn(session.get(), channel, message.direction, octets, count);
  if (status >= 0) return true;
  velnor3gpp_Result result = resultOf(session.get());
  if (result.headerOnly && result.status == RTX_E_NO_SECURITY) return true;
  takeFault(result);
  return false;
}

// In JSON a key is a string, or the value that it was in JSON. Blanks inside that one stay blanks.
void FilterWork::putKey()
{
  if (!message.keyIsJson)
    return jsonText(out, reinterpret_cast<const uint8_t*>(message.key.data()), message.key.size());
  char* to = jsonPlace(out, message.key.size());
  if (!to) return;
  for (char c : message.key) *to++ = static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
  out.length += message.key.size();
}

// An empty text may have no characters to point at.
static void putText(JsonWriter& out, std::string_view text)
{
  if (!text.empty()) jsonPut(out, text.data(), text.size());
}

static void putNumber(JsonWriter& out, int number)
{
  if (number < 0) jsonPut(out, "-");
  jsonNumber(out, static_cast<uint64_t>(number < 0 ? -number : number));
}

void FilterWork::putFault()
{
  const FilterFault& fault = message.fault;
  jsonPut(out, "{");
  if (message.hasKey) {
    jsonPut(out, "\"key\":");
    putKey();
    jsonPut(out, ",");
  }
  jsonPut(out, "\"err\":{\"status\":");
  putNumber(out, fault.status);
  if (fault.octet != SIZE_MAX) {
    jsonPut(out, ",\"octet\":");
    jsonNumber(out, fault.octet);
  }
  if (!fault.path.empty()) {
    jsonPut(out, ",\"path\":");
    jsonText(out, reinterpret_cast<const uint8_t*>(fault.path.data()), fault.path.size());
  }
  jsonPut(out, "}}");
}

static std::string_view jsonOf(velnor3gpp_Session* session, unsigned flags)
{
  const char* json = nullptr;
  size_t count = 0;
  checkMemory(velnor3gpp_toJson(session, flags, &json, &count));
  return {json, count};
}

// The library's object, with the key in front of its members.
void FilterWork::putObject()
{
  std::string_view json = jsonOf(session.get(), options.flags);
  if (message.hasKey) {
    jsonPut(out, "{\"key\":");
    putKey();
    jsonPut(out, ",");
    json.remove_prefix(1);
  }
  jsonPut(out, json.data(), json.size());
}

// A table keeps its columns: the record of a bad message stands in the first one behind the key.
void FilterWork::putFields()
{
  if (message.hasKey) {
    if (message.keyIsJson)
      putKey();
    else
      putText(out, message.key);
    jsonPut(out, "\t");
  }
  std::string_view json;
  if (message.fault.status)
    putFault();
  else
    json = jsonOf(session.get(), options.flags);
  for (size_t i = 0; i < options.fields.size(); ++i) {
    if (i) jsonPut(out, "\t");
    if (json.empty()) continue;
    putText(out, findField(json, options.fields[i]));
  }
}

void FilterWork::putLine()
{
  if (!options.fields.empty())
    putFields();
  else if (message.fault.status)
    putFault();
  else
    putObject();
  jsonPut(out, "\n");
  if (out.failed) throw std::bad_alloc();
}

void FilterWork::handOver(const Hand& hand)
{
  std::string_view all(out.start, out.length);
  out.length = 0;
  FilterCounts answered = std::exchange(pending, {});
  if (answered.in) hand(all, answered);
}

void FilterWork::answer(std::string_view block, const Hand& hand)
{
  while (readNext(block)) {
    ++pending.in;
    if (message.fault.status || !decode()) ++pending.bad;
    putLine();
    if (options.flushLines || out.length >= kCollected) handOver(hand);
  }
  handOver(hand);
}
