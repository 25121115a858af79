// Messages out of what is dropped or pasted: text of lines or a capture, in pieces of any size. What comes of a piece
// is an array of JSON, an object for each message.
#include <memory>

#include "engine.h"
#include "tools/velnor3gpp/hex.h"
#include "tools/velnor3gpp/lines.h"
#include "tools/velnor3gpp/names.h"

namespace {

struct Lines {
  std::string name;
  TakeLine take;
  LineCutter cutter{name, take};
};

struct Input {
  std::unique_ptr<Lines> lines;
  velnor3gpp_CaptureReader* capture = nullptr;
};

} // namespace

static Input& input()
{
  static Input only;
  return only;
}

static void add(const std::string& members)
{
  std::string& text = engine().text;
  text += (text.size() > 1 ? ",{" : "{") + members + '}';
}

static std::string contentOf(int direction, int channel, std::string_view type, const uint8_t* octets, size_t count)
{
  std::string text = "\"dir\":" + std::to_string(direction) + ",\"channel\":" + std::to_string(channel);
  return text + ",\"type\":" + quoted(type) + ",\"octets\":\"" + plainHex(octets, count) + '"';
}

static void takeLine(const std::string& place, std::string_view line, bool whole)
{
  std::string lead = "\"place\":\"line " + place.substr(place.rfind(':') + 1) + "\",";
  readMessageLine(
      place, line, whole,
      [&](const Message& message) {
        const std::vector<uint8_t>& octets = message.octets;
        add(lead + contentOf(message.direction, message.channel, message.type, octets.data(), octets.size()));
      },
      [&](const BadLine& bad) {
        add(lead + "\"problem\":" + quoted(bad.problem) + ",\"line\":" + quoted(bad.line.substr(0, 200)));
      });
}

// Begins another text or capture. Says whether the octets in the room begin as a capture does.
PAGE_CALL(beginInput) int beginInput(size_t count)
{
  Input& own = input();
  velnor3gpp_captureClose(own.capture);
  own.capture = nullptr;
  std::string_view first = roomText(count);
  if (first.size() >= 4 && velnor3gpp_isCapture(reinterpret_cast<const uint8_t*>(first.data()), first.size()))
    return velnor3gpp_captureOpen(&own.capture, nullptr, nullptr) >= 0;
  own.lines = std::make_unique<Lines>();
  own.lines->take = takeLine;
  return 0;
}

// The next piece of text; none (`count` 0) ends it.
PAGE_CALL(addLines) void addLines(size_t count)
{
  Lines& lines = *input().lines;
  engine().text = "[";
  if (count)
    lines.cutter.add(roomText(count));
  else
    lines.cutter.finish();
  engine().text += ']';
}

static void addFrame(const velnor3gpp_CaptureFrame& frame)
{
  if (frame.reason != VELNOR3GPP_CAPTURE_MESSAGE) return;
  std::string lead = "\"place\":\"frame " + std::to_string(frame.frame) + "\",";
  if (frame.hasTime) lead += "\"time\":\"" + std::to_string(frame.time) + "\","; // too many digits for a number
  std::string_view type = frame.type ? factsOf(frame.type).name : "";
  add(lead + contentOf(frame.direction, frame.channel, type, frame.octets, frame.count));
}

// The next piece of the capture; none (`count` 0) ends it. Returns 0 at its end, 2 if it goes on, or a status.
PAGE_CALL(addCapture) int addCapture(size_t count)
{
  velnor3gpp_CaptureReader* reader = input().capture;
  velnor3gpp_CaptureFrame frame = {};
  frame.size = sizeof frame;
  engine().text = "[";
  velnor3gpp_captureFeed(reader, engine().room.data(), count);
  int step;
  while ((step = velnor3gpp_captureNext(reader, &frame)) == VELNOR3GPP_CAPTURE_FRAME) addFrame(frame);
  engine().text += ']';
  return step;
}

// How many frames the capture has, how far it was read, and why frames have no message, with how many of each reason.
PAGE_CALL(captureCounts) void captureCounts()
{
  velnor3gpp_CaptureCounts counts = {};
  counts.size = sizeof counts;
  velnor3gpp_captureCounts(input().capture, &counts);
  std::string& text = engine().text = "{\"frames\":" + std::to_string(counts.frames);
  text += ",\"octets\":" + std::to_string(counts.octets) + ",\"without\":[";
  bool first = true;
  for (int i = 1; i < VELNOR3GPP_CAPTURE_REASONS; ++i) {
    if (!counts.reasons[i]) continue;
    const char* words = velnor3gpp_captureReasonText(static_cast<velnor3gpp_CaptureReason>(i));
    text += (first ? "[" : ",[") + std::to_string(counts.reasons[i]) + ',' + quoted(words) + ']';
    first = false;
  }
  text += "]}";
}
