// Words, reals, texts and open types from value notation.
#include "quorva/rtAvn.h"
#include "quorva/rtxBits.h"
#include "quorva/rtxTxt.h"
#include "quorva/rtxUTF8.h"
#include "runtime/values/heapText.h"
#include "runtime/values/numberText.h"
#include "runtime/values/textInput.h"
#include "runtime/values/utf8Steps.h"

#include <algorithm>
#include <cstring>
#include <limits>

using namespace quorva;

namespace {

constexpr size_t maxRealText = 1023;

// Reads a name. A hyphen belongs to it only with a letter or digit behind: two of them begin a comment.
int readName(RtxContext* pctxt, RtxMemBuf* buf, bool (*begins)(char)) {
   char c = 0;
   int status = rtxTxtPeekChar(pctxt, &c, 1);
   if (status < 0) return status;
   if (!begins(c)) return recordNewFailure(pctxt, RTX_E_BAD_TOKEN);
   for (;;) {
      status = takeWhile(pctxt, buf, isAlphanumeric);
      char next[2];
      if (status == RTX_OK) status = peekChar(pctxt, next);
      if (status <= 0 || next[0] != '-') break;
      status = peekTwoChars(pctxt, next);
      if (status < 2 || !isAlphanumeric(next[1])) break;
      status = dropChar(pctxt);
      if (status == RTX_OK) status = appendOctets(buf, "-", 1);
      if (status < 0) break;
   }
   return std::min(status, 0);
}

// The grammar of a decimal real.
class RealReader {
public:
   RealReader(RtxContext* pctxt) : pctxt_(pctxt), text_(pctxt, maxRealText + 1) {}

   int read() {
      int status = rtxTxtPeekChar(pctxt_, &next_, 1);
      if (status == RTX_OK && next_ == '-') {
         status = take();
         if (status == RTX_OK) status = rtxTxtPeekChar(pctxt_, &next_, 0); // a number must follow
      }
      if (status == RTX_OK) status = takeDigits(true);
      if (status == RTX_OK && next_ == '.') {
         status = take();
         if (status == RTX_OK) status = takeDigits(false);
      }
      if (status == RTX_OK && (next_ == 'E' || next_ == 'e')) {
         status = take();
         if (status == RTX_OK && (next_ == '+' || next_ == '-')) status = take();
         const bool zero = next_ == '0';
         const size_t before = text_.usedCount;
         if (status == RTX_OK) status = takeDigits(true);
         if (status == RTX_OK && zero && text_.usedCount - before > 1) status = bad();
      }
      return status;
   }

   const TextBuffer& text() const { return text_; }

private:
   // Takes the next character and looks at the one behind it, NUL at the end of the input.
   int take() {
      if (text_.usedCount == maxRealText) return recordNewFailure(pctxt_, RTX_E_OVERFLOW);
      int status = dropChar(pctxt_);
      if (status == RTX_OK) status = text_.append(next_);
      if (status < 0) return status;
      return std::min(peekChar(pctxt_, &next_), 0);
   }

   int takeDigits(bool oneAtLeast) {
      if (oneAtLeast && !isDigit(next_)) return bad();
      int status = RTX_OK;
      while (status == RTX_OK && isDigit(next_)) status = take();
      return status;
   }

   int bad() { return recordNewFailure(pctxt_, RTX_E_BAD_FORMAT); }

   RtxContext* pctxt_;
   TextBuffer text_;
   char next_ = 0;
};

// Units of a quoted text.
template <class Unit>
class Units : public RtxMemBuf {
public:
   explicit Units(RtxContext* pctxt) { rtxMemBufInit(pctxt, this, 256 * sizeof(Unit)); }
   ~Units() { rtxMemBufFree(this); }
   Units(const Units&) = delete;
   Units& operator=(const Units&) = delete;

   int append(uint32_t codePoint) {
      if (codePoint > std::numeric_limits<Unit>::max()) return recordNewFailure(pctxt, RTX_E_OVERFLOW);
      const auto unit = static_cast<Unit>(codePoint);
      return appendOctets(this, &unit, sizeof unit);
   }

   size_t size() const { return usedCount / sizeof(Unit); }

   // Takes white space off the end.
   void cutSpace() {
      size_t left = size();
      for (Unit unit; left > 0; --left) {
         memcpy(&unit, bufferData + (left - 1) * sizeof unit, sizeof unit);
         if (unit > ' ' || !isSpace(static_cast<char>(unit))) break;
      }
      rtxMemBufCut(this, left * sizeof(Unit), usedCount - left * sizeof(Unit));
   }

