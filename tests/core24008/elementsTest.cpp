// The elements of TS 24.008 whose coding has a twist, octet by octet.
#include <gtest/gtest.h>

#include "tests/core24008/golden.h"

namespace {

void check(std::initializer_list<Golden> cases)
{
  for (const Golden& golden : cases) checkGolden(golden);
}

} // namespace

TEST(CoreElements, GroupsOfExtendedOctets)
{
  check({
      {"bearer capability of two octets", "TS24008IE_BearerCapability", "02 A0 88", 0, 0,
       "x {\nlength = 2\noctet3 {\nradioChannelRequirement = 1\nnonstandardCoding = false\npacketXferMode = false\n"
       "infoXferCap = speech\n}\noctet4 {\ncompression = false\nstructure = 0\nfullDuplexMode = true\n"
       "configuration = false\nnirr = false\nestablishment = false\n}\n}\n"},
      {"speech versions to the one that ends them", "TS24008IE_BearerCapability", "06 60 04 02 00 05 81", 0, 0,
       "x {\nlength = 6\noctet3 {\nradioChannelRequirement = 3\nnonstandardCoding = false\npacketXferMode = false\n"
       "infoXferCap = speech\n}\noctet3a {\ncoding = false\nctm = false\nspare = 0\nspeechVersion = 4\n}\n"
       "octet3b[0] {\ncoding = false\nspare = 0\nspeechVersion = 2\n}\noctet3b[1] {\ncoding = false\nspare = 0\n"
       "speechVersion = 0\n}\noctet3b[2] {\ncoding = false\nspare = 0\nspeechVersion = 5\n}\noctet3b[3] {\n"
       "coding = false\nspare = 0\nspeechVersion = 1\n}\n}\n"},
      {"octets behind the last letter are dropped", "TS24008IE_CalledPartyBCDNumber", "06 11 22 B3 21 43 F5", 0, 0,
       "x {\nlength = 6\noctet3 {\ntypeOfNumber = international\nnumberingPlanID = isdn\n}\nnumber = '12345'\n}\n",
       "04 91 21 43 F5"},
      {"a chain of extensions that leaves the element", "TS24008IE_CalledPartyBCDNumber", "02 11 22 B3 21", -66, -66,
       nullptr},
      {"calling number with its second octet", "TS24008IE_CallingPartyBCDNumber", "04 21 83 89 F7", 0, 0,
       "x {\nlength = 4\noctet3 {\ntypeOfNumber = national\nnumberingPlanID = isdn\n}\noctet3a {\n"
       "presentationIndicator = 0\nspare = 0\nscreeningIndicator = 3\n}\nnumber = '987'\n}\n"},
      {"cause with recommendation and diagnostics", "TS24008IE_Cause", "05 60 81 90 AB CD", 0, 0,
       "x {\nlength = 5\noctet3 {\ncodingStandard = stdDefForGSMPLMS\nspare = 0\nlocation = user\n}\n"
       "recommendation = 1\ncauseValue = 16\ndiagnostics = 0xabcd\n}\n"},
      {"empty subaddress", "TS24008IE_PartySubaddress", "00", 0, 0, "x {\nlength = 0\nsubaddrInfo = 0x\n}\n"},
  });
}

TEST(CoreElements, ProtocolConfigurationOptions)
{
  check({
      {"no octets", "TS24008IE_ProtocolConfigOptions", "00", -2, -50, nullptr},
      {"two units", "TS24008IE_ProtocolConfigOptions", "0B 80 000D 04 08080808 000C 00", 0, 0,
       "x {\nlength = 11\noctet3 {\nspare = 0\nconfigProtocol = 0\n}\npcoUnits[0] {\nprotocolID = 13\n"
       "contents = 0x08080808\n}\npcoUnits[1] {\nprotocolID = 12\ncontents = 0x\n}\n}\n"},
      {"extension octets are passed over", "TS24008IE_ProtocolConfigOptions", "06 00 80 000D 01 AA", 0, 0,
       "x {\nlength = 6\noctet3 {\nspare = 0\nconfigProtocol = 0\n}\npcoUnits[0] {\nprotocolID = 13\n"
       "contents = 0xaa\n}\n}\n",
       "05 80 000D 01 AA"},
      {"a unit past its container", "TS24008IE_ProtocolConfigOptions", "05 80 000D 02 AA BB", -66, -66, nullptr},
      {"a unit past the input", "TS24008IE_ProtocolConfigOptions", "05 80 000D 09 AA", -2, -2, nullptr},
      {"long form", "TS24008IE_ExtProtoConfigOptions", "0005 80 000D 01 AA", 0, 0,
       "x {\nlength = 5\noctet4 {\nspare = 0\nconfigProtocol = 0\n}\npcoUnits[0] {\nprotocolID = 13\n"
       "contents = 0xaa\n}\n}\n"},
  });
}

