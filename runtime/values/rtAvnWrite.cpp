// Values to value notation.
#include "quorva/rtAvn.h"
#include "quorva/rtxBits.h"
#include "quorva/rtxTxt.h"
#include "quorva/rtxUTF8.h"
#include "runtime/core/rtxBuffer.h"
#include "runtime/values/textInput.h"
#include "runtime/values/utf8Steps.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

using namespace quorva;

namespace {

// Gathers characters on their way to the output, which may refuse them; then it refuses all that follow.
class Output {
public:
   explicit Output(RtxContext* pctxt) : pctxt_(pctxt) {}

   Output& operator<<(char c) {
      if (used_ == sizeof(text_)) flush();
      text_[used_++] = c;
      return *this;
   }
   Output& operator<<(std::string_view text) {
      for (const char c : text) *this << c;
      return *this;
   }
   Output& operator<<(uint32_t number) {
      char digits[12];
      return *this << std::string_view(
                   digits, static_cast<size_t>(std::to_chars(digits, digits + 12, number).ptr - digits));
   }

   // A character of a quoted text.
   void quoted(char c) {
      *this << c;
      if (c == '"') *this << c;
   }

   int end() {
      flush();
      return status_;
   }

private:
   void flush() {
      if (status_ == RTX_OK && used_ > 0) status_ = std::min(putText(pctxt_, {text_, used_}), 0);
      used_ = 0;
   }

   RtxContext* pctxt_;
   char text_[256];
   size_t used_ = 0;
   int status_ = RTX_OK;
};

constexpr char digits[] = "0123456789ABCDEF";

// Octets of a bit string in its two parts, with the bits behind its end clear.
struct BitOctets {
   size_t numbits;
   const uint8_t* data;
   size_t size;
   const uint8_t* extdata;

   uint8_t operator[](size_t index) const {
      const uint8_t octet = index < size ? data[index] : extdata[index - size];
      return index < numbits / 8 ? octet : static_cast<uint8_t>(octet & ~(0xFF >> numbits % 8));
   }
};

void writeBits(Output& out, const BitOctets& octets) {
   out << '\'';
   for (size_t i = 0; i < octets.numbits; ++i) out << digits[octets[i / 8] >> (7 - i % 8) & 1];
   out << "'B";
}

// The low half of the last octet of each part is left out when the number of bits is no multiple of 8, even
// where the string goes on behind that octet.
void writeDigits(Output& out, const BitOctets& octets, size_t numocts, bool halves) {
   out << '\'';
   for (size_t i = 0; i < numocts; ++i) {
      const uint8_t octet = octets[i];
      out << digits[octet >> 4];
      if (!halves || (i + 1 != numocts && i + 1 != octets.size)) out << digits[octet & 15];
   }
   out << "'H";
}

template <class String>
int writeWide(RtxContext* pctxt, const String* value) {
   if (!value || (!value->data && value->nchars > 0)) return recordNewFailure(pctxt, RTX_E_BAD_ARGUMENT);
   Output out(pctxt);
   out << '"';
   for (uint32_t i = 0; i < value->nchars; ++i) {
      uint8_t octets[6];
      const int count = rtxUTF8EncodeChar(value->data[i], octets, sizeof octets);
      if (count < 0) return recordNewFailure(pctxt, RTX_E_OVERFLOW);
      for (int k = 0; k < count; ++k) out.quoted(static_cast<char>(octets[k]));
   }
   out << '"';
   return out.end();
}

// Any failure of the output counts as a full one here; a full one is on record already.
int asFull(RtxContext* pctxt, int status) {
   return status < 0 ? recordFailure(pctxt, RTX_E_BUFFER_FULL) : status;
}

} // namespace

int rtAvnWriteBitStr(RtxContext* pctxt, size_t numbits, const uint8_t* data, size_t size,
                     const uint8_t* extdata) {
   const size_t numocts = numbits / 8 + (numbits % 8 != 0);
   if ((!data && std::min(size, numocts) > 0) || (!extdata && numocts > size))
      return recordNewFailure(pctxt, RTX_E_BAD_ARGUMENT);
   const BitOctets octets = {numbits, data, size, extdata};
   Output out(pctxt);
   if (numbits % 4 != 0) {
      const int status = rtxCheckOutputBuffer(pctxt, addSizes(numbits, 3));
      if (status < 0) return status;
      writeBits(out, octets);
   } else {
      writeDigits(out, octets, numocts, numbits % 8 != 0);
   }
   return out.end();
}

