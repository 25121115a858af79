// The small interface with octets and JSON from strangers: whatever comes, a session answers, what it says is read back
// as it was, and it serves the next message.
#include "fuzz/harness.h"
#include "tests/facade/session.h"
#ifdef VELNOR_FUZZ_JSON
#include "tests/json/session.h"
#endif

namespace {

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

void lookAtFindings(TestSession& session)
{
  const velnor3gpp_Result result = session.result();
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

#ifdef VELNOR_FUZZ_JSON
// Left out of that law: octets that stand over a value, since one that an encoder refuses goes out with lengths that
// fit; and radio blocks, where lengths, padding and what is kept behind it depend on each other.
bool comesBackAlike(velnor3gpp_Session* session, const char* type)
{
  auto kept = sized<velnor3gpp_Kept>();
  for (size_t i = 0; velnor3gpp_kept(session, i, &kept) == 0; ++i)
    if (kept.at == VELNOR3GPP_KEPT_OVER) return false;
  return strncmp(type, "TS44", 4) != 0;
}

// What was decoded without a failure encodes to the same octets from its object of JSON.
void checkThroughJson(TestSession& session, uint8_t first)
{
  static JsonSession other;
  const std::string straight = session.encoded();
  const velnor3gpp_Result result = session.result();
  auto facts = sized<velnor3gpp_TypeFacts>();
  velnor3gpp_typeFacts(result.type, &facts);
  if (result.status < 0 || !comesBackAlike(session, facts.name)) return;
  const char* text = nullptr;
  size_t count = 0;
  velnor3gpp_toJson(session, 0, &text, &count);
  velnor3gpp_setOption(other, VELNOR3GPP_OPTION_KEEP, first >> 4 & 1);
  velnor3gpp_setOption(other, VELNOR3GPP_OPTION_STANDARD, first >> 5 & 1);
  const std::string object(text, count);
  if (object.find("\"record\":") == std::string::npos) return; // its one element was kept instead
  promise(other.read(object) == 0, [&] { return "not read: " + object + "\n" + other.findings(); });
  const std::string through = other.encoded();
  promise(through == straight, [&] { return object + "\nis " + through + "\nand not " + straight; });
}
#endif

// The first octet tells direction and keys, and what is made of what no type knows.
void checkFacade(const L3TypeEntry& entry, Octets input)
{
  static TestSession session;
  uint8_t first = takeFirst(input);
  velnor3gpp_Keys keys = keysOf(first);
  velnor3gpp_setKeys(session, first & 8 ? &keys : nullptr);
  velnor3gpp_setOption(session, VELNOR3GPP_OPTION_KEEP, first >> 4 & 1);
  velnor3gpp_setOption(session, VELNOR3GPP_OPTION_STANDARD, first >> 5 & 1);
  int status = session.decode(first & 1 ? nullptr : &entry, input, velnor3gpp_Direction(first % 3));
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
  if (status == 0 && !input.empty() && !(first & 8)) checkThroughJson(session, first);
#endif
}

#ifdef VELNOR_FUZZ_JSON
// What is read is written alike, and that is read alike.
void checkJson(const L3TypeEntry&, Octets input)
{
  static JsonSession session;
  velnor3gpp_setOption(session, VELNOR3GPP_OPTION_KEEP, input.size() & 1);
  velnor3gpp_setOption(session, VELNOR3GPP_OPTION_STANDARD, input.size() >> 1 & 1);
  bool read = session.read({input.begin(), input.end()}) == 0;
  lookAtFindings(session);
  const uint8_t* octets = nullptr;
  size_t count = 0;
  int status = read ? velnor3gpp_encode(session, &octets, &count) : -1;
  lookAtFindings(session);
  if (status < 0) return; // with kept elements only an encoder misses what is always there
  const std::string wire = hexText(Octets(octets, octets + count)), once = session.json(VELNOR3GPP_NAMES);
  promise(session.read(once) == 0, [&] { return "not read: " + once; });
  const std::string again = session.json(VELNOR3GPP_NAMES);
  promise(once == again, [&] { return once + "\nand\n" + again; });
  promise(session.encoded() == wire, [&] { return once + "\nis no longer " + wire; });
}

// The first octets of every form as JSON.
std::vector<Octets> jsonSeeds()
{
  JsonSession session;
  std::vector<Octets> seeds;
  auto add = [&] {
    const std::string json = session.json(VELNOR3GPP_NAMES);
    seeds.emplace_back(json.begin(), json.end());
  };
  for (const L3TypeEntry* entry = l3TypeTable; entry < l3TypeTable + l3TypeCount; entry += 7) {
    velnor3gpp_sample(session, typeOf(entry), nullptr, 0);
    add();
  }
  for (const TestMessage& message : corpusMessages(VELNOR_CORPUS)) {
    session.decode(nullptr, message.octets, VELNOR3GPP_UP);
    add();
  }
  return seeds;
}
#endif
