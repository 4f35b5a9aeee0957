// Error records, their parameters and texts.
#include "coreTest.h"

#include "quorva/rtxDList.h"

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
   EXPECT_EQ(rtxErrGetLastError(&c), RTX_E_BAD_ENUM);
   EXPECT_EQ(rtxErrCheckNonFatal(&c), RTX_E_MULTIPLE);
   // Two fatal records of one status are two all the same.
   rtxErrReset(&c);
   record(c, RTX_E_BAD_ENUM);
   EXPECT_EQ(rtxErrSetNewData(&c, RTX_E_BAD_ENUM, nullptr, 0), RTX_E_MULTIPLE);
   EXPECT_EQ(rtxErrCheckNonFatal(&c), RTX_E_BAD_ENUM);
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

TEST(Errors, LastOnesCanBeDropped) {
   Context c;
   for (int status : {-1, -2, -4}) record(c, status);
   rtxErrResetLastErrors(&c, 2);
   EXPECT_EQ(rtxErrGetLastError(&c), -1);
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 1u);
   rtxErrResetLastErrors(&c, 9);
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 0u);
   EXPECT_TRUE(rtxMemHeapIsEmpty(&c));
}

TEST(Parms, AreTexts) {
   Context c;
   const uint16_t wide[] = {'a', 0xE9, 0};
   EXPECT_TRUE(rtxErrAddStrParm(&c, nullptr));
   EXPECT_TRUE(rtxErrAddStrnParm(&c, "abcdef", 3));
   EXPECT_TRUE(rtxErrAddDoubleParm(&c, 1.5));
   EXPECT_TRUE(rtxErrAddUniStrParm(&c, wide));
   EXPECT_TRUE(rtxErrAddUniStrParm(&c, nullptr));
   EXPECT_EQ(c.parms(), (std::vector<std::string>{"(null)", "abc", "?", "a\xC3\xA9", ""}));
   EXPECT_FALSE(rtxErrAddStrParm(&c, "sixth"));
   EXPECT_FALSE(rtxErrAddUniStrParm(&c, wide));
   EXPECT_EQ(c.errFixed.parmCount, 5);
   rtxErrFreeParms(&c);
   EXPECT_TRUE(rtxMemHeapIsEmpty(&c)); // what was dropped did not stay either

   EXPECT_TRUE(rtxErrAddIntParm(&c, INT32_MIN));
   EXPECT_TRUE(rtxErrAddUIntParm(&c, UINT32_MAX));
   EXPECT_TRUE(rtxErrAddInt64Parm(&c, INT64_MIN));
   EXPECT_TRUE(rtxErrAddUInt64Parm(&c, UINT64_MAX));
   EXPECT_TRUE(rtxErrAddSizeParm(&c, 0));
   EXPECT_EQ(c.parms(), (std::vector<std::string>{"-2147483648", "4294967295", "-9223372036854775808",
                                                  "18446744073709551615", "0"}));
   rtxErrReset(&c);
   EXPECT_EQ(rtxErrInvUIntOpt(&c, 77), RTX_E_BAD_CHOICE);
   EXPECT_TRUE(rtxErrAddElemNameParm(&c));
   EXPECT_EQ(c.parms(), (std::vector<std::string>{"77", "?"}));
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 0u);
}

TEST(Parms, BufferTextEndsWithTheBuffer) {
   Octets octets{'x', 'a', 'b', 'c'};
   Context c(octets);
   c.bufByteIndex = 1;
   EXPECT_TRUE(rtxErrAddCtxtBufParm(&c));
   c.bufByteIndex = 9;
   EXPECT_TRUE(rtxErrAddCtxtBufParm(&c));
   EXPECT_EQ(c.parms(), (std::vector<std::string>{"abc", ""}));
}

