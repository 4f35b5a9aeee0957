// The n-th allocation fails, alone or with all that follow, for every n: something says so, nothing leaks,
// the heap stays whole, and the context can be used again.
#include "coreTest.h"

#include <cstdlib>

namespace {

struct Allocator {
   int calls, failAt, denied, live;
   bool andAllAfter;
} system_;

bool refuse() {
   const int call = system_.calls++;
   const bool refused = call == system_.failAt || (system_.andAllAfter && call > system_.failAt);
   system_.denied += refused;
   return refused;
}

void* allocate(size_t nbytes) {
   if (refuse()) return nullptr;
   ++system_.live;
   return std::malloc(nbytes);
}

void* reallocate(void* old, size_t nbytes) {
   if (refuse()) return nullptr;
   system_.live += old == nullptr;
   return std::realloc(old, nbytes);
}

void release(void* memory) {
   system_.live -= memory != nullptr;
   std::free(memory);
}

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
   if (rtxInitContextExt(&c, allocate, reallocate, release) < 0) return false;
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
   system_.failAt = -1; // with memory back all is well
   system_.andAllAfter = false;
   Steps later;
   names(later, &c);
   output(later, &c);
   errors(later, &c);
   EXPECT_TRUE(later.good);
   rtFreeContext(&c);
   return steps.good;
}

TEST(NoMemory, AnyAllocationMayFail) {
   for (uint32_t heapFlags : {0u, RTX_MH_RAW_ONLY, RTX_MH_FREE_EMPTY_BLOCK})
      for (bool andAllAfter : {false, true}) {
         int n = 0;
         do {
            system_ = {0, n, 0, 0, andAllAfter};
            const bool good = work(heapFlags);
            EXPECT_EQ(good, system_.denied == 0) << n << ' ' << heapFlags << andAllAfter;
            ASSERT_EQ(system_.live, 0) << n << ' ' << heapFlags << andAllAfter;
         } while (system_.denied != 0 && ++n < 1000);
         EXPECT_GT(n, heapFlags == RTX_MH_RAW_ONLY ? 40 : 4);
      }
}

TEST(NoMemory, StreamsGiveUpCleanly) {
   for (bool andAllAfter : {false, true}) {
      int n = 1;
      do {
         RtxContext c;
         system_ = {0, -1, 0, 0, false};
         ASSERT_EQ(rtxInitContextExt(&c, allocate, reallocate, release), 0);
         // The records of the streams are the test's; what the library allocates for them is to fail.
         system_ = {0, -1, 0, system_.live, false};
         Steps steps;
         Transport in{Octets(5000, 1)}, out;
         Octets target(4000);
         size_t pos;
         attach(&c, in, RTX_STREAM_READ);
         system_ = {0, n - 1, 0, system_.live, andAllAfter};
         steps.status(rtxReadBytes(&c, target.data(), 10));
         steps.status(rtxMarkPos(&c, &pos));
         steps.status(rtxReadBytes(&c, target.data(), 3000));
         steps.status(rtxStreamRelease(&c));
         const Allocator saved = system_;
         system_.failAt = -1;
         system_.andAllAfter = false;
         attach(&c, out, RTX_STREAM_WRITE);
         system_ = {saved.calls, saved.failAt, saved.denied, system_.live, andAllAfter};
         steps.status(rtxEncBits(&c, 1, 5));
         steps.status(rtxEncBitsFromByteArray(&c, target.data(), 20000));
         steps.status(rtxStreamRelease(&c));
         EXPECT_EQ(steps.good, system_.denied == 0) << n << andAllAfter;
         rtxMemHeapCheck(&c, __FILE__, __LINE__);
         rtFreeContext(&c);
         ASSERT_EQ(system_.live, 0) << n << andAllAfter;
      } while (system_.denied != 0 && ++n < 100);
      EXPECT_GT(n, 3);
   }
}

} // namespace
