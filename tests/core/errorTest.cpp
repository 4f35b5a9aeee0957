// Error records, their parameters and texts.
#include "coreTest.h"

#include "quorva/rtxDList.h"
#include "support/systemMemory.h"

namespace {

int record(RtxContext& c, int status) {
   return rtxErrSetData(&c, status, __FILE__, __LINE__);
}

TEST(Errors, SameStatusIsRecordedOnce) {
   Context c;
   EXPECT_EQ(record(c, RTX_E_CONSTRAINT), RTX_E_CONSTRAINT);
   EXPECT_EQ(record(c, RTX_E_CONSTRAINT), RTX_E_CONSTRAINT);
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 1u);
   EXPECT_EQ(record(c, RTX_E_BAD_ENUM), RTX_E_MULTIPLE);
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 2u);
   EXPECT_EQ(rtxErrGetFirstError(&c), RTX_E_CONSTRAINT);
   EXPECT_EQ(rtxErrCheckNonFatal(&c), RTX_E_MULTIPLE);
   // Two fatal records of one status are two all the same.
   rtxErrReset(&c);
   record(c, RTX_E_BAD_ENUM);
   EXPECT_EQ(rtxErrSetNewData(&c, RTX_E_BAD_ENUM, nullptr, 0), RTX_E_MULTIPLE);
   EXPECT_EQ(rtxErrCheckNonFatal(&c), RTX_E_BAD_ENUM);
   for (int status : {-1, -2}) record(c, status);
   rtxErrResetLastErrors(&c, 3);
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 1u);
   EXPECT_EQ(rtxErrGetLastError(&c), RTX_E_BAD_ENUM);
   rtxErrResetLastErrors(&c, 9);
   EXPECT_TRUE(rtxMemHeapIsEmpty(&c));
}

TEST(Errors, NonFatalRecordsDoNotCount) {
   Context c;
   record(c, RTX_E_BAD_TIME);
   rtxErrSetNonFatal(&c);
   EXPECT_EQ(rtxErrGetStatus(&c), 0);
   EXPECT_EQ(rtxErrCheckNonFatal(&c), RTX_E_BAD_TIME);
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 1u);
   EXPECT_EQ(record(c, RTX_E_BAD_TIME), 0); // still the last one, still not fatal
   EXPECT_EQ(record(c, RTX_E_BAD_IEI), RTX_E_BAD_IEI);
   rtxErrReset(&c);
   rtxErrSetNonFatal(&c); // nothing there
   EXPECT_EQ(rtxErrCheckNonFatal(&c), 0);
   EXPECT_EQ(rtxErrGetFirstError(&c), 0);
   EXPECT_EQ(rtxErrGetLastError(&c), 0);
}

TEST(Errors, EmptyRecordsAreFilledAndSkipped) {
   Context c;
   ASSERT_NE(rtxErrNewNode(&c), nullptr);
   EXPECT_EQ(record(c, -4), -4); // goes into the empty record
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 1u);
   rtxErrFreeParms(&c); // empties it again
   ASSERT_NE(rtxErrNewNode(&c), nullptr);
   EXPECT_EQ(record(c, -9), RTX_E_MULTIPLE);
   EXPECT_EQ(rtxErrCheckNonFatal(&c), -9); // the leading empty one does not differ
   rtxErrNewNode(&c);
   EXPECT_EQ(rtxErrCheckNonFatal(&c), RTX_E_MULTIPLE); // a later one does
}

TEST(Errors, OverflowTakesTheElementPath) {
   Context c;
   rtxCtxtPushTypeName(&c, "Type");
   rtxCtxtPushElemName(&c, "length");
   record(c, RTX_E_CONSTRAINT);
   EXPECT_EQ(record(c, RTX_E_OVERFLOW), RTX_E_MULTIPLE);
   EXPECT_EQ(c.parms(), std::vector<std::string>{"Type.length"});
   rtxErrReset(&c);
   EXPECT_EQ(c.elemNames.count, 0u);
   EXPECT_EQ(c.errFixed.parmCount, 0);
   EXPECT_TRUE(rtxMemHeapIsEmpty(&c));
   // The first record of all is made by way of rtxErrSetNewData, and the path is added on both ways.
   rtxCtxtPushElemName(&c, "x");
   record(c, RTX_E_OVERFLOW);
   EXPECT_EQ(c.parms(), (std::vector<std::string>{"x", "x"}));
}

