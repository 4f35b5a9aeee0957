// Room and growth of the buffer, and the same with a stream behind it.
#include "coreTest.h"

#include "quorva/rtxMemBuf.h"

namespace {

Octets counted(size_t count) {
   Octets octets(count);
   for (size_t i = 0; i < count; ++i) octets[i] = static_cast<uint8_t>(i % 251);
   return octets;
}

TEST(Buffer, NewOnesAreDynamic) {
   Context c;
   EXPECT_EQ(rtxInitContextBuffer(&c, nullptr, 0), 0);
   EXPECT_EQ(c.bufSize, 1024u);
   EXPECT_TRUE(c.bufDynamic);
   c.at(3, 2);
   EXPECT_EQ(after(c, rtxInitContextBuffer(&c, nullptr, 8)), After(0, 0u));
   EXPECT_EQ(c.bufSize, 8u);
   c.state = 5;
   Octets octets(4);
   c.use(octets);
   EXPECT_FALSE(c.bufDynamic);
   EXPECT_EQ(c.state, 0);
   EXPECT_TRUE(c.flags & RTX_CTXT_BUFFER_MODE);
}

TEST(Buffer, Growth) {
   const struct {
      size_t size, index;
      int bitsLeft;
      int (*call)(RtxContext*, size_t);
      size_t octets, result;
   } cases[] = {
         {16, 0, 8, rtxExpandOutputBuffer, 1, 32}, {16, 0, 8, rtxExpandOutputBuffer, 100, 116},
         {16, 16, 8, rtxCheckOutputBuffer, 0, 16}, {16, 14, 8, rtxCheckOutputBuffer, 2, 16},
         {16, 14, 7, rtxCheckOutputBuffer, 2, 32}, {16, 40, 8, rtxCheckOutputBuffer, 20, 60},
         {16, 15, 8, rtxCheckBuffer, 1, 16},       {16, 15, 7, rtxCheckBuffer, 1, 48},
         {16, 0, 8, rtxCheckBuffer, 100, 132},     {16, 200, 8, rtxCheckBuffer, 1, 202},
   };
   for (const auto& test : cases) {
      Context c;
      ASSERT_EQ(rtxInitContextBuffer(&c, nullptr, test.size), 0);
      std::memset(c.bufData, 0x3C, test.size);
      c.at(test.index, test.bitsLeft);
      EXPECT_EQ(test.call(&c, test.octets), 0);
      EXPECT_EQ(c.bufSize, test.result) << test.index << ' ' << test.octets;
      EXPECT_EQ(std::count(c.bufData, c.bufData + test.size, 0x3C), static_cast<ptrdiff_t>(test.size));
   }
}

TEST(Buffer, StaticOnesAndAbsurdSizesFail) {
   Octets octets(16);
   Context c(octets);
   EXPECT_EQ(rtxExpandOutputBuffer(&c, 1), RTX_E_BUFFER_FULL);
   EXPECT_EQ(rtxCheckBuffer(&c, 16), 0);
   EXPECT_EQ(c.cleared(rtxCheckBuffer(&c, 17)), RTX_E_MULTIPLE);
   EXPECT_EQ(rtxCheckInputBuffer(&c, 16), 0);
   EXPECT_EQ(c.cleared(rtxCheckInputBuffer(&c, SIZE_MAX)), RTX_E_END_OF_DATA);
   ASSERT_EQ(rtxInitContextBuffer(&c, nullptr, 16), 0);
   EXPECT_EQ(rtxCheckOutputBuffer(&c, SIZE_MAX), RTX_E_NOMEM);
   EXPECT_EQ(rtxCheckBuffer(&c, SIZE_MAX - 3), RTX_E_NOMEM);
   EXPECT_EQ(c.bufSize, 16u); // so that nothing writes into what was not allocated
}

TEST(Output, FlushKeepsThePartialOctet) {
   Streamed c(RTX_STREAM_WRITE);
   EXPECT_EQ(rtxFlushOutputBuffer(&c), 0); // nothing there
   EXPECT_TRUE(rtxIsOutputBufferFlushable(&c));
   EXPECT_EQ(rtxEncBits(&c, 0xABCDE, 20), 0);
   EXPECT_TRUE(c.stream->flags & RTX_STREAM_CTXT_BUF);
   EXPECT_EQ(rtxStreamFlush(&c), 0);
   EXPECT_EQ(c.octets, (Octets{0xAB, 0xCD}));
   EXPECT_EQ(rtxCtxtGetBitOffset(&c), 20u);
   EXPECT_EQ(c.stream->bufBase, 2u);
   EXPECT_EQ(c.bufByteIndex, 0u);
   EXPECT_EQ(rtxEncBits(&c, 0xF, 4), 0);
   EXPECT_EQ(rtxCtxtSetBitOffset(&c, 0), RTX_E_UNSUPPORTED);
   EXPECT_EQ(c.parms(), std::vector<std::string>{"set bit offset in stream"});
   c.flags |= RTX_CTXT_BUFFER_MODE; // now the buffer is all there is
   EXPECT_FALSE(rtxIsOutputBufferFlushable(&c));
   EXPECT_EQ(rtxCtxtGetBitOffset(&c), 8u);
   EXPECT_EQ(rtxCtxtSetBitOffset(&c, 8), 0);
   c.flags &= ~RTX_CTXT_BUFFER_MODE;
   EXPECT_EQ(rtxEncBit(&c, 1), 0);
   EXPECT_EQ(rtxStreamClose(&c), 0); // completes the octet
   EXPECT_EQ(c.octets, (Octets{0xAB, 0xCD, 0xEF, 0x80}));
   EXPECT_TRUE(c.closed);
   EXPECT_EQ(c.stream, nullptr);
   EXPECT_EQ(c.bufData, nullptr);
}

TEST(Output, LongRunsGoPastTheBuffer) {
   const Octets octets = counted(5000);
   Streamed c(RTX_STREAM_WRITE);
   EXPECT_EQ(rtxEncUInt32(&c, 0xAABB, 2), 0);
   EXPECT_EQ(rtxEncBitsFromByteArray(&c, octets.data(), 5000 * 8 - 3), 0);
   EXPECT_EQ(c.calls, 2); // the buffer, then 4999 octets at once
   EXPECT_EQ(c.octets.size(), 5001u);
   EXPECT_EQ(c.bufSize, 1024u);
   EXPECT_EQ(rtxEncBits(&c, octets.back() & 7u, 3), 0);
   for (size_t count : {1500u, 1900u}) // fills the buffer first, then goes past it
      EXPECT_EQ(rtxWriteBytes(&c, octets.data(), count), 0);
   EXPECT_EQ(c.lastChar, octets[1899]);
   EXPECT_EQ(rtxCtxtGetBitOffset(&c), (5002u + 1500 + 1900) * 8);
   EXPECT_EQ(rtxCtxtGetIOByteCount(&c), c.octets.size());
   EXPECT_EQ(rtxStreamClose(&c), 0);
   Octets expected{0xAA, 0xBB};
   for (ptrdiff_t count : {5000, 1500, 1900})
      expected.insert(expected.end(), octets.begin(), octets.begin() + count);
   EXPECT_TRUE(c.octets == expected);
}

TEST(Output, MarkKeepsTheBuffer) {
   const Octets octets = counted(3000);
   Streamed c(RTX_STREAM_WRITE);
   RtxStream* stream = c.stream;
   EXPECT_EQ(rtxEncBits(&c, 0x11, 8), 0);
   size_t pos = 9;
   EXPECT_EQ(rtxMarkPos(&c, &pos), 0);
   EXPECT_EQ(pos, 0u);
   EXPECT_FALSE(rtxIsOutputBufferFlushable(&c));
   EXPECT_EQ(rtxWriteBytes(&c, octets.data(), 3000), 0);
   EXPECT_EQ(rtxMarkPos(&c, &pos), 0);
   EXPECT_EQ(pos, 3000u);
   EXPECT_EQ(c.calls, 0);
   EXPECT_EQ(rtxResetToPos(&c, 0), 0);
   EXPECT_FALSE(stream->flags & RTX_STREAM_BUF_MARK);
   EXPECT_EQ(rtxResetToPos(&c, 0), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtxEncBits(&c, 0x22, 8), 0);
   EXPECT_EQ(rtxStreamClose(&c), 0);
   EXPECT_EQ(c.octets, (Octets{0x11, 0x22}));
}

TEST(Output, UnbufferedAndMemoryStreams) {
   Streamed c(RTX_STREAM_WRITE);
   RtxStream* stream = c.stream;
   stream->flags |= RTX_STREAM_TEXT_FILTER; // takes no context buffer
   const uint8_t octets[] = {1, 2, 3};
   EXPECT_EQ(rtxWriteBytes(&c, octets, 3), 0);
   EXPECT_EQ(rtxEncBits(&c, 1, 3), RTX_E_BUFFER_FULL); // no buffer, and none to be made
   EXPECT_EQ(c.bufData, nullptr);
   rtxErrReset(&c);

   stream->kind = RTX_STREAM_KIND_MEMORY;
   stream->ioBytes = 0;
   c.bufDynamic = 1;
   EXPECT_EQ(rtxEncBits(&c, 0x123, 12), 0);
   EXPECT_EQ(stream->ioBytes, 1u); // octets that the index passed
   EXPECT_EQ(rtxEncBitsFromByteArray(&c, octets, 20), 0);
   EXPECT_EQ(stream->ioBytes, 4u);
   EXPECT_EQ(rtxWriteBytes(&c, octets, 3), 0);
   EXPECT_EQ(stream->ioBytes, 7u);
   EXPECT_EQ(rtxEncBitsFromByteArray(&c, octets, 20), 0);
   EXPECT_EQ(stream->ioBytes, 9u);
   EXPECT_EQ(c.octets, (Octets{1, 2, 3}));
   EXPECT_NE(c.flags & RTX_CTXT_SYS_BUFFER, 0u); // outlives a reset of the heap
   rtxMemHeapSysFreePtr(&c, c.bufData);
   c.bufData = nullptr;
}

TEST(Output, FailuresOfTheTransportComeOut) {
   const Octets octets = counted(3000);
   Streamed c(RTX_STREAM_WRITE);
   EXPECT_EQ(rtxEncBits(&c, 1, 32), 0);
   c.failure = RTX_E_FILE_WRITE;
   EXPECT_EQ(rtxEncBitsFromByteArray(&c, octets.data(), 3000 * 8), RTX_E_FILE_WRITE);
   EXPECT_EQ(rtxWriteBytes(&c, octets.data(), 3000), RTX_E_FILE_WRITE);
   EXPECT_EQ(rtxEncBitsPattern(&c, 0x2B, 3000 * 8), RTX_E_FILE_WRITE);
   EXPECT_EQ(rtxStreamClose(&c), RTX_E_FILE_WRITE);
   EXPECT_TRUE(c.closed);
   EXPECT_EQ(c.stream, nullptr);
}

TEST(Input, GreedyLoadsAndPositions) {
   Streamed c(RTX_STREAM_READ, counted(4000));
   uint8_t octet = 0;
   EXPECT_EQ(rtxReadBytes(&c, &octet, 1), 0); // makes the context buffer
   EXPECT_EQ(c.calls, 1);
   EXPECT_EQ(c.pos, 1024u);
   EXPECT_EQ(c.stream->ioBytes, 1024u);
   EXPECT_EQ(c.lastChar, 0);
   Octets target(3000);
   EXPECT_EQ(rtxReadBytes(&c, target.data(), 2000), 0); // past the buffer
   EXPECT_EQ(c.calls, 2);
   EXPECT_EQ(target[1999], c.octets[2000]);
   EXPECT_EQ(rtxCtxtGetBitOffset(&c), 2001u * 8);
   EXPECT_EQ(rtxSkipBytes(&c, 9), 0);
   EXPECT_EQ(rtxPeekByte(&c, &octet), 1);
   EXPECT_EQ(octet, c.octets[2010]);
   EXPECT_EQ(rtxMoveBitCursor(&c, 3), 0);
   EXPECT_EQ(after(c, rtxMoveBitCursor(&c, 1000 * 8 + 2)), After(0, 3010u * 8 + 5)); // past what is loaded
   EXPECT_EQ(rtxMoveBitCursor(&c, -5), 0);
   uint8_t* data = nullptr;
   uint8_t allocated = 0;
   EXPECT_EQ(rtxReadBytesDynamic(&c, &data, 20, &allocated), 0);
   EXPECT_EQ(data[19], c.octets[3029]);
   size_t got = 0;
   EXPECT_EQ(rtxPeekBytes(&c, target.data(), 3000, 2000, &got), 0);
   EXPECT_EQ(got, 970u);
   EXPECT_EQ(rtxCtxtGetBitOffset(&c), 3030u * 8);
   EXPECT_EQ(rtxReadBytesDynamic(&c, &data, 1025, &allocated), RTX_E_END_OF_STREAM);
   EXPECT_EQ(allocated, 0);
   EXPECT_EQ(rtxPeekByte(&c, &octet), 0);
   EXPECT_EQ(c.cleared(rtxDecBit(&c, &octet)), RTX_E_END_OF_STREAM);
   EXPECT_EQ(rtxStreamRead(&c, target.data(), 5), 0); // the end is no failure here
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 0u);
}

