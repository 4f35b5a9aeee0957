/** Hash maps, array list, bit set, pointer array. */
#include "ContextFixture.h"
#include "quorva/rtxArrayList.h"
#include "quorva/rtxDynBitSet.h"
#include "quorva/rtxHashMap.h"
#include "quorva/rtxUTF8.h"

#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

uint32_t hashPointer(const void* key) {
   return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(key));
}

int equalPointers(const void* key1, const void* key2) {
   return key1 == key2;
}

const void* keyOf(size_t number) {
   return reinterpret_cast<const void*>(number);
}

void* valueOf(size_t number) {
   return reinterpret_cast<void*>(number);
}

class HashMap : public ContextTest {
protected:
   int init(size_t capacity) {
      return rtxHashMapInit(&context_, &map_, capacity, hashPointer, equalPointers);
   }

   RtxHashMap map_;
};

TEST_F(HashMap, SizesAndGrowth) {
   const struct {
      size_t capacity;
      uint32_t nbuckets, threshold;
   } sizes[] = {{0, 53, 35},  {10, 53, 35},    {52, 53, 35},
                {53, 97, 64}, {100, 193, 126}, {98317, 196613, 127799}};
   for (const auto& s : sizes) {
      ASSERT_EQ(init(s.capacity), 0);
      EXPECT_EQ(map_.nbuckets, s.nbuckets);
      EXPECT_EQ(map_.threshold, s.threshold);
      rtxHashMapFree(&context_, &map_);
   }
   init(10);
   for (size_t i = 0; i < 36; ++i) {
      EXPECT_EQ(map_.nbuckets, 53u);
      EXPECT_EQ(rtxHashMapInsert(&context_, &map_, keyOf(i), valueOf(i * 2)), 0);
   }
   EXPECT_EQ(map_.nbuckets, 97u);
   rtxHashMapFree(&context_, &map_);
   for (size_t absurd : {size_t{1610612741}, SIZE_MAX}) EXPECT_EQ(init(absurd), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtxHashMapInit(&context_, &map_, 1, nullptr, equalPointers), RTX_E_NULL);
   EXPECT_EQ(rtxNewHashMap(&context_, 1610612741, hashPointer, equalPointers), nullptr);
   EXPECT_EQ(rtxHashMapInsert(&context_, &map_, nullptr, nullptr), RTX_E_NOT_INIT);
   EXPECT_FALSE(rtxHashMapSearch(&map_, nullptr, nullptr));
   EXPECT_TRUE(rtxMemHeapIsEmpty(&context_));
}

TEST_F(HashMap, SpreadsTheHash) {
   init(10);
   const struct {
      uint32_t hash, spread;
   } cases[] = {{0, 0}, {1, 0xFC5DCEE7}, {0x1505, 0x97213352}, {0xDEADBEEF, 0x51B6CC4D}};
   for (const auto& c : cases) {
      rtxHashMapInsert(&context_, &map_, keyOf(c.hash), nullptr);
      const RtxHashMapEntry* entry = map_.buckets[c.spread % 53];
      ASSERT_NE(entry, nullptr);
      EXPECT_EQ(entry->hash, c.spread);
   }
}

TEST_F(HashMap, NewerEntriesHideOlderOnes) {
   init(10);
   const auto expectHidden = [](const RtxHashMap* map) {
      void* value = nullptr;
      EXPECT_TRUE(rtxHashMapSearch(map, keyOf(7), &value));
      EXPECT_EQ(value, valueOf(2));
   };
   rtxHashMapInsert(&context_, &map_, keyOf(7), valueOf(1));
   rtxHashMapInsert(&context_, &map_, keyOf(7), valueOf(2));
   EXPECT_EQ(map_.count, 2u);
   expectHidden(&map_);
   RtxHashMap* copy = rtxHashMapCopy(&context_, &map_);
   expectHidden(copy);
   for (size_t i = 100; map_.nbuckets == 53; ++i) rtxHashMapInsert(&context_, &map_, keyOf(i), nullptr);
   void* value = nullptr;
   EXPECT_TRUE(rtxHashMapSearch(&map_, keyOf(7), &value));
   EXPECT_EQ(value, valueOf(1)); // growth turns their order round
   rtxHashMapPut(&context_, &map_, keyOf(7), valueOf(3));
   EXPECT_TRUE(rtxHashMapRemove(&context_, &map_, keyOf(7), &value));
   EXPECT_EQ(value, valueOf(3));
   EXPECT_TRUE(rtxHashMapRemove(&context_, &map_, keyOf(7), &value));
   EXPECT_EQ(value, valueOf(2));
   EXPECT_FALSE(rtxHashMapRemove(&context_, &map_, keyOf(7), &value));
   expectHidden(copy);
   EXPECT_EQ(copy->count, 2u);
   EXPECT_EQ(copy->nbuckets, 53u);
}

