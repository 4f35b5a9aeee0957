/** Heap: layout, placing, flags, ownership, reset, static heaps, system failures. */
#include "quorva/rtxContext.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeapLayout.h"
#include "quorva/TS24301Msg.h"
#include "support/systemMemory.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

RtxMemElem* elemOf(void* ptr) {
   return static_cast<RtxMemElem*>(ptr) - 1;
}

RtxMemBlk* blkOf(void* ptr) {
   return rtxMemHeapGetMemBlk(elemOf(ptr));
}

/** A heap on counted system memory; at the end nothing may be left. */
class Heap : public testing::Test {
protected:
   Heap() {
      system_memory::reset();
      EXPECT_EQ(0, rtxMemHeapCreateExt(&heap_, system_memory::alloc, system_memory::realloc,
                                       system_memory::free));
   }

   ~Heap() override {
      check();
      rtxMemHeapRelease(&heap_);
      EXPECT_EQ(system_memory::live, 0u);
   }

   void* alloc(size_t nbytes) { return rtxMemHeapAlloc(&heap_, nbytes); }
   void free(void* ptr) { rtxMemHeapFreePtr(&heap_, ptr); }
   void check() { rtxMemHeapCheck(&heap_, __FILE__, __LINE__); }

   /** Data sizes in octets of a block's free elements, in the order of the ring from its head. */
   std::vector<size_t> freeRing(RtxMemBlk* blk) {
      check();
      std::vector<size_t> sizes;
      RtxMemLink* const first = &blk->sentinel + blk->freeHead;
      RtxMemLink* link = first;
      do {
         EXPECT_EQ(rtxMemHeapGetPrevFree(blk, rtxMemHeapGetNextFree(blk, link)), link);
         if (RtxMemElem* elem = rtxMemHeapGetFreeElem(link)) {
            EXPECT_EQ(rtxMemHeapGetFreeLink(elem), link);
            sizes.push_back((elem->nunits - 1u) * 8);
         }
         link = rtxMemHeapGetNextFree(blk, link);
      } while (link != first);
      return sizes;
   }

   RtxMemHeap* heap_ = nullptr;
};

using Sizes = std::vector<size_t>;

TEST_F(Heap, FirstAllocationMakesABlock) {
   void* ptr = alloc(100);
   auto* blk = static_cast<RtxMemBlk*>(heap_->curBlock);
   EXPECT_EQ(system_memory::lastSize, 4096u);
   EXPECT_EQ(static_cast<char*>(ptr) - reinterpret_cast<char*>(blk), 48);
   EXPECT_EQ(blk, blkOf(ptr));
   EXPECT_EQ(blk->nunits, 508);
   EXPECT_EQ(elemOf(ptr)->nunits, 14);
   EXPECT_EQ(blk->maxFreeElem, 492);
   EXPECT_EQ(freeRing(blk), Sizes{491 * 8});
   const std::pair<size_t, unsigned> units[] = {{0, 2}, {8, 2}, {9, 3}}; // room for eight at least
   for (const auto& [nbytes, nunits] : units) EXPECT_EQ(elemOf(alloc(nbytes))->nunits, nunits);
}

TEST_F(Heap, SizesAtTheEdgeOfABlock) {
   struct {
      size_t nbytes;
      unsigned units; ///< 0: raw.
      size_t system;
   } const cases[] = {
         {4096 - 56, 506, 4096}, {4096 - 55, 507, 8192}, {524256, 65533, 524312}, {524257, 0, 524289}};
   for (const auto& c : cases) {
      rtxMemHeapFreeAll(&heap_);
      void* ptr = alloc(c.nbytes);
      ASSERT_NE(ptr, nullptr);
      std::memset(ptr, 0xA5, c.nbytes);
      EXPECT_EQ(system_memory::lastSize, c.system) << c.nbytes;
      EXPECT_EQ((elemOf(ptr)->flags & RTX_ME_RAW) != 0, c.units == 0);
      EXPECT_TRUE(c.units == 0 || elemOf(ptr)->nunits == c.units);
      check();
   }
   EXPECT_EQ(alloc(SIZE_MAX - 31), nullptr);
   EXPECT_EQ(alloc(SIZE_MAX), nullptr);
   EXPECT_EQ(rtxMemHeapRealloc(&heap_, alloc(600000), SIZE_MAX - 34), nullptr);
}

