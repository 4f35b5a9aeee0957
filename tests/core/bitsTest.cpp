// Reading and writing bits and octets: the edges. What lies between them is compared with a model elsewhere.
#include "coreTest.h"

namespace {

TEST(ReadBits, ShortageLeavesTheCursor) {
   Octets octets{0xFF, 0xFF};
   Context c(octets);
   uint32_t value = 99;
   uint64_t wide;
   uint8_t octet = 7;
   c.at(0, 3);
   EXPECT_EQ(after(c, rtxDecBits(&c, &value, 12)), After(RTX_E_END_OF_DATA, 5));
   EXPECT_EQ(value, 99u);
   EXPECT_EQ(after(c, rtxDecBitsToUInt64(&c, &wide, 12)), After(RTX_E_END_OF_DATA, 5));
   c.at(1, 5);
   EXPECT_EQ(after(c, rtxDecBitsToByte(&c, &octet, 7)), After(RTX_E_END_OF_DATA, 11));
   c.at(2, 8);
   EXPECT_EQ(after(c, rtxDecBit(&c, &octet)), After(RTX_E_END_OF_DATA, 16));
   EXPECT_EQ(octet, 7);
   EXPECT_EQ(after(c, rtxDecBits(&c, &value, 0)), After(0, 16)); // needs no octet
   c.at(1, 5);
   EXPECT_EQ(after(c, rtxDecBitsToByte(&c, nullptr, 7)), After(RTX_E_END_OF_DATA, 18)); // a move
}

TEST(ReadBits, WidthsBeyondTheTarget) {
   Octets octets(16, 0xFF);
   Context c(octets);
   uint8_t u8;
   uint16_t u16;
   uint32_t u32;
   uint64_t u64;
   size_t size;
   for (int status : {rtxDecBitsToByte(&c, &u8, 9), rtxDecBitsToUInt16(&c, &u16, 17),
                      rtxDecBits(&c, &u32, 33), rtxDecBitsToUInt64(&c, &u64, 65),
                      rtxDecBitsToSize(&c, &size, 65), rtxDecBits(&c, &u32, static_cast<size_t>(-1))})
      EXPECT_EQ(status, RTX_E_OVERFLOW);
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 1u);
   EXPECT_EQ(after(c, 0), After(0, 0));
   c.at(0, 7);
   EXPECT_EQ(after(c, rtxDecBitsToUInt64(&c, &u64, 64)), After(0, 65)); // nine octets
   EXPECT_EQ(u64, UINT64_MAX);
}

TEST(ReadBits, BitStrings) {
   Octets octets{0xAB, 0xCD, 0xEF};
   Context c(octets);
   uint8_t buf[3] = {0xFF, 0xFF, 0xFF};
   EXPECT_EQ(after(c, rtxDecBitsToByteArray(&c, buf, 1, 12)), After(RTX_E_TOO_SMALL, 0));
   EXPECT_EQ(after(c, rtxDecBitsToByteArray(&c, buf, 2, 12)), After(0, 12));
   EXPECT_EQ(buf[1], 0xC0);
   // Whole octets that are there are taken before the shortage shows, on a boundary and off it.
   c.at(1, 8);
   EXPECT_EQ(after(c, rtxDecBitsToByteArray(&c, buf, 3, 24)), After(RTX_E_END_OF_DATA, 24));
   c.at(0, 4);
   EXPECT_EQ(after(c, rtxDecBitsToByteArray(&c, buf, 3, 24)), After(RTX_E_END_OF_DATA, 20));
   c.at(0, 8);
   EXPECT_EQ(after(c, rtxDecBitsToByteArray(&c, nullptr, 0, 20)), After(0, 20));
   EXPECT_EQ(rtxDecBitsToByteArray(&c, nullptr, 0, size_t{1} << 40), RTX_E_END_OF_DATA);
}

