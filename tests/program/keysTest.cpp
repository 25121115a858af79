// Guards NAS security as the program offers it: key files, verification and deciphering, counts, and what it says
// where keys are missing.
#include "runProgram.h"

static const std::string kIntegrityKey = "2bd6459f82c440e0952c49104805ff48";
static const std::string kCipherKey = "d3c5d592327fb11c4035c6680af8c6d1";
// Downlink, count 1, both algorithms: an authentication request inside.
static const std::string kCiphered =
    "7e02b0776948016ab416e2de6b6cd5c4269a01a974319cb6182f9499de8e3ebc55e3275c3c7793fb33008cb363a5e4867d";
// Uplink, count 0xAB01, not ciphered: a registration accept inside.
static const std::string kHighCount =
    "7e02fe36868c017e0042010177000bf2030246010041c0e000105407200302460000641505040aabcdef2101005e016516012c";

static std::string keyLines(const std::string& more, const std::string& cipherAlg = "2")
{
  return "integrity-algorithm 2\nciphering-algorithm " + cipherAlg + "\nintegrity-key " + kIntegrityKey +
         "\nciphering-key = " + kCipherKey + "\n" + more;
}

TEST(Keys, VerifyAWholeRegistrationInBothDirections)
{
  std::string keys = std::string(VELNOR_SAMPLES) + "/protected-registration.keys";
  std::string messages = std::string(VELNOR_SAMPLES) + "/protected-registration.txt";
  Outcome o = runProgram({"decode", "--keys", keys, "--reencode", messages});
  EXPECT_EQ(o.code, 0) << o.err;
  EXPECT_EQ(countOf(o.out, "protection: verified, downlink\n"), 3U) << o.out;
  EXPECT_EQ(countOf(o.out, "protection: verified, uplink\n"), 4U);
  EXPECT_EQ(countOf(o.out, "\nequal: "), 7U);
  EXPECT_EQ(countOf(o.out, "but for the code"), 0U);
}

TEST(Keys, DecipherAndFindTheDirection)
{
  Workplace place;
  std::string keys = place.file("keys", keyLines("bearer 1\ndownlink-count 1\n"));
  for (const std::vector<std::string>& way : {std::vector<std::string>{}, {"--dir", "down"}}) {
    std::vector<std::string> words = {"decode", "--keys", keys, kCiphered};
    words.insert(words.end(), way.begin(), way.end());
    Outcome o = runProgram(words);
    EXPECT_EQ(o.code, 0) << o.err;
    EXPECT_TRUE(holds(o.out, "protection: verified, downlink"));
    EXPECT_TRUE(holds(o.out, "obj_MMAuthRequest5G"));
  }
  EXPECT_EQ(runProgram({"roundtrip", "--keys", keys, kCiphered}).out,
            "arguments  equal: 49 octets\n1 message: 1 equal, 0 different, 0 not decoded\n");
}

// Ciphered without integrity protection: the direction is the one in which the message decodes.
TEST(Keys, DecipherWithoutIntegrity)
{
  const std::string message =
      "7e0200000000ff8bf6d0fd6f9404229fc1d42e0d2e5a367b666503813deec72309624a1c5424ebecd8e80c9e9d82b99d"
      "7c06c88400914c331d3eb5d3f13c1b5ffe37a4a21c25cb881adb33b7d8b2f2bd2fb2c5846464fb2c378008cf6ebcb2d9"
      "e19f6a33758a93e3753178f1ca7425fb71ac1aad8e4bc985e9378b034d28a15bf92bbeb3b1";
  Workplace place;
  std::string lines = "integrity-algorithm null\nciphering-algorithm aes\nciphering-key " + kCipherKey + "\n";
  std::string keys = place.file("keys", lines + "downlink-count 16777215\nuplink-count 16777215\n");
  Outcome o = runProgram({"decode", "--keys", keys, message});
  EXPECT_EQ(o.code, 0) << o.err;
  EXPECT_TRUE(holds(o.out, "protection: not checked: the key file says that integrity protection is null"));
  Outcome wrong = runProgram({"decode", "--keys", keys, kCiphered});
  EXPECT_EQ(wrong.code, 1);
  EXPECT_TRUE(holds(wrong.out, "protection: FAILED")) << "null protection has code 0";
}

