#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "quorva/rtPrintToStream.h"
#include "quorva/rtxPrintToStream.h"
#include "support/capture.h"
#include "support/systemMemory.h"

namespace {

using quorva_test::Capture;

class ValuePrinters : public testing::Test {
protected:
   // The printers write no indent, whatever it is.
   ValuePrinters() { pctxt->indent = 3; }
   ~ValuePrinters() override { EXPECT_EQ(3, pctxt->indent); }

   std::string take(int status) {
      EXPECT_EQ(0, status);
      return capture.take();
   }

   Capture capture;
   RtxContext* pctxt = &capture.ctxt;
};

const uint8_t letters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ012345";

TEST_F(ValuePrinters, PlainValues) {
   EXPECT_EQ("n = true\n", take(rtxPrintToStreamBoolean(pctxt, "n", 2)));
   EXPECT_EQ("n = false\n", take(rtxPrintToStreamBoolean(pctxt, "n", 0)));
   EXPECT_EQ("n = -2147483648\n", take(rtxPrintToStreamInteger(pctxt, "n", INT32_MIN)));
   EXPECT_EQ("n = 4294967295\n", take(rtxPrintToStreamUnsigned(pctxt, "n", UINT32_MAX)));
   EXPECT_EQ("n = -9223372036854775808\n", take(rtxPrintToStreamInt64(pctxt, "n", INT64_MIN)));
   EXPECT_EQ("n = 18446744073709551615\n", take(rtxPrintToStreamUInt64(pctxt, "n", UINT64_MAX)));
   EXPECT_EQ("n = 1.5\n", take(rtxPrintToStreamReal(pctxt, "n", 1.5)));
   EXPECT_EQ("n = 1.23457e+09\n", take(rtxPrintToStreamReal(pctxt, "n", 1234567890.)));
   EXPECT_EQ("n = <null>\n", take(rtxPrintToStreamNull(pctxt, "n")));
}

TEST_F(ValuePrinters, Texts) {
   EXPECT_EQ("n = 'a%sb'\n", take(rtxPrintToStreamCharStr(pctxt, "n", "a%sb")));
   EXPECT_EQ("n = '(null)'\n", take(rtxPrintToStreamCharStr(pctxt, "n", nullptr)));
   EXPECT_EQ("n = '\xC3\xA9'\n", take(rtxPrintToStreamUTF8CharStr(pctxt, "n", "\xC3\xA9")));
   EXPECT_EQ("n = '(null)'\n", take(rtxPrintToStreamUTF8CharStr(pctxt, "n", nullptr)));

   const uint16_t units[] = {'a', 0x7F, ' ', 0xE9, '~', 0x20AC, 0, 'z'};
   const std::string shown = "n = 'a0x007f 0x00e9~0x20ac";
   EXPECT_EQ(shown + "'\n", take(rtxPrintToStreamUnicodeCharStr(pctxt, "n", units, -1)));
   EXPECT_EQ(shown + "0x0000z'\n", take(rtxPrintToStreamUnicodeCharStr(pctxt, "n", units, 8)));
   EXPECT_EQ("n = ''\n", take(rtxPrintToStreamUnicodeCharStr(pctxt, "n", units, 0)));
   EXPECT_EQ("", take(rtxPrintToStreamUnicodeCharStr(pctxt, "n", nullptr, -1)));

   const Rtx16BitCharString text16 = {7, units};
   EXPECT_EQ(shown + "0x0000'\n", take(rtPrintToStreamUnicodeCharStr(pctxt, "n", &text16)));
   const uint32_t units32[] = {'a', 0x1F600, 0};
   const Rtx32BitCharString text32 = {3, units32};
   EXPECT_EQ("n = 'a0x0001f6000x00000000'\n", take(rtPrintToStreamUnivCharStr(pctxt, "n", &text32)));

   RtxNVP pair = {"k", nullptr};
   EXPECT_EQ("n.name  = 'k'\nn.value = '(null)'\n", take(rtxPrintToStreamNVP(pctxt, "n", &pair)));
   pair = {nullptr, "v"};
   EXPECT_EQ("n.name  = '(null)'\nn.value = 'v'\n", take(rtxPrintToStreamNVP(pctxt, "n", &pair)));

   const uint8_t octets[] = {0x41, 0x00, 0x42, 0x7F, 0xFF, 0x20};
   EXPECT_EQ("n = AB \n", take(rtPrintToStreamText(pctxt, "n", sizeof(octets), octets)));
}

TEST_F(ValuePrinters, OctetStrings) {
   const std::string dumpA = "41 42" + std::string(44, ' ') + "AB\n";
   const std::string plainA = "41 42" + std::string(43, ' ') + "\n";
   EXPECT_EQ("n = 0x4142\n", take(rtxPrintToStreamHexStrPlain(pctxt, "n", 2, letters)));
   EXPECT_EQ("n = 0x\n", take(rtxPrintToStreamHexStrPlain(pctxt, "n", 0, nullptr)));
   EXPECT_EQ("n =\n" + plainA, take(rtxPrintToStreamHexStrNoAscii(pctxt, "n", 2, letters)));
   EXPECT_EQ("n.numocts = 2\nn.data = \n" + dumpA, take(rtxPrintToStreamHexBinary(pctxt, "n", 2, letters)));
   EXPECT_EQ("n.numocts = 2\nn.data = \n" + dumpA, take(rtPrintToStreamOctStr(pctxt, "n", 2, letters, ".")));
   EXPECT_EQ("n->numocts = 0\nn->data = \n", take(rtPrintToStreamOpenType(pctxt, "n", 0, letters, "->")));

   // 32 octets still go on one line, 33 don't.
   EXPECT_EQ("n = 0x4142434445464748494a4b4c4d4e4f505152535455565758595a303132333435\n",
             take(rtxPrintToStreamHexStr(pctxt, "n", 32, letters)));
   EXPECT_EQ("n =\n"
             "41 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e 4f 50  ABCDEFGHIJKLMNOP\n"
             "51 52 53 54 55 56 57 58 59 5a 30 31 32 33 34 35  QRSTUVWXYZ012345\n"
             "00                                               .\n",
             take(rtxPrintToStreamHexStr(pctxt, "n", 33, letters)));
   // The plain form has no such limit.
   const std::vector<uint8_t> many(1000);
   EXPECT_EQ("n = 0x" + std::string(2000, '0') + "\n",
             take(rtxPrintToStreamHexStrPlain(pctxt, "n", many.size(), many.data())));
}

TEST_F(ValuePrinters, WideStringsAsDumps) {
   // As they lie in memory, group by group.
   const uint8_t octets[] = {0x00, 0x41, 0x20, 0xAC, 0, 0, 0, 0};
   alignas(8) uint8_t memory[8];
   memcpy(memory, octets, 8);
   const Rtx16BitCharString text16 = {2, reinterpret_cast<const uint16_t*>(memory)};
   EXPECT_EQ("n.nchars = 2\nn.data = \n0041 20ac                                        .A .\n",
             take(rtPrintToStream16BitCharStr(pctxt, "n", &text16, ".")));
   const Rtx32BitCharString text32 = {1, reinterpret_cast<const uint32_t*>(memory)};
   EXPECT_EQ("n.nchars = 1\nn.data = \n004120ac                                         .A .\n",
             take(rtPrintToStream32BitCharStr(pctxt, "n", &text32, ".")));
}

TEST_F(ValuePrinters, OpenTypeLists) {
   RtxDynOctStr long33 = {33, letters};
   RtxDynOctStr two = {2, letters};
   RtxDList list = {};
   rtxDListAppend(pctxt, &list, &two);
   rtxDListAppend(pctxt, &list, nullptr);
   rtxDListAppend(pctxt, &list, &long33);
   const std::string text = take(rtPrintToStreamOpenTypeExt(pctxt, "n", &list));
   EXPECT_EQ(0u, text.find("n.numocts = 2\nn.data = \n41 42 "));
   EXPECT_NE(std::string::npos, text.find("\nn.numocts = 33\n"));
   EXPECT_EQ(0u,
             take(rtPrintToStreamOpenTypeExtBraceText(pctxt, "n", &list)).find("   n = 0x4142\n   n =\n41 "));
   list = {};
   EXPECT_EQ("", take(rtPrintToStreamOpenTypeExt(pctxt, "n", &list)));
   EXPECT_EQ("", take(rtPrintToStreamOpenTypeExt(pctxt, "n", nullptr)));
   EXPECT_EQ("", take(rtPrintToStreamOpenTypeExtBraceText(pctxt, "n", nullptr)));
}

TEST_F(ValuePrinters, Addresses) {
   const uint8_t octets[] = {0x20, 0x01, 0x0D, 0xB8, 0x00};
   EXPECT_EQ("n = 32.1.13.184\n", take(rtPrintToStreamIpv4Addr(pctxt, "n", 4, octets)));
   EXPECT_EQ("n = \n", take(rtPrintToStreamIpv4Addr(pctxt, "n", 0, octets)));
   // Octets have no leading zeros: 201, not 2001.
   EXPECT_EQ("n = 201:db8\n", take(rtPrintToStreamIpv6Addr(pctxt, "n", 4, octets)));
   EXPECT_EQ("n = 201:db8:0\n", take(rtPrintToStreamIpv6Addr(pctxt, "n", 5, octets)));
   EXPECT_EQ("n = \n", take(rtPrintToStreamIpv6Addr(pctxt, "n", 0, octets)));
}

TEST_F(ValuePrinters, TelephonyDigits) {
   const uint8_t odd[] = {0x21, 0xF3};
   EXPECT_EQ("n = 123\n", take(rtPrintToStreamTBCDStr(pctxt, "n", 2, odd)));
   // A filler in the middle does not end the number.
   const uint8_t all[] = {0x0F, 0x9F, 0xBA, 0xDC, 0xFE, 0xFF, 0x87};
   EXPECT_EQ("n = 09*#abc78\n", take(rtPrintToStreamTBCDStr(pctxt, "n", sizeof(all), all)));
}

TEST_F(ValuePrinters, ObjectIdentifiers) {
   const RtxOID oid = {3, {1, 2, 0x80000000}};
   // Signed.
   EXPECT_EQ("{ 1 2 -2147483648 }\n", take(rtPrintToStreamOIDValue(pctxt, &oid)));
   EXPECT_EQ("n = { 1 2 -2147483648 }\n", take(rtPrintToStreamOID(pctxt, "n", &oid)));
   EXPECT_EQ("{ }\n", take(rtPrintToStreamOIDValue2(pctxt, 0, nullptr)));
   EXPECT_EQ("n = { 1 }\n", take(rtPrintToStreamOID2(pctxt, "n", 1, oid.subid)));
   const RtxOID64 oid64 = {2, {1, 0x100000000}};
   EXPECT_EQ("{ 1 4294967296 }\n", take(rtPrintToStreamOID64Value(pctxt, &oid64)));
   EXPECT_EQ("n = { 1 4294967296 }\n", take(rtPrintToStreamOID64(pctxt, "n", &oid64)));
   EXPECT_EQ("n = { 1 2 840 }\n", take(rtPrintToStreamOIDStr(pctxt, "n", "1.2.840")));
   EXPECT_EQ("n = {  }\n", take(rtPrintToStreamOIDStr(pctxt, "n", "")));
   EXPECT_EQ("n = (null)\n", take(rtPrintToStreamOIDStr(pctxt, "n", nullptr)));
}

} // namespace
