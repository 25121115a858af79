// Protected messages with known keys: the code verifies or fails as the row tells, the inner message comes out in the
// clear, and signing and ciphering the record again gives the same octets.
#include <gtest/gtest.h>

#include "tests/messages.h"

namespace {

struct Row {
  std::string id;
  const L3TypeEntry* type;
  Octets octets, integrityKey, cipherKey;
  uint32_t integrityAlgorithm, cipherAlgorithm, count;
  uint8_t bearer, direction;
  bool verifies;
  Octets inner;
  uint32_t flags;
};

Row rowOf(const std::vector<std::string>& cells)
{
  auto number = [&cells](size_t column) { return uint32_t(std::stoul(cells[column])); };
  auto key = [&cells](size_t column) {
    return octetsOfHex(cells[column] + std::string(32 - cells[column].size(), '0'));
  };
  bool fromMobile = cells[14].find("ueOrig.") != std::string::npos;
  return {cells[0],
          l3FindType(cells[2].c_str()),
          octetsOfHex(cells[3]),
          key(4),
          key(5),
          number(6),
          number(7),
          number(8),
          uint8_t(number(9)),
          uint8_t(number(10)),
          cells[11] == "ok",
          octetsOfHex(cells[12]),
          fromMobile ? RTX_FLAG_MOBILE_ORIGINATED : 0U};
}

// Two messages hold an EAP packet of code 0, which its enumeration does not know: verified, but not decoded.
int expectedStatus(const Row& row)
{
  if (!row.verifies) return RTX_E_BAD_MAC;
  return row.id == "sec-s-0ab326f0" || row.id == "sec-s-c0f2fd8f" ? RTX_E_ENUM_VALUE : 0;
}

void setSecurity(RtxContext* ctxt, const Row& row)
{
  EXPECT_EQ(rtx3gppAssignAlgorithmKeys(ctxt, row.integrityKey.data(), row.cipherKey.data(), row.integrityAlgorithm,
                                       row.cipherAlgorithm),
            0);
  ctxt->pSecurity->count = row.count;
  ctxt->pSecurity->bearer = row.bearer;
  ctxt->pSecurity->direction = row.direction;
}

void check(const Row& row)
{
  SCOPED_TRACE(row.id);
  ASSERT_TRUE(row.type);
  Decoding decoding(*row.type, row.octets, {.flags = row.flags}, [&](RtxContext* ctxt) { setSecurity(ctxt, row); });
  EXPECT_EQ(decoding.status, expectedStatus(row));
  bool serviceRequest = row.octets[0] >> 4 == 0xC; // its short form has no inner message of its own
  Octets in(decoding.data.get(), decoding.data.get() + row.octets.size()), out(in.size() + 64);
  ASSERT_GE(in.size(), row.inner.size());
  EXPECT_TRUE(serviceRequest || std::equal(row.inner.rbegin(), row.inner.rend(), in.rbegin())) << hexText(in);
  if (expectedStatus(row)) return;
  ASSERT_EQ(encodeInto(out, decoding.ctxt, *row.type, decoding.record.get()), 0);
  EXPECT_EQ(out, row.octets);
}

TEST(ProtectedMessages, VerifyDecipherAndComeBack)
{
  auto rows = readTable(VELNOR_TEST_DATA "/data/security.tsv", 16);
  ASSERT_GT(rows.size(), 50U);
  for (auto& cells : rows) check(rowOf(cells));
}

// Without a record of keys a signed message is read and reported, a ciphered one ends at its header.
TEST(ProtectedMessages, NeedASecurityRecord)
{
  for (auto& cells : readTable(VELNOR_TEST_DATA "/data/security.tsv", 16)) {
    Row row = rowOf(cells);
    Decoding decoding(*row.type, row.octets, {.security = false});
    EXPECT_LT(decoding.status, 0) << row.id;
    EXPECT_EQ(rtxErrGetFirstError(decoding.ctxt), RTX_E_NO_SECURITY) << row.id;
  }
}

} // namespace
