#include "session.h"

#include <cstring>
#include <new>

#include "frame.h"
#include "keys.h"
#include "names.h"

void addInputs(Command& command, std::vector<std::string>& inputs)
{
  command.addOption("input", inputs, "octets in hexadecimal, files of lines, captures, or - for standard input");
}

void addKeyOption(Command& command, SessionOptions& options)
{
  command.addOption("--keys", options.keyFile, "key file: algorithms, keys, bearer, counts").valueName("FILE");
}

void addFormsOption(Command& command, SessionOptions& options)
{
  command.addFlag("--as-specified", options.asSpecified,
                  "by the definitions' own rows: no forms of the standard beside them, nothing kept");
}

void addDirection(Command& command, const std::string& name, std::string& value, const std::string& purpose)
{
  command.addOption(name, value, purpose)
      .valueName("DIR")
      .oneOf({"up", "down"}, {"ul", "dl", "mo", "mt", "uplink", "downlink"});
}

void addMessageOptions(Command& command, SessionOptions& options)
{
  command.addOption("--as", options.as, "type of the messages, by its full or short name").valueName("TYPE");
  addDirection(command, "--dir", options.direction, "direction of the messages: up or down (ul, dl, mo, mt)");
  command.addOption("--channel", options.channel, "channel of radio resource messages: bcch, ccch, dcch, sacch, short")
      .valueName("NAME")
      .oneOf({"bcch", "ccch", "dcch", "sacch", "short"});
  addKeyOption(command, options);
  command.addOption("--release", options.release, "newest release of radio capabilities to decode, 0: all")
      .valueName("N")
      .between(0, 255);
  addFormsOption(command, options);
}

void addSessionOptions(Command& command, SessionOptions& options)
{
  options.captures = true;
  addMessageOptions(command, options);
  addLinkOption(command, options.links);
}

int checkMemory(int status)
{
  if (status == RTX_E_NO_MEMORY) throw std::bad_alloc();
  return status;
}

static velnor3gpp_Keys sessionKeys(const Keys& file)
{
  velnor3gpp_Keys keys = {};
  keys.size = sizeof keys;
  memcpy(keys.integrityKey, file.integrityKey.data(), sizeof keys.integrityKey);
  memcpy(keys.cipherKey, file.cipherKey.data(), sizeof keys.cipherKey);
  keys.integrityAlgorithm = file.integrityAlg;
  keys.cipherAlgorithm = file.cipherAlg;
  keys.bearer = file.bearer ? *file.bearer : -1;
  keys.uplinkCount = file.count ? *file.count : file.nextCount[0];
  keys.downlinkCount = file.count ? *file.count : file.nextCount[1];
  return keys;
}

static void giveKeys(velnor3gpp_Session* session, const Keys& file)
{
  velnor3gpp_Keys keys = sessionKeys(file);
  int status = velnor3gpp_setKeys(session, file.none ? nullptr : &keys);
  explicit_bzero(&keys, sizeof keys);
  checkMemory(status);
}

void setKeys(velnor3gpp_Session* session, const SessionOptions& options)
{
  if (!options.keys) return;
  options.current = options.keys.get();
  giveKeys(session, *options.current);
}

static Keys* keysFor(Keys& all, const velnor3gpp_CaptureConnection* connection)
{
  for (const std::unique_ptr<Keys>& section : all.connections)
    if (connection && isConnection(section->connection, *connection)) return section.get();
  return &all;
}

static void keepCounts(const velnor3gpp_Session* session, Keys& file)
{
  velnor3gpp_Keys keys = {};
  keys.size = sizeof keys;
  if (velnor3gpp_getKeys(session, &keys) >= 0) file.nextCount = {keys.uplinkCount, keys.downlinkCount};
  explicit_bzero(&keys, sizeof keys);
}

void selectKeys(velnor3gpp_Session* session, const SessionOptions& options,
                const velnor3gpp_CaptureConnection* connection)
{
  if (!options.keys) return;
  Keys* wanted = keysFor(*options.keys, connection);
  if (wanted == options.current && !wanted->count) return;
  if (options.current && wanted != options.current) keepCounts(session, *options.current);
  options.current = wanted;
  giveKeys(session, *wanted);
}

void noteEncoded(velnor3gpp_Session* session, const SessionOptions& options)
{
  velnor3gpp_Keys keys = {};
  keys.size = sizeof keys;
  if (!options.current || options.current->count || velnor3gpp_getKeys(session, &keys) < 0) return;
  velnor3gpp_Result result = resultOf(session);
  uint32_t& next = result.direction == VELNOR3GPP_DOWN ? keys.downlinkCount : keys.uplinkCount;
  int status = 0;
  if (result.nasCount > next) {
    next = result.nasCount;
    status = velnor3gpp_setKeys(session, &keys);
  }
  explicit_bzero(&keys, sizeof keys);
  checkMemory(status);
}

// Where no message tells its connection, sections would be passed over without a word.
static void readSessionKeys(const SessionOptions& options, Keys& keys)
{
  readKeyFile(options.keyFile, keys);
  if (options.captures || keys.connections.empty()) return;
  throw UsageError(options.keyFile + ":" + std::to_string(keys.connections.front()->line) +
                   ": connections are told apart in captures, which this command does not read; give a file with the "
                   "keys of one, without the line 'connection'");
}

Session openSession(const SessionOptions& options)
{
  velnor3gpp_Session* session = nullptr;
  checkMemory(velnor3gpp_open(&session));
  Session opened(session);
  velnor3gpp_setOption(session, VELNOR3GPP_OPTION_RELEASE, options.release);
  velnor3gpp_setOption(session, VELNOR3GPP_OPTION_KEEP, !options.asSpecified);
  velnor3gpp_setOption(session, VELNOR3GPP_OPTION_STANDARD, !options.asSpecified);
  if (!options.keyFile.empty() && !options.keys) {
    options.keys = std::make_shared<Keys>();
    readSessionKeys(options, *options.keys);
  }
  setKeys(session, options);
  return opened;
}

const velnor3gpp_Type* typeOf(const SessionOptions& options)
{
  return options.as.empty() ? nullptr : typeNamed(options.as);
}
