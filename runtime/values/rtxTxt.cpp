#include "quorva/rtxTxt.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>

#include "quorva/rtxBits.h"
#include "runtime/core/rtxBuffer.h"
#include "runtime/values/heapText.h"
#include "runtime/values/textInput.h"

using namespace quorva;

namespace {

// Has all of a stream of known length been loaded? To load more would be recorded as a failure. The limit is
// not set before the stream has its context buffer.
bool allLoaded(const RtxContext* pctxt) {
   const RtxStream* stream = pctxt->stream;
   return hot::streamActive(pctxt) && hasContextBuffer(stream) &&
          addSizes(pctxt->bufSize, stream->bufBase) == stream->inputLimit;
}

// Reads an optional sign and the first digit.
int takeHead(RtxContext* pctxt, bool isSigned, bool* pminus, char* pdigit) {
   int status = skipSpace(pctxt, nullptr);
   if (status == RTX_OK) status = takeChar(pctxt, pdigit);
   if (status < 0) return status;
   *pminus = isSigned && *pdigit == '-';
   if (isSigned && (*pdigit == '+' || *pdigit == '-')) {
      status = takeChar(pctxt, pdigit);
      if (status < 0) return status;
   }
   return isDigit(*pdigit) ? RTX_OK : badChar(pctxt, *pdigit);
}

template <class Int>
int readInteger(RtxContext* pctxt, Int* pvalue) {
   using Limits = std::numeric_limits<Int>;
   bool minus = false;
   char c = 0;
   int status = takeHead(pctxt, Limits::is_signed, &minus, &c);
   if (status < 0) return status;
   const uint64_t limit = static_cast<uint64_t>(Limits::max()) + minus;
   uint64_t value = static_cast<uint64_t>(c - '0');
   while ((status = peekChar(pctxt, &c)) > 0 && isDigit(c)) {
      const auto digit = static_cast<uint64_t>(c - '0');
      if (value > limit / 10 || limit - digit < value * 10) return recordNewFailure(pctxt, RTX_E_OVERFLOW);
      value = value * 10 + digit;
      status = dropChar(pctxt);
      if (status < 0) return status;
   }
   if (status < 0) return status;
   if (pvalue) *pvalue = static_cast<Int>(minus ? uint64_t{0} - value : value);
   return RTX_OK;
}

// The narrow forms read 32 bits and look at the range of the whole number.
template <class Int, class Wide>
int readNarrow(RtxContext* pctxt, Int* pvalue) {
   Wide value = 0;
   const int status = readInteger(pctxt, &value);
   if (status < 0) return status;
   if (value < std::numeric_limits<Int>::min() || value > std::numeric_limits<Int>::max())
      return recordNewFailure(pctxt, RTX_E_OVERFLOW);
   if (pvalue) *pvalue = static_cast<Int>(value);
   return RTX_OK;
}

template <class Int>
int writeInteger(RtxContext* pctxt, Int value) {
   char text[24];
   *std::to_chars(text, text + sizeof(text) - 1, value).ptr = '\0';
   return rtxCopyAsciiText(pctxt, text);
}

} // namespace

int quorva::peekChar(RtxContext* pctxt, char* pchar) {
   uint8_t octet = 0;
   int status = 0;
   if (!hot::streamActive(pctxt)) {
      status = octetsAtHand(pctxt) > 0;
      if (status > 0) octet = pctxt->bufData[pctxt->bufByteIndex];
   } else if (octetsAtHand(pctxt) > 0 || !allLoaded(pctxt)) {
      status = rtxPeekByte(pctxt, &octet);
   }
   *pchar = static_cast<char>(octet);
   return status;
}

int quorva::peekTwoChars(RtxContext* pctxt, char* chars) {
   const size_t want = allLoaded(pctxt) ? std::min<size_t>(octetsAtHand(pctxt), 2) : 2;
   size_t got = 0;
   if (want > 0) {
      const int status = rtxPeekBytes(pctxt, reinterpret_cast<uint8_t*>(chars), 2, want, &got);
      if (status < 0) return status;
   }
   return static_cast<int>(got);
}

int quorva::dropChar(RtxContext* pctxt) {
   if (!hot::streamActive(pctxt)) {
      pctxt->lastChar = pctxt->bufData[pctxt->bufByteIndex++];
      return RTX_OK;
   }
   uint8_t octet;
   return rtxReadBytes(pctxt, &octet, 1);
}

int quorva::takeChar(RtxContext* pctxt, char* pchar) {
   const int status = peekChar(pctxt, pchar);
   if (status == 0) return recordNewFailure(pctxt, RTX_E_END_OF_DATA);
   return status < 0 ? status : dropChar(pctxt);
}

int quorva::skipSpace(RtxContext* pctxt, size_t* pcount) {
   for (;;) {
      char c = 0;
      int status = peekChar(pctxt, &c);
      if (status <= 0) return status;
      if (!isSpace(c)) return RTX_OK;
      status = dropChar(pctxt);
      if (status < 0) return status;
      if (pcount) ++*pcount;
   }
}

