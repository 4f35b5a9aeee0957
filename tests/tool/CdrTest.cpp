// quorva cdr: charging files of TS 32.297.

#include "tool/captures.h"
#include "tool/program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace quorva_test;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

// A file of three records: TS 32.251 in BER, TS 32.274 of a release beyond 9, an empty one.
static Bytes chargingFile() {
   const Bytes records = bytes("00032227"
                               "a1a2a3") +
                         bytes("0002e06f05"
                               "b1b2") +
                         bytes("00006029");
   Bytes header = number(4, 52 + records.size()) + number(4, 52) + bytes("e240") +
                  bytes("3b2c8040"
                        "3b2c8040");
   header += number(4, 3) + number(4, 7) + bytes("01") + Bytes(20, '\x0a') +
             bytes("00"
                   "0000"
                   "0000");
   return header + records;
}

TEST(Cdr, ListsHeaderRecordsAndAVerdict) {
   const Folder folder;
   const std::string file = folder.write("x.cdr", chargingFile());
   const Result result = run("cdr " + file);
   EXPECT_EQ(result.code, 0);
   EXPECT_THAT(result.text,
               StartsWith("CDR_File_Header.fileLength = 70\nCDR_File_Header.headerLength = 52\n"));
   EXPECT_THAT(result.text, EndsWith(R"(
    offset  length  release     format  specification
        52       3  rel-4 v.2   BER     32.251
        59       2  rel-15 v.0  APER    32.274
        66       0  rel-6 v.0   BER     32.260
length of the file: 70, as the header tells
number of records: 3, as the header tells
)"));
   EXPECT_EQ(run("cdr - < " + file).text, result.text);
   EXPECT_THAT(run("cdr --octets " + file).text, HasSubstr("32.251\n   A1 A2 A3\n"));
}

TEST(Cdr, TellsWhatDoesNotAgree) {
   const Folder folder;
   const Bytes whole = chargingFile();
   const auto with = [&](size_t at, const char* octets) {
      Bytes changed = whole;
      return changed.replace(at, 4, bytes(octets));
   };
   const struct {
      Bytes file;
      const char* line;
   } cases[] = {
         {with(0, "00000050"), "length of the file: 70, but the header tells 80\n"},
         {with(18, "00000004"), "number of records: 3, but the header tells 4\n"},
         {with(4, "0000003c"), "the header's fields take 54 of its 60 octets\n"},
         {with(4, "00000007"), "no header has 7 octets\n"},
         {with(4, "7fffffff"), "octets\n"},
         {whole.substr(0, 57), "the record at 52 is cut: 1 of 3 octets are there\n"},
         {whole.substr(0, 61), "the header of the record at 59 is cut: RTX_E_END_OF_DATA (-2)\n"},
         {whole.substr(0, 20),
          "the header of the file can't be read: RTX_E_END_OF_DATA (-2), 20 octets are there\n"},
         {"", "the header of the file can't be read: RTX_E_END_OF_DATA (-2), 0 octets are there\n"},
   };
   for (const auto& each : cases) {
      const Result result = run("cdr " + folder.write("x.cdr", each.file));
      EXPECT_EQ(result.code, 1) << each.line;
      EXPECT_THAT(result.text, HasSubstr(each.line));
   }
   for (size_t length = 0; length < whole.size(); ++length)
      EXPECT_EQ(run("cdr " + folder.write("x.cdr", whole.substr(0, length))).code, 1) << length;
   for (const char* file : {"/none", "/"})
      EXPECT_THAT(run(std::string("cdr ") + file).text, HasSubstr("can't be read: "));
}