   // A copy on the heap with a 0 behind it; null, recorded, without memory.
   Unit* copy() const {
      Unit* units = allocUnits<Unit>(pctxt, size() + 1);
      if (!units) {
         recordNoMemory(pctxt);
         return nullptr;
      }
      if (usedCount > 0) memcpy(units, bufferData, usedCount);
      units[size()] = 0;
      return units;
   }
};

// Reads the rest of a UTF-8 sequence; `at` is its place in the text.
int takeSequence(RtxContext* pctxt, char lead, size_t at, uint32_t* pcodePoint, size_t* pused) {
   uint8_t octets[6] = {static_cast<uint8_t>(lead)};
   const size_t size = utf8SequenceSize(octets[0]);
   size_t used = 1;
   for (char c = 0; used < size; ++used) {
      int status = peekChar(pctxt, &c);
      if (status < 0) return status;
      if (status == 0 || (c & 0xC0) != 0x80) break;
      octets[used] = static_cast<uint8_t>(c);
      status = dropChar(pctxt);
      if (status < 0) return status;
   }
   *pused = used;
   const int32_t codePoint = rtxUTF8DecodeChar(nullptr, octets, &used);
   if (codePoint < 0) return badUTF8(pctxt, at);
   *pcodePoint = static_cast<uint32_t>(codePoint);
   return RTX_OK;
}

// Reads "..."; 8-bit characters are taken as they are, wider ones from UTF-8.
template <class Unit>
int readQuoted(RtxContext* pctxt, Units<Unit>& text) {
   int status = rtxTxtMatchChar(pctxt, '"', 1);
   size_t at = 0; // octets read behind the quote
   while (status == RTX_OK) {
      char c = 0;
      status = takeChar(pctxt, &c);
      if (status < 0) break;
      uint32_t codePoint = static_cast<uint8_t>(c);
      size_t used = 1;
      if (c == '"') {
         char next = 0;
         status = peekChar(pctxt, &next);
         if (status < 0 || next != '"') return std::min(status, 0);
         status = dropChar(pctxt);
         used = 2;
      } else if (c >= '\n' &&
                 c <= '\r') { // a line end: the text goes on with the next line's first character
         text.cutSpace();
         status = skipSpace(pctxt, &at);
         ++at;
         continue;
      } else if (sizeof(Unit) > 1 && codePoint >= 0x80) {
         status = takeSequence(pctxt, c, at, &codePoint, &used);
      }
      if (status == RTX_OK) status = text.append(codePoint);
      at += used;
   }
   return status;
}

template <class Unit, class String>
int readWide(RtxContext* pctxt, String* pvalue) {
   Units<Unit> text(pctxt);
   const int status = readQuoted(pctxt, text);
   if (status < 0 || !pvalue) return status;
   if (text.size() > UINT32_MAX) return recordNewFailure(pctxt, RTX_E_OVERFLOW);
   const Unit* units = text.copy();
   if (!units) return RTX_E_NOMEM;
   *pvalue = {static_cast<uint32_t>(text.size()), units};
   return RTX_OK;
}

// Copies the text of a value, of whatever kind.
class ValueCopier {
public:
   ValueCopier(RtxContext* pctxt, TextBuffer& text) : pctxt_(pctxt), text_(text) {}

   int copy() {
      size_t depth = 0;
      bool begun = false, braced = false;
      for (;;) {
         char c = 0;
         int status = peekChar(pctxt_, &c);
         if (status < 0) return status;
         const bool atEnd = status == 0;
         if (atEnd && (depth > 0 || !begun)) return recordNewFailure(pctxt_, RTX_E_END_OF_DATA);
         if (atEnd) return RTX_OK;
         if (depth == 0 && (c == ',' || c == '}'))
            return begun ? RTX_OK : recordNewFailure(pctxt_, RTX_E_BAD_TOKEN);
         bool comment = false;
         status = take(c, &comment);
         if (status < 0) return status;
         if (comment || isSpace(c)) continue;
         if (c == '{') {
            braced |= !begun;
            ++depth;
         } else if (c == '}' && --depth == 0 && braced) {
            return RTX_OK;
         }
         begun = true;
      }
   }

private:
   // Copies a character with what belongs to it: a quoted text, a comment.
   int take(char c, bool* pcomment) {
      int status = add(c);
      if (status < 0) return status;
      if (c == '"' || c == '\'') {
         char inside = 0;
         while (status == RTX_OK && (status = takeChar(pctxt_, &inside)) == RTX_OK) {
            status = text_.append(inside);
            if (inside == c) break;
         }
         return status;
      }
      char next = 0;
      if (c != '-' && c != '/') return RTX_OK;
      status = peekChar(pctxt_, &next);
      if (status <= 0 || next != (c == '-' ? '-' : '*')) return std::min(status, 0);
      *pcomment = true;
      status = add(next);
      return status < 0 ? status : c == '-' ? lineComment() : blockComment();
   }

   // To the next two hyphens, or the line's end, or that of the input.
   int lineComment() {
      bool hyphen = false;
      for (;;) {
         char c = 0;
         int status = peekChar(pctxt_, &c);
         if (status <= 0) return status;
         status = add(c);
         if (status < 0 || (c >= '\n' && c <= '\r') || (c == '-' && hyphen)) return status;
         hyphen = c == '-';
      }
   }

   int blockComment() {
      bool star = false;
      for (;;) {
         char c = 0;
         int status = takeChar(pctxt_, &c);
         if (status == RTX_OK) status = text_.append(c);
         if (status < 0 || (star && c == '/')) return status;
         star = c == '*';
      }
   }

