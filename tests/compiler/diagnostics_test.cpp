// Each numbered message has a description that it refuses, and the place that it points at.
#include "tests/compiler/described.h"

#include <gtest/gtest.h>

namespace l3c {
namespace {

struct Refused {
   int number;
   const char* text; // behind "module M\n" unless it begins with "module" or `whole` is set
   int line, column; // of the first message with that number
   bool whole = false;
};

const Refused refused[] = {
      // Reading
      {BadCharacter, "element X V { a ~ }", 2, 17},
      {BadCharacter, "element X V { \xC3\xBC 8 }", 2, 15},
      {UnclosedText, "element X V { a 8 }\ntest X \"01", 3, 8},
      {NumberTooLarge, "enum X 8 { a 99999999999999999999 }", 2, 14},
      {Unexpected, "element X Q { a 8 }", 2, 11},
      {Unexpected, "element X V { a 8 8 }", 2, 19},
      {Unexpected, "element X V { a choice by { 1 b } }", 2, 27},
      {Unexpected, "element X V { a 8 [..] }", 2, 22},
      {NoModule, "element X V { a 8 }", 1, 1, true},
      {NoModule, "", 1, 1, true},
      {NoDeclaration, "elment X V { a 8 }", 2, 1},
      {NoDeclaration, "element X V { a 8 }\n}", 3, 1},
      {Unclosed, "element X V { a 8", 2, 13},
      {Unclosed, "element X V { n 8 frame ( a 8 }", 2, 25},
      {BadIei, "message X {\n optional\n a 8\n}", 4, 4},
      {BadIei, "message X {\n optional\n a XY-  R\n}\nelement R V { a 8 }", 4, 4},
      {BadOctets, "element X V { a 8 }\ntest X \"0\"", 3, 8},
      {BadOctets, "element X V { a 8 }\ntest X \"0g\"", 3, 8},
      {BadOctets, "element X V { a 8 }\ntest X \"0x\"", 3, 8},
      {MisplacedWord, "element X V tailstop { a 8 }", 2, 13},
      {MisplacedWord, "element X V unchecked { a 8 }", 2, 13},
      {MisplacedWord, "element X V { a tail const 3 }", 2, 22},
      {MisplacedWord, "element X V { a 8 bit }", 2, 15},
      {MisplacedWord, "element X V { a 8 when (1) }", 2, 15},
      {MisplacedWord, "element X V { a? 8 guarded }", 2, 15},
      {MisplacedWord, "element X V { a 8 leavetail }", 2, 15},
      {MisplacedWord, "element X V { a 8, b each X init 3 }", 2, 20},
      {MisplacedWord, "element X LV { a 8 beside }", 2, 16},
      {MisplacedWord, "element X V { a chain ( b 7 ) }", 2, 15},
      {MisplacedWord, "element X V { a messages }", 2, 15},
      // Names
      {UnknownModule, "module A uses B", 1, 1},
      {UnknownType, "element X V { a Y }", 2, 17},
      {UnknownType, "message X is Y", 2, 14},
      {UnknownType, "test Y \"00\"", 2, 6},
      {DuplicateType, "element X V { a 8 }\nelement X V { a 8 }", 3, 9},
      {DuplicateType, "element X-y V { a 8 }\nelement X_y V { a 8 }", 3, 9},
      {DuplicateField, "element X V { a 8, a 8 }", 2, 20},
      {DuplicateField, "element X V { a-b 8, a_b 8 }", 2, 22},
      {DuplicateField, "element X LV { length 8 }", 2, 16},
      {DuplicateField, "element X V { a 8, chain ( a 7 ) }", 2, 28},
      {DuplicateField, "element X V { choice { 1 a }, choice { 1 b } }", 2, 31},
      {DuplicateField, "element X V { c choice { 1 a, 2 a } }", 2, 31},
      {DuplicateField, "element X V { m 8, a? 8 }", 2, 15},
      {UnknownPdu, "table P { 1 2 3 obj_X - }", 2, 7},
      {UnknownName, "element X V { a octets n heap }", 2, 24},
      {UnknownName, "element X V { a 8 counts b, c 8 }", 2, 15},
      {LaterField, "element X V { a octets n heap, n 8 }", 2, 24},
      {LaterField, "element X V { swap ( n 8, a octets n heap ) }", 2, 36},
      {NoFieldWithin, "element X V { n 8, a octets n.b heap }", 2, 29},
      {NoFieldWithin, "element X V { g { n 8 }, a octets g.b heap }", 2, 35},
      // Values
      {DuplicateRow, "enum X 8 { a 1, a 2 }", 2, 17},
      {DuplicateRow, "enum X 8 { a 1, b 1 }", 2, 17},
      {NoRows, "enum X 8 { }", 2, 6},
      {ValueTooWide, "enum X 3 { a 8 }", 2, 12},
      {ValueTooWide, "element X V { a 3 const 8 }", 2, 15},
      {ValueTooWide, "element X V { a 3 init 8 }", 2, 15},
      {ValueTooWide, "number N 3\nelement X V { a N init 8 }", 3, 15},
      {ValueTooWide, "element X V { a 2, c choice by a { 4 b } }", 2, 36},
      {ValueTooWide, "element X V { c choice bit { 3 b } }", 2, 30},
      {BadWidth, "element X V { a 65 }", 2, 17},
      {BadWidth, "enum X 0 { a 0 }", 2, 8},
      {BadWidth, "enum X 33 { a 0 }", 2, 6},
      {BoundsReversed, "element X LV 5..4 { a 8 }", 2, 9},
      {BoundsReversed, "element X V { a 8 [9..3] }", 2, 15},
      {BoundsReversed, "element X V { a 8, c choice by a { 5..2 b } }", 2, 36},
      {BoundsTooWide, "element X LV 0..256 { a 8 }", 2, 9},
      {BoundsTooWide, "element X L4 0..16 { a 8 }", 2, 9},
      {BoundsTooWide, "octets X LV-E 0..65536", 2, 8},
      {BoundsTooWide, "element X V { a 4 [0..16] }", 2, 15},
      {BoundsTooWide, "element X V { a lv 0..300 }", 2, 15},
      {EmptyChoice, "element X V { c choice { } }", 2, 15},
      {DuplicateArm, "element X V { c choice { 1 a, 0..3 b } }", 2, 31},
      {DuplicateArm, "element X V { c choice { else a, else b } }", 2, 34},
      // Shape
      {AfterTail, "element X LV { a tail, b 8 }", 2, 24},
      {AfterTail, "element X LV { a each 8, b 8 }", 2, 26},
      {AfterTail, "element X LV { g { a fill heap }, b? 8 }", 2, 35},
      {AfterTail, "element X LV { n 8 frame ( a tail, b 8 ) }", 2, 36},
      {NoCapacity, "element X LV { a fill }", 2, 16},
      {NoCapacity, "element X V { n 8, a octets n }", 2, 20},
      {NoCapacity, "element X LV { a lv inline }", 2, 21},
      {NoCapacity, "octets X fill", 2, 14},
      {ContainsItself, "element X V { a X }", 2, 9},
      {ContainsItself, "element X V { a Y }\nelement Y V { b each X [1..2] }", 2, 9},
      {ContainsItself, "alias X Y\nalias Y X", 2, 7},
      {OddBits, "element X LV { a 7 }", 2, 9},
      {NoEntryBits, "element N V { a null }\nelement X LV { a each N }", 3, 16},
      {ArgumentMissing, "digits D heap\nelement X V { a D }", 3, 17},
      {ArgumentUnused, "element D V { a 8 }\nelement X V { a D(2) }", 3, 17},
      {ValueOfNoLength, "element D V { a 8 }\nelement X V { a D value(2) }", 3, 17},
      {NoNextField, "element X V { a 8 aside }", 2, 15},
      {SwapNotTwo, "element X V { swap ( a 4, b 4, c 8 ) }", 2, 15},
      {NoFields, "element X V { }", 2, 9},
      {NoFields, "message X { }", 2, 9},
      {NoFields, "element X V { g { } }", 2, 15},
      {NoFields, "element X V { n 8 frame ( ) }", 2, 15},
      // Messages
      {DuplicateIei, "element R LV { a 8 }\nmessage X {\n optional\n a 11 R\n b 11 R\n}", 6, 2},
      {DuplicateIei, "enum E 4 { a 1 }\nelement R LV { a 8 }\nmessage X {\n optional\n a 8- E\n b 08 R\n}", 7,
       2},
      {HalfOctetRange, "enum E 4 { a 1 }\nmessage X {\n optional\n a 7- E\n}", 5, 2},
      {HalfOctetWidth, "enum E 8 { a 1 }\nmessage X {\n optional\n a 9- E\n}", 5, 2},
      {HiddenIei, "enum E 4 { a 1 }\nmessage X {\n optional\n a 9- E\n b 91 T\n}", 6, 2},
      {DuplicateSelector, "pdu P { data messages }\ntable P {\n 1 2 3 obj_A -\n 1 3 3 obj_B -\n}", 5, 2},
      {NoUnion, "pdu P { a 8 }\ntable P {\n 1 2 3 obj_A -\n}", 4, 2},
      {NotInTable, "pdu P { data messages }", 2, 9},
};

std::string whole(const Refused& one) {
   const std::string text = one.text;
   return one.whole || text.starts_with("module") ? text : "module M\n" + text + "\n";
}

TEST(Diagnostics, EachRefusesItsDescription) {
   for (const Refused& one : refused) {
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
   std::string groups = "module M\nelement X V ", brackets = "module M\nelement X V { a octets ",
               sum = "module M\nelement X V { a octets 1";
   for (int i = 0; i < 100000; ++i) {
      groups += "{ g ";
      brackets += '(';
      sum += " + 1";
   }
   for (const std::string& text : {groups, brackets, sum + " heap }"})
      EXPECT_TRUE(Described({text}).numbers().count(TooDeep));
}

TEST(Diagnostics, EveryNumberIsHere) {
   std::set<int> shown = {UsesCycle, DuplicateModule, ModuleNotUsed, TooDeep}; // by the tests above
   for (const Refused& one : refused) shown.insert(one.number);
   for (auto [first, last] : {std::pair{BadCharacter, MisplacedWord}, std::pair{UnknownModule, NoFieldWithin},
                              std::pair{DuplicateRow, DuplicateArm}, std::pair{AfterTail, NoFields},
                              std::pair{DuplicateIei, NotInTable}})
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
              "element R LV { a 8 }\nmessage X twins {\n optional\n a 11 R\n b 11 R\n}",
              "element X LV padded { a 7 }",
              "element X LV { a? tail when (rest > 3), b 8 }",
              "element X LV { a each 8, b? 8 }",
              "element X LV { n 8 frame ( a tail ), b 8 }",
              "element X V { a each X }",
              "element X LV custom { a fill heap, b 8 }",
              "element X bare LV { length 8 }",
              "element X V { choice 8, group 3, optional, tail 2, bit, value 3, octets 7, each 8, chain 8, "
              "swap 8 }",
              "message X {\n optional 8\n group? 8\n}",
              "element X LV 1..255 { a 4 }",
              "pdu P { data messages }\ntable P {\n 1 2 3 obj_A -\n 2 2 3 obj_A -\n}",
        }) {
      Described all({std::string("module M\n") + text + '\n'});
      EXPECT_FALSE(all.diagnostics.failed()) << text << '\n' << all.diagnostics.render();
   }
}

} // namespace
} // namespace l3c
