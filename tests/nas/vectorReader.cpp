// The reader of vector files refuses what breaks their format, so that no vector is passed over in silence.
#include "tests/support/vectors.h"

#include <cstdio>
#include <gtest/gtest.h>

using namespace quorva::test;

namespace {

TEST(VectorFile, RefusesWhatBreaksTheFormat) {
   const std::string path = testing::TempDir() + "quorva-vectors.txt", good = "# a | ul | w | s\n00\n";
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
         std::ofstream(path) << text;
         loadVectors(path);
         ADD_FAILURE() << "accepted: " << text;
      } catch (const std::runtime_error& error) {
         EXPECT_NE(std::string(error.what()).find(path + reason), std::string::npos) << error.what();
      }
   }
   std::remove(path.c_str());
   EXPECT_THROW(loadVectors(path), std::runtime_error);
}

} // namespace
