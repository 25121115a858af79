#include "tests/peer/tshark.h"

#include "tests/capture/captures.h"

namespace peer {

namespace {

// A frame of the capture: a list of tags, then the message.
Octets packetOf(const Frame& frame, const Octets& message)
{
  return captures::upperPdu(frame.dissector, message, frame.toNetwork ? 0 : 1);
}

// What tshark prints of the frames, as XML.
std::string read(const std::vector<Frame>& frames)
{
  const Folder folder;
  std::vector<captures::Frame> packets;
  for (const Frame& frame : frames) packets.push_back({252, packetOf(frame, frame.octets)});
  return outputOf("HOME=/nonexistent tshark -n -o nas-5gs.null_decipher:TRUE -o nas-eps.null_decipher:TRUE "
                  "-T pdml -r " +
                  folder.keep("capture", captures::pcap(packets)) + " 2>/dev/null");
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
    addBits(found.bits, line, packetOf(frames[all.size() - 1], {}).size());
    if (name == "_ws.malformed") value = attribute(line, "showname");
    if (name == "_ws.malformed" || name == "_ws.expert.message") found.complaints += value + "; ";
  }
  return all.size() == frames.size() ? all : std::vector<Found>();
}

} // namespace peer
