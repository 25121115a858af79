// Guards the extension of SQLite: its object is the library's, its table has each value where the message has it, and
// nothing that a table of a stranger holds ends the process.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "tests/json/session.h"

namespace {

using Rows = std::vector<std::vector<std::string>>;

struct Base {
  Base()
  {
    sqlite3_open(":memory:", &base);
    sqlite3_db_config(base, SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 1, nullptr);
    char* wrong = nullptr;
    EXPECT_EQ(sqlite3_load_extension(base, VELNOR_EXTENSION, nullptr, &wrong), SQLITE_OK) << wrong;
  }
  ~Base() { EXPECT_EQ(sqlite3_close(base), SQLITE_OK); }

  // The rows of a query with octets for its first question mark; an error is one value.
  Rows ask(const std::string& query, const Octets& octets = {})
  {
    sqlite3_stmt* asked = nullptr;
    if (sqlite3_prepare_v2(base, query.c_str(), -1, &asked, nullptr) != SQLITE_OK) return {{sqlite3_errmsg(base)}};
    sqlite3_bind_blob(asked, 1, octets.empty() ? "" : reinterpret_cast<const char*>(octets.data()),
                      static_cast<int>(octets.size()), SQLITE_STATIC);
    Rows rows;
    int status;
    while ((status = sqlite3_step(asked)) == SQLITE_ROW) {
      auto& row = rows.emplace_back();
      for (int i = 0; i < sqlite3_column_count(asked); ++i) {
        auto* text = reinterpret_cast<const char*>(sqlite3_column_text(asked, i));
        row.push_back(text ? text : "NULL");
      }
    }
    if (status != SQLITE_DONE) rows = {{sqlite3_errmsg(base)}};
    sqlite3_finalize(asked);
    return rows;
  }

