// The session, its keys, and the way of octets and text between the page and the library.
#include "engine.h"

#include <cstring>

#include "tools/velnor3gpp/names.h"

Engine& engine()
{
  static Engine only;
  if (only.session) return only;
  // As the program does: messages as they are on the air.
  velnor3gpp_open(&only.session);
  velnor3gpp_setOption(only.session, VELNOR3GPP_OPTION_KEEP, 1);
  velnor3gpp_setOption(only.session, VELNOR3GPP_OPTION_STANDARD, 1);
  return only;
}

std::string_view roomText(size_t count)
{
  const std::vector<uint8_t>& room = engine().room;
  return {reinterpret_cast<const char*>(room.data()), count < room.size() ? count : room.size()};
}

std::string quoted(std::string_view text)
{
  std::string result = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') result += '\\';
    result += c >= 0x20 && c < 0x7F ? c : '?';
  }
  return result + '"';
}

// Makes room for `count` octets and returns where.
PAGE_CALL(room) uint8_t* room(size_t count)
{
  std::vector<uint8_t>& room = engine().room;
  if (room.size() < count) room.resize(count);
  return room.data();
}

PAGE_CALL(text) const char* text()
{
  return engine().text.data();
}

PAGE_CALL(textSize) size_t textSize()
{
  return engine().text.size();
}

PAGE_CALL(version) void version()
{
  engine().text = velnor3gpp_version();
}

// The type whose name stands in the room, or null.
PAGE_CALL(typeNamed) const velnor3gpp_Type* typeNamed(size_t count)
{
  return findType(std::string(roomText(count)));
}

// Types that can be decoded, for a list to choose from.
PAGE_CALL(types) void types()
{
  std::string& text = engine().text = "[";
  for (size_t i = 0; i < velnor3gpp_typeCount(); ++i) {
    velnor3gpp_TypeFacts facts = factsOf(velnor3gpp_typeAt(i));
    if (!facts.decodes) continue;
    text += (text.size() > 1 ? ",[" : "[") + quoted(facts.name) + ',' + quoted(facts.title) + ']';
  }
  text += ']';
}

// Sets the keys: 16 octets for integrity and 16 for ciphering stand in the room, and are wiped there. Returns a status.
PAGE_CALL(setKeys) int setKeys(uint32_t integrity, uint32_t cipher, int bearer, uint32_t up, uint32_t down)
{
  Engine& own = engine();
  velnor3gpp_Keys keys = {};
  keys.size = sizeof keys;
  own.room.resize(own.room.size() < 32 ? 32 : own.room.size());
  memcpy(keys.integrityKey, own.room.data(), 16);
  memcpy(keys.cipherKey, own.room.data() + 16, 16);
  keys.integrityAlgorithm = integrity;
  keys.cipherAlgorithm = cipher;
  keys.bearer = bearer;
  keys.uplinkCount = up;
  keys.downlinkCount = down;
  int status = velnor3gpp_setKeys(own.session, &keys);
  explicit_bzero(&keys, sizeof keys);
  explicit_bzero(own.room.data(), 32);
  return status;
}

PAGE_CALL(forgetKeys) void forgetKeys()
{
  velnor3gpp_setKeys(engine().session, nullptr);
}

// The lowest count of the next message of a direction; 0 without keys.
PAGE_CALL(nextCount) uint32_t nextCount(int direction)
{
  velnor3gpp_Keys keys = {};
  keys.size = sizeof keys;
  if (velnor3gpp_getKeys(engine().session, &keys) < 0) return 0;
  uint32_t count = direction == VELNOR3GPP_DOWN ? keys.downlinkCount : keys.uplinkCount;
  explicit_bzero(&keys, sizeof keys);
  return count;
}

// Goes back to the counts that a message was first read with, so that it reads the same again. Nothing without keys.
PAGE_CALL(setCounts) void setCounts(uint32_t up, uint32_t down)
{
  velnor3gpp_Keys keys = {};
  keys.size = sizeof keys;
  if (velnor3gpp_getKeys(engine().session, &keys) < 0) return;
  keys.uplinkCount = up;
  keys.downlinkCount = down;
  velnor3gpp_setKeys(engine().session, &keys);
  explicit_bzero(&keys, sizeof keys);
}
