#include "quorva/rtxHexDump.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "support/capture.h"

namespace {

using quorva_test::Capture;

const uint8_t letters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ012345";

std::string filled(std::string hex) {
   return hex.append(48 - hex.size(), ' ');
}

const std::string fullLine = "41 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e 4f 50  ABCDEFGHIJKLMNOP\n";

struct DumpCase {
   size_t numocts;
   size_t groupSize;
   std::string text;
};

const DumpCase dumpCases[] = {
      {0, 1, ""},
      {16, 1, fullLine},
      {17, 1, fullLine + filled("51 ") + " Q\n"},
      {1, 2, ""},
      {3, 2, filled("4142 ") + " AB\n"},
      {16, 2, filled("4142 4344 4546 4748 494a 4b4c 4d4e 4f50 ") + " ABCDEFGHIJKLMNOP\n"},
      {7, 4, filled("41424344 ") + " ABCD\n"},
      {20, 4,
       filled("41424344 45464748 494a4b4c 4d4e4f50 ") + " ABCDEFGHIJKLMNOP\n" + filled("51525354 ") +
             " QRST\n"},
      // Odd sizes: groups of at most 4 octets, but as many a line as the size asks for.
      {15, 3, filled("414243 444546 474849 4a4b4c 4d4e4f ") + " ABCDEFGHIJKLMNO \n"},
      {12, 8, filled("41424344 45464748 ") + " ABCDEFGH        \n" + filled("494a4b4c ") + " IJKL\n"},
      {8, 16, filled("41424344 ") + " ABCD            \n" + filled("45464748 ") + " EFGH            \n"},
      {8, 99, filled("41424344 ") + " ABCD            \n" + filled("45464748 ") + " EFGH            \n"},
      {16, 0, ""},
};

std::string dumpToFile(void (*dump)(FILE*, const uint8_t*, size_t, size_t), const DumpCase& c) {
   char* text = nullptr;
   size_t size = 0;
   FILE* file = open_memstream(&text, &size);
   dump(file, letters, c.numocts, c.groupSize);
   fclose(file);
   std::string result(text, size);
   free(text);
   return result;
}

std::string withoutAscii(const std::string& text) {
   std::istringstream lines(text);
   std::string result;
   for (std::string line; std::getline(lines, line);) result += line.substr(0, 48) + "\n";
   return result;
}

TEST(HexDump, WritesTheSameToStreamAndFile) {
   Capture capture;
   for (const DumpCase& c : dumpCases) {
      SCOPED_TRACE(testing::Message() << c.numocts << " octets in groups of " << c.groupSize);
      rtxHexDumpToStreamEx(&capture.ctxt, letters, c.numocts, c.groupSize);
      EXPECT_EQ(c.text, capture.take());
      rtxHexDumpToStreamExNoAscii(&capture.ctxt, letters, c.numocts, c.groupSize);
      EXPECT_EQ(withoutAscii(c.text), capture.take());
      EXPECT_EQ(c.text, dumpToFile(rtxHexDumpToFileEx, c));
      EXPECT_EQ(withoutAscii(c.text), dumpToFile(rtxHexDumpToFileExNoAscii, c));
   }
   rtxHexDumpToStream(&capture.ctxt, nullptr, 16);
   EXPECT_EQ("", capture.take());
}

TEST(HexDump, TrimsOnlyTheLastLine) {
   Capture capture;
   const uint8_t data[] = "0123456789ABCD  \x01 ~\x7F  ";
   rtxHexDumpToStream(&capture.ctxt, data, 22);
   EXPECT_EQ("30 31 32 33 34 35 36 37 38 39 41 42 43 44 20 20  0123456789ABCD  \n" +
                   filled("01 20 7e 7f 20 20 ") + " . ~.\n",
             capture.take());
   const uint8_t blank = ' ';
   rtxHexDumpToStream(&capture.ctxt, &blank, 1);
   EXPECT_EQ(filled("20 ") + " \n", capture.take());
}

TEST(HexDump, WritesToStandardOutputAndALineByOneCall) {
   testing::internal::CaptureStdout();
   rtxHexDump(letters, 16);
   rtxHexDumpEx(letters, 2, 2);
   EXPECT_EQ(fullLine + filled("4142 ") + " AB\n", testing::internal::GetCapturedStdout());

   Capture capture;
   std::vector<std::string> calls;
   rtxSetPrintStream(&capture.ctxt, quorva_test::noteCallCB, &calls);
   capture.ctxt.indent = 9; // which the dump does not have
   rtxHexDumpToStream(&capture.ctxt, letters, 17);
   EXPECT_EQ(calls, (std::vector<std::string>{fullLine, filled("51 ") + " Q\n"}));
}

TEST(HexDump, DumpsFiles) {
   const std::string in = testing::TempDir() + "quorva_hex_in";
   const std::string out = testing::TempDir() + "quorva_hex_out";
   const auto expectOut = [&](const std::string& text, int status) {
      ASSERT_EQ(0, status);
      std::ifstream file(out);
      EXPECT_EQ(text, std::string(std::istreambuf_iterator<char>(file), {}));
   };
   expectOut(fullLine, rtxHexDumpToNamedFile(out.c_str(), letters, 16));
   expectOut(withoutAscii(fullLine), rtxHexDumpToNamedFileNoAscii(out.c_str(), letters, 16));
   std::ofstream(in).write(reinterpret_cast<const char*>(letters), 17);
   expectOut(dumpCases[2].text, rtxHexDumpFileContentsToFile(in.c_str(), out.c_str()));
   testing::internal::CaptureStdout();
   EXPECT_EQ(0, rtxHexDumpFileContents(in.c_str()));
   EXPECT_EQ(dumpCases[2].text, testing::internal::GetCapturedStdout());
   std::ofstream(in, std::ios::trunc).close();
   expectOut("", rtxHexDumpFileContentsToFile(in.c_str(), out.c_str()));

   EXPECT_EQ(RTX_E_FILE_WRITE, rtxHexDumpToNamedFile("/nonexistent/x", letters, 1));
   EXPECT_EQ(RTX_E_FILE_WRITE, rtxHexDumpToNamedFileNoAscii("/nonexistent/x", letters, 1));
   EXPECT_EQ(RTX_E_FILE_READ, rtxHexDumpFileContents("/nonexistent/x"));
   EXPECT_EQ(RTX_E_FILE_READ, rtxHexDumpFileContentsToFile("/nonexistent/x", out.c_str()));
   EXPECT_EQ(RTX_E_FILE_WRITE, rtxHexDumpFileContentsToFile(in.c_str(), "/nonexistent/x"));
   remove(in.c_str());
   remove(out.c_str());
}

TEST(HexDump, AppendsToAText) {
   char buffer[256] = "x: ";
   EXPECT_EQ(3 + 66, rtxHexDumpToString(letters, 16, buffer, 3, sizeof(buffer)));
   EXPECT_EQ("x: " + fullLine, buffer);
   EXPECT_EQ(3 + 66 + 51, rtxHexDumpToStringEx(letters, 1, buffer, 69, sizeof(buffer), 1));
   EXPECT_EQ("x: " + fullLine + filled("41 ") + " A\n", buffer);
   buffer[0] = '\0';
   EXPECT_EQ(2 * 66, rtxHexDumpToStringEx(letters, 16, buffer, 0, sizeof(buffer), 8));
   EXPECT_EQ(filled("41424344 45464748 ") + " ABCDEFGH        \n" + filled("494a4b4c 4d4e4f50 ") +
                   " IJKLMNOP        \n",
             buffer);
}

TEST(HexDump, StopsAtTheLineThatHasNoRoomInAText) {
   // With room for the characters but not for the NUL the line end is dropped: 65 of 66.
   const struct {
      size_t numocts, groupSize, offset, bufsize;
      int result;
      size_t length;
   } cases[] = {{16, 1, 0, 65, -1, 0},   {16, 1, 0, 66, 65, 65},    {16, 1, 0, 67, 66, 66},
                {17, 1, 0, 116, -1, 66}, {17, 1, 0, 118, 117, 117}, {16, 1, 70, 70, -1, 0},
                {0, 1, 0, 100, 0, 0},    {4, 3, 0, 100, 0, 0},      {3, 2, 0, 100, 0, 0},
                {4, 0, 0, 100, 0, 0}};
   for (const auto& c : cases) {
      SCOPED_TRACE(testing::Message() << c.numocts << " octets, room for " << c.bufsize);
      std::vector<char> buffer(c.bufsize, '\0');
      EXPECT_EQ(c.result,
                rtxHexDumpToStringEx(letters, c.numocts, buffer.data(), c.offset, c.bufsize, c.groupSize));
      EXPECT_EQ(c.length, strlen(buffer.data()));
   }
}

TEST(HexText, WritesAnOctet) {
   char out[8] = "?";
   EXPECT_EQ(-1, rtxByteToHexChar(0xA5, out, 2));
   EXPECT_EQ(0, rtxByteToHexChar(0xA5, out, 3));
   EXPECT_STREQ("a5", out);
   for (const auto& [prefix, text] : {std::pair("0x", "0x0f"), std::pair("", "0f")}) {
      EXPECT_EQ(-1, rtxByteToHexCharWithPrefix(0x0F, out, strlen(text), prefix));
      EXPECT_EQ(0, rtxByteToHexCharWithPrefix(0x0F, out, strlen(text) + 1, prefix));
      EXPECT_STREQ(text, out);
   }
   EXPECT_EQ(-1, rtxByteToHexCharWithPrefix(0x0F, out, 2, nullptr));
}

TEST(HexText, ReadsOctets) {
   using namespace std::string_literals;
   const struct {
      const char* text;
      size_t length;
      int status;
      std::string octets;
   } cases[] = {{nullptr, 0, 0, ""},
                {"", 0, 0, ""},
                {" ,\t\n\v\f\r", 0, 0, ""},
                {"0x1F, 2", 0, 2, "\x1F\x02"},
                {"A B", 0, 2, "\x0A\x0B"},
                {"ABC", 0, 2, "\x0A\xBC"},
                {" ABC", 0, 2, "\x0A\xBC"},
                {"ABC ", 0, 2, "\xAB\x0C"},
                {"ABC,D", 0, 3, "\xAB\x0C\r"},
                {"D,ABC", 0, 3, "\r\xAB\x0C"},
                {"0XaBc", 0, 2, "\x0A\xBC"},
                {"0x", 0, 0, ""},
                {"0", 0, 1, "\0"s},
                {"12345", 3, 2, "\x01#"},
                {"GG", 0, RTX_E_BAD_HEX, ""},
                {"12 3G", 0, RTX_E_BAD_HEX, ""},
                {"1x2", 0, RTX_E_BAD_HEX, ""},
                {"0x0x1", 0, RTX_E_BAD_HEX, ""},
                {"x1", 0, RTX_E_BAD_HEX, ""},
                {"12\0", 3, RTX_E_BAD_HEX, ""}};
   for (const auto& c : cases) {
      SCOPED_TRACE(c.text ? c.text : "null");
      EXPECT_EQ(c.status, rtxHexCharsToBinCount(c.text, c.length));
      uint8_t out[8] = {0xEE};
      EXPECT_EQ(c.status, rtxHexCharsToBin(c.text, c.length, out, sizeof(out)));
      EXPECT_EQ(c.octets, std::string(out, out + c.octets.size()));
      // A bad character is found before anything is written.
      EXPECT_TRUE(c.status >= 0 || out[0] == 0xEE);
      if (c.status > 0) {
         memset(out, 0xEE, sizeof(out));
         EXPECT_EQ(RTX_E_TOO_SMALL, rtxHexCharsToBin(c.text, c.length, out, c.octets.size() - 1));
         EXPECT_EQ(0xEE, out[c.octets.size() - 1]);
      }
   }
}

TEST(HexText, ListsDifferences) {
   Capture capture;
   uint8_t a[102] = {};
   uint8_t b[102] = {};
   EXPECT_EQ(nullptr, rtxHexDiffToDynString(&capture.ctxt, a, b, sizeof(a)));
   b[0] = 1;
   a[9] = 0xFF;
   char* text = rtxHexDiffToDynString(&capture.ctxt, a, b, sizeof(a));
   EXPECT_STREQ("[0]00 != 01, [9]ff != 00", text);
   rtxMemHeapFreePtr(&capture.ctxt, text);

   memset(a, 1, sizeof(a));
   memset(b, 2, sizeof(b));
   const std::string all = rtxHexDiffToDynString(&capture.ctxt, a, b, sizeof(a));
   const std::string tail = "[100]01 != 02, ...";
   ASSERT_GT(all.size(), tail.size());
   EXPECT_EQ(tail, all.substr(all.size() - tail.size()));
}

} // namespace
