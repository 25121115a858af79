// A session for tests, and what it says as text.
#pragma once

#include <memory>

#include "tests/messages.h"
#include "velnor3gpp/velnor3gpp.h"

// The interface's name for a type of the table; both stand in the same order.
inline const velnor3gpp_Type* typeOf(const L3TypeEntry* entry)
{
  return velnor3gpp_typeAt(size_t(entry - l3TypeTable));
}

struct TestSession {
  velnor3gpp_Session* session = nullptr;
  TestSession() { velnor3gpp_open(&session); }
  TestSession(const TestSession&) = delete;
  ~TestSession() { velnor3gpp_close(session); }
  operator velnor3gpp_Session*() const { return session; }

  int decode(const L3TypeEntry* entry, const Octets& octets,
             velnor3gpp_Direction direction = VELNOR3GPP_DIRECTION_UNKNOWN)
  {
    return velnor3gpp_decode(session, entry ? typeOf(entry) : nullptr, direction, octets.data(), octets.size());
  }
  velnor3gpp_Result result()
  {
    auto result = sized<velnor3gpp_Result>();
    velnor3gpp_result(session, &result);
    return result;
  }
  // "-6 $.record.sst is missing; ...", a line for each.
  std::string findings()
  {
    std::string lines;
    auto finding = sized<velnor3gpp_Finding>();
    for (size_t i = 0; velnor3gpp_finding(session, i, &finding) == 0; ++i)
      lines += std::to_string(finding.status) + " " + finding.path + ": " + finding.text + "\n";
    return lines;
  }
  // The octets, or the findings.
  std::string encoded()
  {
    const uint8_t* octets = nullptr;
    size_t count = 0;
    int status = velnor3gpp_encode(session, &octets, &count);
    return status < 0 ? findings() : hexText(Octets(octets, octets + count));
  }
};
