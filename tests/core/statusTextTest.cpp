// Statuses in words: the table, the numbers of rtxStatus.h and docs/statuses.md tell the same.
#include "quorva/rtxStatusText.h"

#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <string>

namespace {

const std::string kRoot = QUORVA_TEST_DATA "/../";

TEST(StatusText, TableHoldsEachNumberOfTheHeaderInOrder) {
   std::map<int, std::string, std::greater<>> header;
   std::ifstream in(kRoot + "include/quorva/rtxStatus.h");
   const std::regex define(R"(#define (RTX_\w+) \(?(-?\d+)\)?.*)");
   std::smatch found;
   for (std::string line; std::getline(in, line);)
      if (std::regex_match(line, found, define)) header[std::stoi(found[2])] = found[1];
   size_t count = 0;
   const QuorvaStatus* rows = quorvaStatuses(&count);
   ASSERT_EQ(count, header.size());
   for (const auto& [number, name] : header) {
      EXPECT_EQ(rows->status, number);
      EXPECT_EQ(rows->name, name);
      EXPECT_EQ(quorvaFindStatus(number), rows);
      EXPECT_STREQ(quorvaStatusText(number), (rows++)->text);
   }
   EXPECT_STREQ(quorvaStatusName(12), "RTX_OK") << "a count";
   for (const int none : {-5, -1000}) {
      EXPECT_EQ(quorvaStatusName(none), nullptr);
      EXPECT_STREQ(quorvaStatusText(none), "A number that is no status");
   }
}

TEST(StatusText, DocumentIsTheTable) {
   std::ifstream in(kRoot + "docs/statuses.md");
   size_t count = 0;
   const QuorvaStatus* row = quorvaStatuses(&count);
   constexpr const char* kRecords[] = {"complete", "depends", "up to the failure", "-"};
   size_t lines = 0;
   for (std::string line; std::getline(in, line);) {
      if (!line.starts_with("| 0 |") && !line.starts_with("| -")) continue;
      ASSERT_LT(lines++, count);
      EXPECT_EQ(line, "| " + std::to_string(row->status) + " | `" + row->name + "` | " +
                            kRecords[row->record] + " | " + row->text + " | " + row->advice + " |");
      ++row;
   }
   EXPECT_EQ(lines, count);
}

} // namespace
