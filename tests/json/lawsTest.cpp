// Guards what JSON promises for every type and every message of the corpus: a record comes back from it as it was, and
// encodes to the same octets as without it.
#include <gtest/gtest.h>

#include "tests/json/session.h"

namespace {

// What stands behind a record that was not decoded from octets: nothing.
std::string bare(const std::string& type, const std::string& json)
{
  size_t at = json.find("\"record\":"), end = json.find(",\"findings\":[");
  if (end == std::string::npos) end = json.find(",\"protection\":");
  if (end == std::string::npos) end = json.rfind('}');
  return "{\"type\":\"" + type + "\"," + json.substr(at, end - at) + "}";
}

// A record through JSON and back.
void checkRecord(JsonSession& session, const std::string& type)
{
  std::string json = bare(type, session.json(VELNOR3GPP_NAMES)), octets = session.encoded();
  ASSERT_EQ(session.read(json), 0) << session.findings() << json;
  EXPECT_EQ(bare(type, session.json(VELNOR3GPP_NAMES)), json);
  EXPECT_EQ(session.encoded(), octets) << json;
}

TEST(JsonLaws, EverySampleComesBack)
{
  JsonSession session;
  for (size_t i = 0; i < velnor3gpp_typeCount(); ++i) {
    auto facts = sized<velnor3gpp_TypeFacts>();
    velnor3gpp_typeFacts(velnor3gpp_typeAt(i), &facts);
    SCOPED_TRACE(facts.name);
    ASSERT_EQ(velnor3gpp_sample(session, velnor3gpp_typeAt(i), nullptr, 0), 0);
    checkRecord(session, facts.name);
  }
}

TEST(JsonLaws, EveryRealMessageComesBack)
{
  JsonSession session;
  for (const TestMessage& message : corpusMessages(VELNOR_CORPUS)) {
    SCOPED_TRACE(message.name);
    if (session.decode(message.entry, message.octets) < 0) continue;
    checkRecord(session, message.entry->type->fullName.get());
  }
}

// Each message of each form begins with a sample of its own, whole and as short as it can be.
TEST(JsonLaws, EveryMessageHasATemplate)
{
  JsonSession session;
  size_t messages = 0;
  for (const L3TypeEntry* entry = l3TypeTable; entry < l3TypeTable + l3TypeCount; ++entry) {
    if (!(entry->type->flags & kL3IsPdu)) continue;
    const L3Row* row = entry->type->rows;
    while (row->op != kL3Body) ++row;
    const L3Body& body = *static_cast<const L3Body*>(row->info);
    for (const L3BodyRow* message = body.rows; message < body.rows + body.count; ++message, ++messages) {
      SCOPED_TRACE(entry->type->fullName.get() + std::string(" ") + message->name());
      for (unsigned flags : {0U, VELNOR3GPP_MINIMAL}) {
        auto* type = typeOf(entry);
        ASSERT_EQ(velnor3gpp_sample(session, type, message->name(), flags), 0);
        std::string octets = session.encoded();
        if (octets.find(':') != std::string::npos) {
          ADD_FAILURE() << octets;
          continue;
        }
        EXPECT_EQ(session.decode(entry, octetsOfHex(octets)), 0) << octets << session.findings() << session.json();
        EXPECT_STREQ(session.result().message, message->name());
      }
    }
  }
  EXPECT_GT(messages, 250U);
}

} // namespace
