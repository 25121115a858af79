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

} // namespace

std::vector<Found> dissect(const std::vector<Frame>& frames, const std::vector<std::string>& fields)
{
  char path[] = "/tmp/velnor3gpp-peer-XXXXXX";
  int file = mkstemp(path);
  if (file < 0) return {};
  close(file);
  writeCapture(path, frames);
  std::string command = std::string("HOME=/nonexistent tshark -n -o nas-5gs.null_decipher:TRUE -o "
                                    "nas-eps.null_decipher:TRUE -T fields -E 'aggregator=|' -r ") +
                        path;
  for (const std::string& field : fields) command += " -e " + field;
  std::vector<Found> all;
  for (const std::string& line : split(output(command + " 2>/dev/null"), '\n')) {
    auto columns = split(line, '\t');
    columns.resize(fields.size());
    all.emplace_back();
    for (size_t i = 0; i < fields.size(); ++i) all.back()[fields[i]] = split(columns[i], '|');
  }
  unlink(path);
  return all.size() == frames.size() ? all : std::vector<Found>();
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
