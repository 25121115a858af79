// Faults. A person who repairs a definition sees all its faults at once, each told once: no fault may hide another one,
// and none may cause refusals of rows that are right. So setAside is called between the phases: it removes the blocks
// with faults, and all that need them, from what the next phase looks at. The functions at the end tell the faults to
// people and to editors.
//
// For example, `element A` without a clause is refused. A row `M x A` of another block is right all the same: its block
// is set aside without a word, because A's first line would have given the name (couldBeUnread).
#include <fstream>
#include <sstream>
#include <tuple>

#include "model.h"

namespace l3gen {

// The line at which the block around a place begins. A nested type is as doubtful as the block that it stands in, so
// blame goes by blocks and not by types.
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

// An unknown name may be that of a block whose first line was refused, or of a type nested in such a block, which would
// have the block's name in front of its own: with `A` unread, `A_part` and `T_A_part` are no faults of their users.
bool couldBeUnread(Model& model, const Module& from, const std::string& name)
{
  auto isUnread = [&](const std::string& full) {
    for (size_t at = full.find('_'); at != std::string::npos; at = full.find('_', at + 1))
      if (model.unread.count(full.substr(0, at))) return true;
    return model.unread.count(full) != 0;
  };
  return model.moduleUnread || isUnread(name) || isUnread(from.name + "_" + name);
}

// The types that stand in blamed blocks, those that hold one of these, those nested in one of these, and so on. They
// are found from the faulty ones outwards, along `users`.
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
  // What was set aside by an earlier phase may be used by types that this phase found.
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

// A type is moved, not destroyed: rows, byName and the `around` of others point to it.
void setAside(Model& model)
{
  for (auto& refusal : model.refusals) blame(model, refusal.place);
  if (model.faulty.empty()) return;
  std::set<const Type*> out = doubtful(model);
  std::vector<std::unique_ptr<Type>> sound;
  for (auto& type : model.types) (out.count(type.get()) ? model.aside : sound).push_back(std::move(type));
  model.types = std::move(sound);
}

// The set sorts by file and line, and tells what is said twice of one line only once.
std::string tellRefusals(const Model& model)
{
  std::set<std::tuple<std::string, int, std::string>> lines;
  for (auto& r : model.refusals) lines.emplace(r.place.file, r.place.line, r.words);
  std::ostringstream out;
  for (auto& [file, line, words] : lines) out << file << ":" << line << ": " << words << "\n";
  return out.str();
}

// The lines of a file as it is now; none if it cannot be read, which is then a fault of its own.
static std::vector<std::string> linesOf(const std::string& path)
{
  std::vector<std::string> lines;
  std::ifstream in(path);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// The column, from 1, at which a word stands whole in a line; 0 if it does not. The search begins at `from`, where the
// refusal points, and if nothing is found there, at the start of the line.
static int columnOf(const std::string& line, const std::string& word, int from)
{
  static const std::string kInWords = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-";
  auto ends = [&](size_t at) { return at >= line.size() || kInWords.find(line[at]) == std::string::npos; };
  for (size_t at : {static_cast<size_t>(from - 1), size_t{0}})
    for (at = line.find(word, at); at != std::string::npos; at = line.find(word, at + 1))
      if ((at == 0 || ends(at - 1)) && ends(at + word.size())) return static_cast<int>(at) + 1;
  return 0;
}

// Many refusals quote the word that is at fault: 'late' comes later. Its column leads the eye better than that of the
// row, which is all that is known of it when it is found in a later phase than reading.
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

// In the order of the paths, and within a file in the order of the lines. A fault of the file as a whole has line 0,
// which editors do not know, so it is told of line 1.
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
