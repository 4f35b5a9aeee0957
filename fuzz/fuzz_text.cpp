// Conversions of character strings and texts to values. Destinations are blocks of their own size, so that a
// write past one is found; what was converted is converted back.
#include "fuzz/fuzz.h"
#include "quorva/rtxContext.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxUTF8.h"
#include "quorva/rtxUTF8Convert.h"
#include "quorva/rtxUTF8Value.h"

#include <cmath>
#include <string>
#include <vector>

using namespace quorva::fuzz;

namespace {

using Convert = int (*)(const uint8_t*, size_t, uint8_t*, size_t);
using Octets = std::vector<uint8_t>;

int into(Convert convert, const Octets& source, size_t room, Octets& out) {
   const std::unique_ptr<uint8_t[]> dest(new uint8_t[room]);
   const int count = convert(source.data(), source.size(), dest.get(), room);
   need(count < 0 || static_cast<size_t>(count) <= room);
   if (count > 0) out.assign(dest.get(), dest.get() + count);
   return count;
}

// What fits is whole characters: there and back again it is the same, and more room gives it as a prefix.
void thereAndBack(Convert there, Convert back, const Octets& source, size_t room) {
   Octets some, all, again, last;
   if (into(there, source, room, some) <= 0) return;
   const size_t enough = source.size() * 4 + 4;
   if (into(there, source, enough, all) >= 0)
      need(all.size() >= some.size() && memcmp(all.data(), some.data(), some.size()) == 0);
   need(into(back, some, enough, again) > 0);
   need(into(there, again, enough, last) > 0 && last == some); // overlong forms are gone by now
}

template <class Unit>
void units(RtxContext* pctxt, int (*convert)(RtxContext*, const char*, Unit*, size_t), const char* text) {
   const int count = convert(pctxt, text, nullptr, 0);
   if (count <= 0) return;
   const auto size = static_cast<size_t>(count);
   const std::unique_ptr<Unit[]> out(new Unit[size]);
   need(convert(pctxt, text, out.get(), size) == count && size == rtxUTF8Len(text));
   need(convert(nullptr, text, out.get(), size - 1) == RTX_E_BUFFER_FULL);
}

template <class Int>
void integer(int (*read)(const char*, size_t, Int*), const char* text, size_t size) {
   Int value = 0, again = 0;
   if (read(text, size, &value) != 0) return;
   const std::string digits = std::to_string(value);
   need(read(digits.data(), digits.size(), &again) == 0 && again == value);
}

void values(RtxContext* pctxt, const char* text, size_t size) {
   integer(rtxUTF8StrnToInt, text, size);
   integer(rtxUTF8StrnToUInt, text, size);
   integer(rtxUTF8StrnToInt64, text, size);
   integer(rtxUTF8StrnToUInt64, text, size);
   double value = 0;
   const std::string copy(text, size);
   if (rtxUTF8StrnToDouble(text, size, &value) == 0 && std::isfinite(value))
      need(value == std::strtod(copy.c_str(), nullptr)); // the locale is "C" here
   uint8_t boolean;
   rtxUTF8StrnToBool(text, size, &boolean);
   RtxDynOctStr octets;
   rtxUTF8StrnToDynHexStr(pctxt, text, size, &octets);
}

void strings(RtxContext* pctxt, const char* text, size_t room, uint32_t codePoint) {
   const char* found = rtxUTF8StrChr(text, codePoint);
   need(!found || (found >= text && found <= text + strlen(text)));
   const std::unique_ptr<char[]> dest(new char[room]);
   if (rtxUTF8Strcpy(dest.get(), room, text)) need(strcmp(dest.get(), text) == 0);
   need(room == 0 || strncmp(dest.get(), text, strlen(dest.get())) == 0);
   const RtxNamedBit table[] = {{"a", 0}, {"b", 9}, {"c", 300}, {nullptr, 0}};
   const std::unique_ptr<uint8_t[]> bits(new uint8_t[room]);
   uint32_t numbits;
   if (rtxUTF8StrToNamedBits(pctxt, text, table, bits.get(), room, &numbits) == 0) need(numbits <= room * 8);
   Rtx16BitCharString narrow;
   Rtx32BitCharString wide;
   if (rtxUTF8ToDynUniStr(pctxt, text, &narrow) == 0)
      need(rtxUTF8ToDynUniStr32(pctxt, text, &wide) == 0 && wide.nchars == narrow.nchars);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
   if (size < 2) return 0;
   const size_t room = data[0];
   const Octets source(data + 2, data + size);
   const std::string text(source.begin(), source.end());
   static Context ctxt;
   switch (data[1] % 8) {
   case 0: thereAndBack(rtxUTF8ToLatin1, rtxLatin1ToUTF8, source, room); break;
   case 1: thereAndBack(rtxUTF8ToUTF16LE, rtxUTF16LEToUTF8, source, room); break;
   case 2: thereAndBack(rtxUTF8ToUTF16BE, rtxUTF16BEToUTF8, source, room); break;
   case 3: thereAndBack(rtxLatin1ToUTF8, rtxUTF8ToLatin1, source, room); break;
   case 4: thereAndBack(rtxUTF16LEToUTF8, rtxUTF8ToUTF16LE, source, room); break;
   case 5:
      units(&ctxt, rtxUTF8ToUnicode, text.c_str());
      units(&ctxt, rtxUTF8ToUnicode32, text.c_str());
      break;
   case 6: {
      const auto block = blockOf(text.data(), text.size());
      values(&ctxt, reinterpret_cast<const char*>(block.get()), text.size());
      break;
   }
   default: strings(&ctxt, text.c_str(), room, data[1]); break;
   }
   rtxMemReset(&ctxt);
   return 0;
}
