// Short message transfer (TS 24.011): both layers, their bounds and what follows their bodies.
#include <gtest/gtest.h>

#include "tests/core24008/golden.h"
#include "velnor3gpp/TS24011Msgs.h"

TEST(ShortMessages, RelayMessages)
{
  const char* type = "TS24011Msg_RP_PDU";
  for (const Golden& golden : std::initializer_list<Golden>{
           {"data to the network", type, "00 03 00 04 91 21 43 F5 02 BEEF", 0, 0,
            "x {\nheader {\nspare = 0\nrpMsgType = 0\nrpMsgRef = 3\n}\ninfoElem {\ndataToNet {\norigAddrLen = 0\n"
            "destAddress {\nlength = 4\noctet3 {\ntypeOfNumber = international\nnumberingPlanID = isdn\n}\n"
            "number = '12345'\n}\nuserData = 0xbeef\n}\n}\n}\n"},
           {"data to the mobile", type, "01 04 01 91 00 01 AA", 0, 0,
            "x {\nheader {\nspare = 0\nrpMsgType = 1\nrpMsgRef = 4\n}\ninfoElem {\ndataToMS {\norigAddress {\n"
            "length = 1\noctet3 {\ntypeOfNumber = international\nnumberingPlanID = isdn\n}\nnumber = ''\n}\n"
            "destAddrLen = 0\nuserData = 0xaa\n}\n}\n}\n"},
           {"a second user data is skipped", type, "03 05 41 01 AA 41 02 BB CC", 0, 0,
            "x {\nheader {\nspare = 0\nrpMsgType = 3\nrpMsgRef = 5\n}\ninfoElem {\nackToMS {\nuserData = "
            "0xaa\n}\n}\n}\n",
            "03 05 41 01 AA"},
           {"error with a diagnostic octet", type, "05 06 02 E9 11 41 00", 0, 0,
            "x {\nheader {\nspare = 0\nrpMsgType = 5\nrpMsgRef = 6\n}\ninfoElem {\nerrorToMS {\nrpCause {\nlength = 2\n"
            "ext = true\ncauseValue = 105\ndiagField[0] = 17\n}\nuserData = 0x\n}\n}\n}\n"},
           {"error without a cause", type, "05 06 00 41 00", 0, -16,
            "x {\nheader {\nspare = 0\nrpMsgType = 5\nrpMsgRef = 6\n}\ninfoElem {\nerrorToMS {\nrpCause {\nlength = 0\n"
            "ext = false\ncauseValue = 0\n}\nuserData = 0x\n}\n}\n}\n",
            "05 06 01 00 41 00"},
           {"what follows a memory notice is not read", type, "06 2A 41 01", 0, 0,
            "x {\nheader {\nspare = 0\nrpMsgType = 6\nrpMsgRef = 42\n}\ninfoElem {\nsmma = <null>\n}\n}\n", "06 2A"},
           {"no message", type, "07 2A", -9, -9, nullptr},
           {"an address past its length", type, "01 04 01 11 91 00 01 AA", -66, -66, nullptr},
       })
    checkGolden(golden);
}

TEST(ShortMessages, ConnectionMessages)
{
  std::string filled(500, '1'), octets = "09 01 FA " + filled;
  const char* type = "TS24011Msg_CP_PDU";
  for (const Golden& golden : std::initializer_list<Golden>{
           {"acknowledgement", type, "29 04", 0, 0,
            "x {\nl3HdrOpts {\nskipInd = 2\n}\nprotoDiscr = sms\nmsgType = 4\ndata {\nobj_CP_ACK = <null>\n}\n}\n"},
           {"error", type, "29 10 E1", 0, 0,
            "x {\nl3HdrOpts {\nskipInd = 2\n}\nprotoDiscr = sms\nmsgType = 16\ndata {\nobj_CP_ERROR {\ncpCause {\n"
            "ext = true\nvalue = 97\n}\n}\n}\n}\n"},
           {"user data", type, "29 01 02 BEEF", 0, 0,
            "x {\nl3HdrOpts {\nskipInd = 2\n}\nprotoDiscr = sms\nmsgType = 1\ndata {\nobj_CP_DATA {\n"
            "cpUserData = 0xbeef\n}\n}\n}\n"},
           {"user data of 250 octets", type, octets.c_str(), 0, -16, nullptr},
           {"another protocol", type, "25 01 00", -9, -9, nullptr},
           {"no message", type, "29 02", -9, -9, nullptr},
       })
    checkGolden(golden);
}

TEST(ShortMessages, SettersMakeThePdu)
{
  TS24011Msg_CP_PDU pdu = {};
  TS24011Msg_CPERROR error = {};
  asn1SetTC_TS24011Msg_CP_PDU_obj_CP_ERROR(nullptr, &pdu, &error);
  EXPECT_EQ(pdu.protoDiscr, TS24007L3_ProtoDiscr_sms);
  EXPECT_EQ(pdu.msgType, 16);
  EXPECT_EQ(pdu.data.t, 3u);
  EXPECT_EQ(pdu.data.u.obj_CP_ERROR, &error);
  asn1SetTC_TS24011Msg_CP_PDU_obj_CP_ACK(nullptr, &pdu);
  EXPECT_EQ(pdu.msgType, 4);
  EXPECT_EQ(pdu.data.t, 2u);
}
