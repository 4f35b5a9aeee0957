// Reading and writing bits and octets: the edges. What lies between them is compared with a model elsewhere.
#include "coreTest.h"

namespace {

size_t offsetOf(const RtxContext& c) {
   return rtxCtxtGetBitOffset(&c);
}

TEST(ReadBits, OneOctet) {
   Octets octets{0xA5};
   Context c(octets);
   uint32_t value = 0;
   EXPECT_EQ(rtxDecBits(&c, &value, 4), 0);
   EXPECT_EQ(value, 10u);
   EXPECT_EQ(c.bufBitsLeft, 4);
   EXPECT_EQ(rtxDecBits(&c, &value, 4), 0);
   EXPECT_EQ(value, 5u);
   EXPECT_EQ(c.bufByteIndex, 1u);
   EXPECT_EQ(c.bufBitsLeft, 8);
   uint8_t bit = 7;
   EXPECT_EQ(rtxDecBit(&c, &bit), RTX_E_END_OF_DATA);
   EXPECT_EQ(bit, 7);
   EXPECT_EQ(rtxDecBits(&c, &value, 0), 0); // needs no octet
   EXPECT_EQ(value, 0u);
   EXPECT_EQ(rtxErrGetStatus(&c), RTX_E_END_OF_DATA);
}

TEST(ReadBits, ShortageLeavesTheCursor) {
   Octets octets{0xFF, 0xFF};
   Context c(octets);
   c.at(0, 3);
   uint32_t value = 99;
   EXPECT_EQ(rtxDecBits(&c, &value, 12), RTX_E_END_OF_DATA);
   EXPECT_EQ(offsetOf(c), 5u);
   EXPECT_EQ(value, 99u);
   uint64_t wide;
   EXPECT_EQ(rtxDecBitsToUInt64(&c, &wide, 12), RTX_E_END_OF_DATA);
   EXPECT_EQ(offsetOf(c), 5u);
   uint8_t octet;
   c.at(1, 5);
   EXPECT_EQ(rtxDecBitsToByte(&c, &octet, 7), RTX_E_END_OF_DATA);
   EXPECT_EQ(offsetOf(c), 11u);
   EXPECT_EQ(rtxDecBitsToByte(&c, nullptr, 7), RTX_E_END_OF_DATA); // with no target it is a move
   EXPECT_EQ(offsetOf(c), 18u);
}

TEST(ReadBits, WidthsBeyondTheTarget) {
   Octets octets(16, 0xFF);
   Context c(octets);
   uint8_t u8;
   uint16_t u16;
   uint32_t u32;
   uint64_t u64;
   size_t size;
   EXPECT_EQ(rtxDecBitsToByte(&c, &u8, 9), RTX_E_OVERFLOW);
   EXPECT_EQ(rtxDecBitsToUInt16(&c, &u16, 17), RTX_E_OVERFLOW);
   EXPECT_EQ(rtxDecBits(&c, &u32, 33), RTX_E_OVERFLOW);
   EXPECT_EQ(rtxDecBitsToUInt64(&c, &u64, 65), RTX_E_OVERFLOW);
   EXPECT_EQ(rtxDecBitsToSize(&c, &size, 65), RTX_E_OVERFLOW);
   EXPECT_EQ(rtxDecBits(&c, &u32, static_cast<size_t>(-1)), RTX_E_OVERFLOW);
   EXPECT_EQ(offsetOf(c), 0u);
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 1u);
   c.at(0, 7);
   EXPECT_EQ(rtxDecBitsToUInt64(&c, &u64, 64), 0); // nine octets
   EXPECT_EQ(u64, UINT64_MAX);
   EXPECT_EQ(rtxDecBitsToSize(&c, &size, 55), 0);
   EXPECT_EQ(offsetOf(c), 120u);
}