TEST_F(HashMap, AgreesWithAModel) {
   std::mt19937 random(1);
   std::map<size_t, size_t> model;
   rtxMemHeapClearFlags(&context_, RTX_MH_RAW_ONLY);
   init(0);
   for (size_t i = 0; i < 20000; ++i) {
      const size_t key = random() % 3000;
      const auto found = model.find(key);
      void* value = nullptr;
      if (random() % 3 != 0) {
         ASSERT_EQ(rtxHashMapPut(&context_, &map_, keyOf(key), valueOf(i)), 0);
         model[key] = i;
      } else {
         ASSERT_EQ(rtxHashMapRemove(&context_, &map_, keyOf(key), &value), found != model.end());
         if (found != model.end()) {
            ASSERT_EQ(value, valueOf(found->second));
            model.erase(found);
         }
      }
      ASSERT_EQ(map_.count, model.size());
   }
   for (size_t key = 0; key < 3000; ++key) {
      void* value = nullptr;
      const auto found = model.find(key);
      ASSERT_EQ(rtxHashMapSearch(&map_, keyOf(key), &value), found != model.end());
      ASSERT_TRUE(found == model.end() || value == valueOf(found->second));
   }
   EXPECT_GT(map_.primeIndex, 4u);
   rtxHashMapFree(&context_, &map_);
   EXPECT_TRUE(rtxMemHeapIsEmpty(&context_));
}

TEST_F(HashMap, FailuresLeaveItUsable) {
   failEach([this] { return init(10) == 0; });
   for (size_t i = 0; i < 35; ++i) rtxHashMapInsert(&context_, &map_, keyOf(i), nullptr);
   system_memory::failNth(1); // the larger table
   EXPECT_EQ(rtxHashMapInsert(&context_, &map_, keyOf(35), nullptr), 0);
   EXPECT_EQ(map_.nbuckets, 53u);
   system_memory::failNth(2); // the entry
   EXPECT_EQ(rtxHashMapPut(&context_, &map_, keyOf(36), nullptr), RTX_E_NOMEM);
   EXPECT_EQ(map_.count, 36u);
   EXPECT_FALSE(rtxHashMapSearch(&map_, keyOf(36), nullptr));

   map_.primeIndex = 25; // the last size there is: chains get longer
   map_.threshold = 0;
   const size_t calls = system_memory::calls;
   EXPECT_EQ(rtxHashMapInsert(&context_, &map_, keyOf(36), nullptr), 0);
   EXPECT_EQ(system_memory::calls, calls + 1);
   EXPECT_TRUE(rtxHashMapSearch(&map_, keyOf(36), nullptr));

   const size_t live = system_memory::live;
   RtxHashMap* copy = nullptr;
   RtxDList sorted;
   for (size_t n = 1; copy == nullptr; ++n) {
      EXPECT_EQ(system_memory::live, live);
      system_memory::failNth(n);
      copy = rtxHashMapCopy(&context_, &map_);
   }
   system_memory::failNth(20);
   const auto equal = [](const RtxHashMapEntry*, const RtxHashMapEntry*) { return 0; };
   const size_t before = system_memory::live;
   EXPECT_EQ(rtxHashMapSort(&context_, copy, &sorted, equal), RTX_E_NOMEM);
   EXPECT_EQ(sorted.count, 0u);
   EXPECT_EQ(system_memory::live, before);
}

