// The file kind of stream, over a C file. A reader works through the context's buffer, so that a field of a few bits
// does not cost a call of fread; a writer gathers there too. A file that rtxStreamFileOpen has opened is closed with
// the stream, one that was attached stays the caller's. With RTX_STREAM_HEX the file is hexadecimal text.
#include "velnor3gpp/rtxStreamFile.h"

#include <algorithm>
#include <cstdio>
#include <sys/types.h>

#include "rtxsrc/errors/rtxReport.h"
#include "rtxsrc/streams/rtxStreamInternal.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"

static const char* const kModule = "rtxStreamFile";

/** What a file stream needs beyond the common record. */
struct FileStream {
  RtxContext* pctxt;
  FILE* file;
  uint8_t attached; /**< 1 if the caller opened the file and will close it. */
  int64_t markPos;  /**< Offset of the mark in the file. */
  int64_t startPos; /**< Offset at which the stream began. */
};

static FileStream* fileOf(RtxStream* pStream)
{
  return static_cast<FileStream*>(pStream->extra);
}

// Two digits and an ending zero.
int rtxByteToHexChar(uint8_t byte, char* buf, size_t bufsize)
{
  static const char kDigits[] = "0123456789ABCDEF";
  if (buf == nullptr || bufsize < 3) return RTX_E_BAD_PARAMETER;
  buf[0] = kDigits[byte >> 4];
  buf[1] = kDigits[byte & 0x0F];
  buf[2] = '\0';
  return 0;
}

int rtxFileOpen(FILE** pFile, const char* filename, const char* mode)
{
  if (pFile == nullptr || filename == nullptr || mode == nullptr) return RTX_E_BAD_PARAMETER;
  *pFile = std::fopen(filename, mode);
  return *pFile != nullptr ? 0 : RTX_E_FILE_OPEN;
}

// A character, or EOF, which is -1 as rtxReadHexText wants it.
static int nextOfFile(void* file)
{
  return std::fgetc(static_cast<FILE*>(file));
}

// A failed read that has brought octets before is told at the next call, which brings none.
static int64_t fileRead(RtxStream* pStream, uint8_t* pbuf, size_t size)
{
  FileStream* stream = fileOf(pStream);
  bool hex = (pStream->flags & RTX_STREAM_HEX) != 0;
  int64_t got = hex ? rtxReadHexText(stream->pctxt, nextOfFile, stream->file, pbuf, size)
                    : static_cast<int64_t>(std::fread(pbuf, 1, size, stream->file));
  if (got == 0 && size > 0 && std::ferror(stream->file) != 0) {
    return rtxReport(stream->pctxt, RTX_E_READ, kModule, __LINE__);
  }
  return got;
}

static bool writeHex(FILE* file, const uint8_t* data, size_t count)
{
  for (size_t i = 0; i < count; ++i) {
    char text[3];
    rtxByteToHexChar(data[i], text, sizeof text);
    if (std::fputs(text, file) == EOF) return false;
  }
  return true;
}

