/** The checker's reports, the flags that call it, and the printers. */
#include "quorva/rtxMemHeapLayout.h"
#include "quorva/rtxPrintToStream.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>
#include <unistd.h>

namespace {

/** A heap with used and free elements, a second block and two raw blocks. */
struct Sample {
   RtxMemHeap* heap = nullptr;
   void *first, *hole, *second, *gap, *third, *raw, *raw2;
   RtxMemBlk* blk;

   Sample() {
      rtxMemHeapAlloc(&heap, 4000);
      first = rtxMemHeapAlloc(&heap, 40);
      hole = rtxMemHeapAlloc(&heap, 40);
      second = rtxMemHeapAlloc(&heap, 40);
      gap = rtxMemHeapAlloc(&heap, 24);
      third = rtxMemHeapAlloc(&heap, 40);
      raw = rtxMemHeapAlloc(&heap, 600000);
      raw2 = rtxMemHeapAlloc(&heap, 600000);
      blk = rtxMemHeapGetMemBlk(elem(first));
      rtxMemHeapFreePtr(&heap, hole);
      rtxMemHeapFreePtr(&heap, gap);
   }

   Sample(const Sample&) = delete;

   ~Sample() { rtxMemHeapRelease(&heap); }

   static RtxMemElem* elem(void* ptr) { return static_cast<RtxMemElem*>(ptr) - 1; }
   RtxRawMemBlk* rawBlk() const { return rtxMemHeapGetRawMemBlk(elem(raw)); }
   RtxMemLink* link(size_t index) const { return &blk->sentinel + index; }
   RtxMemLink* linkOf(void* ptr) const { return rtxMemHeapGetFreeLink(elem(ptr)); }
   uint16_t indexOf(void* ptr) const { return static_cast<uint16_t>(linkOf(ptr) - &blk->sentinel); }
};

/** What a process prints on its way to its end comes out on standard output. */
template <class F>
void expectEnd(F action, const std::string& pattern) {
   EXPECT_EXIT((dup2(2, 1), action(), exit(0)), testing::ExitedWithCode(255), pattern);
}

TEST(HeapCheckDeathTest, NumbersItsFaults) {
   const struct {
      const char* report;
      std::function<void(Sample&)> spoil;
   } cases[] = {
         {"1: invalid MemLink", [](Sample& s) { s.rawBlk()->next = nullptr; }},
         {"1: invalid MemLink", [](Sample& s) { s.rawBlk()->next = s.rawBlk(); }},
         {"1: invalid MemLink", [](Sample& s) { s.rawBlk()->prev = s.rawBlk(); }},
         {"2: absent raw block type flag", [](Sample& s) { s.rawBlk()->flags = 0; }},
         {"3: invalid code guard value", [](Sample& s) { ++s.rawBlk()->code; }},
         {"4: invalid MemLink", [](Sample& s) { s.blk->next = nullptr; }},
         {"4: invalid MemLink", [](Sample& s) { s.blk->next->prev = nullptr; }},
         {"5: invalid code guard value", [](Sample& s) { ++s.blk->sentinel.code; }},
         {"6: invalid mem block size", [](Sample& s) { s.blk->nunits = 2; }},
         {"7: invalid start border elem", [](Sample& s) { s.blk->start.nunits = 1; }},
         {"7: invalid start border elem", [](Sample& s) { s.blk->start.flags = RTX_ME_FREE; }},
         {"8: invalid end border elem",
          [](Sample& s) { (&s.blk->start + s.blk->nunits - 1)->flags = RTX_ME_FREE; }},
         {"9: raw flag on", [](Sample& s) { s.elem(s.second)->flags = RTX_ME_RAW; }},
         {"10: invalid mem elem size", [](Sample& s) { s.elem(s.second)->nunits = 1; }},
         {"11: pElem->nunits != pNextElem->prevOff", [](Sample& s) { ++s.elem(s.second)->nunits; }},
         {"11: pElem->nunits != pNextElem->prevOff", [](Sample& s) { s.elem(s.second)->nunits = 60000; }},
         {"12: free elems is not joined", [](Sample& s) { s.elem(s.second)->flags = RTX_ME_FREE; }},
         {"13: invalid beginOff field", [](Sample& s) { ++s.elem(s.second)->beginOff; }},
         {"14: invalid nsaved field", [](Sample& s) { s.elem(s.second)->flags = RTX_ME_SAVED; }},
         {"15: invalid maxFreeElem field", [](Sample& s) { s.blk->maxFreeElem = 5; }},
         {"15: invalid free element", // the same number again
          [](Sample& s) {             // a link in front of octets that name no size
             auto* link = static_cast<RtxMemLink*>(s.third);
             link[1] = {0, 0, 0};
             const auto index = static_cast<uint16_t>(link - &s.blk->sentinel);
             s.linkOf(s.hole)->nextFree = index;
             link->prevFree = s.indexOf(s.hole);
          }},
         {"15: invalid free element", [](Sample& s) { s.blk->freeHead = 60000; }},
         {"16: broken free list",
          [](Sample& s) { // a used element with a link that leads back into the ring
             auto* link = static_cast<RtxMemLink*>(s.third) + 4;
             const auto index = static_cast<uint16_t>(link - &s.blk->sentinel);
             const uint16_t next = s.linkOf(s.hole)->nextFree;
             *link = {0, next, s.indexOf(s.hole)};
             s.linkOf(s.hole)->nextFree = index;
             s.link(next)->prevFree = index;
             s.elem(s.third)->flags = 0;
          }},
         {"17: free list contains allocated elem",
          [](Sample& s) { // the used element stands in the place of a free one
             auto* link = static_cast<RtxMemLink*>(s.third) + 4;
             const RtxMemLink old = *s.linkOf(s.hole);
             const auto index = static_cast<uint16_t>(link - &s.blk->sentinel);
             *link = old;
             s.link(old.prevFree)->nextFree = s.link(old.nextFree)->prevFree = index;
             if (s.blk->freeHead == s.indexOf(s.hole)) s.blk->freeHead = index;
          }},
         {"18: invalid prevFree/nextFree", [](Sample& s) { ++s.linkOf(s.hole)->prevFree; }},
         {"18: invalid prevFree/nextFree", [](Sample& s) { s.linkOf(s.hole)->nextFree = 60000; }},
         {"19: free list contains not all free elems",
          [](Sample& s) {
             const RtxMemLink old = *s.linkOf(s.hole);
             s.link(old.prevFree)->nextFree = old.nextFree;
             s.link(old.nextFree)->prevFree = old.prevFree;
          }},
   };
   Sample whole;
   rtxMemHeapCheck(&whole.heap, "file", 1);
   for (const auto& c : cases) {
      const auto run = [&c] {
         Sample s;
         c.spoil(s);
         rtxMemHeapCheck(&s.heap, "some file", 42);
      };
      expectEnd(run, std::string("Memory report at some file, line 42\nError ") + c.report +
                           "\\.\n(.*\n)+\nRun-time assertion 'memory heap broken' failed\\.  Line 0, File "
                           "rtxMemHeapDebug\n");
   }
}

TEST(HeapCheckDeathTest, FlagsMakeOperationsCheck) {
   const std::pair<const char*, void (*)(Sample&)> cases[] = {
         {"rtxMemHeapAlloc, line 104", [](Sample& s) { rtxMemHeapAlloc(&s.heap, 8); }},
         {"rtxMemHeapRealloc, line 126", [](Sample& s) { rtxMemHeapRealloc(&s.heap, s.first, 8); }},
         {"rtxMemHeapFree, line 295", [](Sample& s) { rtxMemHeapFreePtr(&s.heap, s.first); }},
         {"rtxMemHeapFree, line 463", [](Sample& s) { rtxMemHeapFreeAll(&s.heap); }},
         {"rtxMemHeapReset, line 50", [](Sample& s) { rtxMemHeapReset(&s.heap); }},
   };
   for (const auto& [place, run] : cases)
      expectEnd(
            [run = run] {
               Sample s;
               rtxMemHeapSetFlags(&s.heap, RTX_MH_CHECK_HEAP);
               s.elem(s.second)->nunits = 1;
               run(s);
            },
            std::string("Memory report at ") + place + "\nError 10");
}

TEST(HeapCheckDeathTest, BadPointersEndTheProcess) {
   const std::string hook =
         "Run-time assertion 'mem pointer valid' failed\\.  Line 0, File rtxMemHeapInvalidPtrHook";
   const auto withCheck = [](void (*action)(Sample&)) {
      return [action] {
         Sample s;
         rtxMemHeapSetFlags(&s.heap, RTX_MH_CHECK_PTR);
         rtxMemHeapFreePtr(&s.heap, s.first); // a good one is no matter
         action(s);
      };
   };
   expectEnd(withCheck([](Sample& s) { rtxMemHeapFreePtr(&s.heap, s.hole); }), hook);
   expectEnd(withCheck([](Sample& s) { rtxMemHeapFreePtr(&s.heap, static_cast<char*>(s.second) + 8); }),
             hook);
   expectEnd(withCheck([](Sample& s) { rtxMemHeapRealloc(&s.heap, s.gap, 8); }), hook);
   const auto wrongGuard = [] { // fatal in a reallocation whatever the flags
      Sample s, other;
      rtxMemHeapRealloc(&s.heap, other.first, 8);
   };
   expectEnd(wrongGuard, hook);
   const auto brokenBlock = [] {
      Sample s;
      s.blk->nunits = 2;
      rtxMemHeapReset(&s.heap);
   };
   expectEnd(brokenBlock, "Run-time assertion 'pFreeLink != 0' failed\\.  Line 145, File rtxMemHeapReset");
}

/** What the printers write about a heap, with %p made readable. */
class Printed : public testing::Test {
protected:
   void SetUp() override { rtxSetGlobalPrintStream(rtxPrintStreamToStringCB, &out_); }
   void TearDown() override { g_PrintStream = {nullptr, nullptr}; }

