// The program itself: its jobs, what it prints where, and its exit codes.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

std::string contents(const fs::path& path) {
   std::ifstream in(path, std::ios::binary);
   std::ostringstream all;
   all << in.rdbuf();
   return all.str();
}

class Program : public testing::Test {
protected:
   void SetUp() override {
      folder = fs::path(testing::TempDir()) /
               (std::string("l3c_") + testing::UnitTest::GetInstance()->current_test_info()->name() + '_' +
                std::to_string(getpid()));
      fs::remove_all(folder);
      fs::create_directories(folder);
   }
   void TearDown() override { fs::remove_all(folder); }

   std::string file(const char* name, const char* text) {
      std::ofstream(folder / name, std::ios::binary) << text;
      return (folder / name).string();
   }

   int run(const std::string& words) {
      const std::string command = std::string(QUORVA_L3C) + ' ' + words + " >" + (folder / "out").string() +
                                  " 2>" + (folder / "err").string();
      const int status = std::system(command.c_str());
      return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
   }
   std::string out() const { return contents(folder / "out"); }
   std::string err() const { return contents(folder / "err"); }

   fs::path folder;
};

TEST_F(Program, RefusesWrongWords) {
   for (const char* words :
        {"", "--check", "--nonsense x.l3d", "--explain", "--units A x.l3d", "--units A=0 x.l3d"}) {
      EXPECT_EQ(run(words), 2) << words;
      EXPECT_NE(err().find("usage"), std::string::npos);
   }
   EXPECT_EQ(run("--check " + (folder / "none.l3d").string()), 1);
   EXPECT_NE(err().find("can't read"), std::string::npos);
}

TEST_F(Program, Checks) {
   const std::string good = file("good.l3d", "module M\nelement X V { a 8 }\n");
   const std::string bad = file("bad.l3d", "module N\nelement X V { a Y }\n");
   EXPECT_EQ(run("--check " + good), 0);
   EXPECT_EQ(out() + err(), "");
   EXPECT_EQ(run("--check " + good + ' ' + bad), 1);
   EXPECT_EQ(err().find(bad + ":2:17: L3C023"), 0u) << err();
}

TEST_F(Program, Formats) {
   const std::string path = file("a.l3d", "module   M uses Elsewhere\nelement X V{ a 8 }\n");
   EXPECT_EQ(run("--format " + path), 0);
   EXPECT_EQ(contents(path), "module M uses Elsewhere\nelement X V { a 8 }\n");
   const std::string broken = file("b.l3d", "module   M\nelement X V {\n");
   EXPECT_EQ(run("--format " + broken), 1);
   EXPECT_EQ(contents(broken), "module   M\nelement X V {\n") << "a description with faults stays as it is";
}

TEST_F(Program, Explains) {
   const std::string path = file("a.l3d", "module M\nelement X V { a 4 }\nelement Y V { b 8 }\n");
   EXPECT_EQ(run("--explain Y " + path), 0);
   EXPECT_NE(out().find("octet 1"), std::string::npos);
   const std::string plain = out();
   EXPECT_EQ(run("--explain M_Y " + path), 0);
   EXPECT_EQ(out(), plain);
   EXPECT_EQ(run("--explain Z " + path), 1);
}

TEST_F(Program, WritesSourcesTheSameEachTime) {
   const std::string path = file("a.l3d", "module M file MES\nelement X LV { a 8, b? octets(tail) }\n");
   const fs::path first = folder / "one", second = folder / "two";
   ASSERT_EQ(run("--out " + first.string() + ' ' + path), 0) << err();
   ASSERT_EQ(run("--out " + second.string() + ' ' + path), 0);
   EXPECT_TRUE(fs::exists(first / "include/quorva/M.h"));
   size_t files = 0;
   for (auto& entry : fs::recursive_directory_iterator(first)) {
      if (!entry.is_regular_file()) continue;
      ++files;
      EXPECT_EQ(contents(entry.path()), contents(second / fs::relative(entry.path(), first))) << entry.path();
   }
   EXPECT_GE(files, 4u);
}

// What is exported is told about, in a line of its own.
TEST_F(Program, GivesEachFunctionWords) {
   const std::string path = file(
         "a.l3d",
         "module M file MES\nenum E 8 { one 1, two 2 }\ntype N 8\ntype O LV octets [1..8]\n"
         "type D digits(15)\ntype L* [1..4] E\nelement X LV { a 8, b? octets(tail) }\nmessage A { x X }\n"
         "pdu P but custom { protoDiscr 8, msgType 8, data messages }\n"
         "table P { 01 02 1 obj_A A }\n");
   ASSERT_EQ(run("--out " + (folder / "made").string() + ' ' + path), 0) << err();
   std::istringstream header(contents(folder / "made/include/quorva/M.h"));
   size_t functions = 0;
   std::string ahead;
   for (std::string line; std::getline(header, line); ahead = line) {
      if (line.rfind("QUORVA_API", 0) != 0) continue;
      ++functions;
      EXPECT_TRUE(ahead.rfind("/** ", 0) == 0 && ahead.find(". */") != std::string::npos) << line;
   }
   EXPECT_GT(functions, 20u);
}

} // namespace
