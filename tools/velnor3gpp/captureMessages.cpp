#include "captureMessages.h"

#include "captureFile.h"
#include "frame.h"
#include "names.h"

// "a.pcap:17  2023-11-14T22:13:20.000005000Z  up"
static std::string placeOf(const std::string& name, const velnor3gpp_CaptureFrame& frame, const std::string& time)
{
  std::string text = name + ":" + std::to_string(frame.frame);
  if (!time.empty()) text += "  " + time;
  return *directionName(frame.direction) ? text + "  " + directionName(frame.direction) : text;
}

static std::string leadOf(const velnor3gpp_CaptureFrame& frame, const std::string& time)
{
  std::string text = "\"frame\":" + std::to_string(frame.frame) + ",";
  return time.empty() ? text : text + "\"time\":\"" + time + "\",";
}

Message messageOf(const velnor3gpp_CaptureFrame& frame)
{
  Message message;
  message.octets.assign(frame.octets, frame.octets + frame.count);
  message.direction = frame.direction;
  message.channel = frame.channel;
  if (frame.type) message.type = factsOf(frame.type).name;
  message.connection = &frame.connection;
  return message;
}

static void takeFrame(const Taker& taker, const std::string& name, const velnor3gpp_CaptureFrame& frame)
{
  if (frame.reason != VELNOR3GPP_CAPTURE_MESSAGE) return;
  Message message = messageOf(frame);
  std::string time = timeText(frame);
  message.place = placeOf(name, frame, time);
  message.lead = leadOf(frame, time);
  taker.message(message);
}

bool takeCapture(const Taker& taker, const std::string& name, int descriptor, std::string_view first)
{
  const uint8_t* octets = reinterpret_cast<const uint8_t*>(first.data());
  if (!velnor3gpp_isCapture(octets, first.size())) return false;
  static const LinkNames kNone;
  auto ended = [&](const velnor3gpp_CaptureCounts& counts) {
    if (taker.ended) return taker.ended(counts);
    if (counts.frames != counts.reasons[VELNOR3GPP_CAPTURE_MESSAGE]) complain(name + ": " + countsText(counts));
  };
  auto take = [&](const velnor3gpp_CaptureFrame& frame) {
    if (taker.frame) return taker.frame(frame);
    takeFrame(taker, name, frame);
  };
  readCapture({name, descriptor, {octets, octets + first.size()}}, taker.links ? *taker.links : kNone, take, ended);
  return true;
}