int quorva::badChar(RtxContext* pctxt, char c) {
   rtxErrAddStrnParm(pctxt, &c, 1);
   return recordNewFailure(pctxt, RTX_E_BAD_CHAR);
}

int quorva::putText(RtxContext* pctxt, std::string_view text) {
   return rtxWriteBytes(pctxt, reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

int quorva::TextBuffer::give(const char** ptext) const {
   if (!ptext) return RTX_OK;
   char* copy = allocText(pctxt, usedCount + 1);
   if (!copy) return recordNoMemory(pctxt);
   if (usedCount > 0) memcpy(copy, bufferData, usedCount);
   copy[usedCount] = '\0';
   *ptext = copy;
   return RTX_OK;
}

int rtxTxtSkipWhitespace(RtxContext* pctxt) {
   return skipSpace(pctxt, nullptr);
}

int rtxTxtPeekChar(RtxContext* pctxt, char* pchar, int skip) {
   int status = skip ? skipSpace(pctxt, nullptr) : RTX_OK;
   if (status < 0) return status;
   char c = 0;
   status = peekChar(pctxt, &c);
   if (status == 0) return recordNewFailure(pctxt, RTX_E_END_OF_DATA);
   if (status > 0 && pchar) *pchar = c;
   return std::min(status, 0);
}

char rtxTxtPeekChar2(RtxContext* pctxt, int skip) {
   char c = 0;
   return rtxTxtPeekChar(pctxt, &c, skip) == RTX_OK ? c : '\0';
}

int rtxTxtMatchChar(RtxContext* pctxt, char expected, int skip) {
   int status = skip ? skipSpace(pctxt, nullptr) : RTX_OK;
   char c = 0;
   if (status == RTX_OK) status = takeChar(pctxt, &c);
   if (status < 0) return status;
   return c == expected ? RTX_OK : badChar(pctxt, c);
}

int rtxTxtMatchChars(RtxContext* pctxt, const char* expected, int skip) {
   if (!expected) return recordNewFailure(pctxt, RTX_E_BAD_ARGUMENT);
   for (; *expected; ++expected, skip = 0) {
      const int status = rtxTxtMatchChar(pctxt, *expected, skip);
      if (status < 0) return status;
   }
   return RTX_OK;
}

int rtxTxtReadInt8(RtxContext* pctxt, int8_t* pvalue) {
   return readNarrow<int8_t, int32_t>(pctxt, pvalue);
}

int rtxTxtReadInt16(RtxContext* pctxt, int16_t* pvalue) {
   return readNarrow<int16_t, int32_t>(pctxt, pvalue);
}

int rtxTxtReadInt32(RtxContext* pctxt, int32_t* pvalue) {
   return readInteger(pctxt, pvalue);
}

int rtxTxtReadInt64(RtxContext* pctxt, int64_t* pvalue) {
   return readInteger(pctxt, pvalue);
}

int rtxTxtReadUInt8(RtxContext* pctxt, uint8_t* pvalue) {
   return readNarrow<uint8_t, uint32_t>(pctxt, pvalue);
}

int rtxTxtReadUInt16(RtxContext* pctxt, uint16_t* pvalue) {
   return readNarrow<uint16_t, uint32_t>(pctxt, pvalue);
}

int rtxTxtReadUInt32(RtxContext* pctxt, uint32_t* pvalue) {
   return readInteger(pctxt, pvalue);
}

int rtxTxtReadUInt64(RtxContext* pctxt, uint64_t* pvalue) {
   return readInteger(pctxt, pvalue);
}

int rtxTxtReadBigInt(RtxContext* pctxt, const char** ptext) {
   bool minus = false;
   char digit = 0;
   int status = takeHead(pctxt, true, &minus, &digit);
   if (status < 0) return status;
   TextBuffer buf(pctxt, 64);
   status = minus ? buf.append('-') : RTX_OK;
   if (status == RTX_OK) status = buf.append(digit);
   if (status == RTX_OK) status = takeWhile(pctxt, &buf, isDigit);
   return status < 0 ? status : buf.give(ptext);
}

int rtxTxtWriteInt(RtxContext* pctxt, int32_t value) {
   return writeInteger(pctxt, value);
}

int rtxTxtWriteInt64(RtxContext* pctxt, int64_t value) {
   return writeInteger(pctxt, value);
}

int rtxTxtWriteUInt(RtxContext* pctxt, uint32_t value) {
   return writeInteger(pctxt, value);
}

int rtxTxtWriteUInt64(RtxContext* pctxt, uint64_t value) {
   return writeInteger(pctxt, value);
}

int rtxCopyAsciiText(RtxContext* pctxt, const char* text) {
   return text ? putText(pctxt, text) : recordNewFailure(pctxt, RTX_E_BAD_ARGUMENT);
}