TEST(ReadBits, BitStrings) {
   Octets octets{0xAB, 0xCD, 0xEF};
   Context c(octets);
   uint8_t buf[3] = {0xFF, 0xFF, 0xFF};
   EXPECT_EQ(rtxDecBitsToByteArray(&c, buf, 1, 12), RTX_E_TOO_SMALL);
   rtxErrReset(&c);
   EXPECT_EQ(rtxDecBitsToByteArray(&c, buf, 2, 12), 0);
   EXPECT_EQ(buf[0], 0xAB);
   EXPECT_EQ(buf[1], 0xC0);
   EXPECT_EQ(offsetOf(c), 12u);
   EXPECT_EQ(rtxDecBitsToByteArray(&c, buf, 3, 0), 0);
   EXPECT_EQ(rtxDecBitsToByteArray(&c, buf, 3, 12), 0);
   EXPECT_EQ(buf[0], 0xDE);
   EXPECT_EQ(buf[1], 0xF0);
   EXPECT_EQ(offsetOf(c), 24u);
   EXPECT_EQ(rtxDecBitsToByteArray(&c, buf, 3, 1), RTX_E_END_OF_DATA);
   // Whole octets that are there are taken before the shortage shows, on a boundary and off it.
   c.at(1, 8);
   EXPECT_EQ(rtxDecBitsToByteArray(&c, buf, 3, 24), RTX_E_END_OF_DATA);
   EXPECT_EQ(offsetOf(c), 24u);
   c.at(0, 4);
   EXPECT_EQ(rtxDecBitsToByteArray(&c, buf, 3, 24), RTX_E_END_OF_DATA);
   EXPECT_EQ(offsetOf(c), 20u);
   c.at(0, 8);
   EXPECT_EQ(rtxDecBitsToByteArray(&c, nullptr, 0, 20), 0);
   EXPECT_EQ(offsetOf(c), 20u);
   EXPECT_EQ(rtxDecBitsToByteArray(&c, nullptr, 0, size_t{1} << 40), RTX_E_END_OF_DATA);
}

TEST(PeekAndMove, LeaveOrMoveTheCursor) {
   Octets octets{0x5A, 0xC3};
   Context c(octets);
   uint8_t bit = 0;
   uint32_t value = 0;
   c.at(0, 7);
   EXPECT_EQ(rtxPeekBit(&c, &bit), 0);
   EXPECT_EQ(bit, 1);
   EXPECT_EQ(rtxPeekBits(&c, &value, 15), 0);
   EXPECT_EQ(value, 0x5AC3u);
   EXPECT_EQ(offsetOf(c), 1u);
   EXPECT_EQ(rtxPeekBits(&c, &value, 16), RTX_E_END_OF_DATA);
   EXPECT_EQ(offsetOf(c), 1u);

   c.at(1, 8);
   EXPECT_EQ(rtxMoveBitCursor(&c, 8), 0); // just at the end
   EXPECT_EQ(offsetOf(c), 16u);
   c.at(1, 8);
   EXPECT_EQ(rtxMoveBitCursor(&c, 9), RTX_E_END_OF_DATA);
   EXPECT_EQ(offsetOf(c), 17u); // not undone
   EXPECT_EQ(rtxMoveBitCursor(&c, -17), 0);
   EXPECT_EQ(rtxMoveBitCursor(&c, -1), RTX_E_END_OF_DATA);
   EXPECT_EQ(rtxMoveBitCursor(&c, INT32_MIN), RTX_E_END_OF_DATA);
   EXPECT_EQ(offsetOf(c), 0u);
   EXPECT_EQ(rtxSkipBits(&c, 5), 0);
   EXPECT_EQ(rtxSkipBits(&c, static_cast<uint32_t>(-3)), 0); // counts as signed
   EXPECT_EQ(offsetOf(c), 2u);

   EXPECT_EQ(rtxSkipBytes(&c, 0), 0);
   EXPECT_EQ(rtxSkipBytes(&c, 1), 0);
   EXPECT_EQ(offsetOf(c), 10u);
   EXPECT_EQ(rtxSkipBytes(&c, 1), RTX_E_END_OF_DATA); // inside the octet behind the end
   EXPECT_EQ(offsetOf(c), 18u);
   c.at(0, 8);
   EXPECT_EQ(rtxSkipBytes(&c, 2), 0);
   EXPECT_EQ(rtxSkipBytes(&c, 7), RTX_E_END_OF_DATA);
   EXPECT_EQ(c.bufByteIndex, 9u);
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
   EXPECT_EQ(rtxCtxtResetToBitPos(&c, 9), 0);
   EXPECT_EQ(c.bufBitsLeft, 7);
   EXPECT_EQ(rtxMarkPos(&c, &pos), 0);
   EXPECT_EQ(pos, 1u);
   EXPECT_EQ(rtxResetToPos(&c, 3), 0);
   EXPECT_EQ(c.bufByteIndex, 3u);
   EXPECT_EQ(c.bufBitsLeft, 7); // not part of it
   EXPECT_EQ(rtxCtxtGetIOByteCount(&c), 3u);
   c.bufByteIndex = SIZE_MAX / 2;
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
   EXPECT_EQ(rtxReadBytes(&c, buf, 0), 0);
   EXPECT_EQ(rtxReadBytes(&c, buf, SIZE_MAX), RTX_E_END_OF_DATA);
   EXPECT_EQ(rtxPeekByte(&c, buf), 0);
   c.at(2, 5); // the position inside the octet plays no part
   EXPECT_EQ(rtxPeekByte(&c, buf), 1);
   EXPECT_EQ(buf[0], 3);
   size_t got = 9;
   EXPECT_EQ(rtxPeekBytes(&c, buf, 4, 4, &got), 0);
   EXPECT_EQ(got, 2u);
   EXPECT_EQ(buf[1], 4);
   EXPECT_EQ(rtxPeekBytes(&c, buf, 1, 4, &got), 0);
   EXPECT_EQ(got, 1u);
   EXPECT_EQ(offsetOf(c), 19u);
}

