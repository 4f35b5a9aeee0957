// Octet figures and message tables of a few types.
#include "tests/compiler/described.h"

#include <gtest/gtest.h>

namespace l3c {
namespace {

std::string explained(const std::string& text, const char* name = "X") {
   Described all({"module M\n" + text + '\n'});
   EXPECT_FALSE(all.diagnostics.failed()) << all.diagnostics.render();
   return '\n' + explain(*all.type(name));
}

TEST(Explain, ElementWithLengthAndOptionalOctets) {
   EXPECT_EQ(explained("element A V { a0, a1-long-name, rest 6 }\n"
                       "element X LV [2..5] { first A, octet4? { spare 3, kind 5 }, number? 16, tail? "
                       "octets(tail) }"),
             R"(
    8       7       6       5       4       3       2       1
+---------------------------------------------------------------+
|                              IEI                              | octet 1
+---------------------------------------------------------------+
|                        length (2 to 5)                        | octet 2
+-------+-------+-----------------------------------------------+
|  a0   |  a1-  |                     rest                      |
|       | long- |                                               | octet 3
|       | name  |                                               |
+-------+-------+-------+---------------------------------------+
|         spare         |                 kind                  | octet 4*
+-----------------------+---------------------------------------+
|                            number                             | octets 5 to 6*
+---------------------------------------------------------------+
|                             tail                              | octets 7 to n*
+---------------------------------------------------------------+
)");
}

TEST(Explain, HalfOctet) {
   EXPECT_EQ(explained("element X V { spare, value 3 }"), R"(
    8       7       6       5       4       3       2       1
+-------------------------------+-------+-----------------------+
|              IEI              | spare |         value         | octet 1
+-------------------------------+-------+-----------------------+
)");
}

TEST(Explain, ChainRepetitionAndChoice) {
   EXPECT_EQ(explained("element S V { kind 7 }\n"
                       "element X V {\n ext ( octet1 S, octet1a? S )\n n 4, spans 8, spare 4\n"
                       " list*(n) [0..3] S\n by choice by n { 0 none, 1|2 some 8 }\n last 8\n}"),
             R"(
    8       7       6       5       4       3       2       1
+-------+-------------------------------------------------------+
|  ext  |                         kind                          | octet 1
+-------+-------------------------------------------------------+
|  ext  |                         kind                          | octet 1a*
+-------+-----------------------+-------------------------------+
|               n               |             spans             | octet 2
+-------------------------------+-------------------------------+
|         spans (cont.)         |             spare             | octet 3
+-------------------------------+-------------------------------+
|                   list: S, n times (0 to 3)                   | octets 4 to n
+---------------------------------------------------------------+
|                            by by n                            |
|                            0 none                             | octets n + 1 to m
|                       1|2 some: 8 bits                        |
+---------------------------------------------------------------+
|                             last                              | octet m + 1
+---------------------------------------------------------------+
)");
}

TEST(Explain, BitsWithoutPlaces) {
   EXPECT_EQ(explained("element X LV { one 2, more? null|0|1 5, since 9 ( young ) }"), R"(
    8       7       6       5       4       3       2       1
+---------------------------------------------------------------+
|                              IEI                              | octet 1
+---------------------------------------------------------------+
|                            length                             | octet 2
+---------------+-----------------------------------------------+
|      one      |                                               | octet 3
+---------------+-----------------------------------------------+
|                     more follows: 1, or 0                     | 1 bit
|                             more                              | 5 bits*
|                        since release 9                        |
|                             young                             | 1 bit*
+---------------------------------------------------------------+
)");
}

TEST(Explain, Message) {
   EXPECT_EQ(
         explained(
               "enum E 4 { a 1 }\nelement L LV [1..4] { a 8 }\nelement H LV-E { a octets(tail) }\ntype N 8\n"
               "message X {\n spare 4\n kind E\n long H\n A- half E\n 41 one L\n group?\n"
               " 7B big H\n B1 mark T\n 5C fixed N\n}"
               "\nmessage Y = L"),
         R"(
IEI  Element  Type  Presence  Format  Length  Group
     spare          M         V       1/2
     kind     E     M         V       1/2
     long     H     M         LV-E    2-n
A-   half     E     O         TV      1
41   one      L     O         TLV     3-6
7B   big      H     O         TLV-E   3-n     1
B1   mark           O         T       1       1
5C   fixed    N     O         TV      2       1
)");
}

TEST(Explain, TypesByHandAsTheirFiguresSay) {
   // The record has a count and the octets a length; a list's length counts octets.
   EXPECT_EQ(explained("type L* [1..15] bare LV D but custom\nelement D V but custom { n 8 }\n"
                       "figure element D V { high 4, low 4, rest 16 }",
                       "L"),
             R"(
    8       7       6       5       4       3       2       1
+---------------------------------------------------------------+
|                              IEI                              | octet 1
+---------------------------------------------------------------+
|                       length (3 to 45)                        | octet 2
+---------------------------------------------------------------+
|                       D (1 to 15 times)                       | octets 3 to n
+---------------------------------------------------------------+
)");
   EXPECT_EQ(
         explained("message X but custom { swap ( a 4, b 4 ), c L }\nelement L bare LV but custom { n 8 }\n"
                   "figure element L LV [0..3] { one? 8, two? 16 }"),
         R"(
IEI  Element  Type  Presence  Format  Length
     b              M         V       1/2
     a              M         V       1/2
     c        L     M         LV      1-4
)");
}

TEST(Explain, ValuesAndPdu) {
   EXPECT_EQ(explained("enum X 3 { no 0, yes 5 }"), R"(
    8       7       6       5       4       3       2       1
+-----------------------+---------------------------------------+
|           X           |                                       | octet 1
+-----------------------+---------------------------------------+
Value  Name
0      no
5      yes
)");
   EXPECT_EQ(explained("message A { }\npdu X { type 8, data messages }\ntable X { 9 0A 3 obj_A A, 9 0B 4 "
                       "obj_B - }"),
             R"(
    8       7       6       5       4       3       2       1
+---------------------------------------------------------------+
|                             type                              | octet 1
+---------------------------------------------------------------+
|                             data                              | octets 2 to n
+---------------------------------------------------------------+
Discriminator  Type  Selector  Member  Record  Message
9              0A    3         obj_A   A
9              0B    4         obj_B   -
)");
}

TEST(Explain, Structure) {
   const std::string head = "module M lists S_\nenum Mark LH { low 0, high 1 }\ntype Cell 5\n";
   for (const auto& [text, grammar] : {
              std::pair{"structure X {\n a 3 [5], b? 0|1 Cell, c? null|L|H { d, e null| Mark }\n f? 2, zeros "
                        "3\n}",
                        R"(
< X > ::=
   < a : 101 >
   { 0 | 1
      < b : < Cell > >
   }
   { null | L | H
      < c :
         < d : bit >
         { null |
            < e : < Mark > >
         }
      >
   }
   { null |
      < f : bit (2) >
   }
   < spare bit (3) : 000 > ;
)"},
              {"structure X LV {\n a* 0|1 Cell, b* 1|0 { c 2 }, d* L|H 4, n 3, e*(n + 1) [..8] { f }, g*(2) "
               "[..2] "
               "Cell\n h unary L|H\n l 5 = bits - 1 ( i bits(n) inline 7, j own octets(rest) )\n}",
               R"(
< X > ::=
   < length in octets : bit (8) >
   < a :
      { 1 < Cell > } ** 0
   >
   < b :
      { 0
         < c : bit (2) >
      } ** 1
   >
   < d :
      { H bit (4) } ** L
   >
   < n : bit (3) >
   < e : < X_e_element > * (n + 1) >
   < g :
      < Cell > * (2)
   >
   < h : H ** L >
   < l : bit (5), in bits less 1 >
   < i : bit (n) >
   < j :
      octet **
   > ;
)"},
              {"structure X {\n choice { 0 a 3, 10 b choice { L c, H d { e 2 } }, 11 - }\n padding\n}", R"(
< X > ::=
   {
      0
         < a : bit (3) >
      | 10
         < b :
            {
               L
                  < c : null >
               | H
                  < d :
                     < e : bit (2) >
                  >
            }
         >
      | 11
         < nothing : null >
   }
   < spare padding > ;
)"},
        }) {
      Described all({head + text + '\n'});
      EXPECT_EQ('\n' + explain(*all.type("X")), grammar) << all.diagnostics.render();
   }
}

TEST(Explain, NamesBesidePlainNumbers) {
   for (const char* text : {"type X 8 plain { b 7, a 3 }", "type Y 8 plain { b 7, a 3 }\ntype X 8 plain Y"})
      EXPECT_TRUE(explained(text).ends_with("\nValue  Name\n7      b\n3      a\n")) << text;
   EXPECT_TRUE(explained("element X V { spare, cause 7 plain { b 7 } init 0 }")
                     .ends_with("\ncause\nValue  Name\n7      b\n"));
   for (const char* wrong :
        {"type X 8 plain Y", "type Y 8\ntype X 8 plain Y", "type X 2 plain { a 4 }",
         "element X V { a 8 plain { b 1, b 2 } }", "type Y 8\nelement X V { a 8 plain Y }"})
      EXPECT_TRUE(Described({std::string("module M\n") + wrong + '\n'}).diagnostics.failed()) << wrong;
}

} // namespace
} // namespace l3c
