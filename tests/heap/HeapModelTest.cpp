/** Random operations on a heap, against a model of what is allocated and what it contains. */
#include "quorva/rtxMemHeapLayout.h"
#include "support/systemMemory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#define SLOW_BUILD 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define SLOW_BUILD 1
#endif
#endif

namespace {

struct Piece {
   uint8_t* data;
   size_t size; ///< Octets that carry the pattern.
   unsigned refs;
   uint8_t seed;
};

class Model {
public:
   Model(uint32_t seed, bool withRealloc, uint32_t blkSize) : random_(seed) {
      system_memory::reset();
      if (rtxMemHeapCreateExt(&heap_, system_memory::alloc, withRealloc ? system_memory::realloc : nullptr,
                              system_memory::free) != 0)
         abort();
      rtxMemHeapSetProperty(&heap_, RTX_MHP_DEF_BLK_SIZE, &blkSize);
   }

   ~Model() {
      system_memory::failHook = nullptr;
      rtxMemHeapRelease(&heap_);
      EXPECT_EQ(heap_, nullptr);
      EXPECT_EQ(system_memory::live, 0u);
   }

   void run(size_t nops) {
      for (size_t op = 0; op < nops && !testing::Test::HasFailure(); ++op) {
         if (op % 500 == 0) newFlags(op / 500);
         step();
         if (op < 20000 || op % 500 == 0) {
            rtxMemHeapCheck(&heap_, __FILE__, __LINE__);
            ASSERT_EQ(rtxMemHeapIsEmpty(&heap_) != 0, pieces_.empty());
         }
      }
      for (const Piece& piece : pieces_) verify(piece);
   }

   size_t failuresSeen() const { return failuresSeen_; }

private:
   size_t below(size_t limit) { return random_() % limit; }

   /** All 32 settings of the flags in turn; in every third period the system fails now and then. */
   void newFlags(size_t period) {
      static const uint32_t kFlags[] = {RTX_MH_FREE_EMPTY_BLOCK, RTX_MH_CHECK_PTR, RTX_MH_CHECK_HEAP,
                                        RTX_MH_ZERO_ON_FREE, RTX_MH_RAW_ONLY};
      flags_ = 0;
      for (size_t bit = 0; bit < 5; ++bit)
         if ((period >> bit & 1) != 0) flags_ |= kFlags[bit];
      rtxMemHeapClearFlags(&heap_, ~RTX_MH_OWN_RECORD);
      rtxMemHeapSetFlags(&heap_, flags_);
      system_memory::failHook = period % 3 == 2 ? +[] { return system_memory::calls % 7 == 0; } : nullptr;
   }

   size_t anySize() {
      const size_t kind = below(1000);
      if (kind == 0) return 524256 - 16 + below(40); // about the largest element
      if (kind == 1) return 520000 + below(80000);
      if (kind < 9) return below(20000);
      return below(5) == 0 ? below(1500) : below(100);
   }

   void fill(Piece& piece) {
      piece.seed = static_cast<uint8_t>(random_());
      for (size_t i = 0; i < piece.size; ++i) piece.data[i] = static_cast<uint8_t>(piece.seed + i * 7);
   }

   static void verifyOctets(const Piece& piece, const uint8_t* data, size_t size) {
      for (size_t i = 0; i < size; ++i)
         if (data[i] != static_cast<uint8_t>(piece.seed + i * 7)) {
            ADD_FAILURE() << "octet " << i << " of " << piece.size << " overwritten";
            return;
         }
   }

   static void verify(const Piece& piece) { verifyOctets(piece, piece.data, piece.size); }

   /** A null result is right only if the system has failed since. */
   bool got(const void* ptr, unsigned failuresBefore) {
      if (ptr != nullptr) {
         EXPECT_EQ(reinterpret_cast<uintptr_t>(ptr) % 8, 0u);
         return true;
      }
      EXPECT_GT(system_memory::failures, failuresBefore);
      ++failuresSeen_;
      return false;
   }

   void allocate() {
      const size_t size = anySize();
      const bool zeroed = below(4) == 0;
      const unsigned failures = system_memory::failures;
      void* ptr = zeroed ? rtxMemHeapAllocZ(&heap_, size) : rtxMemHeapAlloc(&heap_, size);
      if (!got(ptr, failures)) return;
      EXPECT_TRUE(!zeroed || rtxMemIsZero(ptr, size));
      Piece piece = {static_cast<uint8_t*>(ptr), size, 1, 0};
      fill(piece);
      pieces_.push_back(piece);
   }

   void drop(size_t index) {
      pieces_[index] = pieces_.back();
      pieces_.pop_back();
   }

   void release() {
      const size_t index = below(pieces_.size());
      Piece& piece = pieces_[index];
      verify(piece);
      EXPECT_EQ(rtxMemHeapAutoPtrUnref(&heap_, piece.data), static_cast<int>(piece.refs - 1));
      if (--piece.refs == 0) drop(index);
   }