TEST_F(ContextTest, MapsWithTextKeys) {
   auto* ints = rtxNewHashMapStr2Int(&context_, 4, rtxUTF8StrHash, rtxUTF8StrEqual);
   RtxHashMapStr2UInt uints;
   ASSERT_EQ(rtxHashMapStr2UIntInit(&context_, &uints, 4, rtxUTF8StrHash, rtxUTF8StrEqual), 0);
   int32_t number = 0;
   for (const char* name : {"delta", "alpha", "echo", "bravo", "charlie"}) {
      ASSERT_EQ(rtxHashMapStr2IntPut(&context_, ints, name, --number), 0);
      ASSERT_EQ(rtxHashMapStr2UIntInsert(&context_, &uints, name, static_cast<uint32_t>(number)), 0);
   }
   int32_t value = 0;
   EXPECT_TRUE(rtxHashMapStr2IntSearch(ints, std::string("echo").c_str(), &value)); // by content
   EXPECT_EQ(value, -3);
   uint32_t uvalue = 0;
   EXPECT_TRUE(rtxHashMapStr2UIntRemove(&context_, &uints, "bravo", &uvalue));
   EXPECT_EQ(uvalue, UINT32_MAX - 3);
   EXPECT_FALSE(rtxHashMapStr2UIntSearch(&uints, "bravo", nullptr));
   RtxHashMapStr2UInt* copy = rtxHashMapStr2UIntCopy(&context_, &uints);
   EXPECT_EQ(copy->count, 4u);

   using Entry = RtxHashMapStr2IntEntry;
   const auto order = [](const Entry* a, const Entry* b) { return rtxUTF8Strcmp(a->key, b->key); };
   RtxDList list;
   ASSERT_EQ(rtxHashMapStr2IntSort(&context_, ints, &list, order), 0);
   std::string joined;
   for (const RtxDListNode* node = list.head; node != nullptr; node = node->next)
      joined += static_cast<const Entry*>(node->data)->key[0];
   EXPECT_EQ(joined, "abcde");
   rtxDListFreeNodes(&context_, &list);
   rtxHashMapStr2IntFree(&context_, ints);
   rtxHashMapStr2UIntFree(&context_, &uints);
   rtxHashMapStr2UIntFree(&context_, copy);
   for (void* record : {static_cast<void*>(ints), static_cast<void*>(copy)})
      rtxMemHeapFreePtr(&context_, record);
   EXPECT_TRUE(rtxMemHeapIsEmpty(&context_));
}

class ArrayList : public ContextTest {
protected:
   std::string text() const {
      std::string result;
      RtxArrayListIter iter;
      rtxArrayListInitIter(&iter, &list_, 0);
      while (rtxArrayListHasNextItem(&iter) != 0) result += *static_cast<char*>(rtxArrayListNextItem(&iter));
      EXPECT_EQ(rtxArrayListNextItem(&iter), nullptr);
      EXPECT_EQ(list_.size, result.size());
      EXPECT_EQ(list_.segments.count, (result.size() + list_.segSize - 1) / list_.segSize);
      for (size_t i = 0; i < result.size(); ++i)
         EXPECT_EQ(*static_cast<char*>(rtxArrayListGetIndexed(&list_, i)), result[i]);
      return result;
   }

   RtxArrayList list_;
   char letters_[27] = "abcdefghijklmnopqrstuvwxyz";
};

TEST_F(ArrayList, InsertsAndRemovesAcrossSegments) {
   constexpr size_t kSegSizes[] = {1, 2, 3, 0};
   for (size_t segSize : kSegSizes) {
      rtxArrayListInit(&list_, segSize);
      EXPECT_EQ(list_.segSize, segSize != 0 ? segSize : 10u);
      std::string model;
      std::mt19937 random(static_cast<uint32_t>(segSize));
      for (int i = 0; i < 300; ++i) {
         const size_t letter = random() % 26;
         const size_t index = random() % (model.size() + 1);
         if (random() % 40 > model.size()) {
            ASSERT_EQ(rtxArrayListInsert(&context_, &list_, letters_ + letter, index), 0);
            model.insert(index, 1, letters_[letter]);
         } else if (index < model.size()) {
            ASSERT_EQ(rtxArrayListRemoveIndexed(&context_, &list_, index), 0);
            model.erase(index, 1);
         } else {
            ASSERT_EQ(rtxArrayListRemoveIndexed(&context_, &list_, static_cast<size_t>(-1)),
                      model.empty() ? RTX_E_INDEX : 0);
            if (!model.empty()) model.pop_back();
         }
         ASSERT_EQ(text(), model);
         rtxErrReset(&context_);
      }
      rtxFreeArrayList(&context_, &list_);
      EXPECT_TRUE(rtxMemHeapIsEmpty(&context_));
   }
}

