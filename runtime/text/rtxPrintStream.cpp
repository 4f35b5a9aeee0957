// Where printed text goes, and the indent.
#include <cstdio>
#include <cstring>

#include "quorva/rtxContext.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxPrintToStream.h"
#include "runtime/core/rtxInline.h"
#include "runtime/text/textSteps.h"
#include "runtime/text/textWriter.h"
#include "runtime/text/valueText.h"

RtxPrintStream g_PrintStream = {nullptr, nullptr};

namespace {

// Indent of printing without a context.
uint32_t processIndent = 0;

} // namespace

uint32_t quorva::printIndent(const RtxContext* pctxt) {
   return pctxt ? pctxt->indent : processIndent;
}

int rtxSetPrintStream(RtxContext* pctxt, RtxPrintCallback pfn, void* pUserData) {
   if (!pctxt) return RTX_E_BAD_ARGUMENT;
   if (!pfn) return quorva::recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
   rtxPrintStreamRelease(pctxt);
   auto* stream = static_cast<RtxPrintStream*>(rtxMemHeapSysAlloc(pctxt, sizeof(RtxPrintStream)));
   if (!stream) return quorva::recordFailure(pctxt, RTX_E_NOMEM);
   stream->pfn = pfn;
   stream->pUserData = pUserData;
   pctxt->printStream = stream;
   pctxt->indent = 0;
   return RTX_OK;
}

int rtxSetGlobalPrintStream(RtxPrintCallback pfn, void* pUserData) {
   if (!pfn) return RTX_E_BAD_ARGUMENT;
   g_PrintStream.pfn = pfn;
   g_PrintStream.pUserData = pUserData;
   return RTX_OK;
}

int rtxPrintStreamRelease(RtxContext* pctxt) {
   if (!pctxt) return RTX_E_BAD_ARGUMENT;
   if (pctxt->printStream) {
      rtxMemHeapSysFreePtr(pctxt, pctxt->printStream);
      pctxt->printStream = nullptr;
   }
   return RTX_OK;
}

int rtxDiagToStream(RtxContext* pctxt, const char* fmt, va_list args) {
   if (pctxt && pctxt->printStream) {
      pctxt->printStream->pfn(pctxt->printStream->pUserData, fmt, args);
   } else if (g_PrintStream.pfn) {
      g_PrintStream.pfn(g_PrintStream.pUserData, fmt, args);
   } else {
      vfprintf(stdout, fmt, args);
      // At once, so that the text stays in order with whatever a crash leaves behind.
      fflush(stdout);
   }
   return 0;
}

int rtxPrintToStream(RtxContext* pctxt, const char* fmt, ...) {
   va_list args;
   va_start(args, fmt);
   const int status = rtxDiagToStream(pctxt, fmt, args);
   va_end(args);
   return status;
}

int rtxPrintStreamToStdoutCB(void*, const char* fmt, va_list args) {
   return vfprintf(stdout, fmt, args);
}

int rtxPrintStreamToFileCB(void* pUserData, const char* fmt, va_list args) {
   return vfprintf(static_cast<FILE*>(pUserData), fmt, args);
}

int rtxPrintStreamToStringCB(void* pUserData, const char* fmt, va_list args) {
   auto* text = static_cast<RtxPrintToStringBuffer*>(pUserData);
   if (text->size <= text->used) return static_cast<int>(text->used);
   char* end = text->buffer + text->used;
   *end = '\0';
   vsnprintf(end, text->size - text->used, fmt, args);
   const size_t len = strlen(end);
   text->used += len;
   return static_cast<int>(len);
}

int rtxPrintToStreamIndent(RtxContext* pctxt) {
   const uint32_t indent = quorva::printIndent(pctxt);
   for (uint32_t i = 0; i < indent; ++i) QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, " "));
   return 0;
}

void rtxPrintToStreamResetIndent(RtxContext* pctxt) {
   if (pctxt)
      pctxt->indent = 0;
   else
      processIndent = 0;
}

void rtxPrintToStreamIncrIndent(RtxContext* pctxt) {
   if (pctxt)
      quorva::increaseIndent(pctxt->indent);
   else
      quorva::increaseIndent(processIndent);
}

void rtxPrintToStreamDecrIndent(RtxContext* pctxt) {
   if (pctxt)
      quorva::decreaseIndent(pctxt->indent);
   else
      quorva::decreaseIndent(processIndent);
}

int rtxPrintToStreamOpenBrace(RtxContext* pctxt, const char* name) {
   QUORVA_PRINT_STEP(quorva::text::openBrace(quorva::StreamSink(pctxt), name));
   rtxPrintToStreamIncrIndent(pctxt);
   return 0;
}

int rtxPrintToStreamCloseBrace(RtxContext* pctxt) {
   rtxPrintToStreamDecrIndent(pctxt);
   return quorva::text::closeBrace(quorva::StreamSink(pctxt));
}
