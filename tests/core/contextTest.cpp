// Life of a context, name and container stacks, memory.
#include "coreTest.h"

#include "quorva/rtxDList.h"

namespace {

TEST(Context, IsReadyAfterInit) {
   Context c;
   EXPECT_EQ(c.bufBitsLeft, 8);
   EXPECT_EQ(rtxCtxtGetBitOffset(&c), 0u);
   EXPECT_EQ(rtxErrGetStatus(&c), 0);
   EXPECT_EQ(c.containers.pctxt, &c);
   EXPECT_NE(c.asn1Info, nullptr);
   EXPECT_EQ(rtxCheckContext(&c), 0);
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

TEST(Context, NewOnesAreFreedWithTheirRecord) {
   RtxContext* c = rtNewContext();
   ASSERT_NE(c, nullptr);
   EXPECT_TRUE(c->flags & RTX_CTXT_ON_HEAP);
   rtSetFastCopy(c, 1);
   EXPECT_TRUE(c->flags & RTX_CTXT_FAST_COPY);
   rtSetFastCopy(c, 0);
   rtxCtxtSetFlag(c, RTX_CTXT_UPLINK);
   EXPECT_EQ(c->flags, RTX_CTXT_ON_HEAP | RTX_CTXT_UPLINK);
   rtxCtxtClearFlag(c, RTX_CTXT_UPLINK);
   EXPECT_EQ(c->flags, RTX_CTXT_ON_HEAP);
   rtFreeContext(c);
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

TEST(Context, ThreadContextHasItsOwnHeap) {
   int shared = 0;
   Context c;
   c.threadShared = &shared;
   RtxContext other;
   EXPECT_EQ(rtxInitThreadContext(&other, &c), 0);
   EXPECT_EQ(other.threadShared, &shared);
   EXPECT_NE(other.memHeap, c.memHeap);
   rtFreeContext(&other);
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

TEST(Context, CopySharesBufferFlagsAndStream) {
   Octets octets{1, 2, 3};
   Context c(octets), d;
   rtxErrSetData(&c, RTX_E_CONSTRAINT, nullptr, 0);
   c.at(1, 3);
   rtxCopyContext(&d, &c);
   EXPECT_EQ(d.bufData, octets.data());
   EXPECT_EQ(rtxCtxtGetBitOffset(&d), 13u);
   EXPECT_EQ(d.flags, RTX_CTXT_BUFFER_MODE);
   EXPECT_EQ(rtxErrGetErrorCnt(&d), 0u);
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

TEST(Names, NodesAreUsedAgain) {
   Context c;
   for (int i = 0; i < 8; ++i) rtxCtxtPushElemName(&c, "x");
   for (int i = 0; i < 8; ++i) rtxCtxtPopElemName(&c);
   const RtxDListNode* spare = c.memHeap->spareNames;
   ASSERT_NE(spare, nullptr);
   rtxCtxtPushElemName(&c, "y");
   EXPECT_EQ(c.elemNames.tail, spare);
   EXPECT_EQ(c.elemNames.head, spare);
   EXPECT_EQ(spare->next, nullptr);
   EXPECT_EQ(spare->prev, nullptr);
   rtxMemReset(&c); // a reset forgets them
   EXPECT_EQ(c.memHeap->spareNames, nullptr);
   EXPECT_EQ(c.elemNames.head, nullptr);
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
   EXPECT_EQ(c.memHeap->spareNames, nullptr);
   EXPECT_EQ(c.memHeap->spareContainers, nullptr);
}

struct Limit {
   int bitsLeft;
   size_t bits;
   size_t index;
   int limitBits;
};

TEST(Containers, BitLimits) {
   for (const Limit& limit : {Limit{3, 3, 1, 8}, Limit{3, 2, 0, 1}, Limit{8, 8, 1, 8}, Limit{8, 0, 0, 8},
                              Limit{5, 16, 2, 5}, Limit{1, 7, 1, 2}, Limit{8, 7, 0, 1}, Limit{4, 9, 1, 3}}) {
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
   c.at(3, 1);
   EXPECT_TRUE(rtxCtxtContainerHasRemBits(&c)); // inside the last octet
   EXPECT_EQ(rtxCtxtGetContainerRemBits(&c), 1);
   c.at(4, 8);
   EXPECT_FALSE(rtxCtxtContainerHasRemBits(&c));
   EXPECT_TRUE(rtxCtxtContainerEnd(&c));
   c.at(0, 8);
   EXPECT_EQ(rtxCtxtPushContainerBytes(&c, 2), 0);
   EXPECT_EQ(rtxCtxtPushContainerBytes(&c, 9), 0); // claims more than the outer one has
   EXPECT_EQ(rtxCtxtGetContainerRemBits(&c), 72);
   rtxCtxtPopContainer(&c);
   EXPECT_EQ(rtxCtxtGetContainerRemBits(&c), 16);
   c.at(2, 7); // beyond the limit
   EXPECT_FALSE(rtxCtxtContainerHasRemBits(&c));
   EXPECT_FALSE(rtxCtxtContainerEnd(&c));
   EXPECT_EQ(rtxCtxtGetContainerRemBits(&c), -1);
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
      EXPECT_EQ(rtxErrGetStatus(&c), RTX_E_OVERFLOW);
      rtxErrReset(&c);
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