TEST(Parms, AreTexts) {
   Octets octets{'x', 'a', 'b', 'c'};
   Context c(octets);
   const uint16_t wide[] = {'a', 0xE9, 0};
   const auto expect = [&](std::initializer_list<int> added, const std::vector<std::string>& texts) {
      for (int one : added) EXPECT_TRUE(one);
      EXPECT_EQ(c.parms(), texts);
   };
   expect({rtxErrAddStrParm(&c, nullptr), rtxErrAddStrnParm(&c, "abcdef", 3), rtxErrAddDoubleParm(&c, 1.5),
           rtxErrAddUniStrParm(&c, wide), rtxErrAddUniStrParm(&c, nullptr)},
          {"(null)", "abc", "?", "a\xC3\xA9", ""});
   EXPECT_FALSE(rtxErrAddStrParm(&c, "sixth"));
   EXPECT_FALSE(rtxErrAddUniStrParm(&c, wide));
   EXPECT_EQ(c.errFixed.parmCount, 5);
   rtxErrFreeParms(&c);
   EXPECT_TRUE(rtxMemHeapIsEmpty(&c)); // what was dropped did not stay either
   expect({rtxErrAddIntParm(&c, INT32_MIN), rtxErrAddUIntParm(&c, UINT32_MAX),
           rtxErrAddInt64Parm(&c, INT64_MIN), rtxErrAddUInt64Parm(&c, UINT64_MAX), rtxErrAddSizeParm(&c, 0)},
          {"-2147483648", "4294967295", "-9223372036854775808", "18446744073709551615", "0"});
   rtxErrReset(&c);
   EXPECT_EQ(rtxErrInvUIntOpt(&c, 77), RTX_E_BAD_CHOICE);
   // The text of the buffer ends with it.
   expect({rtxErrAddElemNameParm(&c), (c.bufByteIndex = 1, rtxErrAddCtxtBufParm(&c)),
           (c.bufByteIndex = 9, rtxErrAddCtxtBufParm(&c))},
          {"77", "?", "abc", ""});
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 0u);
}

TEST(Texts, TwoLinesARecord) {
   Context c;
   char buf[64];
   std::memset(buf, 'z', sizeof buf);
   EXPECT_STREQ(rtxErrGetTextBuf(&c, buf, sizeof buf), "");
   record(c, -16);
   record(c, -4);
   // Cut where the next piece does not fit.
   for (const auto& [size, text] :
        {std::pair<size_t, const char*>{sizeof buf, "ERROR: Status -16\n\nERROR: Status -4\n\n"},
         {17, "ERROR: Status "},
         {18, "ERROR: Status -16"},
         {14, ""},
         {33, "ERROR: Status -16\n\n"}})
      EXPECT_STREQ(rtxErrGetTextBuf(&c, buf, size), text) << size;
   EXPECT_EQ(rtxErrGetTextBuf(&c, nullptr, 9), nullptr);
   EXPECT_EQ(rtxErrGetTextBuf(&c, buf, 0), nullptr);

   size_t size = 20;
   EXPECT_STREQ(rtxErrGetText(&c, buf, &size), "ERROR: Status -16\n\n");
   auto* info = static_cast<RtxErrInfo*>(rtxMemHeapAllocZ(&c, sizeof(RtxErrInfo)));
   info->elemName = std::strcpy(static_cast<char*>(rtxMemHeapAllocZ(&c, 8)), "name");
   c.errList.head->data = info;
   EXPECT_STREQ(rtxErrGetText(&c, nullptr, &size), "ERROR: Status 0\n\nERROR: Status -4\n\n");
   EXPECT_EQ(size, 200u + 2 * 200 + 24);
   EXPECT_STREQ(rtxErrGetMsgText(&c), "Element: name\n\n");
   EXPECT_STREQ(rtxErrGetMsgTextBuf(&c, buf, sizeof buf), "\n\n");
   EXPECT_STREQ(rtxErrGetMsgTextBuf(&c, buf, 2), "\n");
   EXPECT_EQ(rtxErrGetMsgTextBuf(&c, buf, 0), nullptr);
   buf[0] = 'q';
   EXPECT_EQ(rtxErrFmtMsg(&c.errFixed, buf, 1), buf);
   EXPECT_EQ(buf[0], 'q'); // there is no text
   EXPECT_EQ(rtxErrFmtMsg(nullptr, buf, 1), nullptr);
}

void noteLine(const char* line, void* text) {
   *static_cast<std::string*>(text) = line;
}