TEST_F(Heap, SearchLooksOneFreeElementAhead) {
   void* large = alloc(200);
   alloc(8);
   void* small = alloc(100);
   alloc(8);
   void* tiny = alloc(50);
   alloc(8);
   RtxMemBlk* blk = blkOf(large);
   // each is put behind the head of the ring, which is the rest of the block
   free(tiny);
   free(small);
   free(large);
   const Sizes ring = freeRing(blk);
   ASSERT_EQ(ring.size(), 4u);
   EXPECT_EQ((Sizes{ring.begin() + 1, ring.end()}), (Sizes{200, 104, 56}));
   EXPECT_EQ(alloc(150), large); // the head fits, but the next one is smaller
   EXPECT_EQ(freeRing(blk)[0], ring[0]);
   EXPECT_EQ(blk->maxFreeElem, 65535);
   EXPECT_EQ(alloc(40), static_cast<char*>(large) + 160); // the rest of it serves exactly
   EXPECT_EQ(alloc(96), small);                           // a rest of one unit stays inside
   EXPECT_EQ(elemOf(small)->nunits, 14);
}

TEST_F(Heap, SearchGoesOnWhereItEnded) {
   void* pieces[8];
   for (void*& ptr : pieces) ptr = alloc(80);
   alloc(506 * 8 - 8 * 88 - 8); // the rest of the block
   for (int i : {4, 2, 0}) free(pieces[i]);
   RtxMemBlk* blk = blkOf(pieces[1]);
   ASSERT_EQ(freeRing(blk), (Sizes{80, 80, 80}));
   void* first = alloc(10);
   EXPECT_EQ(first, pieces[0]); // a next one of the same size is no better
   ASSERT_EQ(freeRing(blk)[0], 56u);
   EXPECT_EQ(alloc(60), pieces[2]); // the head is too small
   EXPECT_EQ(freeRing(blk), (Sizes{8, 80, 56}));
}

TEST_F(Heap, FullBlocksArePassedByTheirBound) {
   void* first = alloc(4000); // 5 units are left
   RtxMemBlk* blk = blkOf(first);
   EXPECT_EQ(blk->maxFreeElem, 5);
   void* second = alloc(4000);
   EXPECT_NE(blkOf(second), blk);
   EXPECT_EQ(system_memory::live, 3u);
   EXPECT_EQ(blkOf(alloc(32)), blkOf(second));
   EXPECT_EQ(heap_->curBlock, blkOf(second));
   EXPECT_EQ(blkOf(alloc(32)), blk);
   EXPECT_EQ(heap_->curBlock, blk); // the next search begins where this one ended
   alloc(16);
   EXPECT_EQ(blk->maxFreeElem, 0);
   // A hit moves the search even where there is more room left in the block that it came from.
   RtxMemBlk* roomy = blkOf(alloc(4));
   free(second);
   EXPECT_EQ(heap_->curBlock, roomy);
   EXPECT_EQ(blkOf(alloc(1000)), roomy);
   alloc(2900);
   EXPECT_EQ(heap_->curBlock, roomy);
   EXPECT_EQ(blkOf(alloc(1000)), blkOf(second));
   EXPECT_EQ(heap_->curBlock, blkOf(second));
   EXPECT_EQ(blkOf(alloc(2900)), blkOf(second));
   EXPECT_EQ(blkOf(alloc(8)), blkOf(second));
}

TEST_F(Heap, ResetKeepsBlocksAndFreesRawOnes) {
   size_t calls = 0;
   for (int message = 0; message < 5; ++message) { // the steady state needs no system memory
      RtxMemBlk* first = blkOf(alloc(4000));
      RtxMemBlk* second = blkOf(alloc(4000));
      EXPECT_EQ(system_memory::live, 3u);
      if (message == 0) calls = system_memory::calls;
      EXPECT_EQ(system_memory::calls, calls);
      if (message == 4) alloc(600000);
      rtxMemHeapReset(&heap_);
      EXPECT_EQ(freeRing(first), Sizes{505 * 8});
      EXPECT_EQ(freeRing(second), Sizes{505 * 8});
      EXPECT_TRUE(rtxMemHeapIsEmpty(&heap_));
   }
   EXPECT_EQ(system_memory::live, 3u);
   rtxMemHeapFreeAll(&heap_);
   EXPECT_EQ(system_memory::live, 1u);
   EXPECT_EQ(heap_->curBlock, nullptr);
   EXPECT_EQ(heap_->minAddr, nullptr);
}

TEST_F(Heap, EmptyBlocksGoBackWhenAskedFor) {
   void* first = alloc(4000);
   void* second = alloc(4000);
   rtxMemHeapSetFlags(&heap_, RTX_MH_FREE_EMPTY_BLOCK);
   free(second);
   EXPECT_EQ(system_memory::live, 2u);
   EXPECT_EQ(heap_->curBlock, blkOf(first));
   void* raw = alloc(600000);
   free(first);
   EXPECT_EQ(heap_->curBlock, nullptr);
   EXPECT_EQ(rtxMemHeapAutoPtrUnref(&heap_, raw), 0); // the range still holds it
   EXPECT_EQ(system_memory::live, 1u);
   alloc(10);
   alloc(4000);
   rtxMemHeapReset(&heap_);
   EXPECT_EQ(system_memory::live, 1u);
   EXPECT_EQ(heap_->curBlock, nullptr);
   EXPECT_EQ(heap_->maxAddr, nullptr);
}

