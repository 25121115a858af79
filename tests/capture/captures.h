// Captures made by hand, from the message outwards, and read as text: what each frame is, and how the reading ended.
#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tests/fileText.h"
#include "tests/messages.h"
#include "velnor3gpp/velnor3gppCapture.h"

namespace captures {

inline void put(Octets& to, uint64_t value, unsigned octets, bool little = false)
{
  for (unsigned i = 0; i < octets; ++i) to.push_back(uint8_t(value >> 8 * (little ? i : octets - 1 - i)));
}

inline Octets operator+(Octets a, const Octets& b)
{
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

inline Octets hex(const std::string& text)
{
  return octetsOfRuns(text);
}

// GSMTAP: version 2, the older layout of version 3 (with four octets more) and the newer one (with one tag).
inline Octets gsmtap(unsigned type, unsigned subType, unsigned channel, const Octets& message, unsigned words = 4)
{
  Octets head = {uint8_t(words == 4 ? 2 : 3), uint8_t(words), uint8_t(type), 2};
  put(head, channel, 2);
  put(head, 0, 6);
  put(head, subType, 1);
  head.resize(words * 4);
  return head + message;
}

inline Octets gsmtap3(unsigned type, unsigned subType, const Octets& message)
{
  Octets head = {3, 0, 0, 4};
  put(head, type, 2);
  put(head, subType, 2);
  return head + hex("0008 0004 00000001") + message;
}

inline Octets udp(const Octets& data, unsigned port = 4729)
{
  Octets head;
  for (size_t value : {size_t{40000}, size_t{port}, data.size() + 8, size_t{0}}) put(head, value, 2);
  return head + data;
}

inline Octets ipv4(const Octets& data, unsigned fragment = 0, unsigned protocol = 17)
{
  Octets head = {0x45, 0};
  put(head, data.size() + 20, 2);
  put(head, 1, 2);
  put(head, fragment, 2);
  head = head + Octets{64, uint8_t(protocol), 0, 0, 192, 0, 2, 1, 192, 0, 2, 7};
  return head + data;
}

inline Octets ipv6(const Octets& data, const Octets& extensions = {}, unsigned next = 17)
{
  Octets head = {0x60, 0, 0, 0};
  put(head, data.size() + extensions.size(), 2);
  head = head + Octets{uint8_t(next), 64} + hex("20010DB8 00*11 01 20010DB8 00*11 07");
  return head + extensions + data;
}

inline Octets ethernet(const Octets& packet, const std::string& type = "0800")
{
  return hex("020000000001 020000000002") + hex(type) + packet;
}

// What an upper PDU begins with; the direction as the tag has it, or none.
inline Octets upperPdu(const std::string& name, const Octets& message, int direction = -1)
{
  Octets head = hex("000C"), padded(name.begin(), name.end());
  padded.resize((name.size() + 4) / 4 * 4);
  put(head, padded.size(), 2);
  head = head + padded;
  if (direction >= 0) head = head + hex("0023 0004 000000") + Octets{uint8_t(direction)};
  return head + hex("00*4") + message;
}

struct Frame {
  uint32_t linkType;
  Octets octets;
  uint32_t lost = 0; // octets of it that were not kept
};

struct Form {
  bool little, nanoseconds;
};

inline Octets pcap(const std::vector<Frame>& frames, Form form = {true, false})
{
  Octets file;
  const bool little = form.little;
  put(file, form.nanoseconds ? 0xA1B23C4D : 0xA1B2C3D4, 4, little);
  put(file, 2, 2, little);
  put(file, 4, 2, little);
  put(file, 0, 8, little);
  put(file, 0x40000, 4, little);
  put(file, frames.empty() ? 1 : frames[0].linkType, 4, little);
  for (size_t i = 0; i < frames.size(); ++i) {
    put(file, 1700000000 + i, 4, little);
    put(file, form.nanoseconds ? 5000 : 5, 4, little);
    put(file, frames[i].octets.size(), 4, little);
    put(file, frames[i].octets.size() + frames[i].lost, 4, little);
    file = file + frames[i].octets;
  }
  return file;
}

inline void putBlock(Octets& file, uint32_t type, Octets body, bool little)
{
  body.resize((body.size() + 3) / 4 * 4);
  put(file, type, 4, little);
  put(file, body.size() + 12, 4, little);
  file = file + body;
  put(file, body.size() + 12, 4, little);
}

inline void putSection(Octets& file, bool little)
{
  Octets body;
  put(body, 0x1A2B3C4D, 4, little);
  put(body, 1, 2, little);
  put(body, 0, 2, little);
  put(body, ~uint64_t{0}, 8, little);
  putBlock(file, 0x0A0D0D0A, body, little);
}

inline void putOption(Octets& body, unsigned code, Octets value, bool little)
{
  put(body, code, 2, little);
  put(body, value.size(), 2, little);
  value.resize((value.size() + 3) / 4 * 4);
  body = body + value;
}

inline void putInterface(Octets& file, uint32_t linkType, unsigned resolution, bool little, int64_t offset = 0)
{
  Octets body, shift;
  put(body, linkType, 2, little);
  put(body, 0, 2, little);
  put(body, 0, 4, little);
  put(body, 9, 2, little);
  put(body, 1, 2, little);
  put(body, resolution, 1);
  body.resize(16);
  put(shift, uint64_t(offset), 8, little);
  if (offset) putOption(body, 14, shift, little);
  putBlock(file, 1, body, little);
}

// With the packet's flags and a comment.
inline void putPacket(Octets& file, uint32_t interface, uint64_t ticks, const Frame& frame, bool little,
                      unsigned flags = 0)
{
  Octets body, flagged;
  put(body, interface, 4, little);
  put(body, ticks >> 32, 4, little);
  put(body, ticks & UINT32_MAX, 4, little);
  put(body, frame.octets.size(), 4, little);
  put(body, frame.octets.size() + frame.lost, 4, little);
  body = body + frame.octets;
  body.resize((body.size() + 3) / 4 * 4);
  putOption(body, 1, Octets{'h', 'e', 'l', 'l', 'o'}, little);
  put(flagged, flags, 4, little);
  if (flags) putOption(body, 2, flagged, little);
  put(body, 0, 4);
  putBlock(file, 6, body, little);
}

// Each frame on an interface of its own, the second section in the other byte order; a block that nobody knows between.
inline Octets pcapng(const std::vector<Frame>& frames, bool little = true)
{
  Octets file;
  for (bool order : {little, !little}) {
    putSection(file, order);
    for (const Frame& frame : frames) putInterface(file, frame.linkType, 6, order);
    putBlock(file, 0x0BAD, hex("01020304"), order);
    for (size_t i = 0; i < frames.size(); ++i)
      putPacket(file, uint32_t(i), (1700000000 + i) * 1000000 + 5, frames[i], order, 2);
  }
  return file;
}

// How the octets come: so many at a time, from a function or fed. 0: all at once.
struct Way {
  size_t step;
  bool fed;
};

struct Source {
  const Octets& octets;
  size_t step, at = 0;

  static long read(void* arg, uint8_t* octets, size_t room)
  {
    Source& source = *static_cast<Source*>(arg);
    size_t left = source.octets.size() - source.at, count = std::min({left, room, source.step ? source.step : left});
    std::copy_n(source.octets.begin() + long(source.at), count, octets);
    source.at += count;
    return long(count);
  }
};

inline std::string addressText(const uint8_t* address, size_t size)
{
  return hexText(Octets(address, address + size));
}

inline std::string textOf(const velnor3gpp_CaptureFrame& frame)
{
  char line[200];
  auto facts = sized<velnor3gpp_TypeFacts>();
  if (frame.type) velnor3gpp_typeFacts(frame.type, &facts);
  char time[40] = "timeless";
  if (frame.hasTime)
    snprintf(time, sizeof time, "%llu.%09llu", (unsigned long long)frame.time / 1000000000,
             (unsigned long long)frame.time % 1000000000);
  snprintf(line, sizeof line, "%llu %s %s", (unsigned long long)frame.frame, time,
           frame.direction == VELNOR3GPP_UP     ? "up"
           : frame.direction == VELNOR3GPP_DOWN ? "down"
                                                : "-");
  std::string text = line;
  if (frame.reason != VELNOR3GPP_CAPTURE_MESSAGE) return text + ": " + velnor3gpp_captureReasonText(frame.reason);
  text += std::string(" ") + frame.dissector + " " + (facts.name ? facts.name : "-") + " " +
          hexText(Octets(frame.octets, frame.octets + frame.count));
  if (frame.connection.has & VELNOR3GPP_CAPTURE_HAS_ADDRESSES)
    text += " from " + addressText(frame.connection.source, frame.connection.addressSize);
  if (frame.connection.has & VELNOR3GPP_CAPTURE_HAS_RADIO)
    text += " arfcn " + std::to_string(frame.connection.arfcn) + "/" + std::to_string(frame.connection.timeslot);
  for (size_t i = 0; i < frame.commentCount; ++i)
    text += " \"" + std::string(frame.comments[i].text, frame.comments[i].count) + "\"";
  return text;
}

struct Reading {
  int status = 0;
  std::vector<std::string> lines = {};
  velnor3gpp_CaptureCounts counts = sized<velnor3gpp_CaptureCounts>();
};

struct Reader {
  velnor3gpp_CaptureReader* reader = nullptr;
  Reader(velnor3gpp_CaptureReadFunc read, void* arg) { velnor3gpp_captureOpen(&reader, read, arg); }
  Reader(const Reader&) = delete;
  ~Reader() { velnor3gpp_captureClose(reader); }
  operator velnor3gpp_CaptureReader*() const { return reader; }
};

inline Reading read(const Octets& file, Way way = {0, false}, const char* userType = nullptr)
{
  Source source = {file, way.step};
  Reader reader(way.fed ? nullptr : Source::read, &source);
  if (userType) velnor3gpp_captureMap(reader, 147, userType);
  Reading reading;
  auto frame = sized<velnor3gpp_CaptureFrame>();
  Octets piece;
  for (;;) {
    reading.status = velnor3gpp_captureNext(reader, &frame);
    if (reading.status == VELNOR3GPP_CAPTURE_FRAME)
      reading.lines.push_back(textOf(frame));
    else if (reading.status == VELNOR3GPP_CAPTURE_MORE) {
      piece.resize(file.size());
      piece.resize(size_t(Source::read(&source, piece.data(), piece.size())));
      velnor3gpp_captureFeed(reader, piece.data(), piece.size());
    } else
      break;
  }
  velnor3gpp_captureCounts(reader, &reading.counts);
  return reading;
}

} // namespace captures