TEST(PeekAndMove, LeaveOrMoveTheCursor) {
   Octets octets{0x5A, 0xC3};
   Context c(octets);
   uint8_t bit = 0;
   uint32_t value = 0;
   c.at(0, 7);
   EXPECT_EQ(after(c, rtxPeekBit(&c, &bit)), After(0, 1));
   EXPECT_EQ(bit, 1);
   EXPECT_EQ(after(c, rtxPeekBits(&c, &value, 15)), After(0, 1));
   EXPECT_EQ(value, 0x5AC3u);
   EXPECT_EQ(after(c, rtxPeekBits(&c, &value, 16)), After(RTX_E_END_OF_DATA, 1));

   c.at(1, 8);
   EXPECT_EQ(after(c, rtxMoveBitCursor(&c, 8)), After(0, 16)); // just at the end
   c.at(1, 8);
   EXPECT_EQ(after(c, rtxMoveBitCursor(&c, 9)), After(RTX_E_END_OF_DATA, 17)); // not undone
   EXPECT_EQ(after(c, rtxMoveBitCursor(&c, -17)), After(0, 0));
   EXPECT_EQ(after(c, rtxMoveBitCursor(&c, -1)), After(RTX_E_END_OF_DATA, 0));
   EXPECT_EQ(after(c, rtxMoveBitCursor(&c, INT32_MIN)), After(RTX_E_END_OF_DATA, 0));
   EXPECT_EQ(after(c, rtxSkipBits(&c, 5)), After(0, 5));
   EXPECT_EQ(after(c, rtxSkipBits(&c, static_cast<uint32_t>(-3))), After(0, 2)); // counts as signed

   EXPECT_EQ(after(c, rtxSkipBytes(&c, 1)), After(0, 10));
   EXPECT_EQ(after(c, rtxSkipBytes(&c, 1)), After(RTX_E_END_OF_DATA, 18)); // inside the octet behind the end
   c.at(0, 8);
   EXPECT_EQ(after(c, rtxSkipBytes(&c, 2)), After(0, 16));
   EXPECT_EQ(after(c, rtxSkipBytes(&c, 7)), After(RTX_E_END_OF_DATA, 72));
   EXPECT_EQ(rtxSkipBytes(&c, SIZE_MAX), RTX_E_END_OF_DATA); // does not come round to the start
   EXPECT_EQ(rtxDecBits(&c, &value, 8), RTX_E_END_OF_DATA);
   EXPECT_EQ(rtxEncBits(&c, 1, 17), RTX_E_MULTIPLE);
   EXPECT_EQ(rtxErrGetLastError(&c), RTX_E_BUFFER_FULL);
}

TEST(PeekAndMove, MarksAndResets) {
   Octets octets(4);
   Context c(octets);
   size_t pos = 1;
   c.at(2, 3);
   EXPECT_EQ(rtxCtxtMarkBitPos(&c, &pos), 0);
   EXPECT_EQ(pos, 21u);
   EXPECT_EQ(after(c, rtxCtxtResetToBitPos(&c, 9)), After(0, 9));
   EXPECT_EQ(rtxMarkPos(&c, &pos), 0);
   EXPECT_EQ(pos, 1u);
   EXPECT_EQ(after(c, rtxResetToPos(&c, 3)), After(0, 25)); // bits are not part of it
   c.bufByteIndex = SIZE_MAX / 8;                           // the last one whose bits can be counted
   EXPECT_EQ(rtxCtxtMarkBitPos(&c, &pos), 0);
   EXPECT_EQ(pos, SIZE_MAX - 6);
   ++c.bufByteIndex;
   EXPECT_EQ(rtxCtxtMarkBitPos(&c, &pos), RTX_E_OVERFLOW);
   EXPECT_EQ(pos, 0u);
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 0u);
   EXPECT_EQ(rtxCtxtSetBitOffset(&c, 1000), 0); // trusted
}

