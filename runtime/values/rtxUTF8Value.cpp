#include "quorva/rtxUTF8Value.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "quorva/rtxBits.h"
#include "quorva/rtxHexDump.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxUTF8.h"
#include "runtime/values/heapText.h"
#include "runtime/values/namedBits.h"
#include "runtime/values/numberText.h"
#include "runtime/values/utf8Steps.h"

using namespace quorva;

namespace {

std::string_view trimmed(const char* text, size_t nbytes) {
   const char* begin = "";
   nbytes = rtxUTF8RemoveWhiteSpace(text, nbytes, &begin);
   return begin ? std::string_view(begin, nbytes) : std::string_view();
}

template <class Int>
int toInteger(const char* text, size_t nbytes, Int* pvalue) {
   Int value = 0;
   const int status = parseInteger(trimmed(text, nbytes), &value);
   if (status == RTX_OK && pvalue) *pvalue = value;
   return status;
}

// Is a decimal real of sound form at least 1?
bool reachesOne(std::string_view text) {
   const size_t mark = text.find_first_of("eE");
   const std::string_view digits = text.substr(0, mark);
   int64_t exponent = 0;
   if (mark != text.npos && parseInteger(text.substr(mark + 1), &exponent) == RTX_E_OVERFLOW)
      exponent = text[mark + 1] == '-' ? INT64_MIN / 2 : INT64_MAX / 2;
   const auto at = [](size_t position) { return static_cast<int64_t>(position); };
   const int64_t point = at(std::min(digits.find('.'), digits.size()));
   const int64_t first = at(std::min(digits.find_first_of("123456789"), digits.size()));
   return (first < point ? point - first - 1 : point - first) + exponent >= 0;
}

} // namespace

int quorva::parseReal(std::string_view text, double* pvalue) {
   const bool minus = !text.empty() && text[0] == '-';
   if (minus || (!text.empty() && text[0] == '+')) text.remove_prefix(1);
   // from_chars would take words and a further minus sign.
   if (text.empty() || !(isDigit(text[0]) || text[0] == '.')) return RTX_E_BAD_REAL;
   const char* end = text.data() + text.size();
   double value = 0;
   const std::from_chars_result result = std::from_chars(text.data(), end, value);
   if (result.ec == std::errc::invalid_argument || result.ptr != end) return RTX_E_BAD_REAL;
   if (result.ec == std::errc::result_out_of_range) {
      if (reachesOne(text)) return RTX_E_OVERFLOW;
      value = 0;
   }
   *pvalue = minus ? -value : value;
   return RTX_OK;
}

quorva::NamedBits::NamedBits(RtxContext* pctxt, const RtxNamedBit* table, uint8_t* data, size_t size)
      : pctxt_(pctxt), table_(table), data_(data), size_(size) {
   if (data && size > 0) memset(data, 0, size);
}

int quorva::NamedBits::add(const char* name) {
   const RtxNamedBit* row = table_;
   while (row->name && strcmp(row->name, name) != 0) ++row;
   if (!row->name) {
      rtxErrAddStrParm(pctxt_, name);
      return recordFailure(pctxt_, RTX_E_UNKNOWN_NAME);
   }
   const size_t number = row->bitNumber;
   if (data_) {
      const int status = rtxSetBit(data_, size_ < SIZE_MAX / 8 ? size_ * 8 : SIZE_MAX, number);
      if (status < 0) return recordFailure(pctxt_, status);
   }
   if (number >= count_) count_ = number + 1;
   return RTX_OK;
}

int rtxUTF8StrnToBool(const char* text, size_t nbytes, uint8_t* pvalue) {
   const std::string_view word = trimmed(text, nbytes);
   const bool value = word == "true" || word == "1";
   if (!value && word != "false" && word != "0") return RTX_E_BAD_FORMAT;
   if (pvalue) *pvalue = value;
   return RTX_OK;
}

int rtxUTF8StrToBool(const char* text, uint8_t* pvalue) {
   return rtxUTF8StrnToBool(text, rtxUTF8LenBytes(text), pvalue);
}

