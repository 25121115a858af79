// Messages of a text file, one a line in hexadecimal, as lines of JSON: what a log or the output of another tool holds.
// A line may begin with "up" or "down". Usage: lines < FILE
#include <iostream>
#include <sstream>
#include <string>
#include <vector>
#include <velnor3gpp/velnor3gppJson.h>

struct Message {
  velnor3gpp_Direction direction = VELNOR3GPP_DIRECTION_UNKNOWN;
  std::vector<uint8_t> octets;
};

static Message messageOf(const std::string& line)
{
  Message message;
  std::istringstream in(line);
  for (std::string word; in >> word;) {
    if (word == "up" || word == "down")
      message.direction = word == "up" ? VELNOR3GPP_UP : VELNOR3GPP_DOWN;
    else
      for (size_t i = 0; i + 1 < word.size(); i += 2)
        message.octets.push_back(static_cast<uint8_t>(std::stoul(word.substr(i, 2), nullptr, 16)));
  }
  return message;
}

int main()
{
  std::vector<Message> messages;
  for (std::string line; std::getline(std::cin, line);)
    if (!line.empty() && line[0] != '#') messages.push_back(messageOf(line));
  std::vector<velnor3gpp_Octets> all;
  for (const Message& message : messages)
    all.push_back({message.octets.data(), message.octets.size(), message.direction});
  velnor3gpp_Session* session;
  if (velnor3gpp_open(&session) < 0) return 1;
  const char* text;
  size_t count;
  int status = velnor3gpp_decodeMany(session, nullptr, all.data(), all.size(), VELNOR3GPP_NAMES, &text, &count);
  if (status == 0) std::cout.write(text, static_cast<std::streamsize>(count));
  velnor3gpp_close(session);
  return status != 0;
}
