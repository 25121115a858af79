// Captures as the program meets them: files and standard input, link types of the user's, and texts for what a frame
// is.
#ifndef VELNOR3GPP_PROGRAM_CAPTURE_FILE_H
#define VELNOR3GPP_PROGRAM_CAPTURE_FILE_H

#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "velnor3gpp/velnor3gppCapture.h"

class Command;

// Which dissectors the user's link types belong to, as --dlt says.
struct LinkNames {
  std::vector<std::string> given; // "147=nas-5gs"
};

// Adds --dlt N=NAME, any number of times.
void addLinkOption(Command& command, LinkNames& names);

// Does the file, which can be read twice, begin as a capture?
bool isCaptureFile(const std::string& name);

// Octets of a capture: those that were read before, then what a descriptor gives.
struct CaptureInput {
  std::string name;
  int descriptor;
  std::vector<uint8_t> first = {};
  std::exception_ptr fault = {}; // exceptions may not cross the library, so they wait here
};

// Hands every frame of a capture to `take`, in order. Returns the counts. Throws InputError if it cannot be read, and
// DamageError behind the last whole frame of a damaged one, after `ended` was called.
velnor3gpp_CaptureCounts readCapture(CaptureInput input, const LinkNames& names,
                                     const std::function<void(const velnor3gpp_CaptureFrame&)>& take,
                                     const std::function<void(const velnor3gpp_CaptureCounts&)>& ended = {});

// "2023-11-14T22:13:20.000005000Z", or "" if the capture tells no time.
std::string timeText(const velnor3gpp_CaptureFrame& frame);
// Reads such a text, with any number of digits behind the seconds up to nine, into the frame. It then has that time.
// False for any other text.
bool readTime(const std::string& text, velnor3gpp_CaptureFrame& frame);
// "12 frames: 9 messages, 2 another protocol, 1 a fill frame".
std::string countsText(const velnor3gpp_CaptureCounts& counts);

#endif
