// Each numbered message has a description that it refuses, and the place that it points at.
#include "tests/compiler/described.h"

#include <gtest/gtest.h>
#include <regex>

namespace l3c {
namespace {

struct Refused {
   int number;
   std::string text; // behind "module M\n" unless it begins with "module" or `whole` is set
   int line, column; // of the first message with that number
   bool whole;
};

std::vector<Refused> refused() {
   static const std::regex row(R"(L3C(\d+) (\d+):(\d+) +(whole )?\|(?: (.*))?)");
   std::vector<Refused> all;
   std::ifstream file(QUORVA_TEST_DATA "/vectors/refused-descriptions.txt");
   std::smatch part;
   for (std::string line; std::getline(file, line);) {
      if (line.empty() || line[0] == '#') continue;
      if (!std::regex_match(line, part, row)) throw std::runtime_error(line);
      const std::string text = std::regex_replace(part[5].str(), std::regex(R"(\\n)"), "\n");
      all.push_back({std::stoi(part[1]), text, std::stoi(part[2]), std::stoi(part[3]), part[4].matched});
   }
   return all;
}

std::string whole(const Refused& one) {
   return one.whole || one.text.starts_with("module") ? one.text : "module M\n" + one.text + "\n";
}

TEST(Diagnostics, EachRefusesItsDescription) {
   for (const Refused& one : refused()) {
      Described all({whole(one)});
      const Diagnostic* hit = nullptr;
      for (const Diagnostic& candidate : all.diagnostics.all())
         if (candidate.number == one.number && !hit) hit = &candidate;
      ASSERT_TRUE(hit) << one.number << ": " << one.text << '\n' << all.diagnostics.render();
      EXPECT_EQ(hit->pos.line, one.line) << all.diagnostics.render();
      EXPECT_EQ(hit->pos.column, one.column) << all.diagnostics.render();
      EXPECT_EQ(hit->text.back(), '.') << hit->text;
   }
}

// Those that take several files or more text than a row holds.
TEST(Diagnostics, AcrossFiles) {
   EXPECT_TRUE(Described({"module A uses B\n", "module B uses A\n"}).numbers().count(UsesCycle));
   EXPECT_TRUE(Described({"module A\n", "module A\n"}).numbers().count(DuplicateModule));
   Described hidden({"module A\nelement X V { a B_Y }\n", "module B\nelement Y V { a 8 }\n"});
   EXPECT_TRUE(hidden.numbers().count(ModuleNotUsed));
}

TEST(Diagnostics, Depth) {
   std::string groups = "module M\nelement X V ", brackets = "module M\nelement X V { a octets(",
               sum = "module M\nelement X V { a octets(1";
   for (int i = 0; i < 100000; ++i) {
      groups += "{ g ";
      brackets += '(';
      sum += " + 1";
   }
   for (const std::string& text : {groups, brackets, sum + ") heap }"})
      EXPECT_TRUE(Described({text}).numbers().count(TooDeep));
}

TEST(Diagnostics, EveryNumberIsHere) {
   std::set<int> shown = {UsesCycle, DuplicateModule, ModuleNotUsed, TooDeep}; // by the tests above
   for (const Refused& one : refused()) shown.insert(one.number);
   for (auto [first, last] : {std::pair{BadCharacter, MisplacedWord}, std::pair{UnknownModule, NoNumber},
                              std::pair{DuplicateRow, LengthUnfit}, std::pair{AfterTail, NotCoded},
                              std::pair{DuplicateIei, DuplicateMessage}, std::pair{BadVector, BadVector}})
      for (int number = first; number <= last; ++number) EXPECT_TRUE(shown.count(number)) << number;
}

TEST(Diagnostics, ShowLineAndCaret) {
   Described all({"module M\nelement X V {\n\ta 8, b Y\n}\n"});
   EXPECT_EQ(all.diagnostics.render(),
             "m0.l3d:3:9: L3C023: There is no type `Y`.\n   \ta 8, b Y\n   \t       ^\n");
}

TEST(Diagnostics, SeveralAtOnceInOrder) {
   Described all({"module M\nelement A V { x ]\n y 8\n}\nenum E { a 1 }\nelement B V { z Q, }\n"});
   std::vector<int> lines;
   std::istringstream out(all.diagnostics.render());
   for (std::string line; std::getline(out, line);)
      if (line.starts_with("m0")) lines.push_back(std::stoi(line.substr(7)));
   EXPECT_EQ(lines, (std::vector<int>{2, 5, 5, 6}));
   EXPECT_TRUE(all.field("A", "y")) << "the field behind the error is read";
}

// What looks like a fault and is none.
TEST(Diagnostics, Accepted) {
   for (const char* text : {
              "element R LV { a 8 }\nmessage X but twins {\n 11 a R\n 11 b R\n}",
              "element X LV { a 7 standard 8 }",
              "element X LV { a? if (rest > 3) octets(tail), b 8 }",
              "element X LV { a* 8, b? 8 }",
              "element X LV { n 8 = octets ( a octets(tail) ), b 8 }",
              "element X LV { a* X }",
              "element X LV but custom { a octets(rest) heap, b 8 }",
              "element X bare LV { length 8 }",
              "element X V { choice 8, group 3, but 8, null 2, bit, value 3, octets 7, ext 8, swap 8, if? 8 "
              "}",
              "element L V { a 8 }\nmessage X {\n optional 8\n AB8 8\n 1A group L\n}",
              "element X LV [1..255] { a 4 }",
              "message X {\n}",
              "element X LV { a 4, b 4, c LV octets, d? null|0|1 7, e? 8 = octets ( f 8 ) }",
              "element X V { n 8 [4..], a octets(n - 4) heap, b*(n * (n > 7)) [..3] 8 }",
              "element X LV { a? 8, b? null|0|1 8, c null| 8, d* 8, e? octets(tail) }",
              "pdu P { data messages }\ntable P {\n 1 2 3 obj_A -\n 2 2 3 obj_A -\n}",
              "element X V { a 7, padding }",
              "module M lists S_\nstructure X { choice { 0 a 3, 10 b, 110 - }, c { d bits(rest), padding } }",
              "module M lists S_\nstructure X { n 3, g* 0|1 { b bits(n) inline 7, c*(n) [..7] 4 } }",
        }) {
      const bool whole = std::string_view(text).starts_with("module");
      Described all({(whole ? "" : "module M\n") + std::string(text) + '\n'});
      EXPECT_FALSE(all.diagnostics.failed()) << text << '\n' << all.diagnostics.render();
   }
}

} // namespace
} // namespace l3c
