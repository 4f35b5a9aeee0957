/** Array list, and the stack of integers. */
#include "quorva/rtxArrayList.h"

#include "quorva/rtxIntStack.h"
#include "quorva/rtxMemHeap.h"
#include "runtime/core/rtxInline.h"

#include <algorithm>

namespace {

int defaultEquals(const void* item1, const void* item2, const void* /*arg*/) {
   return item1 == item2;
}

void** itemsOf(const RtxDListNode* segment) {
   return static_cast<void**>(segment->data);
}

RtxDListNode* segmentOf(const RtxArrayList* list, size_t index) {
   return rtxDListFindByIndex(&list->segments, index / list->segSize);
}

bool addSegment(RtxContext* pctxt, RtxArrayList* list) {
   size_t nbytes;
   if (__builtin_mul_overflow(list->segSize, sizeof(void*), &nbytes) ||
       __builtin_add_overflow(nbytes, sizeof(RtxDListNode), &nbytes))
      return false;
   auto* node = static_cast<RtxDListNode*>(rtxMemHeapAlloc(pctxt, nbytes));
   if (node == nullptr) return false;
   node->data = node + 1;
   rtxDListAppendNode(&list->segments, node);
   return true;
}

} // namespace

void rtxArrayListInit(RtxArrayList* list, size_t segSize) {
   *list = {{}, segSize != 0 ? segSize : 10, 0, nullptr, defaultEquals};
}

RtxArrayList* rtxNewArrayList(RtxContext* pctxt, size_t segSize) {
   auto* list = static_cast<RtxArrayList*>(rtxMemHeapAlloc(pctxt, sizeof(RtxArrayList)));
   if (list != nullptr) rtxArrayListInit(list, segSize);
   return list;
}

void rtxFreeArrayList(RtxContext* pctxt, RtxArrayList* list) {
   rtxDListFreeAll(pctxt, &list->segments);
   list->size = 0;
}

int rtxArrayListAdd(RtxContext* pctxt, RtxArrayList* list, void* item, size_t* pindex) {
   if (list == nullptr) return RTX_E_BAD_ARGUMENT;
   if (list->size == list->segments.count * list->segSize && !addSegment(pctxt, list)) return RTX_E_NOMEM;
   itemsOf(list->segments.tail)[list->size % list->segSize] = item;
   if (pindex != nullptr) *pindex = list->size;
   ++list->size;
   return RTX_OK;
}

int rtxArrayListInsert(RtxContext* pctxt, RtxArrayList* list, void* item, size_t index) {
   if (list == nullptr) return RTX_E_BAD_ARGUMENT;
   if (index > list->size) return RTX_E_INDEX;
   const int status = rtxArrayListAdd(pctxt, list, item, nullptr);
   if (status != RTX_OK) return status;
   // Each segment from that of the index on takes one item in at its front and hands its last one on.
   size_t first = index % list->segSize;
   size_t left = list->size - index; // items from the index on, the new one counted
   for (RtxDListNode* node = segmentOf(list, index); left > 0; node = node->next, first = 0) {
      void** items = itemsOf(node);
      const size_t count = std::min(left, list->segSize - first);
      void* last = items[first + count - 1];
      std::move_backward(items + first, items + first + count - 1, items + first + count);
      items[first] = item;
      item = last;
      left -= count;
   }
   return RTX_OK;
}

int rtxArrayListRemoveIndexed(RtxContext* pctxt, RtxArrayList* list, size_t index) {
   if (list == nullptr) return RTX_E_BAD_ARGUMENT;
   if (index == static_cast<size_t>(-1) && list->size != 0) index = list->size - 1;
   if (index >= list->size) return quorva::recordFailure(pctxt, RTX_E_INDEX);
   size_t first = index % list->segSize;
   size_t left = list->size - index; // items from the index on, the removed one counted
   for (RtxDListNode* node = segmentOf(list, index); left > 0; node = node->next, first = 0) {
      void** items = itemsOf(node);
      const size_t count = std::min(left, list->segSize - first);
      std::move(items + first + 1, items + first + count, items + first);
      left -= count;
      if (left > 0) items[first + count - 1] = itemsOf(node->next)[0];
   }
   if (--list->size % list->segSize == 0) rtxDListFreeNode(pctxt, &list->segments, list->segments.tail);
   return RTX_OK;
}

