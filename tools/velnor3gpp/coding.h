// A message through a session: the form that fits, what came of it, and the octets that come back.
#ifndef VELNOR3GPP_PROGRAM_CODING_H
#define VELNOR3GPP_PROGRAM_CODING_H

#include <string>
#include <vector>

#include "frame.h"
#include "session.h"
#include "source.h"

// How a message ended, from good to bad.
enum class Outcome {
  kGood,    // in order
  kRemarks, // decoded; values outside their ranges, elements that were kept unread and the like
  kSealed,  // ciphered, and no keys were given
  kBad
};

// Messages of a run by how they ended.
struct Counts {
  size_t messages = 0; // lines that are none among them
  size_t remarks = 0;
  size_t sealed = 0;
  size_t bad = 0;
  size_t noMessage = 0; // lines that are none; bad as well
};

// Decodes a message into the session, as its line or the options say. Without a type, the forms that the octets can
// belong to are tried, and the one that fits best is taken: octets come back, then octets are passed over. `tried`
// gets the names of the others. Throws UsageError if the type is not known or nothing tells what the octets are.
void decodeMessage(velnor3gpp_Session* session, const SessionOptions& options, const Message& message,
                   std::vector<std::string>* tried = nullptr);
Outcome outcomeOf(velnor3gpp_Session* session);
void count(Counts& counts, Outcome outcome);

// Calls with each finding, whose texts live while the function runs.
template <typename Take> void eachFinding(velnor3gpp_Session* session, Take take)
{
  velnor3gpp_Finding finding = {};
  finding.size = sizeof finding;
  for (size_t i = 0; velnor3gpp_finding(session, i, &finding) == 0; ++i) take(finding);
}
// "status -2 (Unexpected end of buffer on decode), element lac, octet 3".
std::string findingText(const velnor3gpp_Finding& finding);
// The same of the finding that ended decoding, or "".
std::string firstFinding(velnor3gpp_Session* session);
// How the message can be mended where that is easily told ("a 5GS message has 3 octets at least ..."), or "".
std::string adviceFor(velnor3gpp_Session* session);
// What stands behind a message, in lines: its protection, octets short or left over, its findings if they are asked
// for, and how it can be mended.
std::string endText(velnor3gpp_Session* session, bool findings);
// "protection: ..." of a protected message, or "". `option` is what takes keys.
std::string protectionText(velnor3gpp_Session* session, const std::string& option = "--keys");

// "3 messages: 1 with remarks, 1 bad", for standard error.
std::string summaryOf(const Counts& counts);
// Is there anything to say of the run?
bool needsSummary(const Counts& counts);

// Draws a key for replacing what tells of persons. Throws InputError.
void makeKey(uint8_t (&key)[16]);

// Can the session's message be redacted? Returns 0, or why it is left out: it is not read whole, so that its octets
// would still tell everything, or it is sealed and yet looks as if it were in clear.
int redactingFault(velnor3gpp_Session* session);
// The octets of the session's message without persons; of a sealed one, as it came. Returns 0, or why it is left out: a
// fault as above, or that not as many octets come back.
int redactOctets(velnor3gpp_Session* session, const uint8_t (&key)[16], std::vector<uint8_t>& octets);

// What encoding the session's record gives beside the octets that were decoded.
struct Comparison {
  std::vector<uint8_t> octets; // that came back
  std::string text;            // "equal: 5 octets", "NOT EQUAL: ...", "not encoded: ..."
  bool equal = false;
};
// Encodes the session's record; its findings are those of the encoding afterwards.
Comparison compareAgain(velnor3gpp_Session* session);
// Writes both in lines of 24 octets.
void printOctets(Output& out, const char* title, const uint8_t* octets, size_t count);

#endif
