// The messages that are measured: those of the corpus that code without complaint, chosen into mixes, and messages of
// any size made for scaling. A message knows its type; a protected one also its keys.
#ifndef VELNOR_BENCH_MESSAGES_H
#define VELNOR_BENCH_MESSAGES_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "rt3gppsrc/engine/l3Engine.h"
#include "velnor3gpp/rtContext.h"

using Octets = std::vector<uint8_t>;

// A security record with its keys, in a context of its own, so that the heap of a job can be reset.
struct Keyed {
  RtxContext context;
  Octets integrityKey, cipherKey;
  Keyed();
  ~Keyed();
  Keyed(const Keyed&) = delete;
};

struct Message {
  const L3TypeEntry* type = nullptr;
  std::string object; // the name of its alternative
  Octets octets;
  std::shared_ptr<Keyed> keys; // of a protected message
};

struct Mix {
  std::string name;
  std::vector<Message> messages;
  bool keeps = false; // decoded and encoded with what the library does not know
  double meanOctets() const;
};

Octets fromHex(const std::string& hex);
// Ends the program with a message: what is measured must be what is meant.
[[noreturn]] void giveUp(const std::string& why);

// The well-formed messages of a corpus file, shuffled.
Mix readMix(const char* name, const char* file);
// Messages in order of their length until the mean reaches the given octets, shuffled.
Mix shortOnes(const char* name, const Mix& mix, double meanOctets);
Mix allOf(const char* name, const std::vector<const Mix*>& mixes);
// The longest message of an alternative that has no more than `most` octets.
Mix single(const Mix& mix, const char* name, const char* object, size_t most = SIZE_MAX);
// The same messages with an unknown element of two octets behind the others, which is kept.
Mix withUnknown(const char* name, Mix mix);
// Signed and ciphered messages with their keys.
Mix readProtected(const char* name, const char* form);

// One message of the given octets. It decodes; lists of more than 255 entries do not encode.
Mix made(const std::string& name, const Octets& octets);
bool encodes(const Mix& mix);
// 5GS messages of about `size` octets: session requests with many small configuration units, transports with one opaque
// payload, and transports with a session command with many small units (containers in containers).
Octets manyUnits(size_t size);
Octets onePayload(size_t size);
Octets nestedUnits(size_t size);
// A session message in a transport to the mobile.
Octets inTransport(const Octets& session);
// A transport of 0 to 255 payload entries with `each` octets of contents.
Octets manyEntries(size_t count, size_t each);

#endif