TEST(Keys, CountsComeFromTheStartAndTheSequenceNumber)
{
  Workplace place;
  const std::vector<std::pair<std::string, bool>> cases = {{"uplink-count 43777", true},
                                                           {"uplink-count 43522", true},
                                                           {"count 43777", true},
                                                           {"uplink-count 43521", false},
                                                           {"uplink-count 43778", false},
                                                           {"count 43776", false},
                                                           {"", false}};
  for (const auto& [line, fits] : cases) {
    Outcome o =
        runProgram({"decode", "--keys", place.file("keys", keyLines(line + "\n", "0")), "--dir", "up", kHighCount});
    EXPECT_EQ(o.code, fits ? 0 : 1) << line;
    EXPECT_TRUE(holds(o.out, fits ? "protection: verified, uplink" : "protection: FAILED")) << line;
    EXPECT_TRUE(holds(o.out, "obj_RegAccept5G")) << "the record is complete all the same";
    EXPECT_EQ(countOf(o.err, "arguments: status -70 ("), fits ? 0U : 1U) << o.err;
  }
}

TEST(Keys, WithoutThemAMessageIsReadAsFarAsItGoes)
{
  Outcome open = runProgram({"decode", "--reencode", kHighCount});
  EXPECT_EQ(open.code, 0) << open.err;
  EXPECT_TRUE(holds(open.out, "protection: not checked: no keys given (--keys)"));
  EXPECT_TRUE(holds(open.out, "obj_RegAccept5G"));
  EXPECT_TRUE(holds(open.out, "equal: 51 octets, but for the code, which needs keys (--keys)"));
  Outcome sealed = runProgram({"decode", kCiphered});
  EXPECT_EQ(sealed.code, 1);
  EXPECT_TRUE(holds(sealed.out, "secHdrType = integProtAndCipher"));
  EXPECT_TRUE(holds(sealed.err, "status -71 (ciphered, and no keys are given)"));
}

TEST(Keys, AFileThatIsWrongIsRefusedWithoutShowingKeys)
{
  Workplace place;
  const std::vector<std::pair<std::string, std::string>> cases = {
      {keyLines("integrity-key " + kCipherKey + "\n"), "keys:5: integrity-key stands twice"},
      {keyLines("beer 1\n"), "keys:5: unknown name 'beer'; known are integrity-algorithm"},
      {keyLines(kCipherKey + " 1\n"), "keys:5: unknown name; known are"},
      {keyLines("bearer 32\n"), "keys:5: bearer goes up to 31"},
      {keyLines("bearer one\n"), "keys:5: bearer takes a decimal number"},
      {keyLines("count 4294967296\n"), "keys:5: count goes up to 4294967295"},
      {keyLines("count 1\nuplink-count 2\n"), "keys:6: either count or uplink-count"},
      {keyLines("bearer\n"), "keys:5: name 'bearer' without a value"},
      {keyLines("bearer 1 2\n"), "keys:5: more than one value behind the name 'bearer'"},
      {"ciphering-algorithm 1\n", "keys:1: ciphering-algorithm is 0 (null) or 2 (AES)"},
      {"# keys\n\nintegrity-key " + kIntegrityKey + "0\n", "keys:3: integrity-key has 33 characters; it takes 32"},
      {"ciphering-key " + kCipherKey.substr(0, 31) + "x\n",
       "keys:1: ciphering-key: character 32 is no hexadecimal digit"},
      {"integrity-algorithm 0\n", "keys: no line ciphering-algorithm"},
      {"integrity-algorithm 2\nciphering-algorithm 0\n", "keys: integrity-algorithm 2 needs a line integrity-key"},
      {"integrity-algorithm 0\nciphering-algorithm aes\n", "keys: ciphering-algorithm 2 needs a line ciphering-key"},
      {"", "keys: no line integrity-algorithm"}};
  for (const auto& [content, part] : cases) {
    Outcome o = runProgram({"decode", "--keys", place.file("keys", content), "7e0055"});
    EXPECT_EQ(o.code, 2) << part;
    EXPECT_TRUE(holds(o.err, part));
    for (const std::string& key : {kIntegrityKey, kCipherKey}) EXPECT_EQ(countOf(o.err, key.substr(0, 8)), 0U) << o.err;
  }
}

// The short code of a service request, and bearer 0 as EPS has it.
TEST(Keys, ServeEpsToo)
{
  Workplace place;
  std::string keys = place.file("keys", keyLines("uplink-count 32\n", "0"));
  Outcome o = runProgram({"decode", "--keys", keys, "--dir", "up", "--reencode", "c79f7479"});
  EXPECT_EQ(o.code, 0) << o.err;
  EXPECT_TRUE(holds(o.out, "protection: verified, uplink"));
  EXPECT_TRUE(holds(o.out, "equal: 4 octets\n"));
  Outcome ciphered =
      runProgram({"decode", "--keys", place.file("keys2", keyLines("")), "279101b7c601ad1dbaba8064feceedb93f"});
  EXPECT_EQ(ciphered.code, 0) << ciphered.err;
  EXPECT_TRUE(holds(ciphered.out, "obj_IdentResp"));
}
