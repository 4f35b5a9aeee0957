// Feeding the bit trace. Nothing here may make a codec fail: what can't be allocated is left out.
#include <cstring>

#include "quorva/rtxDiag.h"
#include "quorva/rtxDList.h"
#include "quorva/rtxMemBuf.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStream.h"
#include "quorva/rtxUTF8.h"
#include "runtime/core/rtxInline.h"
#include "runtime/core/rtxMemHeapInline.h"

namespace {

using quorva::hot::alloc;
using quorva::hot::bitOffset;

constexpr uint16_t maxDisabled = UINT16_MAX;

bool feeding(const RtxDiagBitFieldList* pBFList) {
   return pBFList && pBFList->disabledCount == 0;
}

// Newest field of a list that notes anything, or null.
RtxDiagBitField* newest(const RtxDiagBitFieldList* pBFList) {
   if (!feeding(pBFList) || !pBFList->fieldList.tail) return nullptr;
   return static_cast<RtxDiagBitField*>(pBFList->fieldList.tail->data);
}

RtxContext* contextOf(const RtxDiagBitFieldList* pBFList) {
   return pBFList->fieldList.pctxt;
}

// A cursor that was set back behind the start of a field leaves it no bits.
size_t bitsSince(size_t start, size_t now) {
   return now > start ? now - start : 0;
}

// Joins the names on the element stack; null with true if there are none.
bool copyElemPath(RtxContext* pctxt, char** pPath) {
   *pPath = nullptr;
   return rtxDListToUTF8Str(pctxt, &pctxt->elemNames, pPath, '.') >= 0;
}

// Appends a field that begins at the cursor; takes the name, also when it fails.
RtxDiagBitField* appendField(RtxDiagBitFieldList* pBFList, char* name, const char* suffix) {
   RtxContext* pctxt = contextOf(pBFList);
   auto* field = static_cast<RtxDiagBitField*>(alloc(pctxt, sizeof(RtxDiagBitField)));
   auto* node = static_cast<RtxSListNode*>(alloc(pctxt, sizeof(RtxSListNode)));
   if (field && node) {
      *field = {name, suffix, bitOffset(pctxt), 0, nullptr};
      *node = {field, nullptr};
      RtxSList& list = pBFList->fieldList;
      (list.tail ? list.tail->next : list.head) = node;
      list.tail = node;
      ++list.count;
      return field;
   }
   rtxMemHeapFreePtr(pctxt, node);
   rtxMemHeapFreePtr(pctxt, field);
   rtxMemHeapFreePtr(pctxt, name);
   return nullptr;
}

} // namespace

int rtxDiagBitFieldListInit(RtxContext* pctxt, RtxDiagBitFieldList* pBFList) {
   *pBFList = {};
   rtxSListInitEx(pctxt, &pBFList->fieldList);
   pBFList->lineState.mask = 128;
   if (!quorva::hot::streamActive(pctxt) || pctxt->stream->kind == RTX_STREAM_KIND_MEMORY) return RTX_OK;
   auto* capture = static_cast<RtxMemBuf*>(rtxMemHeapAlloc(pctxt, sizeof(RtxMemBuf)));
   if (!capture) return RTX_E_NOMEM;
   rtxMemBufInit(pctxt, capture, 0);
   pBFList->captureBuf = capture;
   rtxStreamSetCapture(pctxt, capture);
   return RTX_OK;
}

int rtxDiagCtxtBitFieldListInit(RtxContext*) {
   return RTX_OK;
}

RtxDiagBitField* rtxDiagNewBitField(RtxDiagBitFieldList* pBFList, const char* suffix) {
   if (!feeding(pBFList)) return nullptr;
   char* name = nullptr;
   return copyElemPath(contextOf(pBFList), &name) ? appendField(pBFList, name, suffix) : nullptr;
}

void rtxDiagSetBitFldCount(RtxDiagBitFieldList* pBFList) {
   if (RtxDiagBitField* field = newest(pBFList))
      field->bitCount = bitsSince(field->bitOffset, bitOffset(contextOf(pBFList)));
}

void rtxDiagSetBitFldOffset(RtxDiagBitFieldList* pBFList) {
   RtxDiagBitField* field = newest(pBFList);
   if (field && field->bitCount == 0) field->bitOffset = bitOffset(contextOf(pBFList));
}

void rtxDiagSetBitFldNameSuffix(RtxDiagBitFieldList* pBFList, const char* suffix) {
   if (RtxDiagBitField* field = newest(pBFList)) field->nameSuffix = suffix;
}

void rtxDiagInsBitFieldLen(RtxDiagBitFieldList* pBFList) {
   RtxDiagBitField* length = newest(pBFList);
   if (!length) return;
   // Each field owns its name, since a name may grow later.
   char* name = rtxUTF8Strdup(contextOf(pBFList), length->elemName);
   if (length->elemName && !name) return;
   const RtxDiagBitField* value = appendField(pBFList, name, length->nameSuffix);
   if (!value) return;
   length->nameSuffix = "length";
   length->bitCount = bitsSince(length->bitOffset, value->bitOffset);
}

void rtxDiagBitFldAppendNamePart(RtxDiagBitFieldList* pBFList, const char* namePart) {
   RtxDiagBitField* field = newest(pBFList);
   if (!field) return;
   RtxContext* pctxt = contextOf(pBFList);
   if (!field->elemName || !*field->elemName) {
      char* path = nullptr;
      if (!copyElemPath(pctxt, &path)) return;
      rtxMemHeapFreePtr(pctxt, field->elemName);
      field->elemName = path;
      return;
   }
   if (!namePart) return;
   const size_t len = strlen(field->elemName);
   const size_t partLen = strlen(namePart);
   auto* name = static_cast<char*>(rtxMemHeapRealloc(pctxt, field->elemName, len + partLen + 2));
   if (!name) return;
   name[len] = '.';
   memcpy(name + len + 1, namePart, partLen + 1);
   field->elemName = name;
}

int rtxDiagSetBitFldDisabled(RtxDiagBitFieldList* pBFList, int value) {
   if (!pBFList) return 1;
   uint16_t& count = pBFList->disabledCount;
   if (value) {
      if (count < maxDisabled) ++count;
   } else if (count > 0) {
      --count;
   }
   return count > 0;
}