TEST(Texts, TwoLinesARecord) {
   Context c;
   char buf[64];
   std::memset(buf, 'z', sizeof buf);
   EXPECT_STREQ(rtxErrGetTextBuf(&c, buf, sizeof buf), "");
   record(c, -16);
   record(c, -4);
   EXPECT_STREQ(rtxErrGetTextBuf(&c, buf, sizeof buf), "ERROR: Status -16\n\nERROR: Status -4\n\n");
   // Cut where the next piece does not fit.
   EXPECT_STREQ(rtxErrGetTextBuf(&c, buf, 17), "ERROR: Status ");
   EXPECT_STREQ(rtxErrGetTextBuf(&c, buf, 18), "ERROR: Status -16");
   EXPECT_STREQ(rtxErrGetTextBuf(&c, buf, 14), "");
   EXPECT_STREQ(rtxErrGetTextBuf(&c, buf, 33), "ERROR: Status -16\n\n");
   EXPECT_EQ(rtxErrGetTextBuf(&c, nullptr, 9), nullptr);
   EXPECT_EQ(rtxErrGetTextBuf(&c, buf, 0), nullptr);

   size_t size = 20;
   EXPECT_STREQ(rtxErrGetText(&c, buf, &size), "ERROR: Status -16\n\n");
   c.errList.head->data = std::memset(rtxMemHeapAlloc(&c, sizeof(RtxErrInfo)), 0, sizeof(RtxErrInfo));
   static_cast<RtxErrInfo*>(c.errList.head->data)->elemName = static_cast<char*>(rtxMemHeapAllocZ(&c, 8));
   std::strcpy(static_cast<RtxErrInfo*>(c.errList.head->data)->elemName, "name");
   EXPECT_STREQ(rtxErrGetText(&c, nullptr, &size), "ERROR: Status 0\n\nERROR: Status -4\n\n");
   EXPECT_EQ(size, 200u + 2 * 200 + 24);
   EXPECT_STREQ(rtxErrGetMsgText(&c), "Element: name\n\n");
   EXPECT_STREQ(rtxErrGetMsgTextBuf(&c, buf, sizeof buf), "\n\n");
   EXPECT_STREQ(rtxErrGetMsgTextBuf(&c, buf, 2), "\n");
   EXPECT_EQ(rtxErrGetMsgTextBuf(&c, buf, 0), nullptr);
   buf[0] = 'q';
   EXPECT_EQ(rtxErrFmtMsg(&c.errFixed, buf, 1), buf);
   EXPECT_EQ(buf[0], 'q'); // deliberately there is no text
   EXPECT_EQ(rtxErrFmtMsg(nullptr, buf, 1), nullptr);
}

TEST(Texts, PrintedAndLogged) {
   Context c;
   record(c, -16);
   testing::internal::CaptureStdout();
   rtxErrPrint(&c);
   EXPECT_EQ(testing::internal::GetCapturedStdout(), "ERROR: Status -16\n\n");
   std::string text;
   rtxErrAddIntParm(&c, 1);
   rtxErrLogUsingCB(
         &c, [](const char* line, void* arg) { *static_cast<std::string*>(arg) = line; }, &text);
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

bool deny;
void* maybeAlloc(size_t nbytes) {
   return deny ? nullptr : std::malloc(nbytes);
}

TEST(NoMemory, GoesOnRecordInTheFixedRecord) {
   RtxContext c;
   ASSERT_EQ(rtxInitContextExt(&c, maybeAlloc, nullptr, std::free), 0);
   deny = true;
   EXPECT_EQ(rtxErrSetNewData(&c, RTX_E_NOMEM, nullptr, 0), 0); // deliberately not fatal
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 1u);
   EXPECT_EQ(rtxErrGetFirstError(&c), RTX_E_NOMEM);
   EXPECT_EQ(rtxErrGetStatus(&c), 0);
   EXPECT_EQ(rtxErrSetNewData(&c, RTX_E_NOMEM, nullptr, 0), RTX_E_NOMEM); // taken already
   EXPECT_EQ(rtxErrSetData(&c, RTX_E_CONSTRAINT, nullptr, 0), RTX_E_NOMEM);
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 1u);
   EXPECT_EQ(rtxErrAddStrParm(&c, "x"), 0);
   // Functions that need memory don't succeed because the record is not fatal.
   EXPECT_LT(rtxCtxtPushContainerBytes(&c, 1), 0);
   EXPECT_LT(rtxInitContextBuffer(&c, nullptr, 0), 0);
   EXPECT_LT(rtxCtxtPushArrayElemName(&c, "x", 1), 0);
   EXPECT_EQ(c.level, 0);
   EXPECT_EQ(rtxCtxtPushElemName(&c, "x"), RTX_E_NOMEM);
   EXPECT_EQ(rtxErrGetText(&c, nullptr, nullptr), nullptr);
   std::string text;
   rtxErrLogUsingCB(
         &c, [](const char* line, void* arg) { *static_cast<std::string*>(arg) = line; }, &text);
   EXPECT_EQ(text, "ERROR : no memory available");
   deny = false;

   // With memory back, then gone again, the fixed record moves to the end; it stands there once.
   EXPECT_EQ(rtxErrSetNewData(&c, RTX_E_CONSTRAINT, nullptr, 0), RTX_E_CONSTRAINT);
   while (rtxMemHeapAlloc(&c, 8) != nullptr && c.memHeap->curBlock != nullptr) deny = true;
   EXPECT_EQ(rtxErrSetNewData(&c, RTX_E_NOMEM, nullptr, 0), RTX_E_CONSTRAINT);
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 2u);
   EXPECT_EQ(rtxErrGetFirstError(&c), RTX_E_CONSTRAINT);
   EXPECT_EQ(rtxErrGetLastError(&c), RTX_E_NOMEM);
   deny = false;
   rtxErrResetLastErrors(&c, 1);
   EXPECT_EQ(c.errFixed.status, 0);
   EXPECT_EQ(rtxErrGetLastError(&c), RTX_E_CONSTRAINT);
   rtxErrReset(&c);
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 0u);
   rtFreeContext(&c);
}

} // namespace