int rtAvnWriteBitStrNamed(RtxContext* pctxt, size_t numbits, const uint8_t* data, const RtxNamedBit* table) {
   const size_t numocts = numbits / 8 + (numbits % 8 != 0);
   if (!table || (!data && numbits > 0)) return recordNewFailure(pctxt, RTX_E_BAD_ARGUMENT);
   const BitOctets octets = {numbits, data, numocts, nullptr};
   Output out(pctxt);
   out << '{';
   bool any = false;
   const RtxNamedBit* row = table;
   for (size_t i = 0; i < numbits; ++i) {
      if (i % 8 == 0 && octets[i / 8] == 0) {
         i += 7;
         continue;
      }
      if (!rtxTestBit(data, numbits, i)) continue;
      while (row->name && row->bitNumber < i) ++row;
      if (!row->name || row->bitNumber != i) {
         Output digitsOut(pctxt);
         // The caller's unused bits stay as they are: they are cleared on the way out.
         writeDigits(digitsOut, octets, numocts, (numbits + 3) / 4 % 2 != 0);
         return asFull(pctxt, digitsOut.end());
      }
      if (any) out << ',';
      out << row->name;
      any = true;
   }
   if (any) out << ' ';
   out << '}';
   return asFull(pctxt, out.end());
}

int rtAvnWriteOctStr(RtxContext* pctxt, size_t numocts, const uint8_t* data) {
   if (numocts > SIZE_MAX / 8) return recordNewFailure(pctxt, RTX_E_OVERFLOW);
   return rtAvnWriteBitStr(pctxt, numocts * 8, data, numocts, nullptr);
}

int rtAvnWriteCharStr(RtxContext* pctxt, const char* text) {
   if (!text) return recordNewFailure(pctxt, RTX_E_BAD_ARGUMENT);
   Output out(pctxt);
   out << '"';
   for (; *text; ++text) out.quoted(*text);
   out << '"';
   return out.end();
}

int rtAvnWriteUTF8Str(RtxContext* pctxt, const char* text) {
   const auto* octets = reinterpret_cast<const uint8_t*>(text);
   const size_t size = rtxUTF8LenBytes(text);
   for (size_t at = 0; at < size;) {
      size_t used = size - at;
      if (rtxUTF8DecodeChar(nullptr, octets + at, &used) < 0) return badUTF8(pctxt, at);
      at += used;
   }
   return rtAvnWriteCharStr(pctxt, text);
}

int rtAvnWriteBMPStr(RtxContext* pctxt, const Rtx16BitCharString* value) {
   return writeWide(pctxt, value);
}

int rtAvnWriteUnivStr(RtxContext* pctxt, const Rtx32BitCharString* value) {
   return writeWide(pctxt, value);
}

int rtAvnWriteReal(RtxContext* pctxt, double value) {
   if (std::isnan(value)) return putText(pctxt, "NOT-A-NUMBER");
   if (std::isinf(value)) return putText(pctxt, value < 0 ? "MINUS-INFINITY" : "PLUS-INFINITY");
   // The text of printf's %g in the C locale.
   char text[24];
   const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::general, 6).ptr;
   return putText(pctxt, {text, static_cast<size_t>(end - text)});
}

int rtAvnWriteOID(RtxContext* pctxt, const RtxOID* value) {
   if (!value) return recordNewFailure(pctxt, RTX_E_BAD_ARGUMENT);
   if (value->numids > RTX_MAX_SUBIDS) return recordNewFailure(pctxt, RTX_E_BAD_OID);
   Output out(pctxt);
   out << '{';
   for (uint32_t i = 0; i < value->numids; ++i) {
      if (i > 0) out << ' ';
      out << value->subid[i];
   }
   out << '}';
   return out.end();
}

int rtAvnWriteOIDStr(RtxContext* pctxt, const char* text) {
   if (!text) return recordNewFailure(pctxt, RTX_E_BAD_ARGUMENT);
   Output out(pctxt);
   out << '{';
   for (; *text; ++text) out << (*text == '.' ? ' ' : *text);
   out << '}';
   return out.end();
}
