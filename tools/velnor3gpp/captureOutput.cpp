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

// Radio channels have forms of one direction, by which a reader finds them.
static velnor3gpp_Direction directionOf(const velnor3gpp_Result& result)
{
  if (result.direction) return result.direction;
  if (isForm(result.type, "TS44018Msg_DL_DCCH_PDU")) return VELNOR3GPP_DOWN;
  bool up = isForm(result.type, "TS44018Msg_UL_DCCH_PDU") || isForm(result.type, "TS44018Msg_UL_SACCH_PDU");
  return up ? VELNOR3GPP_UP : VELNOR3GPP_DIRECTION_UNKNOWN;
}

velnor3gpp_CaptureFrame frameOf(velnor3gpp_Session* session, const uint8_t* octets, size_t count)
{
  velnor3gpp_Result result = resultOf(session);
  const velnor3gpp_Type* type = result.type;
  const char* dissector = type ? velnor3gpp_captureDissector(type, octets, count) : nullptr;
  if (isForm(type, "TS24007L3_SecProtMsgHeader") || isForm(type, "TS24501Msg_NAS5GSecProtMsgHdr")) {
    // Of a ciphered message: its octets tell the form.
    std::vector<const velnor3gpp_Type*> forms = formsOf({octets, octets + count}, result.direction, {});
    if (!forms.empty()) dissector = velnor3gpp_captureDissector(type = forms[0], octets, count);
  }
  velnor3gpp_CaptureFrame frame = {};
  frame.size = sizeof frame;
  frame.type = type;
  frame.direction = directionOf(result);
  frame.dissector = dissector;
  frame.octets = octets;
  frame.count = count;
  if (!frame.dissector)
    throw UsageError(std::string("no dissector reads ") + (result.type ? factsOf(result.type).name : "the octets"));
  return frame;
}

void CaptureOutput::begin()
{
  if (writer) return;
  if (name != "-") file.emplace(name);
  check(velnor3gpp_captureCreate(&writer, isPcapName(name) ? VELNOR3GPP_CAPTURE_PCAP : VELNOR3GPP_CAPTURE_PCAPNG, take,
                                 this));
}

int CaptureOutput::write(const velnor3gpp_CaptureFrame& frame)
{
  begin();
  int status = velnor3gpp_captureWrite(writer, &frame);
  if (status == RTX_E_WRITE) check(status);
  return status;
}

void CaptureOutput::flush()
{
  if (!writer) return;
  check(velnor3gpp_captureFlush(writer));
  target().flush();
}

void CaptureOutput::finish()
{
  if (!writer) return;
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
