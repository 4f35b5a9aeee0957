/** List of numbers: the nodes of a RtxDList with a value behind each. */
#include "quorva/rtxScalarDList.h"

#include "quorva/rtxMemHeap.h"

namespace {

// A list node and its number are one allocation, which rtxDListFreeAll knows by this place.
static_assert(offsetof(RtxScalarDListNode, value) == sizeof(RtxDListNode));

RtxScalarDListNode* appendNew(RtxContext* pctxt, RtxScalarDList* list, RtxScalarKind kind) {
   auto* node = static_cast<RtxScalarDListNode*>(rtxMemHeapAllocZ(pctxt, sizeof(RtxScalarDListNode)));
   if (node == nullptr) return nullptr;
   node->kind = kind;
   return rtxScalarDListAppendNode(list, node);
}

} // namespace

void rtxScalarDListInit(RtxScalarDList* list) {
   rtxDListInit(list);
}

RtxScalarDListNode* rtxScalarDListAppendInt32(RtxContext* pctxt, RtxScalarDList* list, int32_t value) {
   RtxScalarDListNode* node = appendNew(pctxt, list, RTX_SCALAR_INT32);
   if (node != nullptr) node->value.int32 = value;
   return node;
}

RtxScalarDListNode* rtxScalarDListAppendUInt32(RtxContext* pctxt, RtxScalarDList* list, uint32_t value) {
   RtxScalarDListNode* node = appendNew(pctxt, list, RTX_SCALAR_UINT32);
   if (node != nullptr) node->value.uint32 = value;
   return node;
}

RtxScalarDListNode* rtxScalarDListAppendInt64(RtxContext* pctxt, RtxScalarDList* list, int64_t value) {
   RtxScalarDListNode* node = appendNew(pctxt, list, RTX_SCALAR_INT64);
   if (node != nullptr) node->value.int64 = value;
   return node;
}

RtxScalarDListNode* rtxScalarDListAppendUInt64(RtxContext* pctxt, RtxScalarDList* list, uint64_t value) {
   RtxScalarDListNode* node = appendNew(pctxt, list, RTX_SCALAR_UINT64);
   if (node != nullptr) node->value.uint64 = value;
   return node;
}

RtxScalarDListNode* rtxScalarDListAppendDouble(RtxContext* pctxt, RtxScalarDList* list, double value) {
   RtxScalarDListNode* node = appendNew(pctxt, list, RTX_SCALAR_DOUBLE);
   if (node != nullptr) node->value.dbl = value;
   return node;
}

RtxScalarDListNode* rtxScalarDListAppendFloat(RtxContext* pctxt, RtxScalarDList* list, float value) {
   RtxScalarDListNode* node = appendNew(pctxt, list, RTX_SCALAR_FLOAT);
   if (node != nullptr) node->value.flt = value;
   return node;
}

RtxScalarDListNode* rtxScalarDListAppendNode(RtxScalarDList* list, RtxScalarDListNode* node) {
   return rtxScalarDListInsertNode(list, list->count, node);
}

RtxScalarDListNode* rtxScalarDListInsertNode(RtxScalarDList* list, size_t index, RtxScalarDListNode* node) {
   node->link.data = &node->value;
   rtxDListInsertNode(list, index, &node->link);
   return node;
}

RtxScalarDListNode* rtxScalarDListFindByIndex(const RtxScalarDList* list, size_t index) {
   return reinterpret_cast<RtxScalarDListNode*>(rtxDListFindByIndex(list, index));
}

void rtxScalarDListRemove(RtxScalarDList* list, RtxScalarDListNode* node) {
   rtxDListRemove(list, &node->link);
}

void rtxScalarDListFreeNode(RtxContext* pctxt, RtxScalarDList* list, RtxScalarDListNode* node) {
   rtxDListFreeNode(pctxt, list, &node->link);
}

void rtxScalarDListFreeNodes(RtxContext* pctxt, RtxScalarDList* list) {
   rtxDListFreeNodes(pctxt, list);
}