TEST(Input, LongReadsAllocateAndCapture) {
   Transport transport{counted(3000)};
   Context c;
   RtxMemBuf capture;
   rtxMemBufInit(&c, &capture, 256);
   attach(&c, transport, RTX_STREAM_READ);
   rtxStreamSetCapture(&c, &capture);
   uint8_t* data = nullptr;
   uint8_t allocated = 0;
   EXPECT_EQ(rtxReadBytesDynamic(&c, &data, 1500, &allocated), 0);
   EXPECT_EQ(allocated, 1);
   EXPECT_EQ(data[1499], transport.octets[1499]);
   EXPECT_EQ(rtxReadBytes(&c, nullptr, 1500), 0); // passes over them
   EXPECT_EQ(rtxMemBufGetDataLen(&capture), 3000u);
   EXPECT_EQ(std::memcmp(capture.bufferData, transport.octets.data(), 3000), 0);
   EXPECT_EQ(rtxReadBytes(&c, nullptr, 1), RTX_E_END_OF_STREAM);
   rtxMemBufFree(&capture);
}

TEST(Input, MarkInTheBufferSurvivesLongReads) {
   Streamed c(RTX_STREAM_READ, counted(6000));
   c.chunk = 700;
   Octets target(5000);
   EXPECT_EQ(rtxReadBytes(&c, target.data(), 10), 0);
   size_t pos = 9;
   EXPECT_EQ(rtxMarkPos(&c, &pos), 0);
   EXPECT_EQ(pos, 0u);
   EXPECT_EQ(rtxReadBytes(&c, target.data(), 3000), 0); // more than the buffer, which grows
   EXPECT_GE(c.stream->ctxtBufSize, 3000u);
   EXPECT_EQ(rtxMoveBitCursor(&c, 500 * 8), 0);
   EXPECT_EQ(rtxMarkPos(&c, &pos), 0);
   EXPECT_EQ(pos, 3500u);
   EXPECT_EQ(rtxResetToPos(&c, 5), 0); // back, the mark stays
   EXPECT_EQ(rtxReadBytes(&c, target.data(), 1), 0);
   EXPECT_EQ(target[0], c.octets[15]);
   EXPECT_EQ(rtxResetToPos(&c, 0), 0);
   EXPECT_EQ(rtxReadBytes(&c, target.data(), 5000), 0);
   EXPECT_TRUE(std::equal(target.begin(), target.end(), c.octets.begin() + 10));
}

