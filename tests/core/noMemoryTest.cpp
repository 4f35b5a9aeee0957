// The n-th allocation fails, alone or with all that follow, for every n: something says so, nothing leaks,
// the heap stays whole, and the context can be used again.
#include "coreTest.h"

#include "support/systemMemory.h"

namespace {

/** Takes down whether every step succeeded. */
struct Steps {
   bool good = true;
   void status(int result) { good &= result >= 0; }
   void yes(bool result) { good &= result; }
};

void names(Steps& steps, RtxContext* c) {
   steps.status(rtxCtxtPushTypeName(c, "Type"));
   steps.status(rtxCtxtPushElemName(c, "elem"));
   steps.status(rtxCtxtPushArrayElemName(c, "array", 12));
   steps.status(rtxCtxtPushElemNameCopy(c, "copy"));
   steps.status(rtxCtxtPushContainerBytes(c, 4));
   steps.status(rtxCtxtPushContainerBits(c, 4));
}

void output(Steps& steps, RtxContext* c) {
   const Octets octets(3000, 0x5A);
   steps.status(rtxInitContextBuffer(c, nullptr, 4));
   steps.status(rtxEncBits(c, 1, 3));
   steps.status(rtxEncBitsFromByteArray(c, octets.data(), 200));
   steps.status(rtxEncBitsPattern(c, 0x2B, 300));
   steps.status(rtxEncUInt32(c, 7, 4));
   steps.status(rtxWriteBytes(c, octets.data(), octets.size()));
   steps.status(rtxCheckBuffer(c, 5000));
   uint8_t* data = nullptr;
   size_t capacity = 0;
   steps.status(rtxCheckBitBounds(c, &data, &capacity, 100, 0));
   steps.status(rtxCheckBitBounds(c, &data, &capacity, 1000, 0));
   steps.yes(rtxMemAllocArray2(c, 10, 10, RTX_MEM_ZERO) != nullptr);
}

void errors(Steps& steps, RtxContext* c) {
   steps.yes(rtxErrAddElemNameParm(c));
   steps.yes(rtxErrAddIntParm(c, 5));
   steps.yes(rtxErrAddStrnParm(c, "text", 2));
   steps.yes(rtxErrSetData(c, -4, nullptr, 0) == -4);
   steps.yes(rtxErrSetData(c, -9, nullptr, 0) == RTX_E_MULTIPLE);
   steps.yes(rtxErrGetText(c, nullptr, nullptr) != nullptr);
   steps.yes(rtxErrGetMsgText(c) != nullptr);
   RtxContext copy;
   if (rtInitSubContext(&copy, c) < 0) {
      steps.yes(false);
      return;
   }
   steps.status(rtxErrCopy(&copy, c));
   rtFreeContext(&copy);
}

/** One context from its start to its end. False if some step told of a failure. */
bool work(uint32_t heapFlags) {
   Steps steps;
   RtxContext c;
   if (system_memory::init(&c) < 0) return false;
   rtxMemHeapSetFlags(&c, heapFlags);
   steps.status(rtCtxtInitASN1Info(&c));
   for (auto* part : {names, output, errors}) {
      part(steps, &c);
      rtxMemHeapCheck(&c, __FILE__, __LINE__);
   }
   rtxMemReset(&c);
   rtxMemHeapCheck(&c, __FILE__, __LINE__);
   EXPECT_TRUE(rtxMemHeapIsEmpty(&c));
   c.bufData = nullptr;
   names(steps, &c); // again, with nothing spare
   output(steps, &c);
   rtxMemFree(&c);
   system_memory::failAt = 0; // with memory back all is well
   Steps later;
   for (auto* part : {names, output, errors}) part(later, &c);
   EXPECT_TRUE(later.good);
   rtFreeContext(&c);
   return steps.good;
}

TEST(NoMemory, AnyAllocationMayFail) {
   for (uint32_t heapFlags : {0u, RTX_MH_RAW_ONLY, RTX_MH_FREE_EMPTY_BLOCK})
      system_memory::failEach(heapFlags == RTX_MH_RAW_ONLY ? 36 : 4, [&](const auto& arm) {
         arm();
         const bool good = work(heapFlags);
         EXPECT_EQ(good, system_memory::failures == 0) << heapFlags;
      });
}

TEST(NoMemory, StreamsGiveUpCleanly) {
   system_memory::failEach(3, [](const auto& arm) {
      RtxContext c;
      ASSERT_EQ(system_memory::init(&c), 0);
      Steps steps;
      Transport in{Octets(5000, 1)}, out;
      Octets target(4000);
      size_t pos;
      // The records of the streams are the test's; what the library allocates for them is to fail.
      RtxStream* output = attach(&c, out, RTX_STREAM_WRITE);
      c.stream = nullptr;
      attach(&c, in, RTX_STREAM_READ);
      arm();
      steps.status(rtxReadBytes(&c, target.data(), 10));
      steps.status(rtxMarkPos(&c, &pos));
      steps.status(rtxReadBytes(&c, target.data(), 3000));
      steps.status(rtxStreamRelease(&c));
      c.stream = output;
      c.flags &= ~RTX_CTXT_BUFFER_MODE;
      steps.status(rtxEncBits(&c, 1, 5));
      steps.status(rtxEncBitsFromByteArray(&c, target.data(), 20000));
      steps.status(rtxStreamRelease(&c));
      EXPECT_EQ(steps.good, system_memory::failures == 0);
      rtxMemHeapCheck(&c, __FILE__, __LINE__);
      rtFreeContext(&c);
   });
}

} // namespace
