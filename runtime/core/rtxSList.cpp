/** Singly linked list. */
#include "quorva/rtxSList.h"

#include "quorva/rtxMemHeap.h"

#include <cstdlib>

namespace {

void* allocFor(RtxContext* pctxt, size_t nbytes) {
   return pctxt != nullptr ? rtxMemHeapAlloc(pctxt, nbytes) : std::malloc(nbytes);
}

void freeFor(RtxContext* pctxt, void* ptr) {
   if (pctxt != nullptr)
      rtxMemHeapFreePtr(pctxt, ptr);
   else
      std::free(ptr);
}

void freeNodes(RtxSList* list, bool withData) {
   // An empty heap has the nodes no more.
   if (list->head != nullptr && (list->pctxt == nullptr || rtxMemHeapIsEmpty(list->pctxt) == 0)) {
      for (RtxSListNode *node = list->head, *next; node != nullptr; node = next) {
         next = node->next;
         if (withData) freeFor(list->pctxt, node->data);
         freeFor(list->pctxt, node);
      }
   }
   rtxSListInitEx(list->pctxt, list);
}

} // namespace

void rtxSListInit(RtxSList* list) {
   rtxSListInitEx(nullptr, list);
}

void rtxSListInitEx(RtxContext* pctxt, RtxSList* list) {
   *list = {0, nullptr, nullptr, pctxt};
}

RtxSList* rtxSListCreate() {
   return rtxSListCreateEx(nullptr);
}

RtxSList* rtxSListCreateEx(RtxContext* pctxt) {
   auto* list = static_cast<RtxSList*>(allocFor(pctxt, sizeof(RtxSList)));
   if (list != nullptr) rtxSListInitEx(pctxt, list);
   return list;
}

RtxSListNode* rtxSListAppend(RtxSList* list, void* data) {
   auto* node = static_cast<RtxSListNode*>(allocFor(list->pctxt, sizeof(RtxSListNode)));
   if (node == nullptr) return nullptr;
   *node = {data, nullptr};
   (list->tail != nullptr ? list->tail->next : list->head) = node;
   list->tail = node;
   ++list->count;
   return node;
}

RtxSListNode* rtxSListFind(const RtxSList* list, const void* data) {
   RtxSListNode* node = list->head;
   while (node != nullptr && node->data != data) node = node->next;
   return node;
}

void rtxSListRemove(RtxSList* list, const void* data) {
   RtxSListNode* prev = nullptr;
   for (RtxSListNode* node = list->head; node != nullptr; prev = node, node = node->next) {
      if (node->data != data) continue;
      (prev != nullptr ? prev->next : list->head) = node->next;
      if (list->tail == node) list->tail = prev;
      --list->count;
      freeFor(list->pctxt, node);
      return;
   }
}

void rtxSListFree(RtxSList* list) {
   freeNodes(list, false);
}

void rtxSListFreeAll(RtxSList* list) {
   freeNodes(list, true);
}
