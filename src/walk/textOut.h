// Text to a buffer, to a callback, or to the heap: a piece of memory at a time.
#pragma once

#include "quorva/json.h"
#include "runtime/text/textSteps.h"

#include <charconv>
#include <cstring>
#include <string_view>

namespace quorva::walk {

class TextOut {
public:
   TextOut(const TextOut&) = delete;
   TextOut& operator=(const TextOut&) = delete;

   void put(std::string_view text) {
      if (text.size() > static_cast<size_t>(end_ - at_)) return putSlowly(text);
      if (text.empty()) return; // of nothing, there may be no place for it
      std::memcpy(at_, text.data(), text.size());
      at_ += text.size();
   }
   void put(char character) {
      if (at_ == end_) return putSlowly({&character, 1});
      *at_++ = character;
   }
   void putNumber(uint64_t value) {
      char digits[24];
      put({digits, static_cast<size_t>(std::to_chars(digits, digits + sizeof digits, value).ptr - digits)});
   }
   void putHex(const uint8_t* octets, size_t count) {
      if (2 * count <= static_cast<size_t>(end_ - at_)) {
         for (size_t i = 0; i < count; ++i, at_ += 2) hexDigits(octets[i], at_);
         return;
      }
      for (size_t i = 0; i < count; ++i) {
         char digits[2];
         hexDigits(octets[i], digits);
         put({digits, 2});
      }
   }

   // 0, or why the text is not all there.
   int status() const { return status_; }

protected:
   TextOut(char* start, size_t size) : start_(start), at_(start), end_(start + size) {}
   ~TextOut() = default;

   // Makes room or takes the text itself.
   virtual void putSlowly(std::string_view text) = 0;

   char *start_, *at_, *end_;
   int status_ = 0;
};

// A buffer of the caller's; what is too much for it is counted.
class BufferOut final : public TextOut {
public:
   BufferOut(char* buffer, size_t size) : TextOut(buffer, size > 0 ? size - 1 : 0), room_(size) {}
   // Octets of the whole text.
   size_t finish() {
      if (room_ > 0) *at_ = 0;
      return static_cast<size_t>(at_ - start_) + lost_;
   }

private:
   void putSlowly(std::string_view text) override;

   size_t room_, lost_ = 0;
};

class CallbackOut final : public TextOut {
public:
   CallbackOut(QuorvaPut put, void* user) : TextOut(memory_, sizeof memory_), put_(put), user_(user) {}
   int finish() {
      flush();
      return status_;
   }

private:
   void putSlowly(std::string_view text) override;
   void flush();

   QuorvaPut put_;
   void* user_;
   char memory_[4096];
};

// A text on the context's heap, used again and again.
class HeapOut final : public TextOut {
public:
   explicit HeapOut(RtxContext* ctxt) : TextOut(nullptr, 0), ctxt_(ctxt) {}
   ~HeapOut();
   // The text so far with its NUL; null if memory is exhausted.
   char* text() {
      put('\0');
      --at_;
      return status_ == 0 ? start_ : nullptr;
   }
   // The text is the caller's.
   char* release();
   size_t size() const { return static_cast<size_t>(at_ - start_); }
   void cut(size_t size) { at_ = start_ + size; }

private:
   void putSlowly(std::string_view text) override;

   RtxContext* ctxt_;
};

} // namespace quorva::walk