TEST(ReadOctets, CopiesAndPointers) {
   Octets octets{1, 2, 3, 4};
   Context c(octets);
   uint8_t buf[4] = {};
   EXPECT_EQ(rtxReadBytes(&c, buf, 2), 0);
   EXPECT_EQ(buf[1], 2);
   EXPECT_EQ(c.lastChar, 2);
   EXPECT_EQ(rtxReadBytesSafe(&c, buf, 1, 2), RTX_E_BUFFER_FULL);
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 0u);
   EXPECT_EQ(rtxReadBytesSafe(&c, nullptr, 1, 1), 0);
   EXPECT_EQ(c.lastChar, 3);
   uint8_t* data = nullptr;
   uint8_t allocated = 9;
   EXPECT_EQ(rtxReadBytesDynamic(&c, &data, 1, &allocated), 0);
   EXPECT_EQ(data, &octets[3]);
   EXPECT_EQ(allocated, 0);
   EXPECT_EQ(rtxReadBytesDynamic(&c, &data, 1, &allocated), RTX_E_END_OF_DATA);
   EXPECT_EQ(rtxReadBytes(&c, buf, SIZE_MAX), RTX_E_END_OF_DATA);
   EXPECT_EQ(rtxPeekByte(&c, buf), 0);
   c.at(2, 5); // the position inside the octet plays no part
   EXPECT_EQ(rtxPeekByte(&c, buf), 1);
   EXPECT_EQ(buf[0], 3);
   size_t got = 9;
   EXPECT_EQ(after(c, rtxPeekBytes(&c, buf, 4, 4, &got)), After(0, 19));
   EXPECT_EQ(got, 2u);
   EXPECT_EQ(buf[1], 4);
   EXPECT_EQ(rtxPeekBytes(&c, buf, 1, 4, &got), 0);
   EXPECT_EQ(got, 1u);
}

TEST(ReadIntegers, SignsAndLimits) {
   Octets octets{0x80, 0x01, 0xFF, 0xFE, 0x00, 0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0};
   Context c(octets);
   // The value that a function reads from `count` octets at a bit offset.
   const auto read = [&]<typename T>(int (*function)(RtxContext*, T*, size_t), size_t offset, size_t count) {
      T value = 77;
      rtxCtxtSetBitOffset(&c, offset);
      EXPECT_EQ(after(c, function(&c, &value, count)), After(0, offset + 8 * count));
      return value;
   };
   EXPECT_EQ(read(rtxDecInt16, 8, 1), 1);
   EXPECT_EQ(read(rtxDecInt16, 8, 0), 0);
   EXPECT_EQ(read(rtxDecInt32, 16, 2), -2);
   EXPECT_EQ(read(rtxDecInt64, 0, 3), -0x7FFE01);
   EXPECT_EQ(read(rtxDecUInt32, 32, 5), 0x12345678u); // a leading 0
   EXPECT_EQ(read(rtxDecUInt32, 32, 0), 0u);
   EXPECT_EQ(read(rtxDecUInt64, 32, 9), 0x123456789ABCDEF0u);
   EXPECT_EQ(read(rtxDecUInt16, 36, 2), 0x0123u); // inside an octet
   uint8_t u8;
   int8_t i8;
   EXPECT_EQ(rtxDecUInt8(&c, &u8), 0);
   EXPECT_EQ(u8, 0x45);
   c.at(0, 8);
   EXPECT_EQ(rtxDecInt8(&c, &i8), 0);
   EXPECT_EQ(i8, -128);
   EXPECT_EQ(after(c, rtxDecInt8(&c, nullptr)), After(0, 16));

   uint32_t u32;
   uint16_t u16;
   int32_t i32;
   const std::pair<int, size_t> overflows[] = {
         {(c.at(3, 8), rtxDecUInt32(&c, &u32, 5)), c.bufByteIndex}, // a leading octet that is not 0
         {(c.at(4, 8), rtxDecUInt16(&c, &u16, 4)), c.bufByteIndex}, // too many in any case
         {(c.at(3, 8), rtxDecInt32(&c, &i32, 5)), c.bufByteIndex},
         {(c.at(3, 4), rtxDecInt32(&c, &i32, 5)), c.bufByteIndex},
   };
   for (const auto& overflow : overflows)
      EXPECT_EQ(overflow, After(RTX_E_OVERFLOW, 8)); // the octets are consumed first
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 1u);
   c.at(12, 8);
   EXPECT_EQ(rtxDecUInt32(&c, &u32, 100), RTX_E_MULTIPLE); // shortage comes first
   EXPECT_EQ(rtxErrGetLastError(&c), RTX_E_END_OF_DATA);
}