TEST(Input, PositionsOfTheTransport) {
   Streamed c(RTX_STREAM_READ, counted(6000), true);
   uint8_t octet = 0;
   EXPECT_EQ(rtxReadBytes(&c, &octet, 1), 0);
   EXPECT_EQ(rtxReadBytes(&c, nullptr, 2000), 0);
   EXPECT_EQ(rtxReadBytes(&c, nullptr, 10), 0); // 1024 octets from 2001 on are in the buffer
   const int calls = c.calls;
   EXPECT_EQ(rtxResetToPos(&c, 2003), 0);
   EXPECT_EQ(rtxReadBytes(&c, &octet, 1), 0);
   EXPECT_EQ(octet, c.octets[2003]);
   EXPECT_EQ(c.calls, calls);
   for (size_t pos : {7u, 5500u}) { // before the buffer, and behind it
      EXPECT_EQ(rtxResetToPos(&c, pos), 0);
      EXPECT_EQ(rtxCtxtGetBitOffset(&c), pos * 8);
      EXPECT_EQ(rtxReadBytes(&c, &octet, 1), 0);
      EXPECT_EQ(octet, c.octets[pos]);
   }
   c.stream->flags &= static_cast<uint16_t>(~RTX_STREAM_CTXT_BUF);
   c.stream->setPos = nullptr;
   size_t pos;
   EXPECT_EQ(rtxMarkPos(&c, &pos), 0); // its own position, then
   EXPECT_EQ(pos, c.pos);
   EXPECT_EQ(rtxResetToPos(&c, 1), RTX_E_UNSUPPORTED);
   c.stream->getPos = nullptr;
   EXPECT_EQ(rtxMarkPos(&c, &pos), RTX_E_UNSUPPORTED);
   EXPECT_EQ(c.parms(), (std::vector<std::string>{"stream set position", "stream get position"}));
   c.stream->flags |= RTX_STREAM_CTXT_BUF;
}

