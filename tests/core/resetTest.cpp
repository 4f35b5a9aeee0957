// What must not outlive the heap that it lies on, and arguments that are not there.
#include "coreTest.h"

#include "quorva/rt3gppNasSec.h"
#include "quorva/rtxDiag.h"
#include "quorva/rtxMemBuf.h"
#include "quorva/TS24301Msg.h"

namespace {

TEST(Reset, TakesTheCaptureOfTheTraceWithIt) {
   for (auto* end : {rtxMemReset, rtxMemFree}) {
      Streamed c(RTX_STREAM_READ, Octets(3000, 0x11));
      auto* list = static_cast<RtxDiagBitFieldList*>(rtxMemHeapAlloc(&c, sizeof(RtxDiagBitFieldList)));
      ASSERT_EQ(rtxDiagBitFieldListInit(&c, list), 0);
      c.bitFields = list;
      uint8_t octets[150];
      ASSERT_EQ(rtxReadBytes(&c, octets, 50), 0);
      end(&c);
      EXPECT_EQ(c.bitFields, nullptr);
      EXPECT_EQ(rtxStreamGetCapture(&c), nullptr);
      auto* mine = static_cast<uint8_t*>(std::memset(rtxMemHeapAlloc(&c, 600), 0xEE, 600));
      ASSERT_EQ(rtxReadBytes(&c, octets, 150), 0);
      EXPECT_EQ(std::count(mine, mine + 600, 0xEE), 600);
   }
}

TEST(Reset, EmptiesACaptureOfTheCaller) {
   for (const bool system : {false, true}) {
      Streamed c(RTX_STREAM_READ, Octets(300, 0x11));
      RtxMemBuf capture;
      rtxMemBufInit(&c, &capture, 0);
      rtxMemBufSetUseSysMem(&capture, system);
      rtxStreamSetCapture(&c, &capture);
      uint8_t octets[1];
      ASSERT_EQ(rtxStreamRead(&c, octets, 1), 1);
      rtxMemReset(&c);
      EXPECT_EQ(rtxStreamGetCapture(&c), &capture);
      EXPECT_EQ(rtxMemBufGetDataLen(&capture), system ? 1u : 0u);
      auto* mine = static_cast<uint8_t*>(std::memset(rtxMemHeapAlloc(&c, 600), 0xEE, 600));
      ASSERT_EQ(rtxStreamRead(&c, octets, 1), 1);
      EXPECT_EQ(rtxMemBufGetDataLen(&capture), system ? 2u : 1u);
      EXPECT_EQ(std::count(mine, mine + 600, 0xEE), 600);
      rtxMemBufFree(&capture);
   }
}

// By whatever the memory of the keys goes: nothing is computed with what took its place.
TEST(Reset, EndsTheSecurityState) {
   const auto byHandle = +[](RtxContext* c) { rtxMemHeapReset(c); };
   static constexpr auto bySub = [](RtxContext* c, void (*end)(RtxContext*)) {
      RtxContext sub;
      ASSERT_EQ(rtInitSubContext(&sub, c), 0);
      end(&sub);
      rtFreeContext(&sub);
   };
   const auto resetBySub = +[](RtxContext* c) { bySub(c, rtxMemReset); };
   const auto freedBySub = +[](RtxContext* c) { bySub(c, rtxMemFree); };
   for (auto* end : {rtxMemReset, rtxMemFree, byHandle, resetBySub, freedBySub}) {
      Context c;
      const Octets key(16, 0x42);
      for (int round = 0; round < 2; ++round) { // and it can be had again
         ASSERT_EQ(rtx3gppSecInitialize(&c), 0);
         ASSERT_EQ(rtx3gppAssignAlgorithmKeys(&c, key.data(), key.data(), 2, 2), 0);
         Octets octets = {1, 2, 3};
         uint32_t mac = 0;
         EXPECT_EQ(rtx3gppComputeMAC(&c, octets.data(), 3, &mac), 0);
         rtxErrSetData(&c, RTX_E_NO_SECURITY, nullptr, 0); // whose record is not to be looked at any more
         end(&c);
         std::memset(rtxMemHeapAlloc(&c, 3000), 0xEE, 3000);
         EXPECT_EQ(rtx3gppComputeMAC(&c, octets.data(), 3, &mac), RTX_E_NO_SECURITY);
         EXPECT_EQ(rtx3gppCipher(&c, octets.data(), 3), RTX_E_NO_SECURITY);
         EXPECT_EQ(octets, (Octets{1, 2, 3}));
         rtx3gppSecFree(&c);
         EXPECT_EQ(c.nasSec, nullptr);
         rtxErrReset(&c);
         rtxMemHeapCheck(&c, __FILE__, __LINE__);
      }
   }
}

TEST(Reset, AProtectedMessageWithoutKeysIsNotPassed) {
   Context c;
   const Octets key(16, 0x42);
   ASSERT_EQ(rtx3gppSecInitialize(&c), 0);
   ASSERT_EQ(rtx3gppAssignAlgorithmKeys(&c, key.data(), key.data(), 2, 0), 0);
   rtxMemReset(&c);
   Octets octets = {0x17, 1, 2, 3, 4, 0, 0x07, 0x45, 0x01};
   rtxCtxtSetBufPtr(&c, octets.data(), octets.size());
   TS24301Msg_PDU pdu;
   asn1Init_TS24301Msg_PDU(&pdu);
   EXPECT_LT(NASDec_TS24301Msg_PDU(&c, &pdu), 0);
   EXPECT_EQ(rtxErrGetFirstError(&c), RTX_E_NO_SECURITY);
}

TEST(NoArgument, GivesAStatus) {
   EXPECT_EQ(rtxCheckContext(nullptr), RTX_E_NOT_INIT);
   rtxErrPrintElement(nullptr);
   Context c;
   ASSERT_EQ(rtxInitContextBuffer(&c, nullptr, 16), 0);
   for (const int bitsLeft : {8, 3}) {
      c.at(0, bitsLeft);
      EXPECT_EQ(rtxWriteBytes(&c, nullptr, 0), 0);
      EXPECT_EQ(rtxWriteBytes(&c, nullptr, 3), RTX_E_NULL);
      EXPECT_EQ(rtxEncBitsFromByteArray(&c, nullptr, 3), RTX_E_NULL);
      EXPECT_EQ(rtxCopyBits(&c, nullptr, 12, 3), RTX_E_NULL);
      EXPECT_EQ(rtxCtxtGetBitOffset(&c), 8u - static_cast<unsigned>(bitsLeft));
   }
}

/** Octets and bits of a record that are only counted, in the short form and, under a trace, in the full one.
 */
TEST(NoArgument, IsNotEncoded) {
   TS24301IE_GenMessageContainer octets{300, nullptr};
   TS24008IE_MSNetworkCapability bits;
   asn1Init_TS24008IE_MSNetworkCapability(&bits);
   bits.spareBits = {7, nullptr};
   for (const bool traced : {false, true}) {
      Context c;
      RtxDiagBitFieldList list;
      rtxDiagBitFieldListInit(&c, &list);
      if (traced) c.bitFields = &list;
      ASSERT_EQ(rtxInitContextBuffer(&c, nullptr, 1024), 0);
      EXPECT_EQ(NASEnc_TS24301IE_GenMessageContainer(&c, &octets), RTX_E_NULL);
      rtxErrReset(&c);
      EXPECT_EQ(NASEnc_TS24008IE_MSNetworkCapability(&c, &bits), RTX_E_NULL);
   }
}

TEST(Context, ACopyIsNotItsOriginalsRecord) {
   RtxContext* original = rtNewContext();
   ASSERT_NE(original, nullptr);
   Context copy;
   rtxCtxtSetFlag(original, RTX_CTXT_UPLINK);
   rtxCopyContext(&copy, original);
   EXPECT_EQ(copy.flags, RTX_CTXT_UPLINK); // freeing the copy is no business of the system allocator's
   rtxCopyContext(original, &copy);
   EXPECT_TRUE(original->flags & RTX_CTXT_ON_HEAP);
   rtFreeContext(original);
}

// The overall status is known without a walk over what was recorded before.
TEST(Errors, ManyRecordsSumUp) {
   Context c;
   const auto add = [&](int status, bool fatal) {
      const int overall = rtxErrSetNewData(&c, status, nullptr, 0);
      if (!fatal) rtxErrSetNonFatal(&c);
      return overall;
   };
   for (int i = 0; i < 40000; ++i) ASSERT_EQ(add(-16 - i % 2, false), -16 - i % 2);
   EXPECT_EQ(rtxErrGetStatus(&c), 0);
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 40000u);
   EXPECT_EQ(add(RTX_E_BAD_ENUM, true), RTX_E_BAD_ENUM);
   for (int i = 0; i < 40000; ++i) ASSERT_EQ(add(-16, false), RTX_E_MULTIPLE);
   EXPECT_EQ(rtxErrGetStatus(&c), RTX_E_BAD_ENUM);
   add(RTX_E_BAD_CHAR, true);
   EXPECT_EQ(rtxErrGetStatus(&c), RTX_E_MULTIPLE);
   rtxErrSetNonFatal(&c);
   EXPECT_EQ(rtxErrGetStatus(&c), RTX_E_BAD_ENUM);
   rtxErrResetLastErrors(&c, 40002);
   EXPECT_EQ(rtxErrGetStatus(&c), 0);
   EXPECT_EQ(add(RTX_E_BAD_ENUM, true), RTX_E_BAD_ENUM);
   add(RTX_E_BAD_CHAR, false);
   rtxErrFreeParms(&c); // and the statuses
   EXPECT_EQ(c.cleared(rtxErrGetStatus(&c)), 0);
   EXPECT_EQ(add(RTX_E_BAD_ENUM, true), RTX_E_BAD_ENUM);
}

} // namespace
