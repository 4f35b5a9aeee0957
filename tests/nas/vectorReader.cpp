// The reader of vector files refuses what breaks their format, so that no vector is passed over in silence.
#include "tests/support/vectors.h"

#include <cstdio>
#include <gtest/gtest.h>

using namespace quorva::test;

namespace {

class VectorFile : public testing::Test {
protected:
   void TearDown() override { std::remove(path.c_str()); }

   std::vector<Vector> load(const std::string& text) {
      std::ofstream(path) << text;
      return loadVectors(path);
   }

   std::string path = testing::TempDir() + "quorva-vectors.txt";
};

TEST_F(VectorFile, GivesAllParts) {
   const auto vectors =
         load("# a-1 | ul | what: it is | from/there, line 1\n00fF\ncause: 0x2A\nempty:\ncause: 7, 8\n"
              "\n# a-2 | either | w | s\n17\n");
   ASSERT_EQ(vectors.size(), 2u);
   const Vector& first = vectors[0];
   EXPECT_EQ(first.name, "a-1");
   EXPECT_EQ(first.direction, "ul");
   EXPECT_EQ(first.what, "what: it is");
   EXPECT_EQ(first.source, "from/there, line 1");
   EXPECT_EQ(first.octets, (Octets{0x00, 0xFF}));
   EXPECT_EQ(first.number("cause"), 42u);
   EXPECT_EQ(first.all("cause"), (std::vector<std::string>{"0x2A", "7, 8"}));
   EXPECT_EQ(first.fact("empty"), "");
   EXPECT_THROW(first.fact("other"), std::out_of_range);
   EXPECT_THROW(first.number("empty"), std::runtime_error);
   EXPECT_TRUE(vectors[1].facts.empty());
}

TEST_F(VectorFile, RefusesWhatBreaksTheFormat) {
   const std::string good = "# a | ul | w | s\n00\n";
   const std::pair<std::string, const char*> cases[] = {
         {"", ":0: no vectors"},
         {"a | ul | w | s\n00\n", ":1: no head line"},
         {"# a | ul | w\n00\n", ":1: fewer than four fields"},
         {"# a | ul | w | s | t\n00\n", ":1: more than four fields"},
         {"# a | up | w | s\n00\n", ":1: direction"},
         {"# a | ul | w | s\n", ":1: file ends"},
         {"# a | ul | w | s\n0\n", ":2: odd number"},
         {"# a | ul | w | s\n0x\n", ":2: not a hex digit"},
         {"# a | ul | w | s\n\n", ":2: no octets"},
         {good + "fact\n", ":3: no `key: value`"},
         {good + "\n\n# b | ul | w | s\n00\n", ":4: blank line"},
         {good + "\n" + good, ":5: second vector of the name a"},
   };
   for (const auto& [text, reason] : cases) {
      try {
         load(text);
         ADD_FAILURE() << "accepted: " << text;
      } catch (const std::runtime_error& error) {
         EXPECT_NE(std::string(error.what()).find(path + reason), std::string::npos) << error.what();
      }
   }
   std::remove(path.c_str());
   EXPECT_THROW(loadVectors(path), std::runtime_error);
}

} // namespace