TEST(ReadIntegers, SignsAndLimits) {
   Octets octets{0x80, 0x01, 0xFF, 0xFE, 0x00, 0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0};
   Context c(octets);
   int8_t i8;
   int16_t i16;
   int32_t i32;
   int64_t i64;
   EXPECT_EQ(rtxDecInt8(&c, &i8), 0);
   EXPECT_EQ(i8, -128);
   EXPECT_EQ(rtxDecInt16(&c, &i16, 1), 0);
   EXPECT_EQ(i16, 1);
   EXPECT_EQ(rtxDecInt32(&c, &i32, 2), 0);
   EXPECT_EQ(i32, -2);
   c.at(0, 8);
   EXPECT_EQ(rtxDecInt64(&c, &i64, 3), 0);
   EXPECT_EQ(i64, -0x7FFE01);
   EXPECT_EQ(rtxDecInt8(&c, nullptr), 0);
   EXPECT_EQ(rtxDecInt16(&c, &i16, 0), 0);
   EXPECT_EQ(i16, 0);

   uint32_t u32;
   uint64_t u64;
   uint16_t u16;
   uint8_t u8;
   EXPECT_EQ(rtxDecUInt32(&c, &u32, 5), 0); // a leading 0
   EXPECT_EQ(u32, 0x12345678u);
   c.at(4, 8);
   EXPECT_EQ(rtxDecUInt64(&c, &u64, 9), 0);
   EXPECT_EQ(u64, 0x123456789ABCDEF0u);
   c.at(4, 4); // inside an octet
   EXPECT_EQ(rtxDecUInt16(&c, &u16, 2), 0);
   EXPECT_EQ(u16, 0x0123u);
   EXPECT_EQ(rtxDecUInt8(&c, &u8), 0);
   EXPECT_EQ(u8, 0x45);
   EXPECT_EQ(rtxDecUInt32(&c, &u32, 0), 0);
   EXPECT_EQ(u32, 0u);

   const struct {
      int status;
      size_t end;
   } overflows[] = {
         {(c.at(3, 8), rtxDecUInt32(&c, &u32, 5)), c.bufByteIndex}, // a leading octet that is not 0
         {(c.at(4, 8), rtxDecUInt16(&c, &u16, 4)), c.bufByteIndex}, // too many in any case
         {(c.at(3, 8), rtxDecInt32(&c, &i32, 5)), c.bufByteIndex},
         {(c.at(3, 4), rtxDecInt32(&c, &i32, 5)), c.bufByteIndex},
   };
   for (const auto& overflow : overflows) {
      EXPECT_EQ(overflow.status, RTX_E_OVERFLOW);
      EXPECT_EQ(overflow.end, 8u); // the octets are consumed first
   }
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 1u);
   c.at(12, 8);
   EXPECT_EQ(rtxDecUInt32(&c, &u32, 100), RTX_E_MULTIPLE); // shortage comes first
   EXPECT_EQ(rtxErrGetLastError(&c), RTX_E_END_OF_DATA);
}

