// Messages as JSON and back, by a session that keeps nothing and has no keys.
#include <string_view>

#include "bench/common/work.h"
#include "velnor3gpp/velnor3gppJson.h"

namespace {

struct Session {
  velnor3gpp_Session* session = nullptr;
  Session()
  {
    countAllocations(true);
    if (velnor3gpp_open(&session) < 0) giveUp("no session");
    countAllocations(false);
  }
  ~Session() { velnor3gpp_close(session); }
  Session(const Session&) = delete;
};

} // namespace

// A line of JSON for a message, which belongs to the session.
static std::string_view lineOf(const Session& own, const Message& message)
{
  const velnor3gpp_Type* type = velnor3gpp_typeByName(message.type->type->fullName.get(), nullptr);
  velnor3gpp_Octets octets = {message.octets.data(), message.octets.size(), VELNOR3GPP_DIRECTION_UNKNOWN};
  const char* text = nullptr;
  size_t count = 0;
  if (velnor3gpp_decodeMany(own.session, type, &octets, 1, 0, &text, &count) < 0) giveUp("no line of JSON");
  return {text, count};
}

Work toJsonWork(const Mix& mix)
{
  auto own = std::make_shared<Session>();
  Work work;
  work.messages = mix.messages.size();
  work.round = [own, &mix] {
    for (auto& message : mix.messages) lineOf(*own, message);
  };
  return work;
}

Work fromJsonWork(const Mix& mix)
{
  auto own = std::make_shared<Session>();
  std::vector<std::string> lines;
  for (auto& message : mix.messages) lines.emplace_back(lineOf(*own, message));
  Work work;
  work.messages = lines.size();
  work.round = [own, lines] {
    for (auto& line : lines)
      if (velnor3gpp_fromJson(own->session, nullptr, line.data(), line.size()) < 0) giveUp("JSON is not read: " + line);
  };
  return work;
}