TEST(WriteBits, WidthsBeyondTheSource) {
   Octets octets(16);
   Context c(octets);
   for (int status : {rtxEncBits(&c, 1, 33), rtxEncBitsFromSize(&c, 1, 65), rtxMergeBits(&c, 1, 33),
                      rtxMergeBits(&c, 1, -1), rtxEncUInt32(&c, 1, 3)})
      EXPECT_EQ(status, RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(after(c, rtxMergeBits(&c, 1, 0)), After(0, 0));
   EXPECT_EQ(rtxEncUInt32(&c, 0x12345678, 2), 0); // high octets are lost
   EXPECT_EQ(c.lastChar, 0x78);
}

TEST(WriteBits, FullBufferKeepsWhatIsThere) {
   Octets octets{0, 0, 0x77};
   Context c;
   rtxCtxtSetBufPtr(&c, octets.data(), 2);
   EXPECT_EQ(rtxEncBits(&c, 0x1FFF, 13), 0);
   EXPECT_EQ(rtxEncBits(&c, 0, 4), RTX_E_BUFFER_FULL);
   EXPECT_EQ(rtxMergeBits(&c, 0, 4), RTX_E_MULTIPLE); // each shortage of room makes a new record
   EXPECT_EQ(c.cleared(rtxErrGetLastError(&c)), RTX_E_BUFFER_FULL);
   const uint8_t source[8] = {};
   EXPECT_EQ(after(c, rtxEncBitsFromByteArray(&c, source, 4)), After(RTX_E_BUFFER_FULL, 13));
   EXPECT_EQ(after(c, rtxEncBits(&c, 7, 3)), After(0, 16)); // the last bits still fit
   EXPECT_EQ(after(c, rtxEncBit(&c, 1)), After(RTX_E_BUFFER_FULL, 16));
   EXPECT_EQ(after(c, rtxWriteBytes(&c, source, 1)), After(RTX_E_BUFFER_FULL, 16));
   EXPECT_EQ(after(c, rtxEncBitsPattern(&c, 0x2B, 33)), After(RTX_E_BUFFER_FULL, 16));
   rtxCtxtSetBitOffset(&c, 19); // beyond the buffer, inside an octet
   EXPECT_EQ(rtxEncBit(&c, 1), RTX_E_BUFFER_FULL);
   EXPECT_EQ(octets, (Octets{0xFF, 0xFF, 0x77}));
}

TEST(BitTools, SingleBits) {
   uint8_t octets[2] = {0x80, 0x01};
   EXPECT_EQ(rtxSetBit(octets, 16, 0), 0x80);
   EXPECT_EQ(rtxSetBit(octets, 16, 9), 0);
   EXPECT_EQ(octets[1], 0x41);
   EXPECT_EQ(rtxClearBit(octets, 16, 15), 0x01);
   EXPECT_EQ(rtxClearBit(octets, 16, 16), RTX_E_INDEX);
   EXPECT_EQ(rtxSetBit(octets, 10, 10), RTX_E_INDEX);
   EXPECT_EQ(octets[1], 0x40);
   EXPECT_TRUE(rtxTestBit(octets, 16, 9));
   EXPECT_FALSE(rtxTestBit(octets, 9, 9));
   EXPECT_EQ(rtxLastBitSet(octets, 16), 9);
   EXPECT_EQ(rtxLastBitSet(octets, 9), 0); // bits behind the count don't matter
   octets[0] = 0;
   EXPECT_EQ(rtxLastBitSet(octets, 9), -1);
   EXPECT_EQ(rtxLastBitSet(nullptr, 0), -1);
   EXPECT_EQ(rtxSetBitFlags(0x11, 0x06, 1), 0x17u);
   EXPECT_EQ(rtxSetBitFlags(0x17, 0x06, 0), 0x11u);
   uint8_t tail[2] = {0xFF, 0xF1};
   EXPECT_EQ(rtxCheckUnusedBitsZero(tail, 12), RTX_E_UNUSED_BITS);
   EXPECT_EQ(rtxCheckUnusedBitsZero(tail, 16), 0);
   EXPECT_EQ(rtxZeroUnusedBits(tail, 12), 0);
   EXPECT_EQ(tail[1], 0xF0);
   EXPECT_EQ(rtxCheckUnusedBitsZero(tail, 12), 0);
   EXPECT_EQ(rtxZeroUnusedBits(nullptr, 8), 0);
   EXPECT_EQ(rtxZeroUnusedBits(nullptr, 9), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtxCheckUnusedBitsZero(nullptr, 9), RTX_E_BAD_ARGUMENT);
}

TEST(BitTools, GrowingBitString) {
   const struct {
      size_t have, wanted, preferred, result;
   } cases[] = {
         {0, 1, 0, 32},      {0, 1, 80, 10},      {0, 300, 0, 38},    {0, 0, 0, 0},
         {32, 256, 0, 32},   {32, 257, 0, 48},    {32, 257, 320, 40}, {32, 400, 8, 50},
         {32, 1000, 0, 125}, {40, 328, 4800, 60}, {32, 300, 80, 38},
   };
   for (const auto& test : cases) {
      Context c;
      size_t capacity = test.have;
      auto* data = test.have != 0 ? static_cast<uint8_t*>(rtxMemHeapAlloc(&c, test.have)) : nullptr;
      if (data != nullptr) std::memset(data, 0xEE, test.have);
      ASSERT_EQ(rtxCheckBitBounds(&c, &data, &capacity, test.wanted, test.preferred), 0);
      EXPECT_EQ(capacity, test.result) << test.have << ' ' << test.wanted;
      EXPECT_EQ(std::count(data, data + capacity, 0xEE), static_cast<ptrdiff_t>(test.have));
      EXPECT_EQ(std::count(data, data + capacity, 0), static_cast<ptrdiff_t>(capacity - test.have));
      rtxMemHeapFreePtr(&c, data);
      EXPECT_TRUE(rtxMemHeapIsEmpty(&c)); // the old octets are gone
   }
}

TEST(BitTools, SizesOfNumbers) {
   const struct {
      uint32_t (*count)(int64_t);
      std::vector<std::pair<int64_t, uint32_t>> cases;
   } tables[] = {
         {[](int64_t value) { return rtxIntByteCount(static_cast<int32_t>(value)); },
          {{0, 1}, {127, 1}, {128, 2}, {-128, 1}, {-129, 2}, {32768, 3}, {-8388608, 3}, {INT32_MIN, 4}}},
         {[](int64_t value) { return rtxGetIdentByteCount(static_cast<uint32_t>(value)); },
          {{0, 1}, {127, 1}, {128, 2}, {0x1FFFFF, 3}, {0xFFFFFFF, 4}, {0x10000000, 5}, {UINT32_MAX, 5}}},
         {[](int64_t value) { return rtxOctetBitLen(static_cast<uint8_t>(value)); },
          {{0, 0}, {0x80, 1}, {0x40, 2}, {1, 8}, {0xC0, 2}, {0xFF, 8}}},
         {[](int64_t value) { return static_cast<uint32_t>(rtxLog10Floor(static_cast<uint32_t>(value))); },
          {{0, UINT32_MAX}, {1, 0}, {9, 0}, {10, 1}, {99, 1}, {100, 2}, {UINT32_MAX, 9}}},
   };
   for (const auto& table : tables)
      for (const auto& [value, count] : table.cases) EXPECT_EQ(table.count(value), count) << value;
   EXPECT_EQ(rtxSizeByteCount(1), 7u);
   EXPECT_EQ(rtxSizeByteCount(size_t{1} << 56), 8u);
   for (uint32_t bits = 1; bits <= 32; ++bits) {
      const uint32_t top = 1u << (bits - 1);
      EXPECT_EQ(rtxUInt32BitLen(top), bits);
      EXPECT_EQ(rtxGetBitCount(top | 1), bits);
      EXPECT_EQ(rtxUInt64BitLen(uint64_t{top} << 32), bits + 32);
      EXPECT_EQ(rtxLog2Floor(top), bits - 1);
      EXPECT_EQ(rtxLog2Ceil(top), std::max(1u, bits - 1));
      EXPECT_TRUE(bits == 1 || rtxLog2Ceil(size_t{top} + 1) == bits);
   }
   EXPECT_EQ(rtxUInt32BitLen(0), 0u);
   EXPECT_EQ(rtxUInt64BitLen(0), 0u);
   EXPECT_EQ(rtxLog2Floor(0), 0u);
   EXPECT_EQ(rtxLog2Ceil(0), 1u);
}

} // namespace
