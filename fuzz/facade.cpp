// The small interface with octets and JSON from strangers: whatever comes, a session answers, what it says is read back
// as it was, and it serves the next message.
#include "fuzz/harness.h"
#include "velnor3gpp/velnor3gpp.h"
#ifdef VELNOR_FUZZ_JSON
#include "velnor3gpp/velnor3gppJson.h"
#endif

namespace {

struct Session {
  velnor3gpp_Session* session = nullptr;
  Session() { promise(velnor3gpp_open(&session) == 0, "a session opens"); }
  ~Session() { velnor3gpp_close(session); }
  operator velnor3gpp_Session*() const { return session; }
};

// Every finding has words, and every node a path.
int lookAt(const velnor3gpp_Node* node, void* arg)
{
  char path[64];
  ++*static_cast<size_t*>(arg);
  size_t length = velnor3gpp_nodePath(node, path, sizeof path);
  promise(strlen(path) == std::min(length, sizeof path - 1), "a path that is cut");
  promise(!node->bits || node->bitOffset < SIZE_MAX / 2, "a position");
  return 0;
}

void lookAtFindings(velnor3gpp_Session* session)
{
  auto result = sized<velnor3gpp_Result>();
  velnor3gpp_result(session, &result);
  auto finding = sized<velnor3gpp_Finding>();
  for (size_t i = 0; i < result.findings; ++i) {
    promise(velnor3gpp_finding(session, i, &finding) == 0, "a finding that is counted");
    promise(finding.text && *finding.text && finding.path && finding.clause, "a finding without words");
  }
  promise(velnor3gpp_finding(session, result.findings, &finding) < 0, "a finding too many");
  promise(result.used <= result.count, "more octets used than there are");
}

velnor3gpp_Keys keysOf(uint8_t first)
{
  auto keys = sized<velnor3gpp_Keys>();
  keys.integrityAlgorithm = first & 2;
  keys.cipherAlgorithm = (first >> 1) & 2;
  keys.bearer = -1;
  keys.window = first >> 4;
  return keys;
}

} // namespace

static void lookAtKept(velnor3gpp_Session* session)
{
  auto kept = sized<velnor3gpp_Kept>();
  for (size_t i = 0; i < 20 && velnor3gpp_kept(session, i, &kept) == 0; ++i)
    promise(kept.bits <= kept.count * 8 && strlen(kept.text) + strlen(kept.path) + strlen(kept.element) < 2000, "kept");
}

// The first octet tells direction and keys, and what is made of what no type knows.
void checkFacade(const L3TypeEntry& entry, Octets input)
{
  static Session session;
  uint8_t first = takeFirst(input);
  velnor3gpp_Keys keys = keysOf(first);
  velnor3gpp_setKeys(session, first & 8 ? &keys : nullptr);
  velnor3gpp_setOption(session, VELNOR3GPP_OPTION_KEEP, first >> 4 & 1);
  velnor3gpp_setOption(session, VELNOR3GPP_OPTION_STANDARD, first >> 5 & 1);
  auto* type = first & 1 ? nullptr : velnor3gpp_typeAt(size_t(&entry - l3TypeTable));
  velnor3gpp_decode(session, type, velnor3gpp_Direction(first % 3), input.data(), input.size());
  lookAtFindings(session);
  size_t nodes = 0, count = 0;
  velnor3gpp_visit(session, VELNOR3GPP_NAMES | VELNOR3GPP_POSITIONS, lookAt, &nodes);
  const char* text = nullptr;
  const uint8_t* octets = nullptr;
  velnor3gpp_toText(session, &text, &count);
  velnor3gpp_encode(session, &octets, &count);
  lookAtFindings(session);
  lookAtKept(session);
#ifdef VELNOR_FUZZ_JSON
  velnor3gpp_toJson(session, VELNOR3GPP_NAMES | VELNOR3GPP_POSITIONS, &text, &count);
#endif
}

#ifdef VELNOR_FUZZ_JSON
static std::string jsonOf(velnor3gpp_Session* session)
{
  const char* text = nullptr;
  size_t count = 0;
  promise(velnor3gpp_toJson(session, VELNOR3GPP_NAMES, &text, &count) == 0, "JSON of whatever there is");
  return {text, count};
}

// What is read is written alike, and that is read alike.
void checkJson(const L3TypeEntry&, Octets input)
{
  static Session session;
  const std::string text(input.begin(), input.end());
  bool read = velnor3gpp_fromJson(session, nullptr, text.data(), text.size()) == 0;
  lookAtFindings(session);
  if (!read) return;
  const std::string once = jsonOf(session);
  promise(velnor3gpp_fromJson(session, nullptr, once.data(), once.size()) == 0, [&] { return "not read: " + once; });
  const std::string again = jsonOf(session);
  promise(once == again, [&] { return once + "\nand\n" + again; });
  const uint8_t* octets = nullptr;
  size_t count = 0;
  velnor3gpp_encode(session, &octets, &count);
  lookAtFindings(session);
}

// The first octets of every form as JSON.
std::vector<Octets> jsonSeeds()
{
  Session session;
  std::vector<Octets> seeds;
  for (const L3TypeEntry* entry = l3TypeTable; entry < l3TypeTable + l3TypeCount; entry += 7) {
    velnor3gpp_sample(session, velnor3gpp_typeAt(size_t(entry - l3TypeTable)), nullptr, 0);
    std::string json = jsonOf(session);
    seeds.emplace_back(json.begin(), json.end());
  }
  for (const TestMessage& message : corpusMessages(VELNOR_CORPUS)) {
    velnor3gpp_decode(session, nullptr, VELNOR3GPP_UP, message.octets.data(), message.octets.size());
    std::string json = jsonOf(session);
    seeds.emplace_back(json.begin(), json.end());
  }
  return seeds;
}
#endif
