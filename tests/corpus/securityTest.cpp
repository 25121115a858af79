// Protected messages with known keys: the code verifies or fails as the row tells, the inner message comes out in the
// clear, and signing and ciphering the record again gives the same octets.
#include <gtest/gtest.h>

#include "tests/corpus/messageFacts.h"

namespace {

using Row = ProtectedRow;

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
  ASSERT_GT(protectedRows().size(), 50U);
  for (auto& row : protectedRows()) check(row);
}

// Without a record of keys a signed message is read and reported, a ciphered one ends at its header.
TEST(ProtectedMessages, NeedASecurityRecord)
{
  for (auto& row : protectedRows()) {
    Decoding decoding(*row.type, row.octets, {.security = false});
    EXPECT_LT(decoding.status, 0) << row.id;
    EXPECT_EQ(rtxErrGetFirstError(decoding.ctxt), RTX_E_NO_SECURITY) << row.id;
  }
}

} // namespace