  sqlite3* base = nullptr;
};

TEST(Sqlite, GivesTheObjectsAndFieldsOfTheLibrary)
{
  Base base;
  JsonSession session;
  for (auto option : {VELNOR3GPP_OPTION_KEEP, VELNOR3GPP_OPTION_STANDARD}) velnor3gpp_setOption(session, option, 1);
  size_t values = 0, different = 0;
  for (const TestMessage& message : takenCorpus(VELNOR_CORPUS, 0)) {
    SCOPED_TRACE(message.name);
    const std::string type = std::string("'") + message.entry->type->fullName.get() + "'";
    session.decode(message.entry, message.octets);
    EXPECT_EQ(base.ask("SELECT nas_json(?1, " + type + ")", message.octets), Rows{{session.json(VELNOR3GPP_NAMES)}});
    if (message.octets.size() > 1000) continue;
    auto rows = base.ask("SELECT value, octet * 8 + 8 - bit, bits, path FROM nas_fields(?1, " + type +
                             ") WHERE typeof(value) = 'integer' AND bits BETWEEN 1 AND 32",
                         message.octets);
    // Bits of rest octets are told by their difference from the padding, and some numbers stand with the extension bit
    // in front of them: those are not the numbers.
    if (type.starts_with("'TS44018")) continue;
    for (auto& row : rows) {
      ASSERT_EQ(row.size(), 4U) << row[0];
      uint64_t there = 0;
      for (size_t bit = std::stoul(row[1]), end = bit + std::stoul(row[2]); bit < end; ++bit)
        there = there << 1 | (bit / 8 < message.octets.size() && message.octets[bit / 8] >> (7 - bit % 8) & 1);
      ++values;
      different += row[0] != std::to_string(there);
    }
  }
  EXPECT_GT(values, 2000U);
  EXPECT_LT(different, values / 50) << values;
}

TEST(Sqlite, FieldsStandWithNamesAndPlaces)
{
  Base base;
  const Octets identity = octetsOfHex("7e005b01");
  EXPECT_EQ(base.ask("SELECT * FROM nas_fields(?1) WHERE path LIKE '%typeOfIdent' OR path = 'protoDiscr'", identity),
            (Rows{{"protoDiscr", "126", "mobMgmt5G", "0", "8", "8"},
                  {"data.IdentityRequest5G.identity.typeOfIdent", "1", "suci", "3", "3", "3"}}));
  // Lists, names that need quotes, a type that is a value by itself, octets of columns, several scans at once.
  EXPECT_EQ(base.ask("SELECT value FROM nas_fields('0401010105', 'NSSAI') WHERE path = 'contents[1].sst'"),
            Rows{{"5"}});
  EXPECT_EQ(base.ask("SELECT value FROM nas_fields('00f1101234', 'TS24008IE_LocAreaIdent') WHERE path LIKE '%mcc'"),
            Rows{{"001"}});
  EXPECT_EQ(base.ask("SELECT path, value FROM nas_fields('a0', 'TS24008IE_AlertingValues')"), (Rows{{"", "10"}}));
  EXPECT_EQ(
      base.ask("WITH t(o) AS (VALUES (x'7e005b01'), (x'7e0043'), (NULL)) SELECT count(*) FROM t, nas_fields(o) a, "
               "nas_fields(t.o) b WHERE a.path = b.path"),
      Rows{{"11"}});
}

// Arguments may come as equations, in any order, more than once or not at all; the hidden columns hold them.
TEST(Sqlite, FieldsTakeTheirArgumentsFromAnyPlaceOfAQuery)
{
  Base base;
  const Rows five = {{"5"}}, none = {{"0"}};
  const std::string count = "SELECT count(*) FROM nas_fields";
  EXPECT_EQ(base.ask(count + "('0401010105') WHERE type = 'NSSAI'"), five);
  EXPECT_EQ(base.ask(count + " WHERE type = 'NSSAI' AND octets = '0401010105'"), five);
  EXPECT_EQ(base.ask(count + "('0401010105', 'NSSAI') WHERE octets = '0401010105' AND type = 'NSSAI'"), five);
  EXPECT_EQ(base.ask(count + "('0401010105', 'NSSAI') WHERE octets = '7e0043'"), none);
  EXPECT_EQ(base.ask(count + " WHERE type = 'NSSAI'"), none);
  EXPECT_EQ(base.ask("SELECT DISTINCT octets, type FROM nas_fields('0401010105', 'NSSAI')"),
            (Rows{{"0401010105", "NSSAI"}}));
  EXPECT_EQ(base.ask("CREATE TABLE m(o, n AS (nas_json(o) ->> '$.message'))"), Rows());
  EXPECT_EQ(base.ask("CREATE INDEX i ON m(n)"), Rows());
  EXPECT_EQ(base.ask("INSERT INTO m VALUES ('7e005b01'), ('7e0043')"), Rows());
  EXPECT_EQ(base.ask("SELECT o FROM m WHERE n = 'Registration complete'"), Rows{{"7e0043"}});
}

TEST(Sqlite, WhatIsWrongIsToldAndEndsNothing)
{
  Base base;
  EXPECT_EQ(base.ask("SELECT nas_json(NULL), nas_json(), nas_json('7e005b') ->> '$.status', "
                     "nas_json('') ->> '$.status', nas_json(?1) ->> '$.status'"),
            (Rows{{"NULL", "NULL", "-2", "-113", "-113"}}));
  for (const char* wrong : {"'7e0'", "'7e 00'", "'xy'", "12.5", "x'7e', 'nobody'", "x'07', 'AttachRequest'"}) {
    EXPECT_NE(base.ask(std::string("SELECT nas_json(") + wrong + ")").at(0).at(0).find("nas_json: "),
              std::string::npos);
    EXPECT_EQ(base.ask(std::string("SELECT * FROM nas_fields(") + wrong + ")").at(0).at(0).find("nas_json: "), 0U)
        << wrong;
  }
  EXPECT_EQ(base.ask("SELECT * FROM nas_fields"), Rows());
  EXPECT_NE(base.ask("SELECT nas_json(x'7e', 'nobody')").at(0).at(0).find("'nobody'"), std::string::npos);
  EXPECT_NE(base.ask("SELECT nas_json('7e 00')").at(0).at(0).find("'7e 00'"), std::string::npos);
}

} // namespace
