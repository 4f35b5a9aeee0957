#include <gtest/gtest.h>

#include <string>

#include "diag/TracedMessage.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemBuf.h"
#include "quorva/rtxStream.h"
#include "support/systemMemory.h"

namespace {

using quorva_test::TracedMessage;

RtxDiagBitField& fieldAt(const RtxDiagBitFieldList* list, size_t index) {
   const RtxSListNode* node = list->fieldList.head;
   while (index-- > 0) node = node->next;
   return *static_cast<RtxDiagBitField*>(node->data);
}

void expectField(const RtxDiagBitField* field, const char* name, const char* suffix, size_t offset,
                 size_t count) {
   ASSERT_NE(nullptr, field);
   EXPECT_STREQ(name, field->elemName);
   EXPECT_STREQ(suffix, field->nameSuffix);
   EXPECT_EQ(offset, field->bitOffset);
   EXPECT_EQ(count, field->bitCount);
   EXPECT_EQ(nullptr, field->openTypeFields);
}

TEST(BitTrace, NotesPathKindOffsetAndCount) {
   TracedMessage message;
   rtxCtxtPushTypeName(&message.ctxt, "Msg");
   rtxCtxtPushElemName(&message.ctxt, "hdr");
   expectField(message.read("pd", "INTEGER", 4), "Msg.hdr.pd", "INTEGER", 0, 4);
   expectField(message.read(nullptr, "BOOLEAN", 1), "Msg.hdr", "BOOLEAN", 4, 1);
   // With no name at all there is no text either.
   rtxErrReset(&message.ctxt);
   EXPECT_EQ(nullptr, message.read(nullptr, "IEI", 1)->elemName);
   // A cursor set back before the start leaves the field no bits.
   rtxCtxtSetBitOffset(&message.ctxt, 2);
   rtxDiagSetBitFldCount(message.list);
   EXPECT_EQ(0u, fieldAt(message.list, 2).bitCount);
}

TEST(BitTrace, DisablingNests) {
   TracedMessage message;
   RtxDiagBitFieldList* list = message.list;
   message.read("a", "INTEGER", 4);
   for (int disable : {1, 5, 0}) EXPECT_TRUE(rtxDiagSetBitFldDisabled(list, disable));
   // Nothing feeds the list now.
   EXPECT_EQ(nullptr, message.read("b", "INTEGER", 8));
   rtxDiagSetBitFldNameSuffix(list, "X");
   rtxDiagInsBitFieldLen(list);
   rtxDiagBitFldAppendNamePart(list, "x");
   fieldAt(list, 0).bitCount = 0;
   rtxDiagSetBitFldOffset(list);
   EXPECT_EQ(1u, list->fieldList.count);
   expectField(&fieldAt(list, 0), "a", "INTEGER", 0, 0);

   for (int i = 0; i < 2; ++i) EXPECT_FALSE(rtxDiagSetBitFldDisabled(list, 0));
   EXPECT_EQ(0, list->disabledCount);
   EXPECT_NE(nullptr, message.read("c", "INTEGER", 8));
   // The count does not wrap.
   list->disabledCount = UINT16_MAX;
   EXPECT_TRUE(rtxDiagSetBitFldDisabled(list, 1));
   EXPECT_TRUE(rtxDiagSetBitFldDisabled(nullptr, 0));
}

TEST(BitTrace, NullAndEmptyListsDoNothing) {
   TracedMessage message;
   for (RtxDiagBitFieldList* list : {static_cast<RtxDiagBitFieldList*>(nullptr), message.list}) {
      rtxDiagSetBitFldCount(list);
      rtxDiagSetBitFldOffset(list);
      rtxDiagSetBitFldNameSuffix(list, "x");
      rtxDiagInsBitFieldLen(list);
      rtxDiagBitFldAppendNamePart(list, "x");
      rtxDiagBitTracePrint(list, "x");
   }
   EXPECT_EQ(nullptr, rtxDiagNewBitField(nullptr, "x"));
   rtxDiagBitTracePrintHTML("/nonexistent/x", nullptr, nullptr);
   EXPECT_EQ("", message.take());
   EXPECT_EQ(0u, message.list->fieldList.count);
   message.ctxt.bitFields = nullptr;
   EXPECT_EQ(0, rtxDiagCtxtBitFieldListInit(&message.ctxt));
   EXPECT_EQ(nullptr, message.ctxt.bitFields);
}

TEST(BitTrace, ChangesTheNewestField) {
   TracedMessage message;
   RtxDiagBitFieldList* list = message.list;
   rtxCtxtPushElemName(&message.ctxt, "ie");
   rtxDiagNewBitField(list, "OCTET STRING");
   rtxSkipBits(&message.ctxt, 8);
   rtxDiagSetBitFldOffset(list);
   rtxSkipBits(&message.ctxt, 8);
   // The length goes apart, and its name does not change with that of the value.
   rtxDiagInsBitFieldLen(list);
   rtxDiagBitFldAppendNamePart(list, "data");
   rtxDiagBitFldAppendNamePart(list, "elem[0]");
   rtxSkipBits(&message.ctxt, 12);
   rtxDiagSetBitFldCount(list);
   ASSERT_EQ(2u, list->fieldList.count);
   expectField(&fieldAt(list, 0), "ie", "length", 8, 8);
   expectField(&fieldAt(list, 1), "ie.data.elem[0]", "OCTET STRING", 16, 12);
   // With bits it does not move any more.
   rtxDiagSetBitFldOffset(list);
   rtxDiagSetBitFldNameSuffix(list, "BIT STRING");
   expectField(&fieldAt(list, 1), "ie.data.elem[0]", "BIT STRING", 16, 12);
   // A field with no name takes that of the element stack, not the part.
   rtxErrReset(&message.ctxt);
   rtxDiagNewBitField(list, "IEI");
   rtxCtxtPushElemName(&message.ctxt, "late");
   rtxDiagBitFldAppendNamePart(list, "part");
   EXPECT_STREQ("late", fieldAt(list, 2).elemName);
}

TEST(BitTrace, ListsFieldsInTheirColumns) {
   TracedMessage message;
   message.read("a", "INTEGER", 4);
   message.read("b", "OCTET STRING", 16);
   rtxSkipBits(&message.ctxt, 2);
   message.read("c", "BIT STRING", 2);
   message.read(nullptr, "IEI", 16);
   // The skipped bits 01 show as x, and the third octet as if they were 0.
   EXPECT_EQ("msg.a INTEGER\n"
             "bit offset: 0\tbit count: 4\tnext bit offset: 4\n"
             "0100---- -------- -------- --------    --------    ----\n"
             "\n"
             "msg.b OCTET STRING\n"
             "bit offset: 4\tbit count: 16\tnext bit offset: 22\n"
             "----0001 01111110 1011xx-- --------    417e----    A~--\n"
             "\n"
             "msg.c BIT STRING\n"
             "bit offset: 22\tbit count: 2\tnext bit offset: 24\n"
             "-------- -------- ------01 --------    ----b1--    --.-\n"
             "\n"
             "msg IEI\n"
             "bit offset: 24\tbit count: 16\tnext bit offset: 0\n"
             "-------- -------- -------- 00110001    ------31    ---1\n"
             "00110010 -------- -------- --------    32------    2---\n"
             "\n",
             message.listing("msg"));
   // Everything was listed.
   EXPECT_EQ("", message.listing("msg"));
}

TEST(BitTrace, ListingGoesOnWhereItEnded) {
   TracedMessage message({0x30, 0x31, 0x32, 0x33, 0x34});
   message.read("a", "INTEGER", 12);
   EXPECT_NE("", message.listing());
   message.read("b", "INTEGER", 20);
   // A field without bits, when no line is open, has no line.
   message.read("c", "NULL", 0);
   EXPECT_EQ("b INTEGER\n"
             "bit offset: 12\tbit count: 20\tnext bit offset: 32\n"
             "-------- ----0001 00110010 00110011    --313233    -123\n"
             "\n"
             "c NULL\n"
             "bit offset: 32\tbit count: 0\tnext bit offset: 0\n"
             "\n",
             message.listing(""));
   EXPECT_EQ("", message.listing("msg")); // everything was listed
}

TEST(BitTrace, AdjustsOffsets) {
   TracedMessage message({0x31, 0x32, 0x33, 0x34});
   RtxDiagBitField* adjustment = rtxDiagNewBitField(message.list, nullptr);
   adjustment->bitOffset = 8;
   // Alone it has nothing to shift, and is not used up.
   EXPECT_EQ("bit adjustment set to 8\n", message.listing());
   message.read("a", "INTEGER", 8);
   message.read("b", "INTEGER", 4);
   EXPECT_EQ("bit adjustment set to 8\n"
             "a INTEGER\n"
             "bit offset: 8\tbit count: 8\tnext bit offset: 16\n"
             "00110010 -------- -------- --------    32------    2---\n"
             "\n"
             "b INTEGER\n"
             "bit offset: 16\tbit count: 4\tnext bit offset: 0\n"
             "-------- 0011---- -------- --------    --------    ----\n"
             "\n",
             message.listing());
   EXPECT_EQ(16u, fieldAt(message.list, 2).bitOffset);
}

TEST(BitTrace, ListsEmbeddedMessages) {
   TracedMessage message({0x31, 0x32, 0x33});
   message.read("a", "INTEGER", 8);
   RtxDiagBitField* outer = message.read("b", "OPEN TYPE", 16);
   outer->openTypeFields = message.newList();
   rtxCtxtSetBitOffset(&message.ctxt, 8);
   message.ctxt.bitFields = outer->openTypeFields;
   RtxDiagBitField* inner = message.read("c", "INTEGER", 8);
   // Offsets inside count from the embedded message.
   inner->bitOffset = 0;
   const std::string text = message.listing("m");
   EXPECT_NE(std::string::npos, text.find("--3233--    -23-\n"
                                          "\n"
                                          "*** Open Type Data ***\n"
                                          "m.c INTEGER\n"
                                          "bit offset: 0\tbit count: 8\tnext bit offset: 0\n"
                                          "00110010 -------- -------- --------    32------    2---\n"
                                          "\n"
                                          "***\n"))
         << text;
   // A list that holds itself ends all the same.
   TracedMessage loop;
   loop.read("a", "OPEN TYPE", 8)->openTypeFields = loop.list;
   EXPECT_FALSE(loop.listing().empty());
}

TEST(BitTrace, ShowsNoBitsOutsideTheData) {
   TracedMessage message({0x31});
   RtxDiagBitField* field = message.read("a", "INTEGER", 4);
   field->bitCount = SIZE_MAX;
   field = message.read("b", "INTEGER", 4);
   field->bitOffset = SIZE_MAX - 3;
   EXPECT_EQ("a INTEGER\n"
             "bit offset: 0\tbit count: -1\tnext bit offset: -4\n"
             "00110001 -------- -------- --------    31------    1---\n"
             "\n"
             "b INTEGER\n"
             "bit offset: -4\tbit count: 4\tnext bit offset: 0\n"
             "-------- -------- -------- --------    --------    ----\n"
             "\n",
             message.listing());
}

TEST(BitTrace, CutsLongTitles) {
   TracedMessage message;
   const std::string name(900, 'n');
   message.read(name.c_str(), "INTEGER", 8);
   EXPECT_EQ("p." + std::string(797, 'n') + "\nbit", message.listing("p").substr(0, 803));
   message.read("x", "a kind with more than thirty-two characters", 8);
   EXPECT_EQ(0u, message.listing().find("x a kind with more than thirty-two\nbit"));
}

class StreamTrace : public TracedMessage {
public:
   explicit StreamTrace(uint32_t kind) {
      stream_ = {};
      stream_.kind = kind;
      stream_.flags = RTX_STREAM_READ;
      stream_.read = [](RtxStream* stream, uint8_t* target, size_t maxocts) {
         for (size_t i = 0; i < maxocts; ++i)
            target[i] = static_cast<uint8_t>('0' + (stream->ioBytes + i) % 10);
         return static_cast<ptrdiff_t>(maxocts);
      };
      ctxt.stream = &stream_;
      ctxt.flags &= ~RTX_CTXT_BUFFER_MODE;
      EXPECT_EQ(0, rtxDiagBitFieldListInit(&ctxt, list));
   }
   ~StreamTrace() { ctxt.stream = nullptr; }

