// Charging files and captures walked as a user does it: all headers and contents as text, from memory, from a file
// stream or from a stream that trickles.
#pragma once

#include <cstdio>
#include <cstring>

#include "tests/bench.h"
#include "tests/printed.h"
#include "tests/trickle.h"
#include "velnor3gpp/rt3GPPTS32297.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxPcapFile.h"
#include "velnor3gpp/rtxPrintToStream.h"
#include "velnor3gpp/rtxStreamFile.h"

struct Walk {
  int status = 0;
  std::string text = {};
};

// A file header that frees its strings, and held something before.
struct FileHdr : TS32297FileHdr {
  FileHdr() { memset(static_cast<TS32297FileHdr*>(this), 0xA5, sizeof(TS32297FileHdr)); }
  FileHdr(const FileHdr&) = delete;
  int read(RtxContext* pctxt)
  {
    int status = rtDecTS32297FileHdr(pctxt, this);
    return status >= 0 && headerLength > uint32_t(status)
               ? rtxReadBytes(pctxt, nullptr, headerLength - uint32_t(status))
               : status;
  }
  ~FileHdr()
  {
    free(cdrRoutingFilter.data);
    free(privateExtension.data);
  }
};

inline int walkRecord(RtxContext* pctxt)
{
  TS32297Hdr header;
  int status = rtDecTS32297Hdr(pctxt, &header);
  if (status < 0) return status;
  rtPrtToStrmTS32297Hdr(pctxt, &header);
  Octets record(header.cdrLength + size_t{1});
  status = rtxReadBytes(pctxt, record.data(), header.cdrLength);
  if (status >= 0) rtxPrintToStreamHexStr(pctxt, "CDR", header.cdrLength, record.data());
  return status;
}

inline Walk walkCharging(RtxContext* pctxt)
{
  Walk walk;
  FileHdr file;
  rtxSetPrintStream(pctxt, appendPrinted, &walk.text);
  walk.status = file.read(pctxt);
  if (walk.status >= 0) rtPrtToStrmTS32297FileHdr(pctxt, &file);
  for (uint32_t i = 0; walk.status >= 0 && i < file.cdrCount; ++i) walk.status = walkRecord(pctxt);
  return walk;
}

inline int walkEther(RtxContext* pctxt, std::string& text)
{
  RtxEtherHdr header;
  int status = rtxDecEtherHdr(pctxt, &header, 0);
  char type[8];
  snprintf(type, sizeof type, "%04X", header.type);
  if (status == 0)
    text += " " + hexText({header.dest, header.dest + 6}) + " " + hexText({header.src, header.src + 6}) + " " + type;
  return status;
}

inline int walkPacket(RtxContext* pctxt, uint32_t linkType, int swap, std::string& text)
{
  RtxPcapRecHdr header;
  int status = rtxDecPcapRecHdr(pctxt, &header, swap);
  if (status < 0) return status;
  char line[80];
  snprintf(line, sizeof line, "%u.%06u %u %u", header.ts_sec, header.ts_usec, header.incl_len, header.orig_len);
  text += line;
  const bool ether = linkType == 1 && header.incl_len >= 14;
  if (ether) status = walkEther(pctxt, text);
  if (status >= 0) status = rtxReadBytes(pctxt, nullptr, header.incl_len - (ether ? 14 : 0));
  if (status >= 0) text += "\n";
  return status;
}

inline Walk walkCapture(RtxContext* pctxt)
{
  Walk walk;
  RtxPcapHdr header;
  int swap = -1;
  walk.status = rtxDecPcapHdr(pctxt, &header, &swap);
  while (walk.status >= 0 && rtxPeekByte(pctxt, nullptr) > 0)
    walk.status = walkPacket(pctxt, header.network, swap, walk.text);
  return walk;
}

using Walker = Walk(RtxContext*);

inline Walk fromMemory(Walker* walk, const Octets& octets)
{
  Bench bench(octets);
  return walk(&bench);
}

inline Walk fromTrickle(Walker* walk, const Octets& octets, size_t step)
{
  Trickle trickle{octets, step};
  Bench bench;
  const int status = trickle.open(&bench);
  return status < 0 ? Walk{status} : walk(&bench);
}

inline Walk fromFile(Walker* walk, const Octets& octets)
{
  FILE* file = std::tmpfile();
  if (!octets.empty()) fwrite(octets.data(), 1, octets.size(), file);
  rewind(file);
  Bench bench;
  const int status = rtxStreamFileAttach(&bench, file, RTX_STREAM_READ);
  Walk result = status < 0 ? Walk{status} : walk(&bench);
  rtxStreamClose(&bench);
  fclose(file);
  return result;
}
