// Diagnostic lines.
#include "quorva/rtxDiag.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "quorva/rtxBits.h"
#include "quorva/rtxHexDump.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxPrintToStream.h"
#include "quorva/rtxUTF8.h"
#include "runtime/core/rtxInline.h"

uint8_t g_DiagEnabled = 0;

namespace {

constexpr unsigned maxLevel = 3;

// May a line with this format be printed? The class letters that a level lets through grow by two each.
bool passes(const RtxContext* pctxt, const char* fmt) {
   if (!rtxDiagEnabled(pctxt)) return false;
   if (fmt[0] != '~') return true;
   const unsigned level = pctxt ? pctxt->diagLevel : maxLevel;
   if (level > maxLevel) return true;
   return fmt[1] != '\0' && memchr("EeWwIiDd", fmt[1], 2 * (level + 1)) != nullptr;
}

} // namespace

int rtxDiagEnabled(const RtxContext* pctxt) {
   return g_DiagEnabled != 0 || (pctxt && (pctxt->flags & RTX_CTXT_DIAG) != 0);
}

int rtxSetDiag(RtxContext* pctxt, int value) {
   const int old = rtxDiagEnabled(pctxt);
   if (!pctxt) return old;
   if (value)
      pctxt->flags |= RTX_CTXT_DIAG;
   else
      pctxt->flags &= ~RTX_CTXT_DIAG;
   return old;
}

int rtxSetGlobalDiag(int value) {
   const int old = g_DiagEnabled;
   g_DiagEnabled = value != 0;
   return old;
}

int rtxDiagSetTraceLevel(RtxContext* pctxt, uint8_t level) {
   const int old = rtxSetDiag(pctxt, 1);
   if (pctxt) pctxt->diagLevel = level;
   return old;
}

int rtxDiagTraceLevelEnabled(const RtxContext* pctxt, unsigned level) {
   if (!rtxDiagEnabled(pctxt)) return 0;
   const unsigned limit = pctxt ? pctxt->diagLevel : maxLevel;
   if (limit < maxLevel) return level <= limit;
   return limit == maxLevel;
}

void rtxDiagPrint(const RtxContext* pctxt, const char* fmt, ...) {
   if (!passes(pctxt, fmt)) return;
   va_list args;
   va_start(args, fmt);
   vfprintf(stdout, fmt, args);
   va_end(args);
}

void rtxDiagStream(RtxContext* pctxt, const char* fmt, ...) {
   if (!passes(pctxt, fmt)) return;
   va_list args;
   va_start(args, fmt);
   rtxDiagToStream(pctxt, fmt, args);
   va_end(args);
}

void rtxDiagHexDump(const RtxContext* pctxt, const uint8_t* data, size_t numocts) {
   if (rtxDiagEnabled(pctxt)) rtxHexDumpToFile(stdout, data, numocts);
}

void rtxDiagStreamHexDump(RtxContext* pctxt, const uint8_t* data, size_t numocts) {
   if (rtxDiagEnabled(pctxt)) rtxHexDumpToStream(pctxt, data, numocts);
}

void rtxDiagPrintChars(const RtxContext* pctxt, const char* data, size_t nchars) {
   if (!rtxDiagEnabled(pctxt)) return;
   for (size_t i = 0; i < nchars; ++i) putc(data[i], stdout);
   putc('\n', stdout);
}

void rtxDiagStreamPrintChars(RtxContext* pctxt, const char* data, size_t nchars) {
   if (!rtxDiagEnabled(pctxt)) return;
   char* text = pctxt && data ? rtxUTF8Strndup(pctxt, data, nchars) : nullptr;
   if (text) {
      rtxPrintToStream(pctxt, "%s", text);
      rtxMemHeapFreePtr(pctxt, text);
   } else {
      for (size_t i = 0; data && i < nchars; ++i) rtxPrintToStream(pctxt, "%c", data[i]);
   }
}

void rtxDiagStreamPrintBits(RtxContext* pctxt, const char* descr, const uint8_t* data, size_t startBit,
                            size_t nbits) {
   if (!rtxDiagEnabled(pctxt)) return;
   const size_t len = rtxUTF8LenBytes(descr);
   auto* text = static_cast<char*>(rtxMemHeapAlloc(pctxt, len + nbits + 1));
   if (!text) {
      if (pctxt) quorva::recordNoMemory(pctxt);
      return;
   }
   if (len > 0) memcpy(text, descr, len);
   for (size_t i = 0; i < nbits; ++i)
      text[len + i] = rtxTestBit(data, startBit + nbits, startBit + i) ? '1' : '0';
   text[len + nbits] = '\0';
   rtxPrintToStream(pctxt, "%s", text);
   rtxMemHeapFreePtr(pctxt, text);
}
