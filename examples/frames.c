/* The messages of a capture on the standard input (pcap or pcapng) as lines of JSON, and how many frames held none. */
#include <stdio.h>
#include <velnor3gpp/velnor3gppCapture.h>
#include <velnor3gpp/velnor3gppJson.h>

static long readInput(void* arg, uint8_t* octets, size_t room)
{
  FILE* file = arg;
  size_t count = fread(octets, 1, room, file);
  return count == 0 && ferror(file) ? -1 : (long)count;
}

static int writeMessages(velnor3gpp_CaptureReader* reader, velnor3gpp_Session* session)
{
  const char* text;
  size_t count;
  int status;
  velnor3gpp_CaptureFrame frame;
  frame.size = sizeof frame;
  while ((status = velnor3gpp_captureNext(reader, &frame)) == VELNOR3GPP_CAPTURE_FRAME) {
    if (frame.reason != VELNOR3GPP_CAPTURE_MESSAGE) continue;
    velnor3gpp_decodeFrame(session, &frame);
    if (velnor3gpp_toJson(session, 0, &text, &count) == 0) printf("%s\n", text);
  }
  return status;
}

int main(void)
{
  velnor3gpp_CaptureReader* reader = NULL;
  velnor3gpp_Session* session = NULL;
  velnor3gpp_CaptureCounts counts;
  counts.size = sizeof counts;
  int status = velnor3gpp_captureOpen(&reader, readInput, stdin);
  if (status >= 0) status = velnor3gpp_open(&session);
  if (status >= 0) status = writeMessages(reader, session);
  if (status < 0) fprintf(stderr, "the capture ends with status %d\n", status);
  if (velnor3gpp_captureCounts(reader, &counts) == 0)
    printf("%lu frames, %lu messages\n", (unsigned long)counts.frames,
           (unsigned long)counts.reasons[VELNOR3GPP_CAPTURE_MESSAGE]);
  velnor3gpp_close(session);
  velnor3gpp_captureClose(reader);
  return status < 0;
}
