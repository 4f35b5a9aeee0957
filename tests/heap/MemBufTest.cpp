/** Memory buffer. */
#include "quorva/rtxMemBuf.h"

#include "quorva/rtxContext.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "support/systemMemory.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class MemBuf : public testing::Test {
protected:
   MemBuf() {
      system_memory::reset();
      EXPECT_EQ(0, system_memory::init(&context_));
      rtxMemBufInit(&context_, &buf_, 0);
   }

   ~MemBuf() override {
      rtxMemBufFree(&buf_);
      EXPECT_TRUE(rtxMemHeapIsEmpty(&context_) || rtxErrGetErrorCnt(&context_) != 0);
      rtxFreeContext(&context_);
      EXPECT_EQ(system_memory::live, 0u);
   }

   int append(const std::string& text) {
      return rtxMemBufAppend(&buf_, reinterpret_cast<const uint8_t*>(text.data()), text.size());
   }

   std::string content() {
      size_t length;
      const uint8_t* data = rtxMemBufGetDataExt(&buf_, &length);
      return data == nullptr ? "" : std::string(reinterpret_cast<const char*>(data), length);
   }

   RtxContext context_;
   RtxMemBuf buf_;
};

TEST_F(MemBuf, GrowsBySegments) {
   const bool kinds[] = {false, true};
   for (bool system : kinds) {
      rtxMemBufFree(&buf_);
      EXPECT_EQ(rtxMemBufSetUseSysMem(&buf_, system), buf_.useSysMem != 0 && !system);
      EXPECT_EQ(append("x"), 0);
      EXPECT_EQ(buf_.capacity, 1024u);
      EXPECT_EQ(rtxMemBufSet(&buf_, 'y', 1023), 0);
      EXPECT_EQ(buf_.capacity, 1024u);
      EXPECT_EQ(append("z"), 0);
      EXPECT_EQ(buf_.capacity, 2048u);
      EXPECT_EQ(rtxMemBufAppend(&buf_, nullptr, 3000), 0); // room only
      EXPECT_EQ(buf_.capacity, 4096u);
      EXPECT_EQ(content(), "x" + std::string(1023, 'y') + "z");
      EXPECT_EQ(rtxMemBufPreAllocate(&buf_, 0), 0);
   }
   rtxMemBufFree(&buf_);
   EXPECT_EQ(buf_.capacity, 0u);
   EXPECT_EQ(content(), "");
}

TEST_F(MemBuf, TakesItsOwnOctetsAlong) {
   rtxMemBufInit(&context_, &buf_, 8);
   append("abcdefgh");
   void* wall = rtxMemHeapAlloc(&context_, 8);
   EXPECT_EQ(rtxMemBufAppend(&buf_, buf_.bufferData + 2, 6), 0); // they move while it grows
   EXPECT_EQ(content(), "abcdefghcdefgh");
   rtxMemHeapFreePtr(&context_, wall);
}

TEST_F(MemBuf, LeavesTheCallersOctetsToTheCaller) {
   uint8_t octets[4];
   rtxMemBufInitBuffer(&context_, &buf_, octets, sizeof octets, 16);
   EXPECT_EQ(append("1234"), 0);
   EXPECT_EQ(buf_.bufferData, octets);
   EXPECT_EQ(append("5"), 0);
   EXPECT_EQ(buf_.capacity, 16u);
   octets[0] = 'x';
   EXPECT_EQ(content(), "12345");
   RtxMemBuf fixed;
   rtxMemBufInitBuffer(&context_, &fixed, octets, sizeof octets, 0); // without a step it can't grow
   EXPECT_EQ(rtxMemBufSet(&fixed, 1, 5), RTX_E_NOMEM);
   EXPECT_EQ(rtxErrGetLastError(&context_), RTX_E_NOMEM);
   rtxMemBufFree(&fixed);
   EXPECT_EQ(fixed.bufferData, octets);
}

TEST_F(MemBuf, CutsAndTrims) {
   append("0123456789");
   EXPECT_EQ(rtxMemBufCut(&buf_, 3, 4), 0);
   EXPECT_EQ(content(), "012789");
   EXPECT_EQ(rtxMemBufCut(&buf_, 2, 5), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtxMemBufCut(&buf_, SIZE_MAX, 2), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtxMemBufCut(&buf_, 6, 0), 0);
   EXPECT_EQ(rtxMemBufCut(&buf_, 0, 6), 0);
   EXPECT_EQ(content(), "");

   const struct {
      std::string text, left;
   } cases[] = {{std::string("\0 \0\x09\0\x0D", 6), ""},
                {std::string("\0 \0a\0 \0b\0\x0A", 10), std::string("\0a\0 \0b", 6)},
                {std::string("\0\x08\0 ", 4), std::string("\0\x08", 2)},
                {std::string("\0\x0E\1 ", 4), std::string("\0\x0E\1 ", 4)},
                {std::string("\0", 1), std::string("\0", 1)}};
   for (const auto& c : cases) {
      rtxMemBufReset(&buf_);
      append(c.text);
      EXPECT_EQ(rtxMemBufTrimW(&buf_), c.left.size());
      EXPECT_EQ(content(), c.left);
      EXPECT_EQ(rtxMemBufCut(&buf_, 0, c.left.size() + 1), RTX_E_BAD_ARGUMENT);
   }
}

TEST_F(MemBuf, LengthsAndFields) {
   append("abc");
   for (const auto& [used, expected] :
        {std::pair<size_t, int32_t>{3, 3}, {0x7FFFFFFF, 0x7FFFFFFF}, {0x80000000u, -1}}) {
      RtxMemBuf huge = buf_;
      int32_t length;
      huge.usedCount = used;
      EXPECT_EQ(*rtxMemBufGetData(&huge, &length), 'a');
      EXPECT_EQ(length, expected);
      huge.startIndex = huge.usedCount + 1;
      EXPECT_EQ(rtxMemBufGetDataLen(&huge), 0u);
   }
   EXPECT_EQ(rtxMemBufSetExpandable(&buf_, 0), 1);
   EXPECT_EQ(rtxMemBufSetExpandable(&buf_, 1), 0);
}

TEST_F(MemBuf, FailureKeepsTheContents) {
   append("abc");
   EXPECT_EQ(rtxMemBufPreAllocate(&buf_, SIZE_MAX), RTX_E_NOMEM);
   EXPECT_EQ(rtxMemBufPreAllocate(&buf_, SIZE_MAX - 3), RTX_E_MULTIPLE); // each failure is a record
   rtxErrReset(&context_);
   system_memory::failNth(1, true);
   EXPECT_EQ(rtxMemBufSet(&buf_, 0, 700000), RTX_E_NOMEM);
   EXPECT_EQ(content(), "abc");
   EXPECT_EQ(append("d"), 0);
}

TEST_F(MemBuf, GrowsExactlyInAStaticHeap) {
   alignas(8) static uint8_t memory[100];
   ASSERT_EQ(rtxMemHeapConvertStatic(&context_, memory, sizeof memory), 0);
   rtxMemBufInit(&context_, &buf_, 10);
   EXPECT_EQ(append("0123456789"), 0);
   EXPECT_EQ(buf_.capacity, 10u);
   EXPECT_EQ(append("ab"), 0);
   EXPECT_EQ(buf_.capacity, 12u);
   EXPECT_EQ(content(), "0123456789ab");
   rtxMemHeapAlloc(&context_, 1);
   EXPECT_EQ(append("c"), RTX_E_NOMEM); // no longer the last allocation
}

} // namespace
