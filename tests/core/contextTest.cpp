// Life of a context, name and container stacks, memory.
#include "coreTest.h"

#include "quorva/rtxDList.h"

namespace {

TEST(Context, NewOnesAreReadyAndFreedWithTheirRecord) {
   RtxContext* c = rtNewContext();
   ASSERT_NE(c, nullptr);
   EXPECT_EQ(rtxCtxtGetBitOffset(c), 0u);
   EXPECT_EQ(c->containers.pctxt, c);
   EXPECT_NE(c->asn1Info, nullptr);
   EXPECT_EQ(rtxCheckContext(c), 0);
   rtSetFastCopy(c, 1);
   rtxCtxtSetFlag(c, RTX_CTXT_UPLINK);
   EXPECT_EQ(c->flags, RTX_CTXT_ON_HEAP | RTX_CTXT_UPLINK | RTX_CTXT_FAST_COPY);
   rtSetFastCopy(c, 0);
   rtxCtxtClearFlag(c, RTX_CTXT_UPLINK);
   EXPECT_EQ(c->flags, RTX_CTXT_ON_HEAP);
   rtFreeContext(c);
   EXPECT_EQ(rtxGetLibVersion(), 780);
   EXPECT_STREQ(rtxGetLibInfo(), "QUORVA, v.7.8.0, opt, compact.");
}

TEST(Context, DiesOnce) {
   RtxContext c;
   ASSERT_EQ(rtInitContext(&c), 0);
   rtFreeContext(&c);
   EXPECT_EQ(c.magic, 0u);
   EXPECT_EQ(rtxCheckContext(&c), RTX_E_NOT_INIT);
   rtFreeContext(&c);
   EXPECT_EQ(rtxInitContextBuffer(&c, nullptr, 0), RTX_E_NOT_INIT);
   EXPECT_EQ(c.memHeap, nullptr); // a dead context gets no new heap, which nobody would free
   rtFreeContext(nullptr);
}

int hooked(RtxContext* pctxt) {
   EXPECT_EQ(pctxt->magic, RTX_CTXT_MAGIC);
   return 7;
}

TEST(Context, HookReplacesTheEndAndExtensionsAreFreed) {
   static int freed;
   freed = 0;
   struct Extension {
      void (*freeFn)(RtxContext*);
   };
   RtxContext c;
   ASSERT_EQ(rtInitContext(&c), 0);
   auto* extension = static_cast<Extension*>(rtxMemHeapSysAllocZ(&c, sizeof(Extension)));
   extension->freeFn = [](RtxContext* pctxt) {
      EXPECT_TRUE(pctxt->flags & RTX_CTXT_FREEING);
      ++freed;
   };
   c.extension4 = extension;
   c.extension1 = rtxMemHeapSysAllocZ(&c, sizeof(Extension)); // no free function
   c.freeHook = hooked;
   EXPECT_EQ(rtxFreeContext(&c), 7);
   EXPECT_EQ(freed, 1);
   EXPECT_EQ(c.extension4, nullptr);
   EXPECT_EQ(c.magic, RTX_CTXT_MAGIC);
}

TEST(Context, SubContextSharesTheHeap) {
   RtxContext sub;
   {
      Context c;
      c.bufInherited = 3;
      ASSERT_EQ(rtInitSubContext(&sub, &c), 0);
      EXPECT_EQ(sub.memHeap, c.memHeap);
      EXPECT_EQ(c.memHeap->refCount, 2u);
      EXPECT_EQ(sub.bufInherited, 3);
      EXPECT_TRUE(sub.bufDynamic);
      EXPECT_EQ(sub.bufData, nullptr);
      // A buffer that grows from nothing, and spare nodes that both use.
      EXPECT_EQ(rtxEncBits(&sub, 0xABC, 12), 0);
      EXPECT_EQ(rtxCtxtPushElemName(&sub, "a"), 0);
      rtxCtxtPopElemName(&sub);
      EXPECT_EQ(rtxCtxtPushElemName(&c, "b"), 0);
   } // the parent goes first
   EXPECT_EQ(sub.bufData[0], 0xAB);
   rtFreeContext(&sub);
}

TEST(Context, ChangeOfHeapDropsWhatLivedOnTheOldOne) {
   Context c, other;
   rtxCtxtPushElemName(&other, "keep");
   rtxCtxtPushElemName(&c, "old");
   rtxCtxtPushContainerBytes(&c, 1);
   rtxErrSetData(&c, RTX_E_CONSTRAINT, nullptr, 0);
   rtxCtxtSetMemHeap(&c, &other);
   rtxCtxtSetMemHeap(&c, &other); // a second time is nothing
   rtxCtxtSetMemHeap(&c, nullptr);
   EXPECT_EQ(other.memHeap->refCount, 2u);
   EXPECT_EQ(c.elemNames.count, 0u);
   EXPECT_EQ(c.containers.dlist.count, 0u);
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 0u);
   EXPECT_EQ(rtxCtxtPushElemName(&c, "new"), 0);
   EXPECT_STREQ(rtxCtxtPopElemName(&other), "keep");
}

