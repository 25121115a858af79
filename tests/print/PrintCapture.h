// What the print tests share: a context, ways to see what a print call wrote, and the texts that they expect. Those
// stand in files beside the tests, each below a line "== heading", or behind it: "== heading => text".
#pragma once

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <vector>

#include "tests/fileText.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxPrintToStream.h"
#include "velnor3gpp/rtxStatus.h"

using Texts = std::map<std::string, std::string>;

inline Texts textsOf(const std::string& file)
{
  Texts texts;
  std::ifstream in(std::string(VELNOR_TEST_DATA "/") + file);
  std::string heading;
  for (std::string line; std::getline(in, line);) {
    const size_t arrow = line.find(" => ");
    if (line.compare(0, 3, "== ") == 0)
      texts[heading = line.substr(3, arrow - 3)] = arrow < line.size() ? line.substr(arrow + 4) + "\n" : "";
    else if (!heading.empty())
      texts[heading] += line + "\n";
  }
  return texts;
}

// A print callback of the caller's own: keeps each piece of text that one call brings.
struct Pieces : std::vector<std::string> {
  std::string text() const
  {
    std::string all;
    for (const auto& piece : *this) all += piece;
    return all;
  }
  static void callback(void* self, const char* format, va_list args)
  {
    char piece[4096];
    vsnprintf(piece, sizeof piece, format, args);
    static_cast<Pieces*>(self)->push_back(piece);
  }
};

class PrintTest : public testing::Test {
protected:
  using Print = std::function<void(RtxContext*)>;
  RtxContext ctxt;

  void SetUp() override { ASSERT_EQ(rtxInitContext(&ctxt), 0); }
  void TearDown() override { rtxFreeContext(&ctxt); }

  void printTo(rtxPrintCallback callback, void* target, const Print& print)
  {
    rtxSetPrintStream(&ctxt, callback, target);
    print(&ctxt);
    rtxPrintStreamRelease(&ctxt);
  }
  // Through a callback that the library does not know.
  std::string viaCallback(const Print& print)
  {
    Pieces pieces;
    printTo(Pieces::callback, &pieces, print);
    return pieces.text();
  }
  // Through the library's own callbacks.
  std::string viaString(const Print& print)
  {
    char room[1 << 12] = "";
    RtxPrintToStringBuffer text = {room, sizeof room, 0};
    printTo(rtxPrintStreamToStringCB, &text, print);
    return room;
  }
  std::string viaFile(const Print& print)
  {
    Folder folder;
    std::string name = folder + "/print";
    FILE* file = fopen(name.c_str(), "w");
    printTo(rtxPrintStreamToFileCB, file, print);
    fclose(file);
    return fileText(name);
  }
  static std::string viaStdout(const std::function<void()>& print)
  {
    testing::internal::CaptureStdout();
    print();
    fflush(stdout);
    return testing::internal::GetCapturedStdout();
  }
};
