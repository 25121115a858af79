// Promises: the program reads captures wherever it reads messages: connections have keys of their own, memory does not
// grow with the capture, and of a file that is cut anywhere all comes that is whole.
#include <gtest/gtest.h>

#include "tests/capture/captures.h"

namespace {

using namespace captures;

std::string run(const std::string& command)
{
  return outputOf(VELNOR_PROGRAM " " + command + " 2>&1 </dev/null");
}

Octets from(uint8_t host, const Octets& message)
{
  Octets packet = ethernet(ipv4(udp(gsmtap3(0x0504, 1, message))));
  packet[14 + 15] = host; // the last octet of the source
  return packet;
}

const char kFirst[] = "integrity-algorithm 2\nciphering-algorithm 2\nintegrity-key 0102030405060708090a0b0c0d0e0f10\n"
                      "ciphering-key 2122232425262728292a2b2c2d2e2f30\n";

// The same message on two connections, which count apart from each other, and on one that nobody has keys for.
TEST(ProgramCaptures, EveryConnectionHasItsKeysAndCounts)
{
  const Folder folder;
  const Octets request = hex("7E02C6F8DD7D00C9D14D35139BB81B6789EDB6FB972D912B9C3761BD2886");
  std::vector<Frame> frames;
  for (uint8_t host : {1, 2, 3, 1}) frames.push_back({1, from(host, request)});
  const std::string capture = folder.keep("c.pcap", pcap(frames));
  auto keys = [&](const std::string& text) {
    std::ofstream(folder + "/keys") << text;
    std::filesystem::permissions(folder + "/keys", std::filesystem::perms(0600));
    return run("decode --dir up --keys " + folder + "/keys " + capture);
  };
  const std::string both =
      std::string("connection address 192.0.2.1 port 4729\n") + kFirst + "connection address 192.0.2.2\n" + kFirst;
  std::string out = keys(both);
  EXPECT_EQ(countOf(out, "verified, uplink"), 3U) << out;
  EXPECT_EQ(countOf(out, "no keys given"), 1U) << out;
  // The last one, sent again behind the count of the others, is no news to a connection that counts on.
  out = keys("connection address 192.0.2.1\n" + std::string(kFirst) + "uplink-count 1\nconnection interface 0\n" +
             kFirst);
  EXPECT_EQ(countOf(out, "FAILED"), 2U) << out;
  EXPECT_EQ(countOf(out, "verified, uplink"), 2U) << out;
  EXPECT_EQ(countOf(keys(kFirst), "verified, uplink"), 4U);
  for (const char* wrong : {"connection\n", "connection host 1\n", "connection address 192.0.2\n",
                            "connection port 70000\n", "connection port\n", "connection port 99999999999999999999\n"})
    EXPECT_NE(keys(wrong + std::string(kFirst)).find("keys:1: "), std::string::npos) << wrong;
  EXPECT_EQ(countOf(keys("connection interface 4294967295\n" + std::string(kFirst)), "no keys given"), 4U);
  EXPECT_NE(keys("connection port 1\nbearer 1\n").find("no line integrity-algorithm"), std::string::npos);
}

// What the program says of a file's first octets, and its exit code in a line behind it.
std::string saidOf(const std::string& command, const std::string& file, size_t size)
{
  return outputOf("head -c " + std::to_string(size) + " " + file + " | { " VELNOR_PROGRAM " " + command +
                  " 2>/dev/null; echo $?; }");
}

// pcap, pcapng and charging records, cut behind every octet: a line for each whole record, and the code of damage but
// where the cut is between two. A charging file says how many records it has, so that none of its cuts is.
TEST(ProgramCaptures, CutFilesGiveAllThatIsWhole)
{
  const Folder folder;
  const std::string attach = VELNOR_SAMPLES "/attach.pcap", again = folder + "/attach.pcapng";
  run("capture " + attach + " " + again);
  struct Row {
    std::string command, file;
    std::vector<std::string> between; // what is said there
  };
  const std::vector<std::string> packets = {"0\n", "1\n0\n", "1\n2\n0\n"};
  for (const Row& row : {Row{"decode --field frame -", attach, packets},
                         {"decode --field frame -", again, {"0\n", "0\n", "1\n0\n", "1\n2\n0\n"}},
                         {"cdr --json -", VELNOR_SAMPLES "/records.cdr", {}}}) {
    std::vector<std::string> between;
    std::string before;
    for (size_t size = 4; size < std::filesystem::file_size(row.file); ++size) {
      std::string said = saidOf(row.command, row.file, size), code = said.substr(said.size() - 2);
      if (code == "0\n") between.push_back(said);
      said.resize(said.size() - 2);
      EXPECT_TRUE(said.starts_with(before) && (code == "0\n" || code == "3\n"))
          << row.file << " " << size << ": " << said;
      before = said;
    }
    EXPECT_EQ(between, row.between) << row.file;
    EXPECT_EQ(countOf(before, "\n"), 2U); // two packets of three, or the header and one record of two
  }
}

// A capture of large frames that are holes in the file. VELNOR_TEST_EFFORT=50 makes it one of 13 GiB.
TEST(ProgramCaptures, LargeOnesTakeNoMemory)
{
  const Folder folder;
  const size_t frames = 1000 * effort();
  std::ofstream file(folder + "/sparse", std::ios::binary);
  auto putAll = [&](const Octets& octets) {
    file.write(reinterpret_cast<const char*>(octets.data()), long(octets.size()));
  };
  const Octets head = pcap({});
  putAll(head);
  Octets record;
  for (uint32_t field : {1700000000U, 0U, 262144U, 262144U}) put(record, field, 4, true);
  for (size_t i = 0; i < frames; ++i) {
    file.seekp(std::streamoff(head.size() + i * (262144 + 16)));
    putAll(record);
  }
  file.close();
  std::filesystem::resize_file(folder + "/sparse", head.size() + frames * (262144 + 16));
#ifdef VELNOR_TEST_BUDGET // sanitizers have memory of their own
  const std::string limit;
#else
  const std::string limit = "ulimit -d 32768; "; // KiB
#endif
  const std::string said = outputOf(limit + VELNOR_PROGRAM " capture " + folder + "/sparse /dev/null 2>&1");
  EXPECT_NE(said.find(std::to_string(frames) + " frames: 0 messages"), std::string::npos) << said;
  EXPECT_EQ(said.find("failed: "), std::string::npos) << said;
}

} // namespace
