/** Linked lists, stacks, chunk list. */
#include "ContextFixture.h"
#include "quorva/rtxDList.h"
#include "quorva/rtxIntStack.h"
#include "quorva/rtxScalarDList.h"
#include "quorva/rtxSList.h"
#include "quorva/rtxStack.h"

#include <cstring>
#include <string>
#include <vector>

namespace {

char letters[] = "abcdefghij";

class DList : public ContextTest {
protected:
   DList() { rtxDListInit(&list_); }

   /** The letters that the data point at, after a look at all links. */
   std::string text() const {
      std::string result;
      const RtxDListNode* prev = nullptr;
      for (const RtxDListNode* node = list_.head; node != nullptr; prev = node, node = node->next) {
         EXPECT_EQ(node->prev, prev);
         result += node->data != nullptr ? *static_cast<char*>(node->data) : '-';
      }
      EXPECT_EQ(list_.tail, prev);
      EXPECT_EQ(list_.count, result.size());
      return result;
   }

   RtxDListNode* append(int letter) { return rtxDListAppend(&context_, &list_, letters + letter); }
   void fill(int count) {
      for (int i = 0; i < count; ++i) append(i);
   }

   RtxDList list_;
};

TEST_F(DList, InsertsWhereItIsTold) {
   RtxDListNode* b = rtxDListInsert(&context_, &list_, 7, letters + 1);
   rtxDListInsert(&context_, &list_, 0, letters);
   rtxDListInsert(&context_, &list_, 2, letters + 4);
   rtxDListInsert(&context_, &list_, 2, letters + 3);
   rtxDListInsert(&context_, &list_, 99, letters + 5);
   EXPECT_EQ(text(), "abdef");
   rtxDListInsertAfter(&context_, &list_, b, letters + 2);
   rtxDListInsertBefore(&context_, &list_, list_.head, letters + 9);
   rtxDListInsertAfter(&context_, &list_, nullptr, letters + 8);
   rtxDListInsertBefore(&context_, &list_, nullptr, letters + 7);
   rtxDListInsertAfter(&context_, &list_, list_.tail, letters + 6);
   EXPECT_EQ(text(), "ijabcdefhg");
   rtxDListRemove(&list_, b);
   EXPECT_EQ(text(), "ijacdefhg");
   EXPECT_EQ(rtxDListInsertNode(&list_, 8, b), b);
   EXPECT_EQ(text(), "ijacdefhbg");
   rtxDListFreeNode(&context_, &list_, list_.head);
   rtxDListFreeNode(&context_, &list_, list_.tail);
   EXPECT_EQ(text(), "jacdefhb");
}

TEST_F(DList, FindsByIndexAndData) {
   EXPECT_EQ(rtxDListFindByIndex(&list_, 0), nullptr);
   EXPECT_EQ(rtxDListFindFirstData(&list_), nullptr);
   rtxDListAppend(&context_, &list_, nullptr);
   fill(6);
   size_t index = 0;
   for (RtxDListNode* node = list_.head; node != nullptr; node = node->next)
      EXPECT_EQ(rtxDListFindByIndex(&list_, index++), node);
   for (size_t beyond : {index, SIZE_MAX}) EXPECT_EQ(rtxDListFindByIndex(&list_, beyond), nullptr);
   EXPECT_EQ(rtxDListFindByData(&list_, letters + 3), rtxDListFindByIndex(&list_, 4));
   EXPECT_EQ(rtxDListFindByData(&list_, letters + 9), nullptr);
   EXPECT_EQ(rtxDListFindIndexByData(&list_, letters + 3), 4);
   EXPECT_EQ(rtxDListFindIndexByData(&list_, letters + 9), -1);
   EXPECT_EQ(rtxDListFindFirstData(&list_), list_.head->next);
}

/** Sorts by the first character; what follows it shows the order of arrival. */
int compareFirst(const void* text1, const void* text2, const void* count) {
   ++*const_cast<int*>(static_cast<const int*>(count));
   return *static_cast<const char*>(text1) - *static_cast<const char*>(text2);
}

TEST_F(DList, SortedInsertion) {
   const struct {
      const char* input[5];
      const char* output;
      int comparisons;
   } cases[] = {
         {{"a1", "b1", "c1", "d1", "e1"}, "a1b1c1d1e1", 4},
         {{"b1", "b2", "b3", "b4", "b5"}, "b1b2b3b4b5", 4}, // an equal tail: order of arrival
         {{"e1", "d1", "c1", "b1", "a1"}, "a1b1c1d1e1", 7},
         {{"a1", "c1", "a2", "c2", "a3"}, "a3a2a1c1c2", 6}, // elsewhere before its equals
         {{"a1", "b1", "d1", "b2", "c1"}, "a1b2b1c1d1", 10},
   };
   for (const auto& c : cases) {
      int comparisons = 0;
      rtxDListFreeNodes(&context_, &list_);
      for (const char* text : c.input)
         rtxDListInsertSorted(&context_, &list_, const_cast<char*>(text), compareFirst, &comparisons);
      text();
      std::string joined;
      for (const RtxDListNode* node = list_.head; node != nullptr; node = node->next)
         joined += static_cast<const char*>(node->data);
      EXPECT_EQ(joined, c.output);
      EXPECT_LE(comparisons, c.comparisons) << c.output;
   }
}

TEST_F(DList, CopiesInAndOut) {
   int32_t numbers[] = {10, 20, 30, 40};
   EXPECT_EQ(rtxDListAppendArray(&context_, &list_, numbers, 3, sizeof *numbers), 0);
   EXPECT_EQ(list_.tail->data, numbers + 2);
   EXPECT_EQ(rtxDListAppendArrayCopy(&context_, &list_, numbers + 3, 1, sizeof *numbers), 0);
   numbers[3] = 0;
   rtxDListAppend(&context_, &list_, nullptr);

   int32_t room[5] = {};
   void* array = room;
   size_t capacity = 5;
   EXPECT_EQ(rtxDListToArray(&context_, &list_, &array, &capacity, sizeof *room), 5);
   EXPECT_EQ(array, room);
   EXPECT_EQ((std::vector<int32_t>(room, room + 5)), (std::vector<int32_t>{10, 20, 30, 40, 0}));
   capacity = 4;
   EXPECT_EQ(rtxDListToArray(&context_, &list_, &array, &capacity, sizeof *room), 5);
   EXPECT_NE(array, room);
   EXPECT_EQ(capacity, 5u);
   EXPECT_EQ(std::memcmp(array, room, sizeof room), 0);
   void** pointers = nullptr;
   EXPECT_EQ(rtxDListToPointerArray(&context_, &list_, &pointers, nullptr), 5);
   EXPECT_EQ(pointers[1], numbers + 1);
   EXPECT_EQ(pointers[4], nullptr);
}

TEST_F(DList, JoinsTexts) {
   char* joined = letters;
   EXPECT_EQ(rtxDListToUTF8Str(&context_, &list_, &joined, '.'), 0);
   EXPECT_EQ(joined, nullptr);
   EXPECT_EQ(rtxDListAppendCharArray(&context_, &list_, 3, "ab"), 0);
   EXPECT_EQ(rtxDListToUTF8Str(&context_, &list_, &joined, '.'), 0);
   EXPECT_STREQ(joined, "ab");
   rtxDListAppend(&context_, &list_, nullptr);
   rtxDListAppend(&context_, &list_, letters);
   EXPECT_EQ(rtxDListToUTF8Str(&context_, &list_, &joined, '.'), 0);
   EXPECT_STREQ(joined, "ab..abcdefghij");
}

TEST_F(DList, FreeingKnowsWhatTheHeapStillHas) {
   void* data = rtxMemHeapAlloc(&context_, 10);
   rtxDListAppend(&context_, &list_, data);
   rtxDListFreeNodes(&context_, &list_);
   EXPECT_EQ(list_.head, nullptr);
   EXPECT_TRUE(rtxMemHeapCheckPtr(&context_, data));
   rtxDListAppend(&context_, &list_, data);
   auto* whole = static_cast<RtxDListNode*>(rtxMemHeapAlloc(&context_, sizeof(RtxDListNode) + 8));
   whole->data = whole + 1; // part of the node: not freed by itself
   rtxDListAppendNode(&list_, whole);
   rtxDListFreeAll(&context_, &list_);
   EXPECT_TRUE(rtxMemHeapIsEmpty(&context_));
   for (auto end : {rtxDListFreeNodes, rtxDListFreeAll}) {
      append(0);
      rtxMemHeapFreeAll(&context_);
      end(&context_, &list_); // the nodes are gone and must not be touched
      EXPECT_EQ(list_.count, 0u);
      EXPECT_EQ(list_.tail, nullptr);
   }
}

TEST_F(DList, FailedAllocationsLeaveNothingBehind) {
   int32_t numbers[] = {1, 2, 3};
   failEach([&] {
      if (rtxDListAppendArray(&context_, &list_, numbers, 3, 4) == 0) return true;
      EXPECT_EQ(list_.count, 0u);
      return false;
   });
   rtxDListFreeNodes(&context_, &list_);
   failEach([&] { return rtxDListAppendArrayCopy(&context_, &list_, numbers, 3, 4) == 0; });
   rtxDListFreeAll(&context_, &list_);
   failEach([&] { return rtxDListAppendCharArray(&context_, &list_, 4, numbers) == 0; });
   system_memory::failNth(1, true);
   EXPECT_LT(rtxDListAppendCharArray(&context_, &list_, 4, numbers), 0); // the record needs no memory
   EXPECT_EQ(rtxErrGetLastError(&context_), RTX_E_NOMEM);
   char* joined = letters;
   EXPECT_EQ(rtxDListToUTF8Str(&context_, &list_, &joined, '.'), RTX_E_NOMEM);
   EXPECT_EQ(joined, nullptr);
   void** pointers = nullptr;
   EXPECT_EQ(rtxDListToPointerArray(&context_, &list_, &pointers, nullptr), RTX_E_NOMEM);
   EXPECT_EQ(rtxDListInsert(&context_, &list_, 0, nullptr), nullptr);
   EXPECT_EQ(list_.count, 1u);
}

class ChunkList : public ContextTest {
protected:
   /** Gathers numbers from 0 on; false on failure. */
   bool gather(size_t first, size_t total) {
      numbers_ = nullptr;
      rtxDListBufInit(&buf_, first, reinterpret_cast<void**>(&numbers_), sizeof *numbers_);
      for (size_t i = 0; i < total; ++i) {
         if (buf_.index == buf_.chunkSize && rtxDListBufExpand(&context_, &buf_) < 0) return false;
         numbers_[buf_.index++] = static_cast<uint32_t>(i);
         ++buf_.total;
      }
      return rtxDListBufToArray(&context_, &buf_) == 0;
   }

