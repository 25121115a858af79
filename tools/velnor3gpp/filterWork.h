// What the filter does with a block of its input: a line of output for each record. A worker has a session of its own
// and serves one thread; its answers depend on the record and the options alone, and with keys on the records before.
#ifndef VELNOR3GPP_PROGRAM_FILTER_WORK_H
#define VELNOR3GPP_PROGRAM_FILTER_WORK_H

#include <functional>
#include <string_view>
#include <vector>

#include "fieldPath.h"
#include "filterMessage.h"
#include "session.h"
#include "json/writer.h"

struct FilterOptions {
  FilterFormat format = FilterFormat::kTsv;
  unsigned keyColumns = 1;
  std::vector<FieldPath> fields; // none: JSON
  unsigned flags = 0;            // of velnor3gpp_toJson
  bool flushLines = false;       // hand over each line by itself
  SessionOptions session;
};

struct FilterCounts {
  size_t in = 0;  // records read
  size_t out = 0; // lines written
  size_t bad = 0; // of the records read
};

class FilterWork {
public:
  // Gets whole lines of output, and what they answer: `in` records, of which `bad` are bad.
  using Hand = std::function<void(std::string_view text, const FilterCounts& answered)>;

  explicit FilterWork(const FilterOptions& options);
  // Answers every record of a block.
  void answer(std::string_view block, const Hand& hand);

private:
  bool readNext(std::string_view& block);
  bool decode();
  void takeFault(const velnor3gpp_Result& result);
  void putLine();
  void putKey();
  void putFault();
  void putFields();
  void putObject();
  void handOver(const Hand& hand);

  const FilterOptions& options;
  const velnor3gpp_Type* type;
  velnor3gpp_Direction direction;
  velnor3gpp_Channel channel;
  Session session;
  Session text; // owns the room of `out`
  JsonWriter out;
  FilterCounts pending; // what `out` answers
  FilterMessage message;
};

#endif