TEST(Input, LimitAndFailures) {
   Streamed c(RTX_STREAM_READ, counted(100));
   ASSERT_EQ(rtxStreamInitCtxtBuf(&c), 0);
   c.stream->inputLimit = 10;
   Octets target(20);
   EXPECT_EQ(after(c, rtxReadBytes(&c, target.data(), 20)), After(RTX_E_END_OF_STREAM, 80u));
   EXPECT_EQ(c.cleared(rtxReadBytes(&c, target.data(), 1)), RTX_E_END_OF_DATA); // all is loaded
   c.stream->inputLimit = SIZE_MAX;
   c.failure = RTX_E_FILE_READ;
   uint32_t value;
   EXPECT_EQ(rtxDecBits(&c, &value, 9), RTX_E_FILE_READ);
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 1u);
   EXPECT_EQ(rtxStreamInitCtxtBuf(&c), RTX_E_MULTIPLE);
   EXPECT_EQ(rtxErrGetLastError(&c), RTX_E_CANNOT_DO);
   EXPECT_EQ(c.parms(), std::vector<std::string>{"context buffer pointer already set"});
   rtxErrReset(&c);
   EXPECT_EQ(rtxPeekBits(&c, &value, 0), RTX_E_UNSUPPORTED); // can't go back in a stream
}

