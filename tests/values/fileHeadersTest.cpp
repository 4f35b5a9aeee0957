// Headers of charging files and of captures.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "quorva/rt3GPPTS32297.h"
#include "quorva/rtxPcapFile.h"
#include "quorva/rtxStatus.h"
#include "support/capture.h"
#include "support/context.h"

namespace {

using quorva::test::hexFromOctets;
using quorva::test::Octets;
using quorva::test::octetsFromHex;
using quorva::test::TestContext;

struct HeaderVector {
   Octets octets;
   std::map<std::string, std::string> fields;
};

std::vector<HeaderVector> headerVectors(const std::string& kind) {
   std::ifstream file(QUORVA_TEST_DATA "/vectors/charging-headers.txt");
   std::vector<HeaderVector> vectors;
   for (std::string line; std::getline(file, line);) {
      std::istringstream words(line);
      std::string word, hex;
      words >> word >> hex;
      if (word != kind) continue;
      HeaderVector vector = {octetsFromHex(hex), {}};
      while (words >> word) vector.fields[word.substr(0, word.find('='))] = word.substr(word.find('=') + 1);
      vectors.push_back(vector);
   }
   EXPECT_LE(5u, vectors.size());
   return vectors;
}

std::string shown(const RtTS32297Timestamp& t) {
   EXPECT_TRUE(t.tzPositive == 0 || t.tzPositive == 8);
   std::string text;
   for (const int value : {int{t.month}, int{t.day}, int{t.hour}, int{t.minute}, t.tzPositive / 8,
                           int{t.tzHour}, int{t.tzMinute}})
      text += (text.empty() ? "" : ",") + std::to_string(value);
   return text;
}

std::string shown(const RtTS32297Octets& octets) {
   return octets.length ? hexFromOctets(octets.data, octets.length) : "-";
}

std::string shown(bool present, uint8_t value) {
   return present ? std::to_string(value) : "-";
}

std::map<std::string, std::string> fieldsOf(const RtTS32297FileHdr& hdr) {
   return {{"fileLength", std::to_string(hdr.fileLength)},
           {"headerLength", std::to_string(hdr.headerLength)},
           {"highRelease", std::to_string(hdr.highRelease)},
           {"highVersion", std::to_string(hdr.highVersion)},
           {"lowRelease", std::to_string(hdr.lowRelease)},
           {"lowVersion", std::to_string(hdr.lowVersion)},
           {"open", shown(hdr.openTimestamp)},
           {"append", shown(hdr.lastAppendTimestamp)},
           {"cdrCount", std::to_string(hdr.cdrCount)},
           {"fileSequenceNumber", std::to_string(hdr.fileSequenceNumber)},
           {"fileClosureReason", std::to_string(hdr.fileClosureReason)},
           {"ipAddress", hexFromOctets(hdr.ipAddress, sizeof(hdr.ipAddress))},
           {"lostCDRIndicator", std::to_string(hdr.lostCDRIndicator)},
           {"filter", shown(hdr.cdrRoutingFilter)},
           {"private", shown(hdr.privateExtension)},
           {"highExtension", shown(hdr.highReleaseExtPresent, hdr.highReleaseExtension)},
           {"lowExtension", shown(hdr.lowReleaseExtPresent, hdr.lowReleaseExtension)}};
}

void freeBlocks(RtTS32297FileHdr& hdr) {
   free(hdr.cdrRoutingFilter.data);
   free(hdr.privateExtension.data);
   hdr.cdrRoutingFilter = hdr.privateExtension = {};
}

// The encoder takes numbers where the decoder gives codes.
uint8_t numberOf(uint8_t code) {
   return code == 7 ? 10 : static_cast<uint8_t>(code + 3);
}

TEST(ChargingFile, FileHeaders) {
   for (const HeaderVector& vector : headerVectors("file")) {
      SCOPED_TRACE(hexFromOctets(vector.octets.data(), vector.octets.size()));
      const auto size = static_cast<int>(vector.octets.size());
      TestContext ctxt;
      RtTS32297FileHdr hdr;
      rtInitTS32297FileHdr(&hdr);
      EXPECT_EQ(size, rtDecTS32297FileHdr(ctxt.decode(vector.octets), &hdr));
      EXPECT_EQ(vector.fields, fieldsOf(hdr));
      EXPECT_EQ(vector.octets.size(), rtTS32297CalcFileHdrLen(&hdr));
      hdr.highRelease = numberOf(hdr.highRelease);
      hdr.lowRelease = numberOf(hdr.lowRelease);
      hdr.headerLength = 0;
      EXPECT_EQ(size, rtEncTS32297FileHdr(ctxt.encode(vector.octets.size()), &hdr));
      EXPECT_EQ(hexFromOctets(vector.octets.data(), vector.octets.size()), ctxt.written());
      EXPECT_EQ(RTX_E_BUFFER_FULL, rtEncTS32297FileHdr(ctxt.encode(vector.octets.size() - 1), &hdr));
      TestContext narrow;
      hdr.lowRelease = 2; // no number, but nobody comes to it
      EXPECT_EQ(RTX_E_BUFFER_FULL, rtEncTS32297FileHdr(narrow.encode(8), &hdr));
      freeBlocks(hdr);
      TestContext skipping;
      EXPECT_EQ(0, rtDecTS32297FileHdr(skipping.decode(vector.octets), nullptr));
      EXPECT_EQ(vector.octets.size(), skipping.used());
      for (size_t cut = 0; cut < vector.octets.size(); ++cut) {
         const Octets start(vector.octets.begin(), vector.octets.begin() + static_cast<ptrdiff_t>(cut));
         TestContext cutCtxt, cutSkipping;
         rtInitTS32297FileHdr(&hdr);
         EXPECT_EQ(RTX_E_END_OF_DATA, rtDecTS32297FileHdr(cutCtxt.decode(start), &hdr)) << cut;
         freeBlocks(hdr);
         EXPECT_EQ(RTX_E_END_OF_DATA, rtDecTS32297FileHdr(cutSkipping.decode(start), nullptr)) << cut;
      }
   }
}

// A header ends where its own length says, whatever that leaves out.
TEST(ChargingFile, ShortFileHeaders) {
   Octets octets = headerVectors("file")[3].octets;
   const int whole = static_cast<int>(octets.size());
   const std::vector<int> ends = {8, 9, 10, 14, 18, 22, 26, 27, 47, 48, 50, 67, 69, 369, 370, 371};
   for (int length = 0; length < whole; ++length) {
      octets[6] = static_cast<uint8_t>(length >> 8);
      octets[7] = static_cast<uint8_t>(length);
      TestContext ctxt;
      RtTS32297FileHdr hdr;
      rtInitTS32297FileHdr(&hdr);
      const int position = rtDecTS32297FileHdr(ctxt.decode(octets), &hdr);
      EXPECT_EQ(*std::lower_bound(ends.begin(), ends.end(), length), position);
      if (length == 10) {
         // The times are those of the initialiser.
         EXPECT_EQ(1, hdr.openTimestamp.hour);
         EXPECT_EQ(1, hdr.lastAppendTimestamp.tzPositive);
      }
      // A length without its octets is not shown.
      EXPECT_EQ(length <= 50, hdr.cdrRoutingFilter.length == 0);
      EXPECT_EQ(length <= 69, hdr.privateExtension.data == nullptr);
      freeBlocks(hdr);
      TestContext skipping;
      EXPECT_EQ(length < 8 ? RTX_E_LENGTH_OVERRUN : 0, rtDecTS32297FileHdr(skipping.decode(octets), nullptr));
   }
   octets[0] = octets[1] = octets[2] = 0;
   octets[3] = 16;
   TestContext ctxt;
   RtTS32297FileHdr hdr = {};
   EXPECT_EQ(RTX_E_BAD_VALUE, rtDecTS32297FileHdr(ctxt.decode(octets), &hdr));
   EXPECT_EQ(nullptr, hdr.cdrRoutingFilter.data);
}

TEST(ChargingFile, RecordHeaders) {
   for (const HeaderVector& vector : headerVectors("cdr")) {
      SCOPED_TRACE(hexFromOctets(vector.octets.data(), vector.octets.size()));
      const auto size = static_cast<int>(vector.octets.size());
      TestContext ctxt;
      RtTS32297Hdr hdr;
      rtInitTS32297Hdr(&hdr);
      hdr.releaseExtPresent = 1;
      EXPECT_EQ(1u, hdr.dataRecordFormat);
      EXPECT_EQ(size, rtDecTS32297Hdr(ctxt.decode(vector.octets), &hdr));
      // The octet stays whole, deliberately.
      EXPECT_EQ(vector.octets[3], hdr.tsNumber);
      const std::map<std::string, std::string> fields = {
            {"cdrLength", std::to_string(hdr.cdrLength)},
            {"release", std::to_string(hdr.release)},
            {"version", std::to_string(hdr.version)},
            {"dataRecordFormat", std::to_string(hdr.dataRecordFormat)},
            {"tsNumber", std::to_string(hdr.tsNumber & 31)},
            {"extension", shown(hdr.releaseExtPresent, hdr.releaseExtension)}};
      EXPECT_EQ(vector.fields, fields);
      hdr.release = numberOf(hdr.release);
      EXPECT_EQ(size, rtEncTS32297Hdr(ctxt.encode(), &hdr));
      EXPECT_EQ(hexFromOctets(vector.octets.data(), vector.octets.size()), ctxt.written());
      for (size_t cut = 0; cut <= vector.octets.size(); ++cut) {
         const Octets start(vector.octets.begin(), vector.octets.begin() + static_cast<ptrdiff_t>(cut));
         TestContext cutCtxt, cutSkipping;
         const bool whole = cut == vector.octets.size();
         hdr.releaseExtPresent = 0;
         EXPECT_EQ(whole ? size : RTX_E_END_OF_DATA, rtDecTS32297Hdr(cutCtxt.decode(start), &hdr));
         EXPECT_EQ(cut >= 4 && size == 5, hdr.releaseExtPresent != 0) << cut;
         EXPECT_EQ(whole ? 0 : RTX_E_END_OF_DATA, rtDecTS32297Hdr(cutSkipping.decode(start), nullptr));
      }
   }
   const struct {
      uint8_t release, version;
      const char* octets; // null: -14
   } rows[] = {{2, 0, nullptr},     {0, 1, nullptr},      {3, 5, "00000520"},  {9, 40, "0000df20"},
               {12, 3, "0000e320"}, {10, 40, "0000ff20"}, {99, 30, "0000fe20"}};
   for (const auto& row : rows) {
      TestContext ctxt;
      const RtTS32297Hdr hdr = {0, row.release, row.version, 1, 0, 0, 0};
      EXPECT_EQ(row.octets ? 4 : RTX_E_BAD_VALUE, rtEncTS32297Hdr(ctxt.encode(), &hdr));
      if (row.octets) {
         EXPECT_EQ(row.octets, ctxt.written());
      }
   }
}

TEST(ChargingFile, Texts) {
   char text[24];
   const struct {
      RtTS32297RelVersId id;
      uint8_t extension;
      const char* text; // null: -14
   } releases[] = {{{0, 1}, 0, "rel-99 v.1"}, {{1, 2}, 0, "rel-4 v.2"},     {{6, 31}, 9, "rel-9 v.31"},
                   {{7, 0}, 5, "rel-15 v.0"}, {{7, 0}, 255, "rel-265 v.0"}, {{8, 0}, 0, nullptr}};
   for (const auto& row : releases) {
      EXPECT_EQ(row.text ? 0 : RTX_E_BAD_VALUE,
                rtTS32297RelVersIdToText(&row.id, row.extension, text, sizeof(text)));
      if (row.text) {
         EXPECT_STREQ(row.text, text);
      }
   }
   EXPECT_EQ(0, rtTS32297RelVersIdToText(&releases[0].id, 0, text, 5));
   EXPECT_STREQ("rel-", text);

   const struct {
      const char* text;
      int release, version; // -1: -14
   } parsed[] = {{"rel-15 v.2", 15, 2},
                 {"rel-4v.0", 4, 0},
                 {"rel-4 \t v.9", 4, 9},
                 {"rel- v.", 0, 0},
                 {"Beyond 15", 10, 31},
                 {"rel-4", -1, 0},
                 {"rel-4 w.1", -1, 0},
                 {"Rel-4 v.1", -1, 0},
                 {"rel-4 v.1x", -1, 0},
                 {"rel-256 v.1", -1, 0},
                 {"", -1, 0}};
   for (const auto& row : parsed) {
      RtTS32297RelVersId id = {77, 77};
      EXPECT_EQ(row.release < 0 ? RTX_E_BAD_VALUE : 0, rtParseTS32297RelVersText(row.text, &id)) << row.text;
      if (row.release >= 0) {
         EXPECT_TRUE(id.release == row.release && id.version == row.version) << row.text;
      }
   }

   for (const char* time : {"03/15 12:30+01:00", "12/31 24:00+12:00", "01/01 00:59-00:59"}) {
      RtTS32297Timestamp timestamp;
      EXPECT_EQ(0, rtParseTS32297TimestampText((std::string(time) + "anything").c_str(), &timestamp));
      EXPECT_EQ(time[11] == '+', timestamp.tzPositive == 1);
      EXPECT_EQ(0, rtTS32297TimestampToText(&timestamp, text, sizeof(text)));
      EXPECT_STREQ(time, text);
      for (size_t cut = 0; cut < 17; ++cut)
         EXPECT_EQ(RTX_E_BAD_VALUE, rtParseTS32297TimestampText(std::string(time, cut).c_str(), &timestamp));
   }
   for (const char* time :
        {"13/01 00:00+00:00", "00/01 00:00+00:00", "01/00 00:00+00:00", "01/32 00:00+00:00",
         "01/01 25:00+00:00", "01/01 00:60+00:00", "01/01 00:00+13:00", "01/01 00:00+00:60",
         "01-01 00:00+00:00", "01/01T00:00+00:00", "01/01 00.00+00:00", "01/01 00:00 00:00",
         "1/01 00:00+00:00 "}) {
      RtTS32297Timestamp timestamp;
      EXPECT_EQ(RTX_E_BAD_VALUE, rtParseTS32297TimestampText(time, &timestamp)) << time;
   }

   const char* const numbers[] = {"32.005", "32.015", "32.205", "32.215", "32.225", "32.235",
                                  "32.250", "32.251", "32.252", "32.260", "32.270", "32.271",
                                  "32.272", "32.273", "32.275", "32.274"};
   for (uint8_t i = 0; i < 32; ++i) {
      uint8_t number = 77;
      // The format's bits don't matter.
      EXPECT_EQ(i < 16 ? 0 : RTX_E_BAD_VALUE,
                rtTS32297TSNumberToText(static_cast<uint8_t>(i | 0x60), text, sizeof(text)));
      EXPECT_STREQ(i < 16 ? numbers[i] : "Unknown", text);
      EXPECT_EQ(i < 16 ? 0 : RTX_E_BAD_VALUE, rtParseTS32297TSNumberText(text, &number));
      EXPECT_EQ(i < 16 ? i : 77, number);
   }
   uint8_t number;
   EXPECT_EQ(RTX_E_BAD_VALUE, rtParseTS32297TSNumberText("32.006", &number));
   EXPECT_EQ(RTX_E_BAD_FORMAT, rtParseTS32297TSNumberText("32.", &number));
   EXPECT_EQ(RTX_E_OVERFLOW, rtParseTS32297TSNumberText("32.99999999999", &number));
}

TEST(ChargingFile, Prints) {
   quorva_test::Capture capture;
   RtTS32297FileHdr hdr;
   uint8_t octets[] = {0xAB, 0xCD};
   rtInitTS32297FileHdr(&hdr);
   hdr.fileLength = 700;
   hdr.highRelease = hdr.highReleaseExtPresent = 7;
   hdr.highReleaseExtension = 6;
   hdr.lowRelease = 15; // a number has no text
   hdr.privateExtension = {2, octets};
   EXPECT_EQ(0, rtPrtToStrmTS32297FileHdr(&capture.ctxt, &hdr));
   std::string expected;
   for (const char* line :
        {"fileLength = 700", "headerLength = 0", "highReleaseVersionID = 'rel-16 v.0'",
         "lowReleaseVersionID = ''", "openTimestamp = '01/01 01:00+00:00'",
         "lastAppendTimestamp = '01/01 01:00+00:00'", "cdrCount = 0", "fileSequenceNumber = 0",
         "fileClosureReason = 0", "ipAddress = 0x0000000000000000000000000000000000000000",
         "lostCDRIndicator = 0", "privateExtension = 0xabcd", "highReleaseExtension = 6"})
      expected += "CDR_File_Header." + std::string(line) + "\n";
   EXPECT_EQ(expected, capture.take());
   const RtTS32297Hdr cdr = {9, 7, 2, 1, 0x2E, 1, 5};
   EXPECT_EQ(0, rtPrtToStrmTS32297Hdr(&capture.ctxt, &cdr));
   EXPECT_EQ("CDR_Header.cdrLength = 9\nCDR_Header.releaseVersionId = 'rel-15 "
             "v.2'\nCDR_Header.dataRecordFormat = 1\n"
             "CDR_Header.tsNumber = '32.275'\nCDR_Header.releaseExtension = 5\n",
             capture.take());
}

// The same packet in three captures that tcpdump's format allows; the third is read the wrong way round, as
// required.
TEST(CaptureFile, Headers) {
   const struct {
      const char* hex;
      bool swap;
      uint16_t major;
      uint32_t snaplen, network, seconds, length, type;
   } rows[] = {
         {"d4c3b2a1020004000000000000000000ffff000001000000"
          "00f15365000000003d0000003d000000"
          "0200000000010200000000020800",
          true, 2, 65535, 1, 0x6553f100, 61, 8},
         {"a1b2c3d40002000400000000000000000000ffff00000001"
          "6553f100000000000000003d0000003d"
          "0200000000010200000000020800",
          false, 2, 65535, 1, 0x6553f100, 61, 0x0800},
         {"4d3cb2a1020004000000000000000000ffff000001000000"
          "00f15365000000003d0000003d000000"
          "0200000000010200000000020800",
          false, 0x200, 0xFFFF0000, 0x01000000, 0x00f15365, 0x3d000000, 0x0800},
   };
   for (const auto& row : rows) {
      SCOPED_TRACE(row.hex);
      const Octets octets = octetsFromHex(row.hex);
      TestContext ctxt;
      RtxPcapHdr file;
      RtxPcapRecHdr record;
      RtxEtherHdr frame;
      uint8_t swap;
      ctxt.decode(octets);
      ASSERT_EQ(0, rtxDecPcapHdr(ctxt, &file, &swap));
      EXPECT_EQ(row.swap, swap != 0);
      EXPECT_TRUE(file.version_major == row.major && file.snaplen == row.snaplen &&
                  file.network == row.network);
      ASSERT_EQ(0, rtxDecPcapRecHdr(ctxt, &record, swap));
      EXPECT_TRUE(record.ts_sec == row.seconds && record.incl_len == row.length &&
                  record.orig_len == row.length);
      ASSERT_EQ(0, rtxDecEtherHdr(ctxt, &frame, swap));
      EXPECT_EQ("020000000001", hexFromOctets(frame.dst, 6));
      EXPECT_EQ("020000000002", hexFromOctets(frame.src, 6));
      EXPECT_EQ(row.type, frame.type);
      EXPECT_EQ(octets.size(), ctxt.used());
      EXPECT_EQ(RTX_E_END_OF_DATA, rtxDecPcapRecHdr(ctxt, &record, swap));
      TestContext skipping;
      skipping.decode(octets);
      EXPECT_EQ(0, rtxDecPcapHdr(skipping, nullptr, nullptr));
      EXPECT_EQ(24u, skipping.used());
      EXPECT_EQ(0, rtxDecPcapRecHdr(skipping, nullptr, 0));
      EXPECT_EQ(40u, skipping.used());
      EXPECT_EQ(0, rtxDecEtherHdr(skipping, nullptr, 0));
      EXPECT_EQ(54u, skipping.used());
      for (size_t cut = 0; cut < 24; ++cut) {
         TestContext cutCtxt;
         memset(&file, 0, sizeof(file));
         EXPECT_EQ(
               RTX_E_END_OF_DATA,
               rtxDecPcapHdr(cutCtxt.decode({octets.begin(), octets.begin() + static_cast<ptrdiff_t>(cut)}),
                             &file, nullptr));
         EXPECT_EQ(cut >= 4, file.magic[0] == octets[0]);
      }
   }
   const RtxPcapHdr file = {{0xD4, 0xC3, 0xB2, 0xA1}, 2, 4, -1, 0, 65535, 147};
   const RtxPcapRecHdr record = {1, 2, 3, 0xFFFFFFFF};
   EXPECT_EQ("magic number = [d4, c3, b2, a1]\nmajor version = 2\nminor version = 4\nthis zone = -1\nsigfigs "
             "= 0\n"
             "snaplen = 65535\nnetwork = 147\nts_sec = 1\nts_usec = 2\nincl_len = 3\norig_len = -1\n",
             quorva_test::standardOutput([&] {
                rtxPrintPcapHdr(&file);
                rtxPrintPcapRecHdr(&record);
             }));
}

} // namespace