// All octets or a failure; hexadecimal text has no white space.
static int fileWrite(RtxStream* pStream, const uint8_t* data, size_t count)
{
  FileStream* stream = fileOf(pStream);
  if (count == 0) return 0;
  if (data == nullptr) return rtxReport(stream->pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  bool hex = (pStream->flags & RTX_STREAM_HEX) != 0;
  bool written = hex ? writeHex(stream->file, data, count) : std::fwrite(data, 1, count, stream->file) == count;
  return written ? 0 : rtxReport(stream->pctxt, RTX_E_WRITE, kModule, __LINE__);
}

// Hands on what the C library holds back.
static int fileFlush(RtxStream* pStream)
{
  FileStream* stream = fileOf(pStream);
  if (std::fflush(stream->file) == 0) return 0;
  return rtxReport(stream->pctxt, RTX_E_WRITE, kModule, __LINE__);
}

// Reads over the octets, since a seek would go past the end of the file without a word. Pipes cannot seek either.
static int fileSkip(RtxStream* pStream, size_t count)
{
  uint8_t scratch[256];
  while (count > 0) {
    int64_t got = fileRead(pStream, scratch, std::min(count, sizeof scratch));
    if (got < 0) return static_cast<int>(got);
    if (got == 0) return rtxReport(fileOf(pStream)->pctxt, RTX_E_END_OF_BUFFER, kModule, __LINE__);
    count -= static_cast<size_t>(got);
  }
  return 0;
}

// Octets read from the file that still stand in the context's buffer.
static size_t unreadOctets(const RtxStream* pStream, const RtxBuffer* buffer)
{
  bool reader = (pStream->flags & RTX_STREAM_READ) != 0 && (pStream->flags & RTX_STREAM_CTXTBUF) != 0;
  return reader && buffer->byteIndex < buffer->size ? buffer->size - buffer->byteIndex : 0;
}

// The position of the cursor: the file stands behind what the buffer has read ahead. In hexadecimal text it is a
// position in the text, less a number of octets; fileReset does not use it there.
static int tell(RtxStream* pStream, int64_t* pPos)
{
  FileStream* stream = fileOf(pStream);
  off_t offset = ftello(stream->file);
  if (offset < 0) return rtxReport(stream->pctxt, RTX_E_READ, kModule, __LINE__);
  *pPos = static_cast<int64_t>(offset) - static_cast<int64_t>(unreadOctets(pStream, &stream->pctxt->buffer));
  return 0;
}

// The mark is the cursor's position in the file, and the octets processed up to there.
static int fileMark(RtxStream* pStream, size_t limit)
{
  FileStream* stream = fileOf(pStream);
  int status = tell(pStream, &stream->markPos);
  if (status < 0) return status;
  bool buffered = (pStream->flags & RTX_STREAM_CTXTBUF) != 0;
  pStream->readAheadLimit = limit;
  pStream->markedBytesProcessed = pStream->bytesProcessed + (buffered ? stream->pctxt->buffer.byteIndex : 0);
  return 0;
}

// Octets by a seek to the mark, hexadecimal text from the start of the stream.
static int fileReset(RtxStream* pStream)
{
  FileStream* stream = fileOf(pStream);
  // In text the octets read ahead have no fixed length, so the way to the mark is counted from the start.
  bool hex = (pStream->flags & RTX_STREAM_HEX) != 0;
  int64_t target = hex ? stream->startPos : stream->markPos;
  if (fseeko(stream->file, static_cast<off_t>(target), SEEK_SET) != 0) {
    return rtxReport(stream->pctxt, RTX_E_READ, kModule, __LINE__);
  }
  int status = hex ? fileSkip(pStream, pStream->markedBytesProcessed) : 0;
  if (status < 0) return status;
  pStream->bytesProcessed = pStream->markedBytesProcessed;
  pStream->readAheadLimit = RTX_STREAM_READ_AHEAD_MAX;
  pStream->flags |= RTX_STREAM_AT_MARK;
  return 0;
}

static int fileGetPos(RtxStream* pStream, size_t* pPos)
{
  int64_t pos = 0;
  int status = tell(pStream, &pos);
  if (status == 0) *pPos = static_cast<size_t>(pos);
  return status;
}

// A write that the C library had held back can fail as late as here.
static int fileClose(RtxStream* pStream)
{
  FileStream* stream = fileOf(pStream);
  RtxContext* pctxt = stream->pctxt;
  bool closed = stream->attached || std::fclose(stream->file) == 0;
  rtxMemHeapSysFreePtr(&pctxt->pMemHeap, stream);
  pStream->extra = nullptr;
  return closed ? 0 : rtxReport(pctxt, RTX_E_WRITE, kModule, __LINE__);
}

// Binds a file that the caller has opened; the position it has now is the start of the stream.
static int bindFile(RtxContext* pctxt, FILE* file, uint16_t flags)
{
  int status = rtxStreamInitKind(pctxt, sizeof(FileStream));
  if (status < 0) return status;
  RtxStream* pStream = pctxt->pStream;
  FileStream* stream = fileOf(pStream);
  stream->pctxt = pctxt;
  stream->file = file;
  // rtxStreamFileOpen clears it once all has succeeded, and until then closes the file itself.
  stream->attached = 1;
  stream->startPos = static_cast<int64_t>(ftello(file));
  pStream->read = fileRead;
  pStream->write = fileWrite;
  pStream->flush = fileFlush;
  pStream->close = fileClose;
  pStream->skip = fileSkip;
  pStream->mark = fileMark;
  pStream->reset = fileReset;
  pStream->getPos = fileGetPos;
  pStream->id = RTX_STREAM_ID_FILE;
  pStream->flags = static_cast<uint16_t>(flags | RTX_STREAM_AT_MARK);
  return 0;
}

int rtxStreamFileAttach(RtxContext* pctxt, FILE* file, uint16_t flags)
{
  if (file == nullptr || (flags & (RTX_STREAM_READ | RTX_STREAM_WRITE)) == 0) {
    return rtxReport(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  }
  int status = bindFile(pctxt, file, flags);
  if (status < 0) return status;
  // A buffer that the caller has bound stays.
  if (pctxt->buffer.data != nullptr) return 0;
  status = rtxStreamInitCtxtBuf(pctxt);
  if (status == 0) return 0;
  rtxStreamClose(pctxt);
  return rtxReport(pctxt, status, kModule, __LINE__);
}

// Opens for one direction: a file that is written begins empty.
int rtxStreamFileOpen(RtxContext* pctxt, const char* filename, uint16_t flags)
{
  if ((flags & (RTX_STREAM_READ | RTX_STREAM_WRITE)) == 0) {
    return rtxReport(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  }
  FILE* file = nullptr;
  int status = rtxFileOpen(&file, filename, (flags & RTX_STREAM_WRITE) != 0 ? "wb" : "rb");
  if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  // What stands in the buffer has nothing to do with the file. An older stream's buffer goes when that is closed.
  if (pctxt->pStream == nullptr) rtxStreamReplaceBuffer(pctxt);
  status = rtxStreamFileAttach(pctxt, file, flags);
  if (status < 0) {
    std::fclose(file);
    return rtxReport(pctxt, status, kModule, __LINE__);
  }
  fileOf(pctxt->pStream)->attached = 0;
  return 0;
}

int rtxStreamFileCreateReader(RtxContext* pctxt, const char* filename)
{
  return rtxStreamFileOpen(pctxt, filename, RTX_STREAM_READ);
}

int rtxStreamFileCreateWriter(RtxContext* pctxt, const char* filename)
{
  return rtxStreamFileOpen(pctxt, filename, RTX_STREAM_WRITE);
}
