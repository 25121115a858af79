// Threads with a context each do not know of each other: what they decode, print and encode at once is what one thread
// alone does.
#include <gtest/gtest.h>

#include <thread>

#include "tests/messages.h"

namespace {

std::string coded(const TestMessage& message)
{
  RtxContext ctxt;
  rtxInitContext(&ctxt);
  rtx3gppSecInitialize(&ctxt);
  Octets octets = message.octets, again(2 * octets.size() + 64);
  octets.push_back(0); // a null pointer would ask for a buffer
  auto record = recordStorage(*message.entry->type, 0);
  rtxCtxtSetBufPtr(&ctxt, octets.data(), message.octets.size());
  int status = message.entry->decode(&ctxt, record.get());
  std::string text = stateOf(&ctxt, status) + printed(*message.entry->type, "x", record.get());
  if (status >= 0 && message.entry->encode) {
    rtxCtxtSetBufPtr(&ctxt, again.data(), again.size());
    text += stateOf(&ctxt, message.entry->encode(&ctxt, record.get())) + std::string(again.begin(), again.end());
  }
  rtxFreeContext(&ctxt);
  return text;
}

TEST(Threads, CodeAtOnceAsOneAlone)
{
  const std::vector<TestMessage> messages = sampleMessages();
  std::vector<std::string> alone, texts[2];
  for (const TestMessage& message : messages) alone.push_back(coded(message));
  std::vector<std::thread> threads;
  for (auto& own : texts)
    threads.emplace_back([&] {
      for (const TestMessage& message : messages) own.push_back(coded(message));
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(texts[0], alone);
  EXPECT_EQ(texts[1], alone);
}

} // namespace