int rtxArrayListRemove(RtxContext* pctxt, RtxArrayList* list, const void* item) {
   const int index = rtxArrayListIndexOf(list, item);
   if (index == RTX_E_BAD_ARGUMENT) return index;
   return rtxArrayListRemoveIndexed(pctxt, list, index < 0 ? list->size : static_cast<size_t>(index));
}

int rtxArrayListReplace(RtxArrayList* list, void* item, size_t index) {
   if (list == nullptr) return RTX_E_BAD_ARGUMENT;
   if (index >= list->size) return RTX_E_INDEX;
   itemsOf(segmentOf(list, index))[index % list->segSize] = item;
   return RTX_OK;
}

void* rtxArrayListGetIndexed(const RtxArrayList* list, size_t index) {
   if (list == nullptr || index >= list->size) return nullptr;
   return itemsOf(segmentOf(list, index))[index % list->segSize];
}

int rtxArrayListIndexOf(const RtxArrayList* list, const void* item) {
   if (list == nullptr) return RTX_E_BAD_ARGUMENT;
   RtxArrayListIter iter;
   rtxArrayListInitIter(&iter, list, 0);
   for (int index = 0; rtxArrayListHasNextItem(&iter) != 0; ++index)
      if (list->equalsFn(rtxArrayListNextItem(&iter), item, list->equalsArg) != 0) return index;
   return -1;
}

void rtxArrayListInitIter(RtxArrayListIter* iter, const RtxArrayList* list, size_t start) {
   *iter = {list, list != nullptr && start < list->size ? segmentOf(list, start) : nullptr, start};
}

int rtxArrayListHasNextItem(const RtxArrayListIter* iter) {
   return iter->list != nullptr && iter->index < iter->list->size;
}

void* rtxArrayListNextItem(RtxArrayListIter* iter) {
   if (rtxArrayListHasNextItem(iter) == 0) return nullptr;
   const size_t segSize = iter->list->segSize;
   if (iter->node == nullptr) iter->node = segmentOf(iter->list, iter->index); // the list has grown
   void* item = itemsOf(iter->node)[iter->index % segSize];
   if (++iter->index % segSize == 0) iter->node = iter->node->next;
   return item;
}

int rtxIntStackInit(RtxContext* pctxt, RtxIntStack* stack, size_t capacity) {
   if (capacity == 0) capacity = 100;
   *stack = {pctxt, nullptr, 0, 0};
   size_t nbytes;
   if (__builtin_mul_overflow(capacity, sizeof(int32_t), &nbytes)) return RTX_E_NOMEM;
   stack->values = static_cast<int32_t*>(rtxMemHeapAlloc(pctxt, nbytes));
   if (stack->values == nullptr) return RTX_E_NOMEM;
   stack->capacity = capacity;
   return RTX_OK;
}

int rtxIntStackPush(RtxIntStack* stack, int32_t value) {
   if (stack->index == stack->capacity) {
      if (stack->capacity == 0) { // its first memory failed
         const int status = rtxIntStackInit(stack->pctxt, stack, 0);
         if (status != RTX_OK) return status;
      } else {
         size_t nbytes;
         if (__builtin_mul_overflow(stack->capacity, 2 * sizeof(int32_t), &nbytes)) return RTX_E_NOMEM;
         auto* values = static_cast<int32_t*>(rtxMemHeapRealloc(stack->pctxt, stack->values, nbytes));
         if (values == nullptr) return RTX_E_NOMEM;
         stack->values = values;
         stack->capacity *= 2;
      }
   }
   stack->values[stack->index++] = value;
   return RTX_OK;
}

int rtxIntStackPop(RtxIntStack* stack, int32_t* pvalue) {
   const int status = rtxIntStackPeek(stack, pvalue);
   if (status == RTX_OK) --stack->index;
   return status;
}

int rtxIntStackPeek(const RtxIntStack* stack, int32_t* pvalue) {
   if (stack->index == 0) return RTX_E_END_OF_DATA;
   if (pvalue != nullptr) *pvalue = stack->values[stack->index - 1];
   return RTX_OK;
}