   RtxDListBuf buf_;
   uint32_t* numbers_;
};

TEST_F(ChunkList, GivesOneArray) {
   constexpr size_t kFirsts[] = {0, 1, 4, 10};
   constexpr size_t kTotals[] = {0, 1, 3, 4, 5, 11, 12, 13, 28, 100};
   for (size_t first : kFirsts)
      for (size_t total : kTotals) {
         ASSERT_TRUE(gather(first, total));
         for (size_t i = 0; i < total; ++i) ASSERT_EQ(numbers_[i], i) << first << " " << total;
         EXPECT_EQ(numbers_ == nullptr, total == 0);
         rtxMemHeapFreePtr(&context_, numbers_);
         EXPECT_TRUE(rtxMemHeapIsEmpty(&context_));
      }
   failEach([this] {
      const bool done = gather(2, 20);
      EXPECT_EQ(numbers_ != nullptr, done);
      return done;
   });
   EXPECT_TRUE(gather(SIZE_MAX / 2, 0));
   EXPECT_FALSE(gather(SIZE_MAX / 2, 1)); // more octets than there are
}

TEST_F(ContextTest, SListInBothMemories) {
   for (RtxContext* pctxt : {static_cast<RtxContext*>(nullptr), &context_}) {
      RtxSList* list = pctxt != nullptr ? rtxSListCreateEx(pctxt) : rtxSListCreate();
      const auto text = [&] {
         std::string result;
         const RtxSListNode* last = nullptr;
         for (const RtxSListNode* node = list->head; node != nullptr; last = node, node = node->next)
            result += *static_cast<char*>(node->data);
         EXPECT_EQ(list->tail, last);
         EXPECT_EQ(list->count, result.size());
         return result;
      };
      for (int i : {0, 1, 2, 1, 3}) rtxSListAppend(list, letters + i);
      EXPECT_EQ(rtxSListFind(list, letters + 1), list->head->next);
      rtxSListRemove(list, letters + 1);
      EXPECT_EQ(text(), "acbd");
      rtxSListRemove(list, letters + 3);
      rtxSListRemove(list, letters);
      rtxSListRemove(list, letters + 9);
      EXPECT_EQ(text(), "cb");
      EXPECT_EQ(rtxSListFind(list, letters), nullptr);
      rtxSListFree(list);
      EXPECT_EQ(text(), "");
      EXPECT_EQ(list->pctxt, pctxt);
      rtxSListAppend(list, pctxt != nullptr ? rtxMemHeapAlloc(pctxt, 5) : std::malloc(5));
      rtxSListFreeAll(list);
      if (pctxt == nullptr) std::free(list);
   }
   EXPECT_EQ(system_memory::live, 2u); // the heap and one list
}

TEST_F(ContextTest, Stacks) {
   RtxStack* stack = rtxStackCreate(&context_);
   for (int i : {0, 1}) EXPECT_EQ(rtxStackPush(stack, letters + i), 0);
   EXPECT_EQ(rtxStackPeek(stack), letters + 1);
   for (void* letter : {letters + 1, letters, static_cast<char*>(nullptr)})
      EXPECT_EQ(rtxStackPop(stack), letter);
   EXPECT_EQ(rtxStackPeek(stack), nullptr);
   RtxStack homeless = {};
   for (RtxStack* none : {static_cast<RtxStack*>(nullptr), &homeless})
      EXPECT_EQ(rtxStackPush(none, letters), RTX_E_NULL);
   system_memory::failNth(1);
   EXPECT_EQ(rtxStackPush(stack, letters), RTX_E_NOMEM);

   RtxIntStack ints;
   int32_t value = 0;
   ASSERT_EQ(rtxIntStackInit(&context_, &ints, 0), 0);
   EXPECT_EQ(ints.capacity, 100u);
   EXPECT_EQ(rtxIntStackPop(&ints, &value), RTX_E_END_OF_DATA);
   EXPECT_EQ(rtxIntStackPeek(&ints, &value), RTX_E_END_OF_DATA);
   ASSERT_EQ(rtxIntStackInit(&context_, &ints, 2), 0);
   for (int32_t i = 0; i < 8; ++i) EXPECT_EQ(rtxIntStackPush(&ints, -i), 0);
   EXPECT_EQ(ints.capacity, 8u);
   system_memory::failNth(1);
   EXPECT_EQ(rtxIntStackPush(&ints, 1), RTX_E_NOMEM);
   EXPECT_EQ(rtxIntStackPeek(&ints, nullptr), 0);
   for (int32_t i = 7; i >= 0; --i) {
      EXPECT_EQ(rtxIntStackPop(&ints, &value), 0);
      EXPECT_EQ(value, -i);
   }
   EXPECT_EQ(rtxIntStackInit(&context_, &ints, SIZE_MAX / 2), RTX_E_NOMEM);
   EXPECT_EQ(rtxIntStackPush(&ints, 6), 0); // tries again, with the usual room
   EXPECT_EQ(ints.capacity, 100u);
}

TEST_F(ContextTest, ScalarList) {
   RtxScalarDList list;
   rtxScalarDListInit(&list);
   rtxScalarDListAppendInt32(&context_, &list, INT32_MIN);
   rtxScalarDListAppendUInt32(&context_, &list, UINT32_MAX);
   rtxScalarDListAppendInt64(&context_, &list, INT64_MIN);
   rtxScalarDListAppendUInt64(&context_, &list, UINT64_MAX);
   rtxScalarDListAppendDouble(&context_, &list, 0.1);
   rtxScalarDListAppendFloat(&context_, &list, 0.5f);
   const RtxScalarDListNode* nodes[6];
   for (size_t i = 0; i < 6; ++i) ASSERT_NE(nodes[i] = rtxScalarDListFindByIndex(&list, i), nullptr);
   EXPECT_EQ(rtxScalarDListFindByIndex(&list, 6), nullptr);
   EXPECT_TRUE(nodes[0]->kind == RTX_SCALAR_INT32 && nodes[0]->value.int32 == INT32_MIN);
   EXPECT_TRUE(nodes[1]->kind == RTX_SCALAR_UINT32 && nodes[1]->value.uint32 == UINT32_MAX);
   EXPECT_TRUE(nodes[2]->kind == RTX_SCALAR_INT64 && nodes[2]->value.int64 == INT64_MIN);
   EXPECT_TRUE(nodes[3]->kind == RTX_SCALAR_UINT64 && nodes[3]->value.uint64 == UINT64_MAX);
   EXPECT_TRUE(nodes[4]->kind == RTX_SCALAR_DOUBLE && nodes[4]->value.dbl == 0.1);
   EXPECT_TRUE(nodes[5]->kind == RTX_SCALAR_FLOAT && nodes[5]->value.flt == 0.5f);
   RtxScalarDListNode* node = rtxScalarDListFindByIndex(&list, 4);
   rtxScalarDListRemove(&list, node);
   rtxScalarDListInsertNode(&list, 1, node);
   EXPECT_EQ(rtxScalarDListFindByIndex(&list, 1), node);
   rtxScalarDListFreeNode(&context_, &list, node);
   system_memory::failNth(1);
   EXPECT_EQ(rtxScalarDListAppendInt32(&context_, &list, 1), nullptr);
   EXPECT_EQ(list.count, 5u);
   rtxScalarDListFreeNodes(&context_, &list);
   EXPECT_TRUE(rtxMemHeapIsEmpty(&context_));
}

} // namespace