TEST_F(ArrayList, RefusalsComparisonsAndStarts) {
   rtxArrayListInit(&list_, 2);
   size_t index = 9;
   for (int i : {0, 25}) EXPECT_EQ(rtxArrayListAdd(&context_, &list_, letters_ + i, &index), 0);
   EXPECT_EQ(index, 1u);
   for (int status :
        {rtxArrayListRemove(&context_, &list_, letters_ + 2), rtxArrayListRemoveIndexed(&context_, &list_, 2),
         rtxArrayListInsert(&context_, &list_, letters_, 3), rtxArrayListReplace(&list_, letters_ + 25, 2)})
      EXPECT_EQ(status, RTX_E_INDEX);
   EXPECT_EQ(rtxErrGetLastError(&context_), RTX_E_INDEX);
   EXPECT_EQ(rtxArrayListGetIndexed(&list_, 2), nullptr);
   EXPECT_EQ(rtxArrayListAdd(&context_, nullptr, letters_, nullptr), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtxArrayListIndexOf(nullptr, letters_), RTX_E_BAD_ARGUMENT);
   system_memory::failNth(1);
   EXPECT_EQ(rtxArrayListInsert(&context_, &list_, letters_, 0), RTX_E_NOMEM);
   EXPECT_EQ(text(), "az");
   EXPECT_EQ(rtxArrayListReplace(&list_, letters_ + 1, 0), 0);
   EXPECT_EQ(text(), "bz");
   EXPECT_EQ(rtxArrayListRemove(&context_, &list_, letters_ + 1), 0);
   EXPECT_EQ(text(), "z");

   char other = 'z';
   EXPECT_EQ(rtxArrayListIndexOf(&list_, &other), -1);
   const char shift = 1;
   list_.equalsArg = &shift;
   list_.equalsFn = [](const void* a, const void* b, const void* arg) -> int {
      return *static_cast<const char*>(a) ==
             *static_cast<const char*>(b) - 1 + *static_cast<const char*>(arg);
   };
   EXPECT_EQ(rtxArrayListIndexOf(&list_, &other), 0);
   rtxArrayListInsert(&context_, &list_, letters_, 0);
   RtxArrayListIter iter;
   rtxArrayListInitIter(&iter, &list_, 1);
   EXPECT_EQ(rtxArrayListNextItem(&iter), letters_ + 25);
   EXPECT_FALSE(rtxArrayListHasNextItem(&iter));
   EXPECT_EQ(rtxNewArrayList(&context_, 5)->segSize, 5u);
}

class BitSet : public ContextTest {
protected:
   std::string text(size_t count) const {
      std::string result;
      for (size_t i = 0; i < count; ++i) result += rtxDynBitSetTestBit(&set_, i) != 0 ? '1' : '0';
      return result;
   }

   RtxDynBitSet set_;
};

TEST_F(BitSet, GrowsByItsIncrement) {
   ASSERT_EQ(rtxDynBitSetInit(&context_, &set_, 0), 0);
   EXPECT_EQ(set_.capacity, 16);
   for (const auto& [bit, capacity] : {std::pair<size_t, int>{127, 16}, {128, 32}, {700, 96}}) {
      EXPECT_EQ(rtxDynBitSetSetBit(&context_, &set_, bit), 0);
      EXPECT_EQ(set_.capacity, capacity);
   }
   EXPECT_EQ(set_.bits[128 / 8], 0x80);
   rtxDynBitSetClearBit(&set_, 60000); // beyond the capacity: no effect
   EXPECT_EQ(set_.maxBit, 701);
   rtxDynBitSetClearBit(&set_, 700);
   EXPECT_EQ(set_.maxBit, 129);
   RtxDynBitSet copy;
   ASSERT_EQ(rtxDynBitSetCopy(&context_, &copy, &set_), 0);
   for (const size_t bit : {128u, 127u}) rtxDynBitSetClearBit(&copy, bit);
   EXPECT_EQ(copy.maxBit, 1); // no bit is left, and yet not 0
   EXPECT_TRUE(rtxDynBitSetTestBit(&set_, 128));
   rtxDynBitSetFree(&context_, &copy);
   EXPECT_EQ(copy.capacity, 0);
   EXPECT_EQ(rtxDynBitSetSetBit(&context_, &copy, 3), 0);
   system_memory::failNth(1);
   EXPECT_EQ(rtxDynBitSetSetBit(&context_, &copy, 1000), RTX_E_NOMEM);
   EXPECT_EQ(copy.maxBit, 4);
}