TEST(WriteBits, DirtyOctets) {
   Octets octets(4, 0xFF);
   Context c(octets);
   EXPECT_EQ(rtxEncBit(&c, 0), 0); // clears the seven others
   EXPECT_EQ(octets[0], 0x00);
   octets[0] = 0x7F;
   EXPECT_EQ(rtxEncBit(&c, 2), 0); // any value; inside an octet a bit is ORed in
   EXPECT_EQ(rtxEncBit(&c, 0), 0);
   EXPECT_EQ(octets[0], 0x7F);
   c.at(1, 5);
   EXPECT_EQ(rtxEncBits(&c, 0, 3), 0); // three high bits stay, two low ones are cleared
   EXPECT_EQ(octets[1], 0xE0);
   c.at(2, 8);
   EXPECT_EQ(rtxEncBits(&c, 0x1FF, 8), 0);
   EXPECT_EQ(octets[2], 0xFF);
   octets[3] = 0x0F;
   EXPECT_EQ(rtxMergeBits(&c, 0xA, 4), 0);
   EXPECT_EQ(octets[3], 0xAF);
   octets = {0xFF, 0xFF, 0xFF, 0xFF};
   c.at(0, 5);
   EXPECT_EQ(rtxMergeBits(&c, 0, 2), 0); // in the middle of one octet
   EXPECT_EQ(octets[0], 0xE7);
   c.at(1, 2);
   EXPECT_EQ(rtxMergeBits(&c, 0, 9), 0); // across octets
   EXPECT_EQ(octets, (Octets{0xE7, 0xFC, 0x01, 0xFF}));
}

TEST(WriteBits, Widths) {
   Octets octets(16);
   Context c(octets);
   EXPECT_EQ(rtxEncBits(&c, 1, 33), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtxEncBitsFromSize(&c, 1, 65), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtxMergeBits(&c, 1, 33), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtxMergeBits(&c, 1, -1), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtxEncUInt32(&c, 1, 3), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtxEncBits(&c, 1, 0), 0);
   EXPECT_EQ(rtxMergeBits(&c, 1, 0), 0);
   EXPECT_EQ(offsetOf(c), 0u);
   EXPECT_EQ(rtxEncUInt32(&c, 0x12345678, 2), 0); // high octets are lost
   EXPECT_EQ(c.lastChar, 0x78);
   EXPECT_EQ(rtxEncBits(&c, 1, 4), 0);
   EXPECT_EQ(rtxEncUInt32(&c, 0xABCDEF01, 4), 0);
   EXPECT_EQ(rtxEncBitsFromSize(&c, 0x0123456789ABCDEF, 60), 0);
   EXPECT_EQ(Octets(octets.begin(), octets.begin() + 14),
             (Octets{0x56, 0x78, 0x1A, 0xBC, 0xDE, 0xF0, 0x11, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}));
   EXPECT_EQ(offsetOf(c), 14u * 8);
}

TEST(WriteBits, PatternLiesAlongTheOctets) {
   Octets octets(8, 0);
   Context c(octets);
   c.at(0, 4);
   EXPECT_EQ(rtxEncBitsPattern(&c, 0x2B, 4), 0);
   EXPECT_EQ(octets[0], 0x0B);
   EXPECT_EQ(rtxEncBitsPattern(&c, 0x2B, 12), 0);
   EXPECT_EQ(octets[1], 0x2B);
   EXPECT_EQ(octets[2], 0x20);
   EXPECT_EQ(rtxEncBitsPattern(&c, 0x2B, 0), 0);
   EXPECT_EQ(rtxEncBitsPattern(&c, 0x2B, 44), 0);
   EXPECT_EQ(octets, (Octets{0x0B, 0x2B, 0x2B, 0x2B, 0x2B, 0x2B, 0x2B, 0x2B}));
}

