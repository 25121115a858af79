#include "names.h"

#include <strings.h>

#include <algorithm>
#include <numeric>

#include "faults.h"

std::string lower(std::string_view text)
{
  std::string result(text);
  for (char& c : result)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
  return result;
}

bool sameLetters(std::string_view first, std::string_view second)
{
  return first.size() == second.size() && !strncasecmp(first.data(), second.data(), first.size());
}

size_t distance(std::string_view first, std::string_view second)
{
  std::string a = lower(first), b = lower(second);
  std::vector<size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 1; i <= a.size(); ++i) {
    size_t diagonal = row[0]++;
    for (size_t j = 1; j <= b.size(); ++j) {
      size_t changed = diagonal + (a[i - 1] != b[j - 1]);
      diagonal = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, changed});
    }
  }
  return row[b.size()];
}

static std::string_view withoutDashes(std::string_view word)
{
  return word.substr(std::min(word.find_first_not_of('-'), word.size()));
}

// In how many letters a word differs from the wanted one, none if it begins so; more than `most` counts as one more,
// which lengths alone tell of most words.
static size_t distanceFrom(std::string_view wanted, std::string_view word, size_t most)
{
  if (wanted.size() > 1 && sameLetters(word.substr(0, wanted.size()), wanted)) return 0;
  size_t longer = std::max(wanted.size(), word.size()), shorter = std::min(wanted.size(), word.size());
  return longer - shorter > most ? most + 1 : distance(wanted, word);
}

// A type's name alone, without its module, is what people remember.
static size_t distanceToName(std::string_view wanted, std::string_view name, size_t most)
{
  size_t whole = distanceFrom(wanted, name, most);
  size_t split = name.find('_');
  if (split == std::string_view::npos) return whole;
  return std::min(whole, distanceFrom(wanted, name.substr(split + 1), most));
}

std::string didYouMean(std::string_view wanted, const std::vector<std::string>& known)
{
  std::vector<std::pair<size_t, std::string>> near;
  wanted = withoutDashes(wanted);
  if (wanted.size() > 100) return ""; // no name, and dear to compare with all of them
  const size_t most = 1 + wanted.size() / 4;
  for (const std::string& name : known) {
    size_t far = distanceToName(wanted, withoutDashes(name), most);
    if (far <= most) near.emplace_back(far, name);
  }
  std::sort(near.begin(), near.end());
  std::string text;
  for (size_t i = 0; i < near.size() && i < 3; ++i) text += (i ? ", " : "; did you mean ") + near[i].second;
  return text;
}

std::string wordFault(const std::string& word, const std::vector<std::string>& known)
{
  std::string all;
  for (const std::string& each : known) {
    if (sameLetters(each, word)) return "";
    all += (all.empty() ? "" : ", ") + each;
  }
  return "'" + word + "' is none of " + all + didYouMean(word, known);
}

velnor3gpp_TypeFacts factsOf(const velnor3gpp_Type* type)
{
  velnor3gpp_TypeFacts facts = {};
  facts.size = sizeof facts;
  velnor3gpp_typeFacts(type, &facts);
  return facts;
}

velnor3gpp_Result resultOf(velnor3gpp_Session* session)
{
  velnor3gpp_Result result = {};
  result.size = sizeof result;
  velnor3gpp_result(session, &result);
  return result;
}

const velnor3gpp_Type* findType(const std::string& name)
{
  return velnor3gpp_typeByName(name.c_str(), nullptr);
}

std::vector<std::string> typeNames(const std::string* shortName)
{
  std::vector<std::string> names;
  for (size_t i = 0; i < velnor3gpp_typeCount(); ++i) {
    velnor3gpp_TypeFacts facts = factsOf(velnor3gpp_typeAt(i));
    if (!shortName || sameLetters(facts.shortName, *shortName)) names.emplace_back(facts.name);
  }
  return names;
}

const velnor3gpp_Type* typeNamed(const std::string& name)
{
  size_t others = 0;
  const velnor3gpp_Type* type = velnor3gpp_typeByName(name.c_str(), &others);
  if (type) return type;
  if (!others)
    throw UsageError("no type '" + name + "'" + didYouMean(name, typeNames(nullptr)) +
                     " ('velnor3gpp list' shows all)");
  std::string text = "several types are called '" + name + "'; write one of";
  for (const std::string& full : typeNames(&name)) text += " " + full;
  throw UsageError(text);
}

velnor3gpp_Direction readDirection(std::string_view text)
{
  std::string word = lower(text);
  for (const char* up : {"up", "ul", "mo", "uplink"})
    if (word == up) return VELNOR3GPP_UP;
  for (const char* down : {"down", "dl", "mt", "downlink"})
    if (word == down) return VELNOR3GPP_DOWN;
  return VELNOR3GPP_DIRECTION_UNKNOWN;
}

const char* directionName(velnor3gpp_Direction direction)
{
  return direction == VELNOR3GPP_UP ? "up" : direction == VELNOR3GPP_DOWN ? "down" : "";
}

static constexpr const char* kChannels[] = {"", "bcch", "ccch", "dcch", "sacch", "short"};

velnor3gpp_Channel readChannel(std::string_view text)
{
  std::string word = lower(text);
  for (size_t i = 1; i < std::size(kChannels); ++i)
    if (word == kChannels[i]) return static_cast<velnor3gpp_Channel>(i);
  return VELNOR3GPP_CHANNEL_UNKNOWN;
}

const char* channelName(velnor3gpp_Channel channel)
{
  return kChannels[channel];
}
