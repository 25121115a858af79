// Faults: what they make doubtful is set aside, so that one fault neither hides others nor causes any; and how they are
// told to people and to editors.
#include <fstream>
#include <sstream>
#include <tuple>

#include "model.h"

namespace l3gen {

// The line that the block around a place begins at: a nested type is as doubtful as the block that it stands in.
static std::pair<std::string, int> blockOf(Model& model, const Place& place)
{
  auto& lines = model.blocks[place.file];
  auto behind = lines.upper_bound(place.line);
  return {place.file, behind == lines.begin() ? 0 : *std::prev(behind)};
}

void blame(Model& model, const Place& place)
{
  model.faulty.insert(blockOf(model, place));
}

bool blamed(Model& model, const Place& place)
{
  return model.faulty.count(blockOf(model, place)) != 0;
}

// Nested types have the names of their block in front of their own.
bool couldBeUnread(Model& model, const Module& from, const std::string& name)
{
  auto isUnread = [&](const std::string& full) {
    for (size_t at = full.find('_'); at != std::string::npos; at = full.find('_', at + 1))
      if (model.unread.count(full.substr(0, at))) return true;
    return model.unread.count(full) != 0;
  };
  return model.moduleUnread || isUnread(name) || isUnread(from.name + "_" + name);
}

// Types that hold a doubtful one, or stand in it, are doubtful too.
static std::set<const Type*> doubtful(Model& model)
{
  std::map<const Type*, std::vector<const Type*>> users;
  std::vector<const Type*> open;
  for (auto& type : model.types) {
    for (auto& row : type->rows)
      collectUses(row.what, false, [&](Type* used, bool) { users[used].push_back(type.get()); });
    if (type->around) users[type->around].push_back(type.get());
    if (blamed(model, type->place)) open.push_back(type.get());
  }
  for (auto& type : model.aside) open.push_back(type.get());
  std::set<const Type*> all;
  while (!open.empty()) {
    const Type* type = open.back();
    open.pop_back();
    if (!all.insert(type).second) continue;
    open.insert(open.end(), users[type].begin(), users[type].end());
  }
  return all;
}

void setAside(Model& model)
{
  for (auto& refusal : model.refusals) blame(model, refusal.place);
  if (model.faulty.empty()) return;
  std::set<const Type*> out = doubtful(model);
  std::vector<std::unique_ptr<Type>> sound;
  for (auto& type : model.types) (out.count(type.get()) ? model.aside : sound).push_back(std::move(type));
  model.types = std::move(sound);
}

std::string tellRefusals(const Model& model)
{
  std::set<std::tuple<std::string, int, std::string>> lines;
  for (auto& r : model.refusals) lines.emplace(r.place.file, r.place.line, r.words);
  std::ostringstream out;
  for (auto& [file, line, words] : lines) out << file << ":" << line << ": " << words << "\n";
  return out.str();
}

static std::vector<std::string> linesOf(const std::string& path)
{
  std::vector<std::string> lines;
  std::ifstream in(path);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// Where a word stands whole in a line, from a column on, else from its beginning; 0: nowhere.
static int columnOf(const std::string& line, const std::string& word, int from)
{
  static const std::string kInWords = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-";
  auto ends = [&](size_t at) { return at >= line.size() || kInWords.find(line[at]) == std::string::npos; };
  for (size_t at : {static_cast<size_t>(from - 1), size_t{0}})
    for (at = line.find(word, at); at != std::string::npos; at = line.find(word, at + 1))
      if ((at == 0 || ends(at - 1)) && ends(at + word.size())) return static_cast<int>(at) + 1;
  return 0;
}

// The word that a refusal quotes tells the column better than the place of the row.
static int columnOf(const Refusal& refusal, const std::vector<std::string>& lines)
{
  const Place& place = refusal.place;
  size_t open = refusal.words.find('\''), close = refusal.words.find('\'', open + 1);
  bool quoted = open != std::string::npos && close != std::string::npos && close > open + 1;
  if (!quoted || place.line < 1 || static_cast<size_t>(place.line) > lines.size()) return place.column;
  const std::string& line = lines[static_cast<size_t>(place.line) - 1];
  int column = columnOf(line, refusal.words.substr(open + 1, close - open - 1), place.column);
  return column ? column : place.column;
}

std::string tellFaults(const Model& model, const std::vector<std::string>& paths)
{
  std::ostringstream out;
  for (auto& path : paths) {
    std::vector<std::string> lines = linesOf(path);
    std::set<std::tuple<int, int, std::string>> faults;
    for (auto& r : model.refusals)
      if (path.substr(path.find_last_of('/') + 1) == r.place.file)
        faults.emplace(r.place.line, columnOf(r, lines), r.words);
    for (auto& [line, column, words] : faults)
      out << path << ":" << (line ? line : 1) << ":" << column << ": error: " << words << "\n";
  }
  return out.str();
}

} // namespace l3gen
