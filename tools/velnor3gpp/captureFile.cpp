#include "captureFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>

#include "frame.h"
#include "interrupt.h"
#include "names.h"

namespace {

// A descriptor that is closed if it was opened here.
struct Descriptor {
  int number;
  bool own;
  explicit Descriptor(const std::string& name) : number(STDIN_FILENO), own(name != "-")
  {
    if (own) number = open(name.c_str(), O_RDONLY | O_CLOEXEC);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor()
  {
    if (own && number >= 0) close(number);
  }
};

struct CloseReader {
  void operator()(velnor3gpp_CaptureReader* reader) const { velnor3gpp_captureClose(reader); }
};
using Reader = std::unique_ptr<velnor3gpp_CaptureReader, CloseReader>;

} // namespace

static long readOctets(int descriptor, uint8_t* octets, size_t room)
{
  ssize_t count;
  do count = read(descriptor, octets, room);
  while (count < 0 && errno == EINTR);
  return static_cast<long>(count);
}

static long readMore(CaptureInput& input, uint8_t* octets, size_t room)
{
  try {
    return waitForInput(input.descriptor) ? readOctets(input.descriptor, octets, room) : 0;
  } catch (...) {
    input.fault = std::current_exception();
    return -1;
  }
}

static long readInput(void* arg, uint8_t* octets, size_t room)
{
  CaptureInput& input = *static_cast<CaptureInput*>(arg);
  if (input.first.empty()) return readMore(input, octets, room);
  size_t count = std::min(room, input.first.size());
  std::copy_n(input.first.begin(), count, octets);
  input.first.erase(input.first.begin(), input.first.begin() + static_cast<std::ptrdiff_t>(count));
  return static_cast<long>(count);
}

// The name behind "147=", in any case.
static std::string linkName(const std::string& word)
{
  return lower(word.substr(word.find('=') + 1));
}

static std::string linkFault(const std::string& word)
{
  static const char kHelp[] = ": write N=NAME, N from 147 to 162, NAME one of nas-5gs, nas-eps, nas-eps_plain, "
                              "gsm_a_dtap, gsm_a_rp, gsm_a_ccch, gsm_a_sacch, gsmtap";
  size_t mark = word.find('=');
  bool digits = mark > 0 && mark <= 3 && word.find_first_not_of("0123456789") == mark;
  velnor3gpp_CaptureReader* reader = nullptr;
  if (!digits || velnor3gpp_captureOpen(&reader, nullptr, nullptr) < 0) return "'" + word + "'" + kHelp;
  Reader opened(reader);
  int status = velnor3gpp_captureMap(reader, static_cast<uint32_t>(std::stoul(word)), linkName(word).c_str());
  return status < 0 || mark + 1 == word.size() ? "'" + word + "'" + kHelp : "";
}

void addLinkOption(Command& command, LinkNames& names)
{
  command.addRepeated("--dlt", names.given, "captures: the dissector of a user link type, 147=nas-5gs")
      .valueName("N=NAME")
      .check(linkFault);
}

bool isCaptureFile(const std::string& name)
{
  uint8_t first[4];
  Descriptor file(name);
  return file.own && file.number >= 0 && readOctets(file.number, first, sizeof first) == 4 &&
         velnor3gpp_isCapture(first, sizeof first);
}

static Reader openReader(CaptureInput& input, const LinkNames& names)
{
  velnor3gpp_CaptureReader* reader = nullptr;
  if (velnor3gpp_captureOpen(&reader, readInput, &input) < 0) throw std::bad_alloc();
  Reader opened(reader);
  for (const std::string& name : names.given)
    velnor3gpp_captureMap(reader, static_cast<uint32_t>(std::stoul(name)), linkName(name).c_str());
  return opened;
}

// How a capture ended that did not end well. Its whole frames have all been handed over.
[[noreturn]] static void fail(const std::string& name, int status, const velnor3gpp_CaptureCounts& counts)
{
  if (status == RTX_E_READ) throw InputError(name + ": cannot be read: " + strerror(errno));
  std::string what = "is damaged";
  if (status == RTX_E_END_OF_FILE) what = "is cut in the middle of a record";
  if (status == RTX_E_TOO_BIG) what = "has more than 1024 interfaces in a section";
  throw DamageError(name + ": " + what + ": octet " + std::to_string(counts.octets) + ", behind frame " +
                    std::to_string(counts.frames));
}

velnor3gpp_CaptureCounts readCapture(CaptureInput input, const LinkNames& names,
                                     const std::function<void(const velnor3gpp_CaptureFrame&)>& take,
                                     const std::function<void(const velnor3gpp_CaptureCounts&)>& ended)
{
  Reader reader = openReader(input, names);
  velnor3gpp_CaptureFrame frame = {};
  frame.size = sizeof frame;
  int status;
  while ((status = velnor3gpp_captureNext(reader.get(), &frame)) == VELNOR3GPP_CAPTURE_FRAME) take(frame);
  int error = errno;
  velnor3gpp_CaptureCounts counts = {};
  counts.size = sizeof counts;
  velnor3gpp_captureCounts(reader.get(), &counts);
  if (ended) ended(counts);
  errno = error;
  bool isCut = status == RTX_E_END_OF_FILE && isInterrupted(); // that is no damage
  if (input.fault) std::rethrow_exception(input.fault);
  if (status < 0 && !isCut) fail(input.name, status, counts);
  return counts;
}

std::string timeText(const velnor3gpp_CaptureFrame& frame)
{
  if (!frame.hasTime) return "";
  time_t seconds = static_cast<time_t>(frame.time / 1000000000U);
  struct tm parts = {};
  char date[40], text[60];
  gmtime_r(&seconds, &parts);
  if (!strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &parts)) return "";
  snprintf(text, sizeof text, "%s.%09uZ", date, static_cast<unsigned>(frame.time % 1000000000U));
  return text;
}

