// Guards that what is written is what the schema says: all types and all real messages, with names and positions, are
// valid by an independent validator, and changed ones are not.
#include <gtest/gtest.h>

#include "tests/fileText.h"
#include "tests/json/session.h"

namespace {

std::string schemaOf(velnor3gpp_Session* session, const velnor3gpp_Type* type)
{
  const char* text = nullptr;
  size_t count = 0;
  EXPECT_EQ(velnor3gpp_schema(session, type, &text, &count), 0);
  return {text, count};
}

TEST(JsonSchema, HoldsForAllThatIsWritten)
{
#ifndef VELNOR_PYTHON
  GTEST_SKIP() << "python3-jsonschema is not installed";
#else
  JsonSession session;
  Folder folder;
  const std::string schema = folder + "/schema.json", lines = folder + "/lines";
  std::ofstream(schema) << schemaOf(session, nullptr);
  std::ofstream out(lines);
  for (uint32_t modern : {0U, 1U}) {
    velnor3gpp_setOption(session, VELNOR3GPP_OPTION_STANDARD, modern);
    velnor3gpp_setOption(session, VELNOR3GPP_OPTION_KEEP, modern);
    for (size_t i = 0; i < velnor3gpp_typeCount(); ++i) {
      velnor3gpp_sample(session, velnor3gpp_typeAt(i), nullptr, 0);
      out << session.json(i % 2 ? VELNOR3GPP_NAMES : 0) << "\n";
    }
    auto write = [&](const L3TypeEntry* entry, const Octets& octets) {
      session.decode(entry, octets);
      out << session.json(VELNOR3GPP_NAMES | VELNOR3GPP_POSITIONS) << "\n";
    };
    for (const TestMessage& message : corpusMessages(VELNOR_CORPUS)) write(message.entry, message.octets);
    for (auto& row : readTable(VELNOR_CORPUS "/standard.tsv", 10))
      write(l3FindType(row[2].c_str()), octetsOfHex(row[3]));
    for (auto& message : takenCorpus(VELNOR_CORPUS, 5))
      for (size_t bit = 0; bit < message.octets.size() * 8 && bit < 160; bit += 113) {
        Octets octets = message.octets;
        octets[bit / 8] = uint8_t(octets[bit / 8] ^ 0x80U >> bit % 8);
        write(message.entry, octets);
      }
  }
  out.close();
  EXPECT_EQ(system((VELNOR_PYTHON " " VELNOR_TEST_DATA "/schema.py " + schema + " " + lines).c_str()), 0);
#endif
}

TEST(JsonSchema, OfOneTypeHoldsWhatItNeeds)
{
  JsonSession session;
  std::string slice = schemaOf(session, velnor3gpp_typeByName("TS24501IE_NSSAI", nullptr));
  EXPECT_NE(slice.find("\"TS24501IE_SNSSAI\":{"), std::string::npos) << slice;
  EXPECT_EQ(slice.find("TS24501IE_MobileIdentity"), std::string::npos);
  EXPECT_NE(slice.find("\"required\":[\"contents\"]"), std::string::npos) << slice;
}

} // namespace