TEST(Texts, PrintedAndLogged) {
   Context c;
   record(c, -16);
   testing::internal::CaptureStdout();
   rtxErrPrint(&c);
   EXPECT_EQ(testing::internal::GetCapturedStdout(), "ERROR: Status -16\n\n");
   std::string text;
   rtxErrAddIntParm(&c, 1);
   rtxErrLogUsingCB(&c, noteLine, &text);
   EXPECT_EQ(text, "ERROR: Status -16\n\n");
   EXPECT_EQ(c.errFixed.parmCount, 0);
   EXPECT_EXIT(rtxErrAssertionFailed("cond", 12, "file"), testing::ExitedWithCode(255), "");
}

TEST(ErrorCopies, OwnTheirTexts) {
   Context d;
   rtxCtxtPushElemName(&d, "dropped");
   record(d, -48);
   {
      Context c;
      rtxErrAddStrParm(&c, "parm");
      record(c, -9);
      record(c, -67);
      rtxErrSetNonFatal(&c);
      EXPECT_EQ(rtxErrCopy(&d, &c), 0);
      EXPECT_EQ(rtxErrCopy(&c, &c), 0);
      EXPECT_EQ(rtxErrAppend(&c, &c), 0); // doubles, and ends
      EXPECT_EQ(rtxErrGetErrorCnt(&c), 4u);
   }
   EXPECT_EQ(d.parms(), std::vector<std::string>{"parm"});
   EXPECT_EQ(rtxErrGetFirstError(&d), -9);
   EXPECT_EQ(rtxErrGetLastError(&d), -67);
   EXPECT_EQ(rtxErrGetStatus(&d), -9);
   EXPECT_EQ(d.elemNames.count, 0u);
}

TEST(NoMemory, GoesOnRecordInTheFixedRecord) {
   RtxContext c;
   system_memory::reset();
   ASSERT_EQ(rtxInitContextExt(&c, system_memory::alloc, nullptr, system_memory::free), 0);
   system_memory::failNth(1, true);
   EXPECT_EQ(rtxErrSetNewData(&c, RTX_E_NOMEM, nullptr, 0), 0); // not fatal
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 1u);
   EXPECT_EQ(rtxErrGetFirstError(&c), RTX_E_NOMEM);
   EXPECT_EQ(rtxErrGetStatus(&c), 0);
   EXPECT_EQ(rtxErrSetNewData(&c, RTX_E_NOMEM, nullptr, 0), RTX_E_NOMEM); // taken already
   EXPECT_EQ(rtxErrSetData(&c, RTX_E_CONSTRAINT, nullptr, 0), RTX_E_NOMEM);
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 1u);
   EXPECT_EQ(rtxErrAddStrParm(&c, "x"), 0);
   // Functions that need memory don't succeed because the record is not fatal.
   while (c.memHeap->spareContainers != nullptr) ASSERT_EQ(rtxCtxtPushContainerBytes(&c, 1), 0);
   EXPECT_LT(rtxCtxtPushContainerBytes(&c, 1), 0);
   EXPECT_LT(rtxInitContextBuffer(&c, nullptr, 0), 0);
   EXPECT_LT(rtxCtxtPushArrayElemName(&c, "x", 1), 0);
   EXPECT_EQ(c.level, 0);
   while (c.memHeap->spareNames != nullptr) ASSERT_EQ(rtxCtxtPushElemName(&c, "x"), 0);
   EXPECT_EQ(rtxCtxtPushElemName(&c, "x"), RTX_E_NOMEM);
   EXPECT_EQ(rtxErrGetText(&c, nullptr, nullptr), nullptr);
   std::string text;
   rtxErrLogUsingCB(&c, noteLine, &text);
   EXPECT_EQ(text, "ERROR : no memory available");
   system_memory::failAt = 0;

   // With memory back, then gone again, the fixed record moves to the end; it stands there once.
   EXPECT_EQ(rtxErrSetNewData(&c, RTX_E_CONSTRAINT, nullptr, 0), RTX_E_CONSTRAINT);
   system_memory::failNth(1, true);
   while (rtxMemHeapAlloc(&c, 8) != nullptr) {}
   EXPECT_EQ(rtxErrSetNewData(&c, RTX_E_NOMEM, nullptr, 0), RTX_E_CONSTRAINT);
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 2u);
   EXPECT_EQ(rtxErrGetFirstError(&c), RTX_E_CONSTRAINT);
   EXPECT_EQ(rtxErrGetLastError(&c), RTX_E_NOMEM);
   rtxErrResetLastErrors(&c, 1);
   EXPECT_EQ(c.errFixed.status, 0);
   EXPECT_EQ(rtxErrGetLastError(&c), RTX_E_CONSTRAINT);
   rtxErrReset(&c);
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 0u);
   rtFreeContext(&c);
}

} // namespace