// What stands behind the seconds: nothing, or a dot and one to nine digits.
static bool readFraction(std::string text, unsigned long& nanoseconds)
{
  bool none = text.empty(), dot = text.size() > 1 && text.size() <= 10 && text[0] == '.';
  if (!none && (!dot || text.find_first_not_of("0123456789", 1) != std::string::npos)) return false;
  text.resize(10, '0');
  nanoseconds = none ? 0 : std::stoul(text.substr(1));
  return true;
}

// Dates that no calendar has, and blanks, are read too, but are not written so again.
bool readTime(const std::string& text, velnor3gpp_CaptureFrame& frame)
{
  static constexpr size_t kFraction = sizeof "2023-11-14T22:13:20" - 1;
  struct tm parts = {};
  unsigned long nanoseconds = 0;
  if (text.size() <= kFraction || text.back() != 'Z' || !strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &parts) ||
      !readFraction(text.substr(kFraction, text.size() - 1 - kFraction), nanoseconds))
    return false;
  time_t seconds = timegm(&parts);
  if (seconds < 0 || seconds >= 18446744073) return false; // as many nanoseconds have 64 bits
  frame.hasTime = true;
  frame.time = static_cast<uint64_t>(seconds) * 1000000000U + nanoseconds;
  return timeText(frame).compare(0, kFraction, text, 0, kFraction) == 0;
}

std::string countsText(const velnor3gpp_CaptureCounts& counts)
{
  std::string text = counted(static_cast<size_t>(counts.frames), "frame") + ": " +
                     counted(static_cast<size_t>(counts.reasons[VELNOR3GPP_CAPTURE_MESSAGE]), "message");
  for (int i = 1; i < VELNOR3GPP_CAPTURE_REASONS; ++i)
    if (counts.reasons[i])
      text += ", " + std::to_string(counts.reasons[i]) + " " +
              velnor3gpp_captureReasonText(static_cast<velnor3gpp_CaptureReason>(i));
  return text;
}