TEST_F(Heap, ZeroOnFreeClearsWhatWasThere) {
   std::memset(alloc(4040), 0, 4040);
   rtxMemHeapReset(&heap_);
   rtxMemHeapSetFlags(&heap_, RTX_MH_ZERO_ON_FREE);
   void* pieces[3];
   for (void*& ptr : pieces) ptr = std::memset(alloc(64), 0x5A, 64);
   RtxMemBlk* blk = blkOf(pieces[0]);
   const auto secrets = [&] {
      const std::string octets(reinterpret_cast<char*>(blk) + 32, 4064); // behind its addresses
      return std::count(octets.begin(), octets.end(), 0x5A);
   };
   free(pieces[0]);
   free(pieces[2]);
   EXPECT_EQ(secrets(), 64);
   free(pieces[1]);
   EXPECT_EQ(secrets(), 0);
   std::memset(alloc(1000), 0x5A, 1000);
   rtxMemHeapReset(&heap_);
   EXPECT_EQ(secrets(), 0);

   // What a reallocation cuts off, in front of a free neighbour and of a used one.
   void* ptr = std::memset(alloc(1000), 0x5A, 1000);
   EXPECT_EQ(rtxMemHeapRealloc(&heap_, ptr, 500), ptr);
   EXPECT_EQ(secrets(), 504);
   alloc(3500 - 528 - 16);
   EXPECT_EQ(rtxMemHeapRealloc(&heap_, ptr, 100), ptr);
   EXPECT_EQ(secrets(), 104);
}

/** A system that keeps what is freed, to look at it. */
std::vector<std::pair<void*, size_t>> kept;
void* keepingAlloc(size_t nbytes) {
   kept.emplace_back(std::malloc(nbytes), nbytes);
   return kept.back().first;
}
void* keepingRealloc(void* ptr, size_t nbytes) {
   void* fresh = keepingAlloc(nbytes);
   for (const auto& [old, size] : kept)
      if (old == ptr) std::memcpy(fresh, ptr, std::min(size, nbytes));
   return fresh;
}

TEST(ZeroOnFree, LeavesNothingToTheSystem) {
   RtxContext context;
   ASSERT_EQ(rtxInitContextExt(&context, keepingAlloc, keepingRealloc, [](void*) {}), 0);
   rtxMemHeapSetFlags(&context, RTX_MH_ZERO_ON_FREE);
   void* raw = std::memset(rtxMemHeapAlloc(&context, 600000), 0x5A, 600000);
   raw = rtxMemHeapRealloc(&context, raw, 700000);
   EXPECT_EQ(static_cast<uint8_t*>(raw)[599999], 0x5A);
   std::memset(raw, 0x5A, 700000);
   raw = rtxMemHeapRealloc(&context, raw, 650000);
   EXPECT_EQ(static_cast<uint8_t*>(raw)[649999], 0x5A);
   for (int i = 0; i < 40; ++i) rtxCtxtPushElemName(&context, "name");
   std::memset(rtxMemHeapAlloc(&context, 100), 0x5A, 100);
   rtxFreeContext(&context);
   for (const auto& [ptr, size] : kept) {
      EXPECT_TRUE(rtxMemIsZero(ptr, size)) << size;
      std::free(ptr);
   }
   kept.clear();

   alignas(8) uint8_t buffer[64] = {};
   RtxMemHeap* heap = nullptr;
   ASSERT_EQ(rtxMemStaticHeapCreate(&heap, buffer, sizeof buffer), 0);
   rtxMemHeapSetFlags(&heap, RTX_MH_ZERO_ON_FREE);
   void* ptr = std::memset(rtxMemHeapAlloc(&heap, 40), 0x5A, 40);
   rtxMemHeapReallocStatic(&heap, ptr, 40, 10);
   EXPECT_TRUE(rtxMemIsZero(buffer + 10, 54));
   rtxMemHeapReset(&heap);
   EXPECT_TRUE(rtxMemIsZero(buffer, 64));
   rtxMemHeapRelease(&heap);
}