   /** A second free is ignored while the freed memory is still the heap's, that is, in a block that stays. */
   void releaseTwice() {
      if ((flags_ & (RTX_MH_CHECK_PTR | RTX_MH_FREE_EMPTY_BLOCK | RTX_MH_RAW_ONLY)) != 0) return;
      void* ptr = rtxMemHeapAlloc(&heap_, below(300));
      if (ptr == nullptr) return;
      rtxMemHeapFreePtr(&heap_, ptr);
      rtxMemHeapFreePtr(&heap_, ptr);
      EXPECT_EQ(rtxMemHeapRealloc(&heap_, ptr, 8), nullptr);
      EXPECT_EQ(rtxMemHeapAutoPtrRef(&heap_, ptr), nullptr);
   }

   void resize() {
      const size_t index = below(pieces_.size());
      Piece& piece = pieces_[index];
      const Piece old = piece;
      size_t size = below(3) == 0 ? anySize() : piece.size + 40 - below(80);
      if (size > 1000000) size = 0;
      verify(piece);
      const unsigned failures = system_memory::failures;
      const size_t copyLimit = limitOfCopy(piece);
      void* ptr = rtxMemHeapRealloc(&heap_, piece.data, size);
      if (size == 0) {
         EXPECT_EQ(ptr, nullptr);
         if (--piece.refs == 0) drop(index);
         return;
      }
      if (!got(ptr, failures)) {
         verify(piece);
         EXPECT_EQ(rtxMemHeapAutoPtrGetRefCount(&heap_, piece.data), static_cast<int>(piece.refs));
         return;
      }
      Piece fresh = {static_cast<uint8_t*>(ptr), size, 1, 0};
      verifyOctets(old, fresh.data, std::min({old.size, size, copyLimit}));
      fill(fresh);
      if (old.refs > 1) {
         EXPECT_NE(ptr, old.data);
         --piece.refs;
         verify(piece);
         pieces_.push_back(fresh);
      } else {
         piece = fresh;
      }
   }

   /** What a copying reallocation keeps of a raw block: it remembers its first size only. */
   size_t limitOfCopy(const Piece& piece) const {
      RtxMemElem* elem = reinterpret_cast<RtxMemElem*>(piece.data) - 1;
      const bool copied = piece.refs > 1 || heap_->reallocFn == nullptr;
      return copied && (elem->flags & RTX_ME_RAW) != 0 ? rtxMemHeapGetRawMemBlk(elem)->size : SIZE_MAX;
   }

   void reference() {
      Piece& piece = pieces_[below(pieces_.size())];
      void* ptr = rtxMemHeapAutoPtrRef(&heap_, piece.data);
      EXPECT_EQ(ptr, piece.refs == 255 ? nullptr : piece.data);
      if (ptr != nullptr) ++piece.refs;
      EXPECT_EQ(rtxMemHeapAutoPtrGetRefCount(&heap_, piece.data), static_cast<int>(piece.refs));
      EXPECT_TRUE(rtxMemHeapCheckPtr(&heap_, piece.data));
   }

   void step() {
      const size_t what = below(10000);
      if (what < 3)
         endAll(false);
      else if (what < 4)
         endAll(true);
      else if (what < 100)
         releaseTwice();
      else if (pieces_.empty() || (what < 5000 && pieces_.size() < 300))
         allocate();
      else if (what < 7500)
         release();
      else if (what < 9500)
         resize();
      else
         reference();
   }

   void endAll(bool free) {
      for (const Piece& piece : pieces_) verify(piece);
      pieces_.clear();
      if (free) {
         rtxMemHeapFreeAll(&heap_);
         EXPECT_EQ(system_memory::live, 1u); // the record
      } else {
         rtxMemHeapReset(&heap_);
      }
      EXPECT_TRUE(rtxMemHeapIsEmpty(&heap_));
   }

   std::mt19937 random_;
   RtxMemHeap* heap_ = nullptr;
   std::vector<Piece> pieces_;
   uint32_t flags_ = 0;
   size_t failuresSeen_ = 0;
};

#ifdef SLOW_BUILD
constexpr size_t kManyOps = 100000;
#else
constexpr size_t kManyOps = 1000000;
#endif

TEST(HeapModel, Short) {
   Model(1, true, 4096).run(3000);
   Model(2, false, 64).run(3000);
}

TEST(HeapModel, ManyOperations) {
   Model model(3, true, 4096);
   model.run(kManyOps);
   EXPECT_GT(model.failuresSeen(), 100u);
}

TEST(HeapModel, WithoutReallocFunctionAndWithOddBlocks) {
   Model(4, false, 1000).run(kManyOps / 10);
   Model(5, true, 600000).run(kManyOps / 10);
   Model(6, true, 1).run(kManyOps / 10);
}

} // namespace
