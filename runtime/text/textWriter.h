/**
 * @file textWriter.h
 * Writes text straight to where a print stream ends, if that place is known: a text buffer, a file or
 * standard output. The octets are those that calls of rtxPrintToStream would leave there.
 */
#ifndef QUORVA_RUNTIME_TEXT_TEXTWRITER_H
#define QUORVA_RUNTIME_TEXT_TEXTWRITER_H

#include <charconv>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "quorva/rtxPrintToStream.h"
#include "runtime/text/textSteps.h"

namespace quorva {

/** Indent of a context, or of the process for a null context. */
uint32_t printIndent(const RtxContext* pctxt);

class TextWriter {
public:
   /** To the print stream of a context, or of the process for a null context. */
   explicit TextWriter(const RtxContext* pctxt);
   /** To a file. */
   explicit TextWriter(FILE* file) : file_(file) { resume(); }
   ~TextWriter() { commit(); }
   TextWriter(const TextWriter&) = delete;
   TextWriter& operator=(const TextWriter&) = delete;

   /** Can text be written? Not if a callback of the caller's own waits for it. */
   bool direct() const { return file_ != nullptr || string_ != nullptr; }

   void put(std::string_view text) {
      if (text.size() > static_cast<size_t>(end_ - at_)) return putSlowly(text);
      memcpy(at_, text.data(), text.size());
      at_ += text.size();
   }

   void put(char character) {
      if (at_ == end_) return putSlowly({&character, 1});
      *at_++ = character;
   }

   /** As "%s" prints it. */
   void putText(const char* text) { put(std::string_view(text != nullptr ? text : "(null)")); }

   template <class Integer>
   void putNumber(Integer value) {
      char digits[24];
      put({digits, static_cast<size_t>(std::to_chars(digits, digits + sizeof digits, value).ptr - digits)});
   }

   void putHex(uint8_t octet) {
      char digits[2];
      hexDigits(octet, digits);
      put({digits, sizeof digits});
   }

   void putBlanks(size_t count) {
      constexpr std::string_view blanks = "                                                ";
      for (; count > blanks.size(); count -= blanks.size()) put(blanks);
      put(blanks.substr(0, count));
   }

   /** Ends a line. Standard output, when nothing is registered, is flushed. */
   void endLine() {
      put('\n');
      if (flushing_) flushLine();
   }

   /** Hands on what was written: at the end, and before anyone else prints. */
   void commit();

   /** Goes on after a commit behind what others printed. */
   void resume();

private:
   void putSlowly(std::string_view text);
   void flushLine();

   FILE* file_ = nullptr;
   RtxPrintToStringBuffer* string_ = nullptr;
   bool flushing_ = false;
   bool cut_ = false;      // text was dropped, or only its NUL is left to write
   char* start_ = nullptr; // of what a text buffer has not counted yet
   char* at_ = nullptr;
   char* end_ = nullptr;
   char memory_[2048]; // of a file's text
};

} // namespace quorva

#endif
