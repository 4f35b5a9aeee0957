#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "quorva/rtPrintToStream.h"
#include "quorva/rtxMemHeap.h"
#include "support/capture.h"
#include "support/systemMemory.h"

namespace {

using quorva_test::Capture;
using Lines = std::vector<std::string>;

// Octets 00, 01, 02 ... with the top bit set.
std::vector<uint8_t> counted(size_t numocts) {
   std::vector<uint8_t> data(numocts);
   for (size_t i = 0; i < numocts; ++i) data[i] = static_cast<uint8_t>(0x80 | i);
   return data;
}

const std::string line15 = "80 81 82 83 84 85 86 87 88 89 8a 8b 8c 8d 8e";
const std::string line16 = line15 + " 8f";

class BitStrPrinters : public testing::Test {
protected:
   BitStrPrinters() { pctxt->indent = 3; }

   Lines lines(uint32_t numbits) {
      RtxSList list;
      rtxSListInitEx(pctxt, &list);
      EXPECT_EQ(0, rtBitStringDumpToList(pctxt, numbits, data.data(), &list));
      Lines result;
      for (const RtxSListNode* node = list.head; node; node = node->next)
         result.push_back(static_cast<const char*>(node->data));
      rtxSListFreeAll(&list);
      return result;
   }

   std::string take(int status) {
      EXPECT_EQ(0, status);
      return capture.take();
   }