// The bounds tell of a breach and let the content stand; encoders refuse it.
TEST(CoreElements, LongProtocolConfigurationOptions)
{
  std::string octets = "FE 80 8021 FA", text(500, '0');
  octets += text;
  Golden golden = {"254 octets", "TS24008IE_ProtocolConfigOptions", octets.c_str(), 0, -16, nullptr};
  checkGolden(golden);
}

TEST(CoreElements, QualityOfService)
{
  const char* first = "delayClass = 1\nreliabilityClass = 3\npeakThroughput = 9\nspare2 = 0\nprecedenceClass = 2\n";
  std::string three = std::string("x {\nlength = 3\nspare1 = 0\n") + first + "spare3 = 0\nmeanThroughput = 31\n}\n";
  std::string two = std::string("x {\nlength = 2\nspare1 = 0\n") + first + "}\n";
  std::string whole = std::string("x {\nlength = 14\nspare1 = 0\n") + first +
                      "spare3 = 0\nmeanThroughput = 31\ntrafficClass = 4\ndeliveryOrder = 2\n"
                      "deliveryErroneousSDU = 6\nmaxSDUSize = 254\nmaxUplinkBR = 116\nmaxDownlinkBR = 75\n"
                      "residualBER = 15\nsduErrorRatio = 15\ntransferDelay = 63\ntrafficHandlingPrio = 3\n"
                      "guaranteedUplinkBR = 0\nguaranteedDownlinkBR = 0\nspare4 = 0\nsignallingIndication = true\n"
                      "sourceStatsDescriptor = 1\nextBitRate[0] = 250\nextBitRate[1] = 251\n}\n";
  check({
      {"two octets", "TS24008IE_QualityOfService", "02 0B 92", 0, -16, two.c_str(), ""},
      {"three octets", "TS24008IE_QualityOfService", "03 0B 92 1F", 0, -16, three.c_str(), ""},
      {"extended rates", "TS24008IE_QualityOfService", "0E 0B921F96FE744BFFFF0000 11 FAFB", 0, 0, whole.c_str()},
  });
}

TEST(CoreElements, TrafficFlowTemplates)
{
  check({
      {"packet filters to delete", "TS24008IE_TFT", "03 A2 01 05", 0, 0,
       "x {\nlength = 3\noctet1 {\ntftOperationCode = delPktFilters\neBit = false\nnumPacketFilters = 2\n}\n"
       "packetFilterList {\nidentifiers = 0x0105\n}\n}\n"},
      {"nothing", "TS24008IE_TFT", "01 40", 0, 0,
       "x {\nlength = 1\noctet1 {\ntftOperationCode = deleteTFT\neBit = false\nnumPacketFilters = 0\n}\n"
       "packetFilterList {\nnone = <null>\n}\n}\n"},
      {"a filter of two components", "TS24008IE_TFT", "09 21 10 FF 05 30 11 50 1F 90", 0, 0,
       "x {\nlength = 9\noctet1 {\ntftOperationCode = createTFT\neBit = false\nnumPacketFilters = 1\n}\n"
       "packetFilterList {\nfilterItems[0] {\nspare = 0\npfDirection = 1\npfIdentifier = 0\n"
       "pfEvaluationPrecedence = 255\ncontents {\nlength = 5\ncomponents[0] {\nid = protoIdNextHdr\n"
       "protoIdNextHdr = 17\n}\ncomponents[1] {\nid = singleRemotePort\nsingleRemotePort = 8080\n}\n}\n}\n}\n}\n"},
      {"parameters alone", "TS24008IE_TFT", "0E D0 01 02 BEEF 03 01 07 02 04 0001 0002", 0, 0,
       "x {\nlength = 14\noctet1 {\ntftOperationCode = noTFTOp\neBit = true\nnumPacketFilters = 0\n}\n"
       "packetFilterList {\nnone = <null>\n}\nparamList[0] {\nparamIdentifier = authToken\nlength = 2\n"
       "authToken = 0xbeef\n}\nparamList[1] {\nparamIdentifier = packetFilterId\nlength = 1\n"
       "packetFilterIdList[0] = 7\n}\nparamList[2] {\nparamIdentifier = flowId\nlength = 4\nflowId {\n"
       "mediaComponentNum = 1\nipFlowNum = 2\n}\n}\n}\n"},
      {"an unknown component", "TS24008IE_TFT", "05 21 10 FF 01 12", -9, -9, nullptr},
  });
}