   bool lists(size_t nbits, const char* line) {
      RtxDiagBitField* field = rtxDiagNewBitField(list, "INTEGER");
      field->bitOffset = 0;
      field->bitCount = nbits;
      return listing().find(line) != std::string::npos;
   }

private:
   RtxStream stream_;
};

TEST(BitTrace, CapturesWhatPassesThroughAStream) {
   StreamTrace message(RTX_STREAM_KIND_FILE);
   ASSERT_NE(nullptr, message.list->captureBuf);
   EXPECT_EQ(message.list->captureBuf, rtxStreamGetCapture(&message.ctxt));
   uint8_t octets[2];
   ASSERT_EQ(2, rtxStreamRead(&message.ctxt, octets, 2));
   EXPECT_TRUE(message.lists(16, "00110000 00110001 -------- --------    3031----    01--\n"));

   // Without a capture there is nothing to show; that is told to those who want diagnostics.
   rtxStreamSetCapture(&message.ctxt, nullptr);
   rtxDiagNewBitField(message.list, "INTEGER");
   EXPECT_EQ("", message.listing());
   rtxSetDiag(&message.ctxt, 1);
   EXPECT_EQ("~E ERROR: capture buffer was not assigned to stream\n", message.listing());

   // Memory streams are listed from the buffer.
   StreamTrace memory(RTX_STREAM_KIND_MEMORY);
   EXPECT_EQ(nullptr, memory.list->captureBuf);
   EXPECT_EQ(nullptr, rtxStreamGetCapture(&memory.ctxt));
   EXPECT_TRUE(memory.lists(8, "01000001 -"));
}

TEST(BitTrace, LosesFieldsInSilenceWithoutMemory) {
   system_memory::failEach(10, [](const auto& arm) {
      uint8_t octets[] = {0x41, 0x42, 0x43, 0x44};
      RtxContext ctxt;
      ASSERT_EQ(0, system_memory::init(&ctxt));
      rtxMemHeapSetFlags(&ctxt, RTX_MH_RAW_ONLY);
      rtxCtxtSetBufPtr(&ctxt, octets, sizeof(octets));
      rtxCtxtPushElemName(&ctxt, "msg");
      RtxDiagBitFieldList list;
      ASSERT_EQ(0, rtxDiagBitFieldListInit(&ctxt, &list));
      const size_t before = system_memory::live;
      arm();
      for (int i = 0; i < 3; ++i) {
         rtxDiagNewBitField(&list, "OCTET STRING");
         rtxSkipBits(&ctxt, 4);
         rtxDiagInsBitFieldLen(&list);
         rtxDiagBitFldAppendNamePart(&list, "data");
         rtxSkipBits(&ctxt, 4);
         rtxDiagSetBitFldCount(&list);
      }
      // The codec sees nothing of it.
      EXPECT_EQ(0u, rtxErrGetErrorCnt(&ctxt));
      EXPECT_EQ(24u, rtxCtxtGetBitOffset(&ctxt));
      EXPECT_TRUE(system_memory::failures > 0 || list.fieldList.count == 6);
      for (size_t i = 0; i < list.fieldList.count; ++i)
         EXPECT_EQ(0u, std::string(fieldAt(&list, i).elemName).find("msg"));
      // A field that was lost leaves nothing behind: node, record and name for each that is there.
      EXPECT_EQ(before + 3 * list.fieldList.count, system_memory::live);
      rtxFreeContext(&ctxt);
   });
}

} // namespace