TEST_F(BitSet, ReachesTheLastIndex) {
   for (uint16_t increment : std::initializer_list<uint16_t>{1, 16, 5000, 65535}) {
      ASSERT_EQ(rtxDynBitSetInit(&context_, &set_, increment), 0);
      EXPECT_EQ(rtxDynBitSetSetBit(&context_, &set_, 65536), RTX_E_INDEX);
      EXPECT_EQ(rtxDynBitSetSetBitToValue(&context_, &set_, 65536, 0), RTX_E_INDEX);
      EXPECT_EQ(rtxDynBitSetSetBit(&context_, &set_, 65535), 0);
      EXPECT_TRUE(rtxDynBitSetTestBit(&set_, 65535));
      EXPECT_FALSE(rtxDynBitSetTestBit(&set_, 65534));
      EXPECT_EQ(rtxDynBitSetInsertBit(&context_, &set_, 3, 1), RTX_E_INDEX);
      rtxDynBitSetSetBit(&context_, &set_, 65534);
      rtxDynBitSetClearBit(&set_, 65535);
      EXPECT_FALSE(rtxDynBitSetTestBit(&set_, 65535));
      EXPECT_EQ(rtxDynBitSetInsertBit(&context_, &set_, 3, 1), 0);
      EXPECT_TRUE(rtxDynBitSetTestBit(&set_, 65535));
      rtxDynBitSetClearBit(&set_, 65535);
      EXPECT_EQ(set_.maxBit, 4);
   }
}

TEST_F(BitSet, InsertsAgainstAModel) {
   std::mt19937 random(2);
   for (int round = 0; round < 20; ++round) {
      ASSERT_EQ(rtxDynBitSetInit(&context_, &set_, 1), 0);
      std::string model(80, '0');
      for (int i = 0; i < 60; ++i) {
         const size_t index = random() % 64;
         const bool value = random() % 2 != 0;
         if (random() % 3 == 0) {
            ASSERT_EQ(rtxDynBitSetSetBitToValue(&context_, &set_, index, value), 0);
            model[index] = value ? '1' : '0';
         } else {
            ASSERT_EQ(rtxDynBitSetInsertBit(&context_, &set_, index, value), 0);
            model.insert(index, 1, value ? '1' : '0');
         }
         ASSERT_EQ(text(model.size()), model) << index;
         const size_t top = model.rfind('1');
         ASSERT_EQ(set_.maxBit > 1 ? set_.maxBit : 1, (top == std::string::npos ? 0 : top) + 1);
      }
      rtxDynBitSetFree(&context_, &set_);
   }
}

TEST_F(ContextTest, PointerArray) {
   RtxDynPtrArray array;
   char items[9];
   ASSERT_EQ(rtxDynPtrArrayInit(&context_, &array, 0), 0);
   EXPECT_EQ(array.capacity, 4);
   for (char& item : items) EXPECT_EQ(rtxDynPtrArrayAppend(&context_, &array, &item), 0);
   EXPECT_EQ(array.capacity, 16);
   EXPECT_EQ(array.used, 9);
   for (int i = 0; i < 9; ++i) EXPECT_EQ(array.items[i], items + i);
   RtxDynPtrArray empty = {};
   system_memory::failNth(1);
   EXPECT_EQ(rtxDynPtrArrayAppend(&context_, &empty, items), RTX_E_NOMEM);
   EXPECT_EQ(rtxDynPtrArrayAppend(&context_, &empty, items), 0);
   EXPECT_EQ(empty.capacity, 4);
   while (empty.used < 65535) ASSERT_EQ(rtxDynPtrArrayAppend(&context_, &empty, items), 0);
   EXPECT_EQ(rtxDynPtrArrayAppend(&context_, &empty, items), RTX_E_OVERFLOW);
   EXPECT_EQ(empty.items[65534], items);
}

} // namespace