TEST(CoreElements, TimersAndTransactions)
{
  check({
      {"deactivated timer", "TS24008IE_GPRSTimer3", "01 E0", 0, 0,
       "x {\nlength = 1\nunit = timerDeact\ntimerValue = 0\n}\n"},
      {"eDRX without window extension", "TS24008IE_ExtDRXParams", "01 35", 0, 0,
       "x {\nlength = 1\npagingTimeWindow = 3\neDRXValue = 5\n}\n"},
      {"short transaction", "TS24008IE_LinkedTI", "01 90", 0, 0,
       "x {\nlength = 1\nflag = true\nvalue = 1\nspare = 0\n}\n"},
      {"long transaction", "TS24008IE_LinkedTI", "02 70 85", 0, 0,
       "x {\nlength = 2\nflag = false\nvalue = 7\nspare = 0\next = 5\n}\n"},
      {"long transaction cut short", "TS24008IE_LinkedTI", "01 70", -14, -14, nullptr},
  });
}

TEST(CoreElements, ClassmarksOfTwoOctets)
{
  std::string four = "cm1 {\nspare = 0\nrevLevel = 2\nesInd = true\na5-1-alg = false\nrfPowerCap = class1\n}\n"
                     "octet4 {\nspare = 0\npsCapability = true\nssScreeningInd = 1\nsmCapability = true\n"
                     "vbsNotifRecept = false\nvgcsNotifRecept = false\nfcFreqCap = false\n}\n";
  std::string two = "x {\nlength = 2\n" + four + "}\n";
  std::string three = "x {\nlength = 3\n" + four +
                      "octet5 {\ncm3 = true\nspare = 0\nlcsvaCap = false\nucs2Treatment = false\nsoLSA = false\n"
                      "cmsp = false\na5-3-alg = true\na5-2-alg = false\n}\n}\n";
  check({
      {"without the last", "TS24008IE_MobileStationClassmark2", "02 50 58", 0, 0, two.c_str()},
      {"with it", "TS24008IE_MobileStationClassmark2", "03 50 58 82", 0, 0, three.c_str()},
  });
}

TEST(CoreElements, Lists)
{
  check({
      {"PLMN list", "TS24008IE_PLMNList", "06 00F110 216354", 0, 0,
       "x[0] {\nmcc = '001'\nmnc = '01'\n}\nx[1] {\nmcc = '123'\nmnc = '456'\n}\n"},
      {"emergency numbers", "TS24008IE_EmergencyNumberList", "08 03 1F 11 F2 03 01 19 F1", 0, 0,
       "x {\nlength = 8\nnumbers[0] {\nlength = 3\nspare = 0\ncatValue = 31\ndigits = '112'\n}\nnumbers[1] {\n"
       "length = 3\nspare = 0\ncatValue = 1\ndigits = '911'\n}\n}\n"},
      {"N-PDU numbers with a half octet of padding", "TS24008IE_ReceiveNPDUNumberList", "05 51 26 34 75 60", 0, 0,
       "x {\nlength = 5\nreceiveNPDUNumber[0] {\nnsapi = 5\nnumberValue = 18\n}\nreceiveNPDUNumber[1] {\nnsapi = 6\n"
       "numberValue = 52\n}\nreceiveNPDUNumber[2] {\nnsapi = 7\nnumberValue = 86\n}\n}\n"},
      {"access technologies to a bit of 0", "TS24008IE_AddAccessTechStructList", "99 40", 0, 0,
       "x[0] {\naccessTechType = 3\npowerClass-GMSK = 1\npowerClass-8PSK = 1\n}\n"},
      {"no access technologies", "TS24008IE_AddAccessTechStructList", "", 0, 0, "", "00"},
      {"access point name", "TS24008IE_AccessPointName", "0D 03 696D73 08 696E7465726E6574", 0, 0,
       "x = 'ims.internet'\n"},
  });
}
