// The bit trace as a text.
#include "quorva/rtxCharStr.h"
#include "quorva/rtxMemBuf.h"
#include "quorva/rtxPrintToStream.h"
#include "quorva/rtxStream.h"
#include "runtime/core/rtxDiagBitLine.h"
#include "runtime/core/rtxInline.h"

namespace {

using quorva::BitSource;

// Messages don't nest deeper; a longer chain is no trace of a message.
constexpr unsigned maxDepth = 64;

bool isAdjustment(const RtxDiagBitField& field) {
   return !field.elemName && field.bitCount == 0;
}

const RtxDiagBitField& fieldOf(const RtxSListNode* node) {
   return *static_cast<const RtxDiagBitField*>(node->data);
}

void dumpField(RtxContext* pctxt, const BitSource& source, const RtxDiagBitField& field, const char* prefix,
               size_t nextOffset, RtxDiagBitLine& line) {
   char title[800];
   quorva::bitFieldTitle(title, sizeof(title), prefix, field);
   rtxPrintToStream(pctxt, "%s\n", title);
   rtxPrintToStream(pctxt, "bit offset: %d\tbit count: %d\tnext bit offset: %d\n",
                    static_cast<int>(field.bitOffset), static_cast<int>(field.bitCount),
                    static_cast<int>(nextOffset));
   auto print = [pctxt](const char* bits, const char* hex, const char* chars) {
      rtxPrintToStream(pctxt, "%-35.35s    %-8.8s    %-4.4s\n", bits, hex, chars);
   };
   quorva::BitLineWriter writer(line, print);
   writer.putField(source, field, nextOffset);
   rtxPrintToStream(pctxt, "\n");
}

// Lists the fields behind the last one listed.
void dumpFields(RtxDiagBitFieldList* list, const char* prefix, unsigned depth, const BitSource& source) {
   RtxContext* pctxt = list->fieldList.pctxt;
   RtxSListNode* node = list->lastField ? list->lastField->next : list->fieldList.head;
   if (!node) return;
   size_t adjustment = 0;
   if (isAdjustment(fieldOf(node))) {
      adjustment = fieldOf(node).bitOffset;
      rtxPrintToStream(pctxt, "bit adjustment set to %d\n", static_cast<int>(adjustment));
      node = node->next;
   }
   for (; node; node = node->next) {
      auto& field = *static_cast<RtxDiagBitField*>(node->data);
      const size_t nextOffset = node->next ? fieldOf(node->next).bitOffset + adjustment : 0;
      field.bitOffset += adjustment;
      dumpField(pctxt, source, field, prefix, nextOffset, list->lineState);
      if (field.openTypeFields && depth < maxDepth) {
         rtxPrintToStream(pctxt, "*** Open Type Data ***\n");
         dumpFields(field.openTypeFields, prefix, depth + 1, source.from(field.bitOffset / 8));
         rtxPrintToStream(pctxt, "***\n");
      }
      list->lastField = node;
   }
}

} // namespace

namespace quorva {

void bitFieldTitle(char* title, size_t size, const char* prefix, const RtxDiagBitField& field) {
   constexpr size_t maxSuffix = 32;
   rtxStrcpy(title, size, prefix ? prefix : "");
   if (field.elemName && *field.elemName) {
      if (*title) rtxStrcat(title, size, ".");
      rtxStrcat(title, size, field.elemName);
   }
   if (field.nameSuffix && *field.nameSuffix) {
      if (*title) rtxStrcat(title, size, " ");
      rtxStrncat(title, size, field.nameSuffix, maxSuffix);
   }
}

bool capturedBits(RtxContext* pctxt, BitSource* pSource) {
   RtxMemBuf* capture = rtxStreamGetCapture(pctxt);
   if (!capture) return false;
   size_t numocts = 0;
   pSource->data = static_cast<const uint8_t*>(rtxMemBufGetDataExt(capture, &numocts));
   pSource->nbits = pSource->data ? numocts * 8 : 0;
   return true;
}

BitSource bufferBits(const RtxContext* pctxt) {
   if (!pctxt->bufData) return {};
   return {pctxt->bufData, pctxt->bufSize * 8};
}

} // namespace quorva

void rtxDiagBitTracePrint(RtxDiagBitFieldList* pBFList, const char* varname) {
   if (!pBFList || !pBFList->fieldList.pctxt) return;
   RtxContext* pctxt = pBFList->fieldList.pctxt;
   BitSource source = quorva::bufferBits(pctxt);
   if (quorva::hot::streamActive(pctxt) && pctxt->stream->kind != RTX_STREAM_KIND_MEMORY &&
       !quorva::capturedBits(pctxt, &source)) {
      rtxDiagStream(pctxt, "~E ERROR: capture buffer was not assigned to stream\n");
      return;
   }
   dumpFields(pBFList, varname, 0, source);
}