TEST(WriteBits, FullBufferKeepsWhatIsThere) {
   Octets octets{0, 0, 0x77};
   Context c;
   rtxCtxtSetBufPtr(&c, octets.data(), 2);
   EXPECT_EQ(rtxEncBits(&c, 0x1FFF, 13), 0);
   EXPECT_EQ(rtxEncBits(&c, 0, 4), RTX_E_BUFFER_FULL);
   EXPECT_EQ(rtxMergeBits(&c, 0, 4), RTX_E_MULTIPLE); // each shortage of room makes a new record
   EXPECT_EQ(rtxErrGetLastError(&c), RTX_E_BUFFER_FULL);
   rtxErrReset(&c);
   const uint8_t source[8] = {};
   EXPECT_EQ(rtxEncBitsFromByteArray(&c, source, 4), RTX_E_BUFFER_FULL);
   EXPECT_EQ(offsetOf(c), 13u);
   EXPECT_EQ(rtxEncBits(&c, 7, 3), 0); // the last bits still fit
   rtxErrReset(&c);
   EXPECT_EQ(rtxEncBit(&c, 1), RTX_E_BUFFER_FULL);
   rtxErrReset(&c);
   EXPECT_EQ(rtxWriteBytes(&c, source, 1), RTX_E_BUFFER_FULL);
   rtxErrReset(&c);
   EXPECT_EQ(rtxEncBitsPattern(&c, 0x2B, 33), RTX_E_BUFFER_FULL);
   rtxErrReset(&c);
   // A cursor set beyond the buffer, inside an octet.
   rtxCtxtSetBitOffset(&c, 19);
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
   EXPECT_EQ(rtxSizeByteCount(1), 7u);
   EXPECT_EQ(rtxSizeByteCount(size_t{1} << 56), 8u);
   for (const auto& [value, octets] : {std::pair<int32_t, uint32_t>{0, 1},
                                       {127, 1},
                                       {128, 2},
                                       {-128, 1},
                                       {-129, 2},
                                       {32767, 2},
                                       {32768, 3},
                                       {-8388608, 3},
                                       {8388608, 4},
                                       {INT32_MIN, 4},
                                       {INT32_MAX, 4}})
      EXPECT_EQ(rtxIntByteCount(value), octets) << value;
   for (const auto& [value, octets] : {std::pair<uint32_t, uint32_t>{0, 1},
                                       {127, 1},
                                       {128, 2},
                                       {16383, 2},
                                       {16384, 3},
                                       {0x1FFFFF, 3},
                                       {0x200000, 4},
                                       {0xFFFFFFF, 4},
                                       {0x10000000, 5},
                                       {UINT32_MAX, 5}})
      EXPECT_EQ(rtxGetIdentByteCount(value), octets) << value;
   for (const auto& [value, bits] :
        {std::pair<uint8_t, uint32_t>{0, 0}, {0x80, 1}, {0x40, 2}, {1, 8}, {0xC0, 2}, {0xFF, 8}})
      EXPECT_EQ(rtxOctetBitLen(value), bits) << int{value};
   for (uint32_t bits = 1; bits <= 32; ++bits) {
      const uint32_t top = 1u << (bits - 1);
      EXPECT_EQ(rtxUInt32BitLen(top), bits);
      EXPECT_EQ(rtxGetBitCount(top | 1), bits);
      EXPECT_EQ(rtxUInt64BitLen(uint64_t{top} << 32), bits + 32);
      EXPECT_EQ(rtxLog2Floor(top), bits - 1);
      EXPECT_EQ(rtxLog2Ceil(top), std::max(1u, bits - 1));
      if (bits > 1) {
         EXPECT_EQ(rtxLog2Ceil(size_t{top} + 1), bits);
      }
   }
   EXPECT_EQ(rtxUInt32BitLen(0), 0u);
   EXPECT_EQ(rtxUInt64BitLen(0), 0u);
   EXPECT_EQ(rtxLog2Floor(0), 0u);
   EXPECT_EQ(rtxLog2Ceil(0), 1u);
   for (const auto& [value, log] :
        {std::pair<uint32_t, int>{0, -1}, {1, 0}, {9, 0}, {10, 1}, {99, 1}, {100, 2}, {UINT32_MAX, 9}})
      EXPECT_EQ(rtxLog10Floor(value), log) << value;
}

} // namespace
