// A session of the library as the options of a command ask for it: type, direction, channel, keys.
#ifndef VELNOR3GPP_PROGRAM_SESSION_H
#define VELNOR3GPP_PROGRAM_SESSION_H

#include <memory>
#include <string>
#include <vector>

#include "captureFile.h"
#include "keys.h"
#include "names.h"
#include "velnor3gpp/velnor3gpp.h"

class Command;

// What messages are and how to read them. The texts are those of the command line.
struct SessionOptions {
  std::string as;                     // name of a type, or empty
  std::string direction;              // or empty
  std::string channel;                // or empty
  std::string keyFile;                // or empty
  unsigned release = 0;               // newest release of radio capabilities, 0: all
  bool asSpecified = false;           // by the definitions' own rows, without what they do not know
  mutable std::shared_ptr<Keys> keys; // of the key file, which is read once
  mutable Keys* current = nullptr;    // those that the session has
  LinkNames links;                    // of captures
  bool captures = false;              // the command reads them: the key file may have sections of connections
};

struct CloseSession {
  void operator()(velnor3gpp_Session* session) const { velnor3gpp_close(session); }
};
using Session = std::unique_ptr<velnor3gpp_Session, CloseSession>;

// Adds an option for a direction, in the words of several trades.
void addDirection(Command& command, const std::string& name, std::string& value, const std::string& purpose);
// Adds --as, --dir, --channel, --keys, --release and --as-specified.
void addMessageOptions(Command& command, SessionOptions& options);
// The same and, for commands that read captures, --dlt.
void addSessionOptions(Command& command, SessionOptions& options);
// Adds the messages: octets, files or -.
void addInputs(Command& command, std::vector<std::string>& inputs);
// Adds --keys alone.
void addKeyOption(Command& command, SessionOptions& options);
// Adds --as-specified alone.
void addFormsOption(Command& command, SessionOptions& options);
// Opens a session with the keys, the release and, unless told otherwise, what real messages ask for: the standard's
// forms, and elements kept that nobody can read. Throws UsageError for a key file that is wrong, std::bad_alloc.
Session openSession(const SessionOptions& options);
// Sets the keys anew, so that the counts begin again. Does nothing without a key file.
void setKeys(velnor3gpp_Session* session, const SessionOptions& options);
// Sets the keys of a connection, null for none that a capture tells; the counts of the others stay with them.
void selectKeys(velnor3gpp_Session* session, const SessionOptions& options,
                const velnor3gpp_CaptureConnection* connection);
// Raises the count of its direction to that of the message that was encoded, unless the key file has one for all.
void noteEncoded(velnor3gpp_Session* session, const SessionOptions& options);
// The type of --as, or null without one. Throws UsageError.
const velnor3gpp_Type* typeOf(const SessionOptions& options);
// Throws std::bad_alloc for RTX_E_NO_MEMORY. Returns the status.
int checkMemory(int status);

#endif