TEST(Context, CopyAndThreadContextHaveTheirOwnHeaps) {
   Octets octets{1, 2, 3};
   int shared = 0;
   Context c(octets), copy;
   rtxErrSetData(&c, RTX_E_CONSTRAINT, nullptr, 0);
   c.threadShared = &shared;
   c.at(1, 3);
   rtxCopyContext(&copy, &c);
   EXPECT_EQ(copy.bufData, octets.data());
   EXPECT_EQ(rtxCtxtGetBitOffset(&copy), 13u);
   EXPECT_EQ(copy.flags, RTX_CTXT_BUFFER_MODE);
   EXPECT_EQ(rtxErrGetErrorCnt(&copy), 0u);
   RtxContext thread;
   EXPECT_EQ(rtxInitThreadContext(&thread, &c), 0);
   EXPECT_EQ(thread.threadShared, &shared);
   EXPECT_NE(thread.memHeap, c.memHeap);
   rtFreeContext(&thread);
}

TEST(Names, StackKeepsOrderAndLevel) {
   Context c;
   EXPECT_EQ(rtxCtxtPushTypeName(&c, "Type"), 0);
   EXPECT_EQ(rtxCtxtPushElemName(&c, "a"), 0);
   EXPECT_EQ(rtxCtxtPushTypeName(&c, "Inner"), 0); // only the outermost type stands there
   EXPECT_EQ(c.elemNames.count, 2u);
   EXPECT_EQ(rtxCtxtPushArrayElemName(&c, "elem", 12), 0);
   EXPECT_STREQ(static_cast<char*>(c.elemNames.tail->data), "elem[12]");
   EXPECT_EQ(c.level, 2);
   char name[] = "copy";
   EXPECT_EQ(rtxCtxtPushElemNameCopy(&c, name), 0);
   name[0] = 'X';
   EXPECT_STREQ(static_cast<char*>(c.elemNames.tail->data), "copy");
   EXPECT_EQ(c.level, 2);
   rtxCtxtPopElemNameCopy(&c);
   EXPECT_TRUE(rtxCtxtPopArrayElemName(&c));
   EXPECT_EQ(rtxCtxtPopTypeName(&c), nullptr);
   EXPECT_STREQ(rtxCtxtPopElemName(&c), "a");
   EXPECT_EQ(c.level, 0);
   EXPECT_STREQ(rtxCtxtPopTypeName(&c), "Type");
   EXPECT_EQ(rtxCtxtPopElemName(&c), nullptr);
   EXPECT_EQ(c.level, 255); // a pop from the empty stack still counts
   EXPECT_FALSE(rtxCtxtPopArrayElemName(&c));
   rtxCtxtPopElemNameCopy(&c);
   EXPECT_TRUE(rtxMemHeapIsEmpty(&c)); // spare nodes don't count
}

TEST(Names, ResetOfTheHeapAloneLeavesNoNodeBehind) {
   Context c;
   rtxCtxtPushElemName(&c, "a");
   rtxCtxtPushContainerBits(&c, 4);
   rtxErrAddStrParm(&c, "p");
   rtxErrSetData(&c, RTX_E_CONSTRAINT, nullptr, 0);
   rtxMemHeapReset(&c);
   rtxErrReset(&c);
   EXPECT_EQ(c.elemNames.head, nullptr);
   EXPECT_EQ(c.containers.dlist.head, nullptr);
   EXPECT_EQ(c.errFixed.parmCount, 0);
}

TEST(Containers, BitLimits) {
   const struct {
      int bitsLeft;
      size_t bits, index;
      int limitBits;
   } limits[] = {{3, 3, 1, 8},  {3, 2, 0, 1}, {8, 8, 1, 8}, {8, 0, 0, 8},
                 {5, 16, 2, 5}, {1, 7, 1, 2}, {8, 7, 0, 1}, {4, 9, 1, 3}};
   for (const auto& limit : limits) {
      Octets octets(4);
      Context c(octets);
      c.at(0, limit.bitsLeft);
      ASSERT_EQ(rtxCtxtPushContainerBits(&c, limit.bits), 0);
      EXPECT_EQ(rtxCtxtGetContainerRemBits(&c), static_cast<int64_t>(limit.bits));
      c.at(limit.index, limit.limitBits);
      EXPECT_EQ(rtxCtxtGetContainerRemBits(&c), 0) << limit.bitsLeft << ' ' << limit.bits;
      EXPECT_TRUE(rtxCtxtContainerEnd(&c)); // index and bits of the limit are exactly these
   }
}