TEST(Input, TheLimitHoldsPastTheBuffer) {
   Streamed c(RTX_STREAM_READ, counted(6000));
   Octets target(6000);
   EXPECT_EQ(rtxReadBytes(&c, target.data(), 1), 0);
   c.stream->inputLimit = 3000;
   EXPECT_EQ(rtxReadBytes(&c, target.data(), 5000), RTX_E_END_OF_STREAM);
   EXPECT_EQ(c.pos, 3000u); // what lies behind it is another's
}

TEST(Streams, NoneOrTheWrongWay) {
   Transport transport{counted(10)};
   Context c;
   Octets target(10);
   for (ptrdiff_t status : std::initializer_list<ptrdiff_t>{
              rtxStreamRead(&c, target.data(), 1), rtxStreamWrite(&c, target.data(), 1),
              rtxStreamGetIOBytes(&c, nullptr), rtxStreamInitCtxtBuf(&c), rtxStreamLoadInputBuffer(&c, 1)})
      EXPECT_EQ(status, RTX_E_NOT_INIT);
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 1u);
   rtxErrReset(&c);
   for (int status : {rtxStreamSkip(&c, 1), rtxStreamFlush(&c), rtxStreamLoadInputBuffer(nullptr, 1)})
      EXPECT_EQ(status, RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtxStreamClose(&c), 0);
   EXPECT_EQ(rtxStreamRelease(&c), 0);
   EXPECT_EQ(rtxStreamGetCapture(&c), nullptr);
   rtxErrReset(&c);

   attach(&c, transport, RTX_STREAM_READ);
   transport.chunk = 4;
   EXPECT_EQ(rtxStreamRead(&c, target.data(), 0), 0);
   EXPECT_EQ(rtxStreamRead2(&c, target.data(), 10, 5), RTX_E_BUFFER_FULL);
   EXPECT_EQ(c.cleared(rtxStreamRead2(&c, target.data(), 10, 0)), 0);
   EXPECT_EQ(rtxStreamWrite(&c, target.data(), 1), RTX_E_NOT_INIT);
   EXPECT_EQ(rtxStreamRead2(&c, target.data(), 3, 10), 4);
   EXPECT_EQ(rtxStreamRead(&c, target.data(), 10), 6);
   rtxErrReset(&c);
   c.stream->flags = 0;
   EXPECT_EQ(rtxStreamClose(&c), RTX_E_NOT_INIT);
   EXPECT_EQ(rtxStreamRelease(&c), 0);
   EXPECT_EQ(c.stream, nullptr);
   EXPECT_FALSE(transport.closed);
}

} // namespace