TEST_F(Heap, ReallocStaysInPlaceWhenItCan) {
   void* ptr = alloc(100);
   RtxMemBlk* blk = blkOf(ptr);
   const RtxMemLink* link = &blk->sentinel + blk->freeHead;
   const std::pair<size_t, Sizes> steps[] = {
         {104, {491 * 8}},             // same units
         {50, {497 * 8}},              // the free neighbour begins earlier, its link stays
         {4000, {4 * 8}},  {4040, {}}, // all of the block
         {4033, {}},                   // still all
         {4032, {}},                   // one unit can't stand alone
         {4024, {8}},                  // two can
         {4032, {}},                   // a rest of one is taken along
   };
   for (const auto& [nbytes, ring] : steps) {
      EXPECT_EQ(rtxMemHeapRealloc(&heap_, ptr, nbytes), ptr) << nbytes;
      EXPECT_EQ(freeRing(blk), ring) << nbytes;
      EXPECT_TRUE(nbytes != 50 || link == &blk->sentinel + blk->freeHead);
   }
   std::memset(ptr, 7, 4032);
   auto* moved = static_cast<uint8_t*>(rtxMemHeapRealloc(&heap_, ptr, 5000));
   EXPECT_NE(moved, ptr);
   EXPECT_EQ(moved[4031], 7);
   EXPECT_EQ(elemOf(ptr)->refCnt, 0);
   EXPECT_EQ(freeRing(blk), Sizes{505 * 8});
   EXPECT_EQ(rtxMemHeapRealloc(&heap_, moved, 0), nullptr);
   EXPECT_TRUE(rtxMemHeapIsEmpty(&heap_));
   EXPECT_NE(rtxMemHeapRealloc(&heap_, nullptr, 5), nullptr);
}

TEST_F(Heap, RawBlocksMoveInTheirRing) {
   void* pieces[] = {alloc(600000), alloc(600000), alloc(600000)};
   auto* ptr = static_cast<uint8_t*>(pieces[1]);
   ptr[599999] = 9;
   ptr = static_cast<uint8_t*>(rtxMemHeapRealloc(&heap_, ptr, 5000000));
   EXPECT_EQ(system_memory::lastSize, 5000032u);
   EXPECT_EQ(ptr[599999], 9);
   ptr[4999999] = 1;
   check();
   // The size in the header remains the first one, so a copy keeps no more than that.
   EXPECT_EQ(rtxMemHeapGetRawMemBlk(elemOf(ptr))->size, 600000u);
   ptr = static_cast<uint8_t*>(rtxMemHeapRealloc(&heap_, ptr, 100000));
   EXPECT_EQ(rtxMemHeapGetRawMemBlk(elemOf(ptr))->size, 600000u);
   ptr[599999] = 3; // and never exceeds the memory that is there
   EXPECT_EQ(rtxMemHeapAutoPtrRef(&heap_, ptr), ptr);
   auto* copy = static_cast<uint8_t*>(rtxMemHeapRealloc(&heap_, ptr, 700000));
   EXPECT_EQ(copy[599999], 3);
   check();
   EXPECT_TRUE(rtxMemHeapCheckPtr(&heap_, copy));
   free(ptr);
   EXPECT_FALSE(rtxMemHeapCheckPtr(&heap_, ptr));
   EXPECT_EQ(system_memory::live, 4u);
}

TEST_F(Heap, ReferencesEndAt255) {
   void* ptr = alloc(10);
   for (int count = 2; count <= 255; ++count) {
      ASSERT_EQ(rtxMemHeapAutoPtrRef(&heap_, ptr), ptr);
      ASSERT_EQ(rtxMemHeapAutoPtrGetRefCount(&heap_, ptr), count);
   }
   EXPECT_EQ(rtxMemHeapAutoPtrRef(&heap_, ptr), nullptr);
   EXPECT_EQ(rtxMemHeapAutoPtrUnref(&heap_, ptr), 254);
}

TEST_F(Heap, StrangePointersAreIgnored) {
   RtxMemHeap* none = nullptr;
   void* ptr = alloc(64);
   void* freed = alloc(64);
   free(freed);
   EXPECT_EQ(rtxMemHeapAutoPtrUnref(&heap_, freed), 0);
   auto* inside = static_cast<char*>(ptr) + 16;
   std::memset(ptr, 0xEE, 64);
   alignas(8) char outside[32] = {};
   void* const strange[] = {outside + 8, inside, inside + 1, heap_->minAddr}; // inside the guard is wrong
   for (void* one : strange) EXPECT_EQ(rtxMemHeapAutoPtrUnref(&heap_, one), RTX_E_NOMEM);
   EXPECT_EQ(rtxMemHeapAutoPtrUnref(&heap_, nullptr), RTX_E_NULL);
   EXPECT_EQ(rtxMemHeapAutoPtrGetRefCount(&none, ptr), RTX_E_NULL);
   EXPECT_EQ(rtxMemHeapAutoPtrRef(nullptr, ptr), nullptr);
   EXPECT_FALSE(rtxMemHeapCheckPtr(&heap_, inside));
   EXPECT_FALSE(rtxMemHeapCheckPtr(&none, ptr));
   EXPECT_TRUE(rtxMemHeapCheckPtr(&heap_, ptr));
   rtxMemHeapFreePtr(&none, ptr);
   rtxMemHeapFreePtr(nullptr, ptr);
   rtxMemHeapReset(&none);
   rtxMemHeapFreeAll(nullptr);
   EXPECT_EQ(rtxMemHeapAlloc(nullptr, 8), nullptr);
   EXPECT_EQ(rtxMemHeapRealloc(&none, nullptr, 8), nullptr);
   EXPECT_EQ(rtxMemHeapGetDefBlkSize(&none), rtxMemGetDefBlkSize());
   EXPECT_TRUE(rtxMemHeapIsEmpty(&none));
   EXPECT_FALSE(rtxMemHeapIsEmpty(&heap_));
}

