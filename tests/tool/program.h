// Runs the program under test.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

namespace quorva_test {

struct Result {
   int code;         // exit code; -1 if a signal ended the program
   std::string text; // standard output and standard error
};

// Runs quorva with arguments as the shell reads them.
inline Result run(const std::string& arguments) {
   std::FILE* pipe = popen((QUORVA_PROGRAM " " + arguments + " 2>&1").c_str(), "r");
   if (pipe == nullptr) throw std::runtime_error("popen");
   Result result{-1, {}};
   char buffer[4096];
   while (const size_t count = std::fread(buffer, 1, sizeof buffer, pipe)) result.text.append(buffer, count);
   const int status = pclose(pipe);
   if (WIFEXITED(status)) result.code = WEXITSTATUS(status);
   return result;
}

// A folder of its own that goes with the test.
class Folder {
public:
   Folder() {
      if (mkdtemp(path_) == nullptr) throw std::runtime_error("mkdtemp");
   }
   ~Folder() { (void)std::system(("rm -r " + std::string(path_)).c_str()); }
   Folder(const Folder&) = delete;
   Folder& operator=(const Folder&) = delete;

   std::string file(const std::string& name) const { return path_ + ("/" + name); }

   std::string write(const std::string& name, const std::string& contents) const {
      std::ofstream(file(name)) << contents;
      return file(name);
   }

   static std::string read(const std::string& path) {
      std::ifstream in(path);
      return {std::istreambuf_iterator<char>(in), {}};
   }

private:
   char path_[32] = "/tmp/quorvaTestXXXXXX";
};

} // namespace quorva_test
