// Catches what is printed.
#ifndef QUORVA_TESTS_SUPPORT_CAPTURE_H
#define QUORVA_TESTS_SUPPORT_CAPTURE_H

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include "quorva/rtxContext.h"
#include "quorva/rtxPrintToStream.h"

namespace quorva_test {

// A context whose print stream goes into a text.
class Capture {
public:
   explicit Capture(size_t room = 1 << 16) : memory_(room) {
      rtInitContext(&ctxt);
      text_ = {memory_.data(), memory_.size(), 0};
      rtxSetPrintStream(&ctxt, rtxPrintStreamToStringCB, &text_);
   }
   ~Capture() { rtFreeContext(&ctxt); }
   Capture(const Capture&) = delete;
   Capture& operator=(const Capture&) = delete;

   // What was printed since the last call.
   std::string take() {
      std::string text(memory_.data(), text_.used);
      text_.used = 0;
      return text;
   }

   RtxContext ctxt;

private:
   std::vector<char> memory_;
   RtxPrintToStringBuffer text_;
};

// Print callback that notes each call by itself; the user data is the vector.
inline int noteCallCB(void* pUserData, const char* fmt, va_list args) {
   char text[1024];
   vsnprintf(text, sizeof(text), fmt, args);
   static_cast<std::vector<std::string>*>(pUserData)->push_back(text);
   return -1;
}

// What a call writes to standard output, which is a pipe meanwhile.
template <typename Call>
std::string standardOutput(Call call) {
   fflush(stdout);
   int ends[2];
   EXPECT_EQ(0, pipe(ends));
   const int kept = dup(1);
   dup2(ends[1], 1);
   close(ends[1]);
   call();
   fflush(stdout);
   dup2(kept, 1);
   close(kept);
   std::string text(1 << 16, '\0');
   size_t used = 0;
   for (ssize_t got; (got = read(ends[0], &text[used], text.size() - used)) > 0;)
      used += static_cast<size_t>(got);
   close(ends[0]);
   text.resize(used);
   return text;
}

} // namespace quorva_test

#endif
