// The canonical layout, and the robustness of all passes against cut and damaged descriptions.
#include "compiler/lexer.h"
#include "tests/compiler/described.h"

#include <gtest/gtest.h>

#include <random>

namespace l3c {
namespace {

std::string formatted(const std::string& text) {
   Described one({text}, false);
   return format(one.model, 0);
}

// All that a layout must keep: tokens with their kinds, line ends between them apart.
std::vector<std::pair<int, std::string>> kept(const std::string& text) {
   Model model;
   Diagnostics diagnostics(model);
   std::vector<std::pair<int, std::string>> result;
   for (const Token& token : lex(text, 0, diagnostics))
      if (token.kind != Tok::LineEnd) result.emplace_back(static_cast<int>(token.kind), token.text);
   return result;
}

TEST(Format, KeepsTokensAndIsIdempotent) {
   std::vector<std::string> texts = ownDescriptions();
   texts.push_back(everything());
   for (const std::string& text : texts) {
      const std::string once = formatted(text);
      EXPECT_EQ(kept(once), kept(text));
      EXPECT_EQ(formatted(once), once);
   }
}

TEST(Format, OwnDescriptionsAreCanonical) {
   for (const std::string& text : ownDescriptions())
      EXPECT_TRUE(formatted(text) == text) << "run l3c --format on " << text.substr(0, 80);
}

TEST(Format, Columns) {
   const char* rough =
         "\n\n# head\nmodule   M\n\n\n"
         "enum E 8 {\na 1\n  longer 20 -- doc\n}\nenum F 2 { a 1,b 2\nc 3}\n"
         "element   X LV  [1 ..] {\n"
         "a 8\n#   kept   as it is\nlonger?  octets( tail)[ 1..2 ] inline -- why  \n"
         "n 8 [1 ..3]=octets(each8 * ( n ) 8)\n lead ?null|0|1 4\n spare null|4,other\n"
         "c choice by( n*2 ){\n1|2 x{a 8,b}\n  else y  octets (2)\n}\nd choice{0 -,1 e}\n}\n"
         "message Y{\nfirst X\nother 4,more 4\nswap(u 4,v 4)\n78 longest X\nA- b E\ngroup ?\n79 t T\n}\n"
         "table P {\n1 0A 5 obj_A A\n1 0B 12 obj_LongB -\n}\ntest X \"01 02\"\n\n";
   EXPECT_EQ(formatted(rough), R"(# head
module M

enum E 8 {
    a        1
    longer  20  -- doc
}
enum F 2 { a 1, b 2
    c 3 }
element X LV [1..] {
    a        8
    #   kept   as it is
    longer?  octets(tail) [1..2] inline  -- why
    n        8 [1..3] = octets ( each8*(n) 8 )
    lead?    null|0|1 4
    spare null| 4, other
    c        choice by (n * 2) {
        1|2   x  { a 8, b }
        else  y  octets(2)
    }
    d        choice { 0 -, 1 e }
}
message Y {
        first    X
    other 4, more 4
        swap ( u 4, v 4 )
    78  longest  X
    A-  b        E
  group?
    79  t        T
}
table P {
    1  0A   5  obj_A      A
    1  0B  12  obj_LongB  -
}
test X "01 02"
)");
}

// Every pass over a text that may be anything; the sanitizers of their builds watch.
void survives(const std::vector<std::string>& texts) {
   Described all(texts);
   (void)all.diagnostics.render();
   if (!all.diagnostics.failed())
      for (auto& module : all.model.modules)
         for (auto& type : module->types) (void)explain(*type);
   for (size_t i = 0; i < all.model.files.size(); ++i) (void)format(all.model, static_cast<int>(i));
}

TEST(Robust, EveryPrefix) {
   const std::string text = everything();
   for (size_t size = 0; size < text.size(); ++size) survives({text.substr(0, size), base()});
}

TEST(Robust, EveryTokenMissingOrDoubled) {
   const std::string text = everything();
   std::vector<std::pair<size_t, size_t>> words; // offset and size
   for (size_t at = 0; (at = text.find_first_not_of(" \n", at)) != std::string::npos;) {
      const size_t end = std::min(text.find_first_of(" \n", at), text.size());
      words.emplace_back(at, end - at);
      at = end;
   }
   for (auto [at, size] : words) {
      std::string missing = text, doubled = text;
      missing.erase(at, size);
      doubled.insert(at, text.substr(at, size) + ' ');
      survives({missing, base()});
      survives({doubled, base()});
   }
}

// Work grows with the text, not with the ways through it.
TEST(Robust, TypesThatDouble) {
   std::string text = "module M\nelement A0 V { a null }\n";
   for (int i = 1; i <= 60; ++i) {
      const std::string below = "A" + std::to_string(i - 1);
      text += "element A" + std::to_string(i) + " V { a " + below + ", b " + below + " }\n";
   }
   text += "element X LV { each* A60, more* A60 }\n";
   survives({text});
}

TEST(Robust, DamagedDescriptionsOfThisSystem) {
   const std::vector<std::string> texts = ownDescriptions();
   std::mt19937 random(2024);
   auto below = [&](size_t limit) { return random() % std::max<size_t>(limit, 1); };
   for (int round = 0; round < 12; ++round) {
      std::vector<std::string> damaged = texts;
      for (std::string& text : damaged) {
         if (below(4) == 0) text.resize(below(text.size()));
         for (size_t cuts = below(12); cuts > 0; --cuts) {
            const size_t at = text.find_first_of(" \n{}()[],", below(text.size()));
            if (at != std::string::npos) text.erase(at, 1 + below(20));
         }
         for (size_t swaps = below(6); swaps > 0 && !text.empty(); --swaps)
            text[below(text.size())] = "{}()[],.|?-#\"\n 9aT"[below(18)];
      }
      survives(damaged);
   }
}

} // namespace
} // namespace l3c