   static std::string at(const void* ptr) {
      char text[32];
      snprintf(text, sizeof text, "%p", ptr);
      return text;
   }

   char text_[4096] = "";
   RtxPrintToStringBuffer out_ = {text_, sizeof text_, 0};
};

TEST_F(Printed, BlocksAndElements) {
   RtxMemHeap* heap = nullptr;
   void* first = rtxMemHeapAlloc(&heap, 100);
   void* second = rtxMemHeapAlloc(&heap, 24);
   rtxMemHeapAutoPtrRef(&heap, second);
   void* raw = rtxMemHeapAlloc(&heap, 600000);
   RtxMemBlk* blk = rtxMemHeapGetMemBlk(Sample::elem(first));
   rtxMemHeapFreePtr(&heap, first);
   Sample::elem(second)->flags = RTX_ME_SAVED;
   blk->nsaved = 1;
   Sample::elem(raw)->flags |= RTX_ME_SAVED;
   RtxMemElem* rest = rtxMemHeapGetNextElem(Sample::elem(second));

   const auto line = [](const std::string& label, RtxMemElem* elem, const std::string& tail) {
      return label + " = " + at(elem) + ", data = " + at(elem + 1) + ", size = " + tail + "\n";
   };
   const std::string blocks =
         "pRawBlk Raw mem block, ptr = " + at(rtxMemHeapGetRawMemBlk(Sample::elem(raw))) +
         ", size = 600000, refCnt = 1 , saved\n" + "pMemBlk Mem block, ptr = " + at(blk) +
         ", size = 4096, nsaved = 1, maxFreeElem = ?\n" + line("  pElem", Sample::elem(first), "104 free") +
         line("  pElem", Sample::elem(second), "24, refCnt = 2, saved") + line("  pElem", rest, "3896 free");
   rtxMemHeapPrint(&heap);
   EXPECT_EQ(text_, blocks);

   out_.used = 0;
   rtxMemHeapPrintWithFree(&heap);
   const RtxMemLink* link1 = rtxMemHeapGetFreeLink(rest);
   const RtxMemLink* link2 = rtxMemHeapGetFreeLink(Sample::elem(first));
   EXPECT_EQ(text_, blocks + "pMemBlk Mem block free elem list, ptr = " + at(blk) + "; \n" +
                          "ptr = (code), prevFree = " + at(link2) + "\n" + "ptr = " + at(link1) +
                          ", prevFree = (code)\n" + "ptr = " + at(link2) + ", prevFree = " + at(link1) +
                          "\n" + "<end free list>\n\n");

   out_.used = 0;
   Sample::elem(second)->flags = 0;
   blk->nsaved = 0;
   rtxMemHeapFreePtr(&heap, second);
   rtxMemHeapFreePtr(&heap, second);
   rtxMemHeapFreePtr(&heap, raw);
   rtxMemHeapReset(&heap);
   rtxMemHeapPrint(&heap);
   EXPECT_EQ(text_, "pMemBlk Mem block, ptr = " + at(blk) +
                          ", size = 4096, nsaved = 0, maxFreeElem = 4040\n" +
                          line("  pElem", Sample::elem(first), "4040 free"));
   rtxMemHeapRelease(&heap);
}

} // namespace