int rtxUTF8StrnToDouble(const char* text, size_t nbytes, double* pvalue) {
   const std::string_view word = trimmed(text, nbytes);
   double value = 0;
   int status = RTX_OK;
   if (word == "INF")
      value = std::numeric_limits<double>::infinity();
   else if (word == "-INF")
      value = -std::numeric_limits<double>::infinity();
   else if (word == "NaN")
      value = std::numeric_limits<double>::quiet_NaN();
   else
      status = parseReal(word, &value);
   if (status == RTX_OK && pvalue) *pvalue = value;
   return status;
}

int rtxUTF8StrToDouble(const char* text, double* pvalue) {
   return rtxUTF8StrnToDouble(text, rtxUTF8LenBytes(text), pvalue);
}

int rtxUTF8StrnToInt(const char* text, size_t nbytes, int32_t* pvalue) {
   return toInteger(text, nbytes, pvalue);
}

int rtxUTF8StrToInt(const char* text, int32_t* pvalue) {
   return toInteger(text, rtxUTF8LenBytes(text), pvalue);
}

int rtxUTF8StrnToInt64(const char* text, size_t nbytes, int64_t* pvalue) {
   return toInteger(text, nbytes, pvalue);
}

int rtxUTF8StrToInt64(const char* text, int64_t* pvalue) {
   return toInteger(text, rtxUTF8LenBytes(text), pvalue);
}

int rtxUTF8StrnToUInt(const char* text, size_t nbytes, uint32_t* pvalue) {
   return toInteger(text, nbytes, pvalue);
}

int rtxUTF8StrToUInt(const char* text, uint32_t* pvalue) {
   return toInteger(text, rtxUTF8LenBytes(text), pvalue);
}

int rtxUTF8StrnToUInt64(const char* text, size_t nbytes, uint64_t* pvalue) {
   return toInteger(text, nbytes, pvalue);
}

int rtxUTF8StrToUInt64(const char* text, uint64_t* pvalue) {
   return toInteger(text, rtxUTF8LenBytes(text), pvalue);
}

int rtxUTF8StrnToSize(const char* text, size_t nbytes, size_t* pvalue) {
   return toInteger(text, nbytes, pvalue);
}

int rtxUTF8StrToSize(const char* text, size_t* pvalue) {
   return toInteger(text, rtxUTF8LenBytes(text), pvalue);
}

int rtxUTF8StrnToDynHexStr(RtxContext* pctxt, const char* text, size_t nbytes, RtxDynOctStr* pvalue) {
   // A length of 0 would have the hexadecimal reader measure the text itself.
   const int count = nbytes > 0 ? rtxHexCharsToBinCount(text, nbytes) : 0;
   if (count < 0) return failed(pctxt, count);
   if (!pvalue) return RTX_OK;
   uint8_t* octets = nullptr;
   if (count > 0) {
      const auto size = static_cast<size_t>(count);
      octets = allocUnits<uint8_t>(pctxt, size);
      if (!octets) return recordNoMemory(pctxt);
      rtxHexCharsToBin(text, nbytes, octets, size);
   }
   *pvalue = {static_cast<uint32_t>(count), octets};
   return RTX_OK;
}

int rtxUTF8StrToDynHexStr(RtxContext* pctxt, const char* text, RtxDynOctStr* pvalue) {
   return rtxUTF8StrnToDynHexStr(pctxt, text, rtxUTF8LenBytes(text), pvalue);
}

int rtxUTF8StrToNamedBits(RtxContext* pctxt, const char* text, const RtxNamedBit* table, uint8_t* data,
                          size_t size, uint32_t* pnumbits) {
   if (!table) return failed(pctxt, RTX_E_BAD_ARGUMENT);
   NamedBits bits(pctxt, table, data, size);
   char* words = rtxUTF8Strdup(pctxt, text ? text : "");
   if (!words) return recordNoMemory(pctxt);
   char* next = nullptr;
   int status = RTX_OK;
   for (char* word = rtxUTF8StrNextTok(words, &next); word && status == RTX_OK;
        word = rtxUTF8StrNextTok(nullptr, &next))
      status = bits.add(word);
   rtxMemHeapFreePtr(pctxt, words);
   if (status < 0) return status;
   if (bits.count() > UINT32_MAX) return failed(pctxt, RTX_E_OVERFLOW);
   if (pnumbits) *pnumbits = static_cast<uint32_t>(bits.count());
   return RTX_OK;
}