TEST(Containers, QuestionsLookAtTheTopOnly) {
   Octets octets(4);
   Context c(octets);
   const auto expect = [&](size_t index, int bitsLeft, int64_t remaining) {
      c.at(index, bitsLeft);
      EXPECT_EQ(rtxCtxtGetContainerRemBits(&c), remaining);
      EXPECT_EQ(rtxCtxtContainerHasRemBits(&c) != 0, remaining > 0);
      EXPECT_EQ(rtxCtxtContainerEnd(&c) != 0, remaining == 0);
   };
   expect(3, 1, 1); // inside the last octet
   expect(4, 8, 0);
   c.at(0, 8);
   EXPECT_EQ(rtxCtxtPushContainerBytes(&c, 2), 0);
   EXPECT_EQ(rtxCtxtPushContainerBytes(&c, 9), 0); // claims more than the outer one has
   expect(0, 8, 72);
   rtxCtxtPopContainer(&c);
   expect(0, 8, 16);
   expect(2, 7, -1); // beyond the limit
   rtxCtxtPopAllContainers(&c);
   rtxCtxtPopContainer(&c);
   EXPECT_EQ(c.containers.dlist.count, 0u);
   EXPECT_EQ(c.containers.dlist.tail, nullptr);
   EXPECT_TRUE(rtxMemHeapIsEmpty(&c));
}

TEST(Memory, ArrayAllocation) {
   Context c;
   auto* octets = static_cast<uint8_t*>(rtxMemAllocArray2(&c, 10, 3, RTX_MEM_ZERO));
   ASSERT_NE(octets, nullptr);
   EXPECT_EQ(std::count(octets, octets + 30, 0), 30);
   void* system = rtxMemAllocArray2(&c, 4, 4, RTX_MEM_SYSTEM | RTX_MEM_ZERO);
   EXPECT_FALSE(rtxMemHeapCheckPtr(&c, system));
   rtxMemHeapSysFreePtr(&c, system);
   EXPECT_NE(rtxMemAllocArray2(&c, 0, 4, 0), nullptr);
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 0u);
   for (const auto& [count, size] :
        {std::pair<size_t, size_t>{SIZE_MAX / 2, 3}, {SIZE_MAX / 8 + 2, 8}, {1, 0}}) {
      EXPECT_EQ(rtxMemAllocArray2(&c, count, size, 0), nullptr);
      EXPECT_EQ(c.cleared(rtxErrGetStatus(&c)), RTX_E_OVERFLOW);
   }
}

TEST(Memory, FreeDropsTheBufferWithTheHeap) {
   Context c;
   ASSERT_EQ(rtxInitContextBuffer(&c, nullptr, 8), 0);
   EXPECT_EQ(rtxEncBits(&c, 1, 32), 0);
   c.nasSec = reinterpret_cast<RtxNasSecContext*>(rtxMemHeapAlloc(&c, 8));
   rtxCtxtPushContainerBytes(&c, 1);
   rtxMemFree(&c);
   EXPECT_EQ(c.bufData, nullptr);
   EXPECT_EQ(c.nasSec, nullptr);
   EXPECT_EQ(c.containers.dlist.count, 0u);
   EXPECT_TRUE(rtxMemHeapIsEmpty(&c));
   // The cursor still stands where it did, but finds no memory to touch.
   uint32_t value;
   EXPECT_EQ(rtxDecBits(&c, &value, 8), RTX_E_END_OF_DATA);
   EXPECT_EQ(rtxEncBits(&c, 5, 8), 0);
}

TEST(Memory, OpenExtensionsAreFreedThroughout) {
   Context c;
   RtxDList list{};
   for (int i = 0; i < 3; ++i) {
      auto* element = static_cast<RtxDynOctStr*>(rtxMemHeapAllocZ(&c, sizeof(RtxDynOctStr)));
      if (i != 1) element->data = static_cast<uint8_t*>(rtxMemHeapAlloc(&c, 5));
      rtxDListAppend(&c, &list, element);
   }
   rtxMemFreeOpenSeqExt(&c, &list);
   EXPECT_EQ(list.head, nullptr);
   EXPECT_TRUE(rtxMemHeapIsEmpty(&c));
   RtxDListNode gone{};
   list = {1, &gone, &gone}; // with an empty heap no node is touched
   rtxMemFreeOpenSeqExt(&c, &list);
   EXPECT_EQ(list.count, 0u);
   EXPECT_EQ(list.tail, nullptr);
}

TEST(Memory, PatternCacheNodesAreSystemMemory) {
   Context c;
   for (int i = 0; i < 2; ++i)
      rtxDListAppendNode(&c.regexpCache,
                         static_cast<RtxDListNode*>(rtxMemHeapSysAllocZ(&c, sizeof(RtxDListNode))));
   rtxFreeRegexpCache(&c);
   EXPECT_EQ(c.regexpCache.count, 0u);
   EXPECT_EQ(c.regexpCache.head, nullptr);
}

} // namespace