   Capture capture;
   RtxContext* pctxt = &capture.ctxt;
   const std::vector<uint8_t> data = counted(64);
   const uint8_t few[3] = {0xA5, 0xB0, 0x41};
};

TEST_F(BitStrPrinters, PartsLines) {
   EXPECT_EQ(Lines{}, lines(0));
   EXPECT_EQ(Lines{"100xxxxx"}, lines(3));
   EXPECT_EQ(Lines{"80"}, lines(8));
   EXPECT_EQ((Lines{"80 1xxxxxxx"}), lines(9));
   EXPECT_EQ(Lines{line15}, lines(120));
   // A line of 15 octets never takes the partial one, a line of 16 does.
   EXPECT_EQ((Lines{line15, "1xxxxxxx"}), lines(121));
   EXPECT_EQ(Lines{line16}, lines(128));
   EXPECT_EQ(Lines{line16 + " 1xxxxxxx"}, lines(129));
   EXPECT_EQ((Lines{line16, "90"}), lines(136));
   EXPECT_EQ((Lines{line16, "90 10010xxx"}), lines(141));
   EXPECT_EQ(4u, lines(2 * 128 + 15 * 8 + 7).size());
}

TEST_F(BitStrPrinters, DotText) {
   const auto print = [&](uint32_t numbits, const uint8_t* octets) {
      return take(rtPrintToStreamBitStr(pctxt, "n", numbits, octets, "."));
   };
   EXPECT_EQ("n.numbits = 0\nn.data = NULL\n", print(0, few));
   EXPECT_EQ("n.numbits = 3\nn.data = 101xxxxx\n", print(3, few));
   EXPECT_EQ("n.numbits = 63\nn.data = 80 81 82 83 84 85 86 1000011x\n", print(63, data.data()));
   EXPECT_EQ("n.numbits = 64\nn.data =\n80 81 82 83 84 85 86 87\n", print(64, data.data()));
   EXPECT_EQ("n.numbits = 121\nn.data =\n" + line15 + "\n1xxxxxxx\n", print(121, data.data()));
   EXPECT_EQ("n.numbits = 5\nn.data = \n", print(5, nullptr));
   EXPECT_EQ("n.numbits = 12\nn.data = 101001011011\n",
             take(rtPrintToStreamBitStrBin(pctxt, "n", 12, few, ".")));
   EXPECT_EQ("n.numbits = 0\nn.data = \n", take(rtPrintToStreamBitStrBin(pctxt, "n", 0, few, ".")));
}

TEST_F(BitStrPrinters, DotTextWithExtension) {
   auto print = [&](uint32_t numbits, size_t size, const uint8_t* ext) {
      return take(rtPrintToStreamBitStrExt(pctxt, "n", numbits, few, size, ext, "."));
   };
   EXPECT_EQ("n.numbits = 12\nn.data = a5 1011xxxx\n", print(12, 2, nullptr));
   // Only what is stored is drawn; the count chooses the form.
   EXPECT_EQ("n.numbits = 12\nn.data = a5\nn.extdata = 0x41\n", print(12, 1, few + 2));
   EXPECT_EQ("n.numbits = 12\nn.data = \nn.extdata = 0x41\n", print(12, 0, few + 2));
   EXPECT_EQ("n.numbits = 70\nn.data =\na5 b0\n", print(70, 2, nullptr));
   EXPECT_EQ("n.numbits = 0\nn.data = NULL\nn.extdata = 0x41\n", print(0, 3, few + 2));
   EXPECT_EQ("n.numbits = 12\nn.data = a5 1011xxxx\n", print(12, SIZE_MAX, nullptr));
}

TEST_F(BitStrPrinters, BraceText) {
   EXPECT_EQ("n = { 0 }\n", take(rtPrintToStreamBitStrBraceText(pctxt, "n", 0, few)));
   EXPECT_EQ("n = { 3, 101xxxxx }\n", take(rtPrintToStreamBitStrBraceText(pctxt, "n", 3, few)));
   EXPECT_EQ("n = { 121,\n      " + line15 + "\n      1xxxxxxx\n   }\n",
             take(rtPrintToStreamBitStrBraceText(pctxt, "n", 121, data.data())));
   auto print = [&](uint32_t numbits, size_t size, const uint8_t* ext) {
      return take(rtPrintToStreamBitStrBraceTextExt(pctxt, "n", numbits, few, size, ext));
   };
   EXPECT_EQ("n = { 0 }\n", print(0, 3, few));
   EXPECT_EQ("n = { 12, a5, 0x41 }\n", print(12, 1, few + 2));
   EXPECT_EQ("n = { 12, a5 1011xxxx }\n", print(12, 2, nullptr));
   EXPECT_EQ("n = { 64,\n      a5 b0\n      0x41\n   }\n", print(64, 2, few + 2));
   EXPECT_EQ("n = { 64,\n      a5 b0\n   }\n", print(64, 2, nullptr));
}

TEST_F(BitStrPrinters, NamedBits) {
   const uint32_t numbers[] = {0, 9, 0};
   const char* const names[] = {"a", "last", "twin"};
   auto print = [&](uint32_t numbits) {
      return take(rtPrintToStreamBitStrNamed(pctxt, "n", numbits, few, ".", 3, numbers, names));
   };
   EXPECT_EQ("   n.numbits = 2\n   n.data = (a(1), (0))\n", print(2));
   EXPECT_EQ("   n.numbits = 0\n   n.data = ()\n", print(0));
   EXPECT_EQ("   n.numbits = 10\n   n.data = (a(1), (0), (1), (0), (0), (1), (0), (1), (1), last(0))\n",
             print(10));
   EXPECT_EQ(0, rtBitStringDumpNamed(pctxt, 1, few, 0, nullptr, nullptr));
   EXPECT_EQ("((1))", capture.take());
}

TEST_F(BitStrPrinters, NamedBitsWithExtension) {
   const std::string head = "(a(1), (0), (1), (0), (0), (1), (0), (1))";
   const uint32_t number = 0;
   const char* const name = "a";
   auto print = [&](uint32_t numbits, size_t size, const uint8_t* ext) {
      const std::string text =
            take(rtPrintToStreamBitStrNamedExt(pctxt, "n", numbits, few, size, ext, ".", 1, &number, &name));
      const std::string lead = "   n.numbits = " + std::to_string(numbits) + "\n   n.data = ";
      EXPECT_EQ(lead, text.substr(0, lead.size()));
      return text.substr(lead.size());
   };
   EXPECT_EQ(head + "\n", print(8, 1, few));
   EXPECT_EQ(head + "\n", print(8, 9, few));
   EXPECT_EQ(head + "\n", print(20, 1, nullptr));
   EXPECT_EQ(head + " 101xxxxx\n", print(11, 1, few));
   EXPECT_EQ(head + " 0xA5\n", print(16, 1, few));
   EXPECT_EQ(head + " 0xA5 1011xxxx\n", print(20, 1, few));

   const std::vector<uint8_t> ext = counted(40);
   std::string line;
   for (int i = 0; i < 16; ++i) {
      char item[8];
      snprintf(item, sizeof(item), "%s0x%02X", i > 0 ? " " : "", 0x80 + i);
      line += item;
   }
   const std::string without16th = line.substr(0, line.size() - 5);
   EXPECT_EQ(head + " " + line.substr(0, 8 * 5 - 1) + " 1000100x\n", print(8 + 71, 1, ext.data()));
   EXPECT_EQ(head + " \n" + line.substr(0, 9 * 5 - 1) + "\n", print(8 + 72, 1, ext.data()));
   EXPECT_EQ(head + " \n" + without16th + "\n1xxxxxxx\n", print(8 + 121, 1, ext.data()));
   EXPECT_EQ(head + " \n" + line + " 1xxxxxxx\n", print(8 + 129, 1, ext.data()));
   EXPECT_EQ(head + " \n" + line + "\n0x90\n", print(8 + 136, 1, ext.data()));
}

TEST(BitStrPrintersMemory, FailureIsReportedAndNothingIsLost) {
   system_memory::failEach(3, [](const auto& arm) {
      const std::vector<uint8_t> data = counted(64);
      RtxContext ctxt;
      ASSERT_EQ(0, system_memory::init(&ctxt));
      rtxMemHeapSetFlags(&ctxt, RTX_MH_RAW_ONLY);
      char memory[4096];
      RtxPrintToStringBuffer text = {memory, sizeof(memory), 0};
      ASSERT_EQ(0, rtxSetPrintStream(&ctxt, rtxPrintStreamToStringCB, &text));
      const size_t before = system_memory::live;
      arm();
      bool failed = rtPrintToStreamBitStr(&ctxt, "n", 300, data.data(), ".") == RTX_E_NOMEM;
      failed |= rtPrintToStreamBitStrBraceText(&ctxt, "n", 300, data.data()) == RTX_E_NOMEM;
      failed |= rtPrintToStreamOIDStr(&ctxt, "n", "1.2") == RTX_E_NOMEM;
      EXPECT_EQ(failed, system_memory::failures > 0);
      EXPECT_EQ(before, system_memory::live);
      EXPECT_EQ(0u, std::string(memory, text.used).find("n.numbits = 300\n"));
      rtxFreeContext(&ctxt);
   });
}

} // namespace
