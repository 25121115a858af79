#include "tests/peer/tshark.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace peer {

const std::vector<std::string> kComplaintFields = {"_ws.malformed", "_ws.expert.message"};

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

Octets exported(const Frame& frame)
{
  Octets name(frame.dissector.begin(), frame.dissector.end());
  name.resize((name.size() + 4) / 4 * 4);
  Octets all;
  putTag(all, kDissectorName, name);
  putTag(all, kDirection, {0, 0, 0, uint8_t(frame.toNetwork ? 0 : 1)});
  putTag(all, 0, {});
  all.insert(all.end(), frame.octets.begin(), frame.octets.end());
  return all;
}

void writeCapture(const std::string& path, const std::vector<Frame>& frames)
{
  Octets file;
  put(file, 0xA1B2C3D4, 4);
  put(file, 2, 2);
  put(file, 4, 2);
  put(file, 0, 8);
  put(file, 0x40000, 4);
  put(file, kExportedPdu, 4);
  for (const Frame& frame : frames) {
    Octets packet = exported(frame);
    put(file, 0, 8);
    put(file, packet.size(), 4);
    put(file, packet.size(), 4);
    file.insert(file.end(), packet.begin(), packet.end());
  }
  std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(file.data()), long(file.size()));
}

std::vector<std::string> split(const std::string& text, char by)
{
  std::vector<std::string> parts;
  std::istringstream in(text);
  for (std::string part; std::getline(in, part, by);) parts.push_back(part);
  return parts;
}

std::string output(const std::string& command)
{
  std::string text;
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return text;
  char piece[4096];
  while (size_t size = fread(piece, 1, sizeof piece, pipe)) text.append(piece, size);
  pclose(pipe);
  return text;
}

// What tshark prints of the frames.
std::string read(const std::vector<Frame>& frames, const std::string& arguments)
{
  char path[] = "/tmp/velnor3gpp-peer-XXXXXX";
  int file = mkstemp(path);
  if (file < 0) return "";
  close(file);
  writeCapture(path, frames);
  std::string decipher = " -o nas-5gs.null_decipher:TRUE -o nas-eps.null_decipher:TRUE ";
  std::string text = output("HOME=/nonexistent tshark -n" + decipher + arguments + " -r " + path + " 2>/dev/null");
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

// A shown value begins with its bits among the dots of those that are not its own: "..01 1... = Name: 3".
bool readBits(const std::string& line, Bits& bits)
{
  std::string shown = attribute(line, "showname"), pos = attribute(line, "pos");
  size_t end = shown.find(" = ");
  std::string mask = shown.substr(0, end);
  if (end == std::string::npos || pos.empty() || mask.find_first_not_of("01. ") != std::string::npos) return false;
  std::erase(mask, ' ');
  size_t first = mask.find_first_not_of('.'), last = mask.find_last_not_of('.');
  if (first == std::string::npos) return false;
  bits = {std::stoul(pos) * 8 + first, std::stoul(pos) * 8 + last + 1, attribute(line, "name")};
  return true;
}

} // namespace

std::vector<Found> dissect(const std::vector<Frame>& frames, const std::vector<std::string>& fields)
{
  std::string arguments = "-T fields -E 'aggregator=|'";
  for (const std::string& field : fields) arguments += " -e " + field;
  std::vector<Found> all;
  for (const std::string& line : split(read(frames, arguments), '\n')) {
    auto columns = split(line, '\t');
    columns.resize(fields.size());
    all.emplace_back();
    for (size_t i = 0; i < fields.size(); ++i) all.back()[fields[i]] = split(columns[i], '|');
  }
  return all.size() == frames.size() ? all : std::vector<Found>();
}

std::vector<std::vector<Bits>> dissectBits(const std::vector<Frame>& frames)
{
  std::vector<std::vector<Bits>> all;
  size_t before = 0; // bits in front of the message
  for (const std::string& line : split(read(frames, "-T pdml"), '\n')) {
    Bits bits;
    if (line.find("<packet>") != std::string::npos) {
      if (all.size() == frames.size()) return {};
      before = 8 * (exported(frames[all.size()]).size() - frames[all.size()].octets.size());
      all.emplace_back();
    } else if (!all.empty() && readBits(line, bits) && bits.from >= before) {
      all.back().push_back({bits.from - before, bits.to - before, bits.name});
    }
  }
  return all.size() == frames.size() ? all : std::vector<std::vector<Bits>>();
}

std::string complaints(const Found& found)
{
  std::string text;
  for (const std::string& field : kComplaintFields)
    if (auto values = found.find(field); values != found.end())
      for (const std::string& value : values->second) text += (text.empty() ? "" : "; ") + value;
  return text;
}

} // namespace peer
