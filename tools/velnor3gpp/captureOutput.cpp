#include "captureOutput.h"

#include <filesystem>

#include "forms.h"
#include "frame.h"
#include "names.h"
#include "session.h"

static std::string endingOf(const std::string& name)
{
  return lower(std::filesystem::path(name).extension().string());
}

static bool isPcapName(const std::string& name)
{
  return endingOf(name) == ".pcap" || endingOf(name) == ".cap";
}

bool isCaptureName(const std::string& name)
{
  return isPcapName(name) || endingOf(name) == ".pcapng";
}

velnor3gpp_CaptureFrame frameOf(velnor3gpp_Session* session, const uint8_t* octets, size_t count)
{
  velnor3gpp_Result result = resultOf(session);
  if (result.headerOnly) { // of a ciphered message: its octets tell the form
    std::vector<const velnor3gpp_Type*> forms = formsOf({octets, octets + count}, result.direction, {});
    if (!forms.empty()) result.type = forms[0];
  }
  velnor3gpp_CaptureFrame frame = {};
  frame.size = sizeof frame;
  frame.type = result.type;
  frame.direction = result.direction;
  frame.dissector = result.type ? velnor3gpp_captureDissector(result.type, octets, count) : nullptr;
  frame.octets = octets;
  frame.count = count;
  if (!frame.dissector)
    throw UsageError(std::string("no dissector reads ") + (result.type ? factsOf(result.type).name : "the octets"));
  return frame;
}

void CaptureOutput::open()
{
  if (writer) return;
  if (name != "-") file.emplace(name);
  check(velnor3gpp_captureCreate(&writer, isPcapName(name) ? VELNOR3GPP_CAPTURE_PCAP : VELNOR3GPP_CAPTURE_PCAPNG, take,
                                 this));
}

int CaptureOutput::write(const velnor3gpp_CaptureFrame& frame)
{
  open();
  int status = velnor3gpp_captureWrite(writer, &frame);
  if (status == RTX_E_WRITE) check(status);
  return status;
}

void CaptureOutput::finish()
{
  open();
  int status = velnor3gpp_captureFinish(writer);
  writer = nullptr;
  check(status);
  target().flush();
  if (file) file->close();
}

void CaptureOutput::check(int status)
{
  if (status >= 0) return;
  if (fault) std::rethrow_exception(fault);
  checkMemory(status);
}

int CaptureOutput::take(void* arg, const uint8_t* octets, size_t count)
{
  CaptureOutput& self = *static_cast<CaptureOutput*>(arg);
  try {
    if (!self.fault) self.target().write({reinterpret_cast<const char*>(octets), count});
  } catch (...) {
    self.fault = std::current_exception();
  }
  return self.fault ? -1 : 0;
}
