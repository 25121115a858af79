// Guards single elements and messages by vectors that a person can read: octets, status, and the record as printed.
// Every block of every .vec file here is one case:
//
//   type    TS24008IE_TimeZone        full name
//   octets  21                        hexadecimal
//   status  -2                        what decoding gives; left out: 0
//   path    TimeZone                  where it fails: the element path of the first error
//   again   22                        what encoding the record gives, where that is not the same octets
//   print   the record without its outer braces, the first line behind the word, the others below it
#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <vector>

#include "rt3gppsrc/engine/l3Engine.h"
#include "velnor3gpp/rtContext.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxPrintStream.h"

namespace {

using Octets = std::vector<uint8_t>;

struct Vector {
  std::string place;
  std::map<std::string, std::string> words; // by the first word of the line
  std::string print;
};

std::string trimEnd(std::string text)
{
  return text.substr(0, text.find_last_not_of(" \r\n") + 1);
}

// A line that begins in column 0 names its field; others go on printing.
void addLine(Vector& vector, const std::string& line)
{
  std::istringstream in(line);
  std::string word, rest;
  if (line[0] != ' ') {
    in >> word >> std::ws;
    std::getline(in, rest);
    vector.words[word] = trimEnd(rest);
  }
  if (word == "print" || line[0] == ' ') vector.print += trimEnd(line.substr(std::min<size_t>(8, line.size()))) + "\n";
}

std::vector<Vector> readVectors()
{
  std::vector<Vector> vectors;
  for (const auto& entry : std::filesystem::directory_iterator(VELNOR_TEST_DATA)) {
    if (entry.path().extension() != ".vec") continue;
    std::ifstream in(entry.path());
    bool open = false;
    size_t number = 0;
    for (std::string line; ++number, std::getline(in, line);) {
      if (trimEnd(line).empty()) open = false;
      if (trimEnd(line).empty() || line[0] == '#') continue;
      if (!open) vectors.push_back({entry.path().filename().string() + ":" + std::to_string(number), {}, ""});
      open = true;
      addLine(vectors.back(), line);
    }
  }
  return vectors;
}

Octets octetsOf(const std::string& text)
{
  Octets octets;
  std::string digits;
  for (char c : text)
    if (!isspace(static_cast<unsigned char>(c))) digits += c;
  for (size_t i = 0; i + 1 < digits.size(); i += 2)
    octets.push_back(static_cast<uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
  return octets;
}

std::string firstPath(const RtxContext& ctxt)
{
  if (!ctxt.errInfo.head) return "";
  const char* path = static_cast<RtxErrInfo*>(ctxt.errInfo.head->data)->elemName;
  return path ? path : "";
}

void appendText(void* text, const char* format, va_list args)
{
  char piece[4096];
  vsnprintf(piece, sizeof piece, format, args);
  *static_cast<std::string*>(text) += piece;
}

// The record without the line that opens it and the one that closes it, one level out; a bare value whole.
std::string innerText(RtxContext* pctxt, const L3TypeEntry& entry, const void* record)
{
  std::string text;
  rtxSetPrintStream(pctxt, appendText, &text);
  entry.print(pctxt, entry.type->name, record);
  std::istringstream lines(text);
  std::string line, inner;
  std::getline(lines, line);
  if (line != entry.type->name + std::string(" {")) return text;
  while (std::getline(lines, line) && line != "}") inner += line.substr(std::min<size_t>(3, line.size())) + "\n";
  return inner;
}

void checkEncoding(RtxContext* pctxt, const L3TypeEntry& entry, void* record, const Octets& expected)
{
  ASSERT_TRUE(entry.encode);
  rtxCtxtSetBufPtr(pctxt, nullptr, 0);
  EXPECT_EQ(entry.encode(pctxt, record), 0);
  const RtxBuffer& buffer = pctxt->buffer;
  EXPECT_EQ(Octets(buffer.data, buffer.data + buffer.byteIndex + (buffer.bitOffset != 8)), expected);
}

void checkVector(Vector& vector)
{
  SCOPED_TRACE(vector.place + " " + vector.words["type"]);
  const L3TypeEntry* entry = l3FindType(vector.words["type"].c_str());
  ASSERT_TRUE(entry && entry->decode) << "no such type";
  Octets octets = octetsOf(vector.words["octets"]);
  std::vector<std::max_align_t> record(entry->type->size / sizeof(std::max_align_t) + 1);
  RtxContext ctxt;
  ASSERT_EQ(rtInitContext(&ctxt), 0);
  rtxCtxtSetBufPtr(&ctxt, octets.data(), octets.size());
  int status = vector.words.count("status") ? std::stoi(vector.words["status"]) : 0;
  EXPECT_EQ(entry->decode(&ctxt, record.data()), status);
  EXPECT_EQ(firstPath(ctxt), vector.words["path"]);
  if (status >= 0) {
    EXPECT_EQ(innerText(&ctxt, *entry, record.data()), vector.print);
    checkEncoding(&ctxt, *entry, record.data(), vector.words.count("again") ? octetsOf(vector.words["again"]) : octets);
  }
  rtFreeContext(&ctxt);
}

} // namespace

TEST(Vectors, HoldToTheLetter)
{
  std::vector<Vector> vectors = readVectors();
  ASSERT_GE(vectors.size(), 5U);
  for (Vector& vector : vectors) checkVector(vector);
}