TEST_F(Heap, SavedElementsSurviveAReset) {
   void* pieces[12];
   for (void*& ptr : pieces) ptr = alloc(40);
   RtxMemBlk* blk = blkOf(pieces[0]);
   for (int i : {0, 3, 4, 8}) {
      elemOf(pieces[i])->flags |= RTX_ME_SAVED;
      ++blk->nsaved;
      std::memset(pieces[i], i + 1, 40);
   }
   free(pieces[6]);
   alloc((506 - 12 * 6 - 1) * 8); // the ring's head goes elsewhere
   void* raw = alloc(600000);
   elemOf(raw)->flags |= RTX_ME_SAVED;
   rtxMemHeapReset(&heap_);
   EXPECT_EQ(freeRing(blk), (Sizes{(506 - 9 * 6 - 1) * 8, 3 * 48 - 8, 2 * 48 - 8}));
   for (int i : {0, 3, 4, 8}) EXPECT_EQ(*static_cast<char*>(pieces[i]), i + 1);
   EXPECT_TRUE(rtxMemHeapCheckPtr(&heap_, raw));

   void* moved = rtxMemHeapRealloc(&heap_, pieces[3], 2000); // takes the flag along
   EXPECT_NE(moved, pieces[3]);
   EXPECT_EQ(elemOf(moved)->flags, RTX_ME_SAVED);
   EXPECT_EQ(blk->nsaved, 4);
   free(pieces[4]);
   EXPECT_EQ(blk->nsaved, 3);
   check();
   rtxMemHeapFreeAll(&heap_); // they die too
   EXPECT_EQ(system_memory::live, 1u);
}

TEST_F(Heap, PropertiesAndOwners) {
   uint32_t value = RTX_MH_RAW_ONLY;
   rtxMemHeapSetProperty(&heap_, RTX_MHP_SET_FLAGS, &value);
   EXPECT_EQ(elemOf(alloc(9))->flags, RTX_ME_RAW);
   EXPECT_EQ(system_memory::lastSize, 41u);
   std::memset(alloc(0), 0, 8);
   rtxMemHeapSetProperty(&heap_, RTX_MHP_CLEAR_FLAGS, &value);
   value = 500;
   rtxMemHeapSetProperty(&heap_, RTX_MHP_DEF_BLK_SIZE, &value);
   rtxMemHeapSetProperty(&heap_, RTX_MHP_VALUE, &value);
   rtxMemHeapSetProperty(&heap_, 9, &value);
   rtxMemHeapSetProperty(&heap_, RTX_MHP_VALUE, nullptr);
   value = 0; // would divide by zero
   rtxMemHeapSetProperty(&heap_, RTX_MHP_DEF_BLK_SIZE, &value);
   EXPECT_EQ(rtxMemHeapGetDefBlkSize(&heap_), 500u);
   EXPECT_EQ(heap_->propertyValue, 500u);
   alloc(8);
   EXPECT_EQ(system_memory::lastSize, 500u);
   alloc(600);
   EXPECT_EQ(system_memory::lastSize, 1000u);
   EXPECT_EQ(rtxMemSetDefBlkSize(0), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtxMemGetDefBlkSize(), 4096u);

   char buffer[64];
   RtxMemHeap* shared = heap_;
   rtxMemHeapAddRef(&shared);
   EXPECT_EQ(rtxMemHeapConvertStatic(&heap_, buffer, sizeof buffer), RTX_E_BAD_ARGUMENT);
   rtxMemHeapRelease(&shared);
   EXPECT_EQ(shared, heap_);
   EXPECT_FALSE(rtxMemHeapIsEmpty(&heap_));
   rtxMemHeapRelease(&shared);
   EXPECT_EQ(shared, nullptr);
   EXPECT_EQ(system_memory::live, 0u);
   heap_ = nullptr;
}

TEST_F(Heap, ConvertedToStaticItsRecordStillGoesWhereItCameFrom) {
   alignas(8) uint8_t buffer[64];
   alloc(100);
   alloc(600000);
   EXPECT_EQ(rtxMemHeapConvertStatic(&heap_, buffer, sizeof buffer), 0);
   EXPECT_EQ(system_memory::live, 1u);
   EXPECT_EQ(heap_->mallocFn, g_malloc_func);
}