   int add(char c) {
      const int status = dropChar(pctxt_);
      return status < 0 ? status : text_.append(c);
   }

   RtxContext* pctxt_;
   TextBuffer& text_;
};

} // namespace

int rtAvnReadBoolean(RtxContext* pctxt, uint8_t* pvalue) {
   char c = 0;
   int status = rtxTxtPeekChar(pctxt, &c, 1);
   if (status < 0) return status;
   if (c != 'T' && c != 'F') {
      status = dropChar(pctxt);
      return status < 0 ? status : badChar(pctxt, c);
   }
   const bool value = c == 'T';
   status = rtAvnMatchToken(pctxt, value ? "TRUE" : "FALSE");
   if (status == RTX_OK && pvalue) *pvalue = value;
   return status;
}

int rtAvnReadIdentifier(RtxContext* pctxt, const char** ptext) {
   TextBuffer buf(pctxt, 64);
   const int status = readName(pctxt, &buf, isLower);
   return status < 0 ? status : buf.give(ptext);
}

int rtAvnReadIdentifierToBuffer(RtxContext* pctxt, RtxMemBuf* buf) {
   return readName(pctxt, buf, isLower);
}

int rtAvnReadTypeRefToBuffer(RtxContext* pctxt, RtxMemBuf* buf) {
   return readName(pctxt, buf, isUpper);
}

int rtAvnReadRealString(RtxContext* pctxt, const char** ptext) {
   RealReader reader(pctxt);
   const int status = reader.read();
   return status < 0 ? status : reader.text().give(ptext);
}

int rtAvnReadReal(RtxContext* pctxt, double* pvalue) {
   static constexpr struct {
      char first;
      const char* word;
      double value;
   } words[] = {{'P', "PLUS-INFINITY", std::numeric_limits<double>::infinity()},
                {'M', "MINUS-INFINITY", -std::numeric_limits<double>::infinity()},
                {'N', "NOT-A-NUMBER", std::numeric_limits<double>::quiet_NaN()}};
   char c = 0;
   int status = rtxTxtPeekChar(pctxt, &c, 1);
   if (status < 0) return status;
   double value = 0;
   bool special = false;
   for (const auto& row : words) {
      if (row.first != c) continue;
      special = true;
      value = row.value;
      status = rtAvnMatchToken(pctxt, row.word);
   }
   if (!special) {
      RealReader reader(pctxt);
      status = reader.read();
      if (status == RTX_OK) {
         status = parseReal(reader.text().text(), &value);
         if (status < 0) status = recordNewFailure(pctxt, status);
      }
   }
   if (status == RTX_OK && pvalue) *pvalue = value;
   return status;
}

int rtAvnReadString(RtxContext* pctxt, const char** ptext) {
   Units<uint8_t> text(pctxt);
   const int status = readQuoted(pctxt, text);
   if (status < 0 || !ptext) return status;
   const uint8_t* octets = text.copy();
   if (!octets) return RTX_E_NOMEM;
   *ptext = reinterpret_cast<const char*>(octets);
   return RTX_OK;
}

int rtAvnReadUCS2(RtxContext* pctxt, Rtx16BitCharString* pvalue) {
   return readWide<uint16_t>(pctxt, pvalue);
}

int rtAvnReadUCS4(RtxContext* pctxt, Rtx32BitCharString* pvalue) {
   return readWide<uint32_t>(pctxt, pvalue);
}

int rtAvnReadOpenType(RtxContext* pctxt, const char** ptext, size_t* plength) {
   TextBuffer text(pctxt, 256);
   int status = readName(pctxt, &text, isUpper);
   if (status == RTX_OK) status = rtxTxtMatchChar(pctxt, ':', 1);
   if (status == RTX_OK) status = text.append(" : ");
   if (status == RTX_OK) status = skipSpace(pctxt, nullptr);
   if (status == RTX_OK) status = ValueCopier(pctxt, text).copy();
   if (status == RTX_OK) status = text.give(ptext);
   if (status == RTX_OK && plength) *plength = text.text().size();
   return status;
}

int rtAvnMatchToken(RtxContext* pctxt, const char* token) {
   int status = rtxTxtMatchChars(pctxt, token, 1);
   if (status < 0) return status;
   char next[2];
   status = peekChar(pctxt, next);
   bool longer = status > 0 && isAlphanumeric(next[0]);
   if (status > 0 && next[0] == '-') {
      status = peekTwoChars(pctxt, next);
      longer = status < 2 || next[1] != '-';
   }
   if (status < 0) return status;
   if (!longer) return RTX_OK;
   rtxErrAddStrParm(pctxt, token);
   return recordNewFailure(pctxt, RTX_E_BAD_TOKEN);
}

size_t rtAvnLookupIdentifier(const char* identifier, const char* const* names, size_t count) {
   if (!identifier || !names) return count;
   for (size_t i = 0; i < count; ++i)
      if (names[i] && strcmp(names[i], identifier) == 0) return i;
   return count;
}
