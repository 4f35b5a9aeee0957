// Forms with named holes.
#include "compiler/writer.h"

#include <gtest/gtest.h>

#include <stdexcept>

using l3c::Writer;

TEST(Writer, FillsHolesAndIndentsWhatTheyBring) {
   Writer w(l3c::Holes{{"coder", "d"}});
   w.open("{");
   w.fill(R"(
int ${name}_$coder($arguments) {
   $body
   $nothing
   $nothing? never();
   $sure?    deeper();

   return $call[$number];
}

)",
          {{"name", "x"},
           {"arguments", ""},
           {"body", "if (y) {\n   z();\n\n}\n#endif"},
           {"nothing", false},
           {"sure", true},
           {"call", "f(a,\n  b)"},
           {"number", 7}});
   w.fill("$nothing", {{"nothing", ""}});
   w.fill(" *  $text", {{"text", "\nof $coder\n"}});
   w.fill("a $name", {{"name", "$coder"}});
   w.close();
   EXPECT_EQ(w.text(), "{\n"
                       "   int x_d() {\n"
                       "      if (y) {\n"
                       "         z();\n"
                       "\n"
                       "      }\n"
                       "#endif\n"
                       "         deeper();\n"
                       "\n"
                       "      return f(a,\n"
                       "        b)[7];\n"
                       "   }\n"
                       "\n"
                       "    *\n"
                       "    *  of $coder\n"
                       "   a $coder\n"
                       "}\n");
   EXPECT_EQ(w.filled("$coder.length"), "d.length");
   const l3c::Lookup lengths = [](std::string_view name) { return std::to_string(name.size()); };
   EXPECT_EQ(w.lines("$coder.$length ? $at", {{"at", 7}}, lengths), "d.6 ? 7\n");
   EXPECT_EQ(w.lines("$nothing? a\n$nought? b\n$ten? c", {{"nothing", ""}, {"nought", 0}, {"ten", 10}}),
             "c\n");
   EXPECT_THROW(w.fill("$code"), std::logic_error);
}