TEST(HeapCreation, CodeGuards) {
   RtxMemHeap* heap = nullptr;
   srand(1);
   const auto code = static_cast<uint32_t>(rand());
   srand(1);
   ASSERT_EQ(rtxMemHeapCreate(&heap), 0);
   EXPECT_EQ(heap->code, code);
   EXPECT_EQ(heap->refCount, 1u);
   EXPECT_EQ(heap->flags, RTX_MH_OWN_RECORD);
   void* ptr = rtxMemHeapAlloc(&heap, 8);
   EXPECT_EQ(rtxMemHeapGetMemBlk(elemOf(ptr))->sentinel.code, code);
   rtxMemHeapRelease(&heap);
   ASSERT_EQ(rtxMemHeapCreateExt(&heap, malloc, nullptr, free), 0);
   EXPECT_EQ(heap->code, 0u); // not from rand
   rtxMemHeapRelease(&heap);
   EXPECT_EQ(rtxMemHeapCreate(nullptr), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtxMemHeapCreateExt(&heap, malloc, nullptr, nullptr), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtxMemStaticHeapCreate(&heap, nullptr, 8), RTX_E_BAD_ARGUMENT);
}

TEST(HeapCreation, SystemMemoryPassesThrough) {
   RtxMemHeap* heap = nullptr;
   auto* ptr = static_cast<uint8_t*>(rtxMemHeapSysAllocZ(&heap, 100));
   ASSERT_NE(heap, nullptr);
   EXPECT_TRUE(rtxMemIsZero(ptr, 100));
   ptr[99] = 1;
   EXPECT_FALSE(rtxMemIsZero(ptr, 100));
   EXPECT_TRUE(rtxMemHeapIsEmpty(&heap));
   ptr = static_cast<uint8_t*>(rtxMemHeapSysRealloc(&heap, ptr, 20000));
   EXPECT_EQ(ptr[99], 1);
   rtxMemHeapSysFreePtr(&heap, ptr);
   rtxMemHeapRelease(&heap);
}

TEST(StaticHeap, HandsOutItsBufferFromFrontToBack) {
   alignas(8) uint8_t buffer[100];
   RtxMemHeap* heap = nullptr;
   ASSERT_EQ(rtxMemStaticHeapCreate(&heap, buffer, sizeof buffer), 0);
   EXPECT_TRUE(rtxMemHeapIsEmpty(&heap));
   void* first = rtxMemHeapAlloc(&heap, 3);
   EXPECT_EQ(first, buffer);
   void* second = rtxMemHeapAllocZ(&heap, 10);
   EXPECT_EQ(second, buffer + 3); // no rounding
   EXPECT_FALSE(rtxMemHeapIsEmpty(&heap));
   for (uint32_t flags : {0u, RTX_MH_CHECK_HEAP | RTX_MH_CHECK_PTR}) { // nothing to check here
      rtxMemHeapSetFlags(&heap, flags);
      rtxMemHeapFreePtr(&heap, second);
      EXPECT_EQ(rtxMemHeapAutoPtrRef(&heap, second), nullptr);
      EXPECT_EQ(rtxMemHeapAutoPtrUnref(&heap, second), RTX_E_NOMEM);
      EXPECT_FALSE(rtxMemHeapCheckPtr(&heap, second));
      EXPECT_EQ(rtxMemHeapRealloc(&heap, second, 20), nullptr);
   }
   struct {
      void* ptr;
      size_t oldSize, newSize;
      void* result;
      size_t used;
   } const cases[] = {
         {first, 3, 5, nullptr, 13},     {second, 10, 20, second, 23}, {second, 20, 20, nullptr, 23},
         {second, 20, 4, second, 7},     {second, 4, 97, second, 100}, {second, 97, 98, nullptr, 100},
         {second, 200, 1, nullptr, 100}, {second, 97, 1, second, 4},   {nullptr, 0, 6, buffer + 4, 10}};
   for (const auto& c : cases) {
      EXPECT_EQ(rtxMemHeapReallocStatic(&heap, c.ptr, c.oldSize, c.newSize), c.result);
      EXPECT_EQ(heap->staticUsed, c.used);
   }
   EXPECT_EQ(rtxMemHeapAlloc(&heap, 91), nullptr);
   rtxMemHeapClearFlags(&heap, ~0u);
   EXPECT_NE(heap->flags & RTX_MH_STATIC, 0u);
   rtxMemHeapReset(&heap);
   EXPECT_EQ(rtxMemHeapAlloc(&heap, 100), buffer);
   rtxMemHeapSetFlags(&heap, RTX_MH_OWN_RECORD);
   rtxMemHeapRelease(&heap);
   EXPECT_EQ(heap, nullptr);
}

