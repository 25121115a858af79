// What the print tests share: a context, and ways to see what a print call wrote.
#ifndef VELNOR_TESTS_PRINT_CAPTURE_H
#define VELNOR_TESTS_PRINT_CAPTURE_H

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxPrintToStream.h"
#include "velnor3gpp/rtxStatus.h"

// A print callback of the caller's own: keeps each piece of text that one call brings.
struct Pieces {
  std::vector<std::string> pieces;

  std::string text() const
  {
    std::string all;
    for (const auto& piece : pieces) all += piece;
    return all;
  }

  static void callback(void* self, const char* format, va_list args)
  {
    char piece[4096];
    vsnprintf(piece, sizeof piece, format, args);
    static_cast<Pieces*>(self)->pieces.push_back(piece);
  }
};

class PrintTest : public testing::Test {
protected:
  RtxContext ctxt;

  void SetUp() override { ASSERT_EQ(rtxInitContext(&ctxt), 0); }
  void TearDown() override { rtxFreeContext(&ctxt); }

  // The text of a call through a callback that the library does not know.
  std::string viaCallback(const std::function<void(RtxContext*)>& print)
  {
    Pieces pieces;
    rtxSetPrintStream(&ctxt, Pieces::callback, &pieces);
    print(&ctxt);
    rtxPrintStreamRelease(&ctxt);
    return pieces.text();
  }

  // The text of a call through the library's own string callback.
  std::string viaString(const std::function<void(RtxContext*)>& print)
  {
    std::vector<char> room(1 << 16);
    RtxPrintToStringBuffer text = {room.data(), room.size(), 0};
    rtxSetPrintStream(&ctxt, rtxPrintStreamToStringCB, &text);
    print(&ctxt);
    rtxPrintStreamRelease(&ctxt);
    return room.data();
  }

  // The text of a call through the library's own file callback.
  std::string viaFile(const std::function<void(RtxContext*)>& print)
  {
    FILE* file = tmpfile();
    rtxSetPrintStream(&ctxt, rtxPrintStreamToFileCB, file);
    print(&ctxt);
    rtxPrintStreamRelease(&ctxt);
    std::string text(static_cast<size_t>(ftell(file)), 0);
    rewind(file);
    text.resize(fread(text.data(), 1, text.size(), file));
    fclose(file);
    return text;
  }

  static std::string viaStdout(const std::function<void()>& print)
  {
    testing::internal::CaptureStdout();
    print();
    fflush(stdout);
    return testing::internal::GetCapturedStdout();
  }
};

inline std::string fileText(const std::string& name)
{
  std::ostringstream text;
  text << std::ifstream(name, std::ios::binary).rdbuf();
  return text.str();
}

#endif
