#include "tests/peer/tshark.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "tests/fileText.h"
#include "tests/messages.h"

namespace peer {

bool hasTshark()
{
  return system("command -v tshark >/dev/null 2>&1") == 0;
}

namespace {

constexpr uint32_t kExportedPdu = 252; // link type: a list of tags, then the message
constexpr uint16_t kDissectorName = 12, kDirection = 35;

void put(Octets& to, uint64_t value, unsigned octets)
{
  while (octets-- > 0) to.push_back(uint8_t(value >> 8 * octets));
}

void putTag(Octets& to, uint16_t tag, const Octets& value)
{
  put(to, tag, 2);
  put(to, value.size(), 2);
  to.insert(to.end(), value.begin(), value.end());
}

// What stands in front of the message.
Octets tagsOf(const Frame& frame)
{
  Octets name(frame.dissector.begin(), frame.dissector.end()), all;
  name.resize((name.size() + 4) / 4 * 4);
  putTag(all, kDissectorName, name);
  putTag(all, kDirection, {0, 0, 0, uint8_t(frame.toNetwork ? 0 : 1)});
  putTag(all, 0, {});
  return all;
}

Octets captureOf(const std::vector<Frame>& frames)
{
  Octets file;
  put(file, 0xA1B2C3D4, 4);
  put(file, 0x00020004, 4);
  put(file, 0, 8);
  put(file, 0x40000, 4);
  put(file, kExportedPdu, 4);
  for (const Frame& frame : frames) {
    Octets packet = tagsOf(frame);
    packet.insert(packet.end(), frame.octets.begin(), frame.octets.end());
    put(file, 0, 8);
    put(file, packet.size(), 4);
    put(file, packet.size(), 4);
    file.insert(file.end(), packet.begin(), packet.end());
  }
  return file;
}

// What tshark prints of the frames, as XML.
std::string read(const std::vector<Frame>& frames)
{
  char path[] = "/tmp/velnor3gpp-peer-XXXXXX";
  int file = mkstemp(path);
  if (file < 0) return "";
  Octets capture = captureOf(frames);
  bool good = write(file, capture.data(), capture.size()) == ssize_t(capture.size());
  close(file);
  std::string text, command = "HOME=/nonexistent tshark -n -o nas-5gs.null_decipher:TRUE -o nas-eps.null_decipher:TRUE "
                              "-T pdml -r " +
                              std::string(path) + " 2>/dev/null";
  if (good) text = outputOf(command);
  unlink(path);
  return text;
}

// The value of an XML attribute.
std::string attribute(const std::string& line, const std::string& name)
{
  size_t begin = line.find(" " + name + "=\"");
  if (begin == std::string::npos) return "";
  begin += name.size() + 3;
  return line.substr(begin, line.find('"', begin) - begin);
}

// A shown value begins with its bits among the dots of those that are not its own: "..01 1... = Name: 3". `before` are
// the octets in front of the message.
void addBits(std::vector<Bits>& bits, const std::string& line, size_t before)
{
  std::string shown = attribute(line, "showname"), pos = attribute(line, "pos");
  size_t end = shown.find(" = ");
  std::string mask = shown.substr(0, end);
  if (end == std::string::npos || pos.empty() || mask.find_first_not_of("01. ") != std::string::npos) return;
  std::erase(mask, ' ');
  size_t first = mask.find_first_not_of('.'), last = mask.find_last_not_of('.');
  if (first == std::string::npos || std::stoul(pos) < before) return;
  size_t at = (std::stoul(pos) - before) * 8;
  bits.push_back({at + first, at + last + 1, attribute(line, "name")});
}

} // namespace

std::vector<Found> dissect(const std::vector<Frame>& frames)
{
  std::vector<Found> all;
  for (const std::string& line : split(read(frames), '\n')) {
    std::string name = attribute(line, "name"), value = attribute(line, "show");
    if (line.find("<packet>") != std::string::npos) all.emplace_back();
    if (all.empty() || all.size() > frames.size() || name.empty()) continue;
    Found& found = all.back();
    found.values[name].push_back(value);
    addBits(found.bits, line, tagsOf(frames[all.size() - 1]).size());
    if (name == "_ws.malformed") value = attribute(line, "showname");
    if (name == "_ws.malformed" || name == "_ws.expert.message") found.complaints += value + "; ";
  }
  return all.size() == frames.size() ? all : std::vector<Found>();
}

} // namespace peer