TEST(StaticSystemMemory, ServesWholeHeaps) {
   alignas(8) static uint8_t buffer[3000];
   rtxMemSetStaticAlloc(buffer + 1, sizeof buffer - 1);
   EXPECT_EQ(rtxMemStaticAlloc_Alloc(3), buffer + 1);
   EXPECT_EQ(rtxMemStaticAlloc_Alloc(2), buffer + 4); // no alignment
   buffer[4] = 1;
   EXPECT_EQ(rtxMemStaticAlloc_Realloc(buffer + 4, 2), buffer + 6);
   EXPECT_EQ(buffer[6], 0); // no copy
   rtxMemStaticAlloc_Free(buffer + 6);
   EXPECT_EQ(rtxMemStaticAlloc_Alloc(sizeof buffer), nullptr);
   rtxMemFreeStatic();
   EXPECT_EQ(rtxMemStaticAlloc_Alloc(1), buffer + 1);

   // The heap's own records need their alignment all the same.
   RtxMemHeap* heap = nullptr;
   ASSERT_EQ(rtxMemHeapCreate(&heap), 0);
   rtxMemHeapSetFlags(&heap, RTX_MH_RAW_ONLY);
   void* raw = rtxMemHeapAlloc(&heap, 33);
   rtxMemHeapClearFlags(&heap, RTX_MH_RAW_ONLY);
   const uint32_t blkSize = 301;
   rtxMemHeapSetProperty(&heap, RTX_MHP_DEF_BLK_SIZE, &blkSize);
   void* ptr = rtxMemHeapAlloc(&heap, 20);
   EXPECT_EQ(reinterpret_cast<uintptr_t>(ptr) % 8, 0u);
   void* moved = rtxMemHeapRealloc(&heap, raw, 50);
   EXPECT_NE(moved, nullptr);
   EXPECT_NE(moved, raw);
   EXPECT_EQ(reinterpret_cast<uintptr_t>(moved) % 8, 0u);
   rtxMemHeapCheck(&heap, __FILE__, __LINE__);
   EXPECT_EQ(rtxMemHeapAutoPtrUnref(&heap, moved), 0);
   EXPECT_EQ(rtxMemHeapAlloc(&heap, 2500), nullptr);
   rtxMemHeapRelease(&heap);
   rtxMemSetAllocFuncs(nullptr, nullptr, nullptr);
   EXPECT_EQ(g_malloc_func, &malloc);
}

/** Every operation that can ask the system for memory. */
TEST(SystemFailure, LeavesTheHeapWhole) {
   system_memory::failEach(7, [](const auto& arm) {
      RtxMemHeap* heap = nullptr;
      arm();
      const int status =
            rtxMemHeapCreateExt(&heap, system_memory::alloc, system_memory::realloc, system_memory::free);
      EXPECT_EQ(status, system_memory::failures != 0 ? RTX_E_NOMEM : 0);
      if (status != 0) return;
      bool complete = true;
      const auto got = [&](void* ptr) {
         complete &= ptr != nullptr;
         rtxMemHeapCheck(&heap, __FILE__, __LINE__);
         return ptr;
      };
      void* a = got(rtxMemHeapAlloc(&heap, 4000));
      void* b = got(rtxMemHeapAllocZ(&heap, 600000));
      void* c = got(rtxMemHeapAlloc(&heap, 3000));
      if (void* fresh = got(rtxMemHeapRealloc(&heap, a, 9000))) a = fresh;
      if (void* fresh = got(rtxMemHeapRealloc(&heap, b, 5000000))) b = fresh;
      if (rtxMemHeapAutoPtrRef(&heap, c) != nullptr) {
         void* fresh = got(rtxMemHeapRealloc(&heap, c, 4000));
         EXPECT_EQ(rtxMemHeapAutoPtrGetRefCount(&heap, c), fresh != nullptr ? 1 : 2);
      }
      got(rtxMemHeapRealloc(&heap, a, 700000));
      EXPECT_EQ(complete, system_memory::failures == 0);
      rtxMemHeapRelease(&heap);
   });
}

/** Messages without a failure leave nothing: neither saved elements nor a block that can't go back. */
TEST_F(Heap, StacksTakeNoRoomInBlocks) {
   RtxContext context;
   ASSERT_EQ(system_memory::init(&context), 0);
   rtxMemHeapSetFlags(&context, RTX_MH_FREE_EMPTY_BLOCK);
   for (int depth : {1, 30, 100}) {
      EXPECT_TRUE(rtxMemHeapIsEmpty(&context));
      for (int i = 0; i < depth; ++i) {
         ASSERT_EQ(rtxCtxtPushElemName(&context, "name"), 0);
         ASSERT_EQ(rtxCtxtPushContainerBytes(&context, 1), 0);
      }
      EXPECT_FALSE(rtxMemHeapIsEmpty(&context));
      EXPECT_EQ(context.memHeap->curBlock, nullptr);
      void* ptr = rtxMemHeapAlloc(&context, 100);
      EXPECT_EQ(static_cast<char*>(ptr) - static_cast<char*>(context.memHeap->curBlock), 48);
      EXPECT_EQ(blkOf(ptr)->nsaved, 0);
      rtxMemHeapFreePtr(&context, ptr);
      EXPECT_EQ(context.memHeap->curBlock, nullptr); // the last free returned it
      for (int i = 0; i < depth; ++i) {
         EXPECT_STREQ(rtxCtxtPopElemName(&context), "name");
         rtxCtxtPopContainer(&context);
      }
   }
   const size_t deep = system_memory::live;
   rtxMemReset(&context);
   EXPECT_EQ(system_memory::live, deep); // nodes stay for the next message
   rtxMemFree(&context);
   EXPECT_EQ(system_memory::live, 2u); // the records of two heaps
   rtxFreeContext(&context);
}

