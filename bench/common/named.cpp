// The works that files of limits name. Mixes are read when the first work asks for them, and stay.
#include <map>

#include "bench/common/work.h"

using Make = Work (*)(const Mix&);

static const std::map<std::string, Make> kWorks = {
    {"floor", floorWork},
    {"decode", decodeWork},
    {"encode", encodeWork},
    {"print", printWork},
    {"printCallback", printCallbackWork},
    {"trace", traceWork},
    {"fresh", freshWork},
    {"toJson", toJsonWork},
    {"fromJson", fromJsonWork},
    {"protect", protectWork},
    {"unprotect", unprotectWork},
};

static const Mix& mixOf(const std::string& name)
{
  static const std::map<std::string, Mix> mixes = [] {
    Mix mm5 = readMix("5gs", "ts24501.tsv"), eps = readMix("eps", "ts24301.tsv");
    return std::map<std::string, Mix>{
        {"5gs", mm5},
        {"eps", eps},
        {"core", readMix("core", "ts24008.tsv")},
        {"sms", readMix("sms", "ts24011.tsv")},
        {"radio", readMix("radio", "ts44018.tsv")},
        {"attachAccept", single(eps, "attachAccept", "obj_AttachAccept")},
        {"attachAcceptUnknown", withUnknown("attachAcceptUnknown", single(eps, "attachAccept", "obj_AttachAccept"))},
        {"sessionAccept", single(mm5, "sessionAccept", "obj_EstablishAccept5G")},
        {"5gsProtected", readProtected("5gsProtected", "TS24501Msg_PDU")},
        {"epsProtected", readProtected("epsProtected", "TS24301Msg_PDU")},
        {"units", made("units", manyUnits(65536))},
        {"nested", made("nested", nestedUnits(65536))},
    };
  }();
  auto found = mixes.find(name);
  if (found == mixes.end()) giveUp("no mix " + name);
  return found->second;
}

Work namedWork(const std::string& name)
{
  size_t slash = name.find('/');
  auto make = kWorks.find(slash == std::string::npos ? name : name.substr(slash + 1));
  if (make == kWorks.end()) giveUp("no work " + name);
  return make->second(mixOf(name.substr(0, slash)));
}
