// Real messages read here and by an independent dissector: the same message type, and what is found here of identities,
// areas, slices, access points, flows and timers is found there with the same values.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "tests/messages.h"
#include "tests/peer/tshark.h"

namespace {

using peer::Found;

struct Row {
  std::string id, form, note;
  Octets octets;
};

// What the printer names so, and the fields under which the dissector shows it.
struct Quantity {
  const char* name;
  std::vector<std::string> fields;
  int base; // of numbers printed here: 10, or 0 as they are written; 1: text
};

const std::vector<Quantity> kQuantities = {
    {"msgType",
     {"nas_5gs.mm.message_type", "nas_5gs.sm.message_type", "nas_eps.nas_msg_emm_type", "nas_eps.nas_msg_esm_type",
      "gsm_a.dtap.msg_sms_type"},
     0},
    {"mcc",
     {"e212.mcc", "e212.lai.mcc", "e212.rai.mcc", "e212.tai.mcc", "e212.5gstai.mcc", "e212.gummei.mcc",
      "e212.guami.mcc"},
     10},
    {"mnc",
     {"e212.mnc", "e212.lai.mnc", "e212.rai.mnc", "e212.tai.mnc", "e212.5gstai.mnc", "e212.gummei.mnc",
      "e212.guami.mnc"},
     10},
    {"tmsi", {"nas_5gs.5g_tmsi", "3gpp.tmsi"}, 0},
    {"amfRegionID", {"nas_5gs.amf_region_id"}, 0},
    {"amfSetID", {"nas_5gs.amf_set_id"}, 0},
    {"amfPointer", {"nas_5gs.amf_pointer"}, 0},
    {"mmeGroupID", {"nas_eps.emm.mme_grp_id"}, 0},
    {"mmeCode", {"nas_eps.emm.mme_code"}, 0},
    {"imsi", {"e212.imsi"}, 1},
    {"tac", {"nas_5gs.tac", "nas_eps.emm.tai_tac"}, 0},
    {"tacs", {"nas_5gs.tac", "nas_eps.emm.tai_tac"}, 0},
    {"lac", {"gsm_a.lac"}, 0},
    {"sst", {"nas_5gs.mm.sst"}, 0},
    {"sd", {"nas_5gs.mm.mm_sd"}, 0},
    {"apn", {"nas_5gs.cmn.dnn"}, 1},
    {"accessPointName", {"gsm_a.gm.sm.apn"}, 1},
    {"qci", {"nas_eps.esm.qci"}, 0},
    {"fiveQI", {"nas_5gs.sm.5qi"}, 0},
    {"qfi", {"nas_5gs.sm.qfi"}, 0},
    {"flowId", {"nas_5gs.sm.qfi"}, 0},
    {"ruleId", {"nas_5gs.sm.qos_rule_id"}, 0},
    {"sessionAmbrDL", {"nas_5gs.sm.session_ambr_dl"}, 0},
    {"sessionAmbrUL", {"nas_5gs.sm.session_ambr_ul"}, 0},
    {"apnAmbrforDL", {"nas_eps.esm.apn_ambr_dl"}, 0},
    {"protocolID", {"gsm_a.gm.sm.pco_pid"}, 0},
    {"timerValue",
     {"gsm_a.gm.gmm.gprs_timer_value", "gsm_a.gm.gmm.gprs_timer2_value", "gsm_a.gm.gmm.gprs_timer3_value"},
     0},
    {"rpMsgRef", {"gsm_a.rp.rp_message_reference"}, 0},
};

// Protected messages and plain ones of EPS have dissectors of their own.
std::string dissectorOf(const std::string& form, const Octets& octets)
{
  if (form == "TS24501Msg_PDU") return "nas-5gs";
  if (form == "TS24301Msg_PDU") return octets[0] % 16 == 2 || octets[0] < 16 ? "nas-eps_plain" : "nas-eps";
  if (form == "TS24011Msg_CP_PDU") return "gsm_a_dtap";
  return form == "TS24011Msg_RP_PDU" ? "gsm_a_rp" : "";
}

std::vector<Row> readRows()
{
  std::vector<Row> rows;
  for (const char* file : {"ts24501.tsv", "ts24301.tsv", "ts24011.tsv"}) {
    std::ifstream in(std::string(VELNOR_TEST_DATA) + "/../corpus/data/" + file);
    for (std::string line; std::getline(in, line);) {
      std::vector<std::string> cells;
      std::istringstream columns(line);
      for (std::string cell; std::getline(columns, cell, '\t');) cells.push_back(cell);
      cells.resize(8);
      if (cells[5] == "yes") rows.push_back({cells[0], cells[2], cells[7], octetsOfHex(cells[3])});
    }
  }
  return rows;
}

// Decodes with null algorithms, as far as the octets go, and prints; empty if there is no record.
std::string printOf(const Row& row)
{
  const L3TypeEntry& entry = *l3FindType(row.form.c_str());
  OutcomeContext ctxt(Setting{});
  rtx3gppAssignAlgorithmKeys(ctxt, nullptr, nullptr, 0, 0);
  Octets octets = row.octets;
  ctxt.bind(octets.data(), octets.size());
  auto record = recordStorage(*entry.type, 0);
  int status = entry.decode(ctxt, record.get());
  bool unknownKey = status == RTX_E_BAD_MAC;
  return status >= 0 || unknownKey ? printed(*entry.type, "x", record.get()) : "";
}

std::string normal(const std::string& value, int base)
{
  if (base == 1 || value.empty()) return value;
  size_t end = 0;
  auto number = std::stoull(value, &end, base);
  return end == value.size() ? std::to_string(number) : value;
}

// Everything of that name in the print, in any order.
std::vector<std::string> printedValues(const std::string& print, const Quantity& quantity)
{
  std::vector<std::string> values;
  std::istringstream lines(print);
  for (std::string line; std::getline(lines, line);) {
    size_t begin = line.find_first_not_of(' '), equals = line.find(" = ");
    if (equals == std::string::npos) continue;
    std::string name = line.substr(begin, equals - begin), value = line.substr(equals + 3);
    name = name.substr(0, name.find('['));
    std::erase(value, '\'');
    bool onWire = name != "msgType" || value != "0"; // the type of a service request is ours
    if (name == quantity.name && onWire) values.push_back(normal(value, quantity.base));
  }
  return values;
}

std::vector<std::string> shownValues(Found& found, const Quantity& quantity)
{
  std::vector<std::string> values;
  for (const std::string& field : quantity.fields)
    for (const std::string& value : found[field])
      values.push_back(normal(value, quantity.base == 1 ? 1 : value.starts_with("0x") ? 16 : 10));
  return values;
}

TEST(PeerCorpus, BothReadTheSame)
{
  if (!peer::hasTshark()) GTEST_SKIP() << "tshark is not on the PATH";
  auto rows = readRows();
  std::vector<peer::Frame> frames;
  for (const Row& row : rows)
    frames.push_back(
        {dissectorOf(row.form, row.octets), row.octets, row.form.ends_with("RP_PDU") && row.octets[0] % 2 == 0});
  std::vector<std::string> fields;
  for (const Quantity& quantity : kQuantities)
    for (const std::string& field : quantity.fields)
      if (std::find(fields.begin(), fields.end(), field) == fields.end()) fields.push_back(field);
  auto found = peer::dissect(frames, fields);
  ASSERT_EQ(found.size(), rows.size());
  size_t compared = 0;
  for (size_t i = 0; i < rows.size(); ++i) {
    std::string print = printOf(rows[i]);
    for (const Quantity& quantity : kQuantities) {
      auto shown = shownValues(found[i], quantity);
      for (const std::string& value : printedValues(print, quantity)) {
        auto place = std::find(shown.begin(), shown.end(), value);
        EXPECT_NE(place, shown.end()) << rows[i].id << " " << quantity.name << " = " << value
                                      << " note: " << rows[i].note;
        if (place != shown.end()) shown.erase(place);
        ++compared;
      }
    }
  }
  EXPECT_GT(compared, rows.size());
  std::cout << rows.size() << " messages, " << compared << " values\n";
}

} // namespace