/** What ends all allocations leaves open names and containers alone: no node goes to two owners. */
TEST(StackNodes, OutliveWhatEndsAllAllocations) {
   const auto reset = +[](void* handle) { rtxMemHeapReset(handle); };
   const auto bySub = +[](void* handle) {
      RtxContext sub;
      ASSERT_EQ(rtInitSubContext(&sub, static_cast<RtxContext*>(handle)), 0);
      rtxMemReset(&sub);
      ASSERT_EQ(rtxCtxtPushElemName(&sub, "other"), 0);
      ASSERT_EQ(rtxCtxtPushContainerBytes(&sub, 9), 0);
      rtFreeContext(&sub);
   };
   for (uint32_t flags : {0u, RTX_MH_RAW_ONLY, RTX_MH_ZERO_ON_FREE, RTX_MH_FREE_EMPTY_BLOCK})
      for (auto* end : {reset, rtxMemHeapFreeAll, bySub}) {
         RtxContext context;
         ASSERT_EQ(rtInitContext(&context), 0);
         rtxMemHeapSetFlags(&context, flags);
         static const char* const kNames[] = {"a", "b", "c"};
         std::string path;
         for (int round = 0; round < 40; ++round) {
            ASSERT_EQ(rtxCtxtPushElemName(&context, kNames[round % 3]), 0);
            ASSERT_EQ(rtxCtxtPushContainerBytes(&context, static_cast<size_t>(round)), 0);
            rtxErrSetData(&context, RTX_E_CONSTRAINT, nullptr, 0);
            rtxErrAddStrParm(&context, "parameter");
            end(&context);
            if (void* ptr = rtxMemHeapAlloc(&context, 3000)) std::memset(ptr, 0xEE, 3000);
            EXPECT_EQ(rtxErrGetStatus(&context), 0); // the record has ended with the rest
            EXPECT_EQ(rtxErrGetErrorCnt(&context), 0u);
            rtxMemHeapCheck(&context, __FILE__, __LINE__);
         }
         EXPECT_EQ(context.elemNames.count, 40u);
         for (int round = 40; round-- > 0;) {
            EXPECT_EQ(rtxCtxtGetContainerRemBits(&context), round * 8);
            rtxCtxtPopContainer(&context);
            EXPECT_EQ(rtxCtxtPopElemName(&context), kNames[round % 3]);
         }
         rtxErrReset(&context);
         rtxMemHeapCheck(&context, __FILE__, __LINE__);
         rtFreeContext(&context);
      }
}

/** The alarm ends the process if the search for a spare node does not. */
TEST(StackNodes, TruncatedMessagesAndResetsOfTheHeapEnd) {
   alarm(20);
   uint8_t octets[] = {0x07, 0x52, 0x06, 0x90, 0x5a, 0xda};
   for (const size_t size : {size_t{3000}, size_t{100}, size_t{600000}}) {
      RtxContext context;
      ASSERT_EQ(rtInitContext(&context), 0);
      TS24301Msg_PDU pdu;
      for (int round = 0; round < 4; ++round) {
         asn1Init_TS24301Msg_PDU(&pdu);
         rtxCtxtSetBufPtr(&context, octets, sizeof octets);
         EXPECT_LT(NASDec_TS24301Msg_PDU(&context, &pdu), 0);
         rtxMemHeapReset(&context);
         std::memset(rtxMemHeapAlloc(&context, size), 0xEE, size);
      }
      EXPECT_NE(context.elemNames.count, 0u);
      rtxErrReset(&context);
      EXPECT_EQ(context.elemNames.count, 0u);
      rtxMemHeapCheck(&context, __FILE__, __LINE__);
      rtFreeContext(&context);
   }
   alarm(0);
}

/** Blocks that a search of a long ring passes are counted by their effect: memory comes back into use. */
TEST_F(Heap, LongRingsAreSearchedPieceByPiece) {
   std::vector<void*> pieces;
   for (int i = 0; i < 400; ++i) pieces.push_back(alloc(4000)); // a block each
   const size_t full = system_memory::live;
   for (int i = 0; i < 200; ++i) free(pieces[static_cast<size_t>(i)]);
   for (int i = 0; i < 200; ++i) alloc(4000);
   EXPECT_LE(system_memory::live, full + 400 / 32 + 1);
   check();
}

} // namespace
