// Captures that the program writes.
#ifndef VELNOR3GPP_PROGRAM_CAPTURE_OUTPUT_H
#define VELNOR3GPP_PROGRAM_CAPTURE_OUTPUT_H

#include <exception>
#include <optional>
#include <string>

#include "output.h"
#include "velnor3gpp/velnor3gpp.h"
#include "velnor3gpp/velnor3gppCapture.h"

// Is the file named as captures are: .pcapng, .pcap or .cap?
bool isCaptureName(const std::string& name);

// A frame with the octets of the session's last message, under the dissector of its form and without a time. Throws
// UsageError where no dissector reads the form.
velnor3gpp_CaptureFrame frameOf(velnor3gpp_Session* session, const uint8_t* octets, size_t count);

// A capture under a name, "-" for an output that is open: pcap if the name ends in .pcap or .cap, else pcapng. Nothing
// is made before it is begun, so that a mistake leaves no file behind.
class CaptureOutput {
public:
  CaptureOutput(Output& standardOutput, std::string fileName) : out(standardOutput), name(std::move(fileName)) {}
  CaptureOutput(const CaptureOutput&) = delete;
  CaptureOutput& operator=(const CaptureOutput&) = delete;
  ~CaptureOutput() { velnor3gpp_captureFinish(writer); }

  // Begins the capture, if that was not done. Throws OutputError.
  void begin();
  // Returns 0, or the status of a message that no frame can hold; begins by itself. Throws OutputError.
  int write(const velnor3gpp_CaptureFrame& frame);
  // Hands on what was written. Throws OutputError.
  void flush();
  // Finishes what was begun.
  void finish();

private:
  Output& out;
  std::string name;
  std::optional<Output> file; // if it is one
  velnor3gpp_CaptureWriter* writer = nullptr;
  std::exception_ptr fault; // exceptions may not cross the library, so they wait here

  Output& target() { return file ? *file : out; }
  void check(int status);
  static int take(void* arg, const uint8_t* octets, size_t count);
};

#endif
