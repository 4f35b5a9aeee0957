/** Doubly linked list, the stack over it, and the chunk list. */
#include "quorva/rtxDList.h"

#include "quorva/rtxContext.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStack.h"
#include "quorva/rtxUTF8.h"
#include "runtime/core/rtxInline.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

RtxDListNode* newNode(RtxContext* pctxt, void* data) {
   auto* node = static_cast<RtxDListNode*>(rtxMemHeapAlloc(pctxt, sizeof(RtxDListNode)));
   if (node != nullptr) node->data = data;
   return node;
}

/** Links a node between two neighbours, either of which may be null. */
RtxDListNode* linkNode(RtxDList* list, RtxDListNode* prev, RtxDListNode* node, RtxDListNode* next) {
   node->prev = prev;
   node->next = next;
   (prev != nullptr ? prev->next : list->head) = node;
   (next != nullptr ? next->prev : list->tail) = node;
   ++list->count;
   return node;
}

RtxDListNode* append(RtxDList* list, RtxDListNode* node) {
   return linkNode(list, list->tail, node, nullptr);
}

/** Appends a copy of some octets. */
bool appendCopy(RtxContext* pctxt, RtxDList* list, const void* octets, size_t size) {
   void* copy = rtxMemHeapAlloc(pctxt, size);
   if (copy == nullptr) return false;
   if (size != 0) std::memcpy(copy, octets, size);
   if (rtxDListAppend(pctxt, list, copy) != nullptr) return true;
   rtxMemHeapFreePtr(pctxt, copy);
   return false;
}

/** Frees the nodes behind the first `count`, with their data if it was copied. */
void cutTail(RtxContext* pctxt, RtxDList* list, size_t count, bool copied) {
   while (list->count > count) {
      RtxDListNode* node = list->tail;
      if (copied) rtxMemHeapFreePtr(pctxt, node->data);
      rtxDListFreeNode(pctxt, list, node);
   }
}

/** Memory for `count` elements of `size` octets; null also if that has no size. */
void* allocElems(RtxContext* pctxt, size_t count, size_t size) {
   size_t nbytes;
   return __builtin_mul_overflow(count, size, &nbytes) ? nullptr : rtxMemHeapAlloc(pctxt, nbytes);
}

/** An array with room for the whole list: the one given, or a new one. */
bool provideArray(RtxContext* pctxt, const RtxDList* list, void** parray, size_t* pcapacity,
                  size_t elemSize) {
   const size_t capacity = pcapacity != nullptr ? *pcapacity : 0;
   if (list->count <= capacity) return true;
   void* array = allocElems(pctxt, list->count, elemSize);
   if (array == nullptr) return false;
   *parray = array;
   if (pcapacity != nullptr) *pcapacity = list->count;
   return true;
}

} // namespace

void rtxDListInit(RtxDList* list) {
   *list = {};
}

RtxDListNode* rtxDListAppend(RtxContext* pctxt, RtxDList* list, void* data) {
   RtxDListNode* node = newNode(pctxt, data);
   return node == nullptr ? nullptr : append(list, node);
}

RtxDListNode* rtxDListAppendNode(RtxDList* list, RtxDListNode* node) {
   return append(list, node);
}

RtxDListNode* rtxDListInsertNode(RtxDList* list, size_t index, RtxDListNode* node) {
   RtxDListNode* next = rtxDListFindByIndex(list, index);
   return linkNode(list, next != nullptr ? next->prev : list->tail, node, next);
}

RtxDListNode* rtxDListInsert(RtxContext* pctxt, RtxDList* list, size_t index, void* data) {
   RtxDListNode* node = newNode(pctxt, data);
   return node == nullptr ? nullptr : rtxDListInsertNode(list, index, node);
}

RtxDListNode* rtxDListInsertBefore(RtxContext* pctxt, RtxDList* list, RtxDListNode* node, void* data) {
   RtxDListNode* fresh = newNode(pctxt, data);
   if (fresh == nullptr) return nullptr;
   return linkNode(list, node != nullptr ? node->prev : list->tail, fresh, node);
}

RtxDListNode* rtxDListInsertAfter(RtxContext* pctxt, RtxDList* list, RtxDListNode* node, void* data) {
   RtxDListNode* fresh = newNode(pctxt, data);
   if (fresh == nullptr) return nullptr;
   return linkNode(list, node, fresh, node != nullptr ? node->next : list->head);
}

int rtxDListAppendCharArray(RtxContext* pctxt, RtxDList* list, size_t size, const void* octets) {
   return appendCopy(pctxt, list, octets, size) ? RTX_OK : quorva::recordNoMemory(pctxt);
}

int rtxDListAppendArray(RtxContext* pctxt, RtxDList* list, void* array, size_t count, size_t elemSize) {
   const size_t before = list->count;
   for (size_t i = 0; i < count; ++i) {
      if (rtxDListAppend(pctxt, list, static_cast<uint8_t*>(array) + i * elemSize) == nullptr) {
         cutTail(pctxt, list, before, false);
         return quorva::recordNoMemory(pctxt);
      }
   }
   return RTX_OK;
}

int rtxDListAppendArrayCopy(RtxContext* pctxt, RtxDList* list, const void* array, size_t count,
                            size_t elemSize) {
   const size_t before = list->count;
   for (size_t i = 0; i < count; ++i) {
      if (!appendCopy(pctxt, list, static_cast<const uint8_t*>(array) + i * elemSize, elemSize)) {
         cutTail(pctxt, list, before, true);
         return quorva::recordNoMemory(pctxt);
      }
   }
   return RTX_OK;
}

RtxDListNode* rtxDListFindByIndex(const RtxDList* list, size_t index) {
   if (index >= list->count) return nullptr;
   RtxDListNode* node;
   if (index < list->count / 2) {
      for (node = list->head; index > 0; --index) node = node->next;
   } else {
      for (node = list->tail, index = list->count - 1 - index; index > 0; --index) node = node->prev;
   }
   return node;
}

RtxDListNode* rtxDListFindByData(const RtxDList* list, const void* data) {
   RtxDListNode* node = list->head;
   while (node != nullptr && node->data != data) node = node->next;
   return node;
}

int rtxDListFindIndexByData(const RtxDList* list, const void* data) {
   int index = 0;
   for (const RtxDListNode* node = list->head; node != nullptr; node = node->next, ++index)
      if (node->data == data) return index;
   return -1;
}

RtxDListNode* rtxDListFindFirstData(const RtxDList* list) {
   RtxDListNode* node = list->head;
   while (node != nullptr && node->data == nullptr) node = node->next;
   return node;
}

void rtxDListRemove(RtxDList* list, RtxDListNode* node) {
   (node->prev != nullptr ? node->prev->next : list->head) = node->next;
   (node->next != nullptr ? node->next->prev : list->tail) = node->prev;
   --list->count;
}

void rtxDListFreeNode(RtxContext* pctxt, RtxDList* list, RtxDListNode* node) {
   rtxDListRemove(list, node);
   rtxMemHeapFreePtr(pctxt, node);
}

void rtxDListFreeNodes(RtxContext* pctxt, RtxDList* list) {
   if (list->head != nullptr && rtxMemHeapIsEmpty(pctxt) == 0) {
      for (RtxDListNode *node = list->head, *next; node != nullptr; node = next) {
         next = node->next;
         rtxMemHeapFreePtr(pctxt, node);
      }
   }
   *list = {};
}

void rtxDListFreeAll(RtxContext* pctxt, RtxDList* list) {
   if (list->head != nullptr && rtxMemHeapIsEmpty(pctxt) == 0) {
      for (RtxDListNode *node = list->head, *next; node != nullptr; node = next) {
         next = node->next;
         if (node->data != node + 1) rtxMemHeapFreePtr(pctxt, node->data);
         rtxMemHeapFreePtr(pctxt, node);
      }
   }
   *list = {};
}

int rtxDListToArray(RtxContext* pctxt, const RtxDList* list, void** parray, size_t* pcapacity,
                    size_t elemSize) {
   if (!provideArray(pctxt, list, parray, pcapacity, elemSize)) return RTX_E_NOMEM;
   auto* dest = static_cast<uint8_t*>(*parray);
   for (const RtxDListNode* node = list->head; node != nullptr; node = node->next, dest += elemSize) {
      if (node->data == nullptr)
         std::memset(dest, 0, elemSize);
      else if (elemSize != 0)
         std::memcpy(dest, node->data, elemSize);
   }
   return static_cast<int>(list->count);
}

int rtxDListToPointerArray(RtxContext* pctxt, const RtxDList* list, void*** parray, size_t* pcapacity) {
   void* array = *parray;
   if (!provideArray(pctxt, list, &array, pcapacity, sizeof(void*))) return RTX_E_NOMEM;
   *parray = static_cast<void**>(array);
   void** dest = *parray;
   for (const RtxDListNode* node = list->head; node != nullptr; node = node->next) *dest++ = node->data;
   return static_cast<int>(list->count);
}

namespace {

/** Copies a text that is mostly shorter than a call of memcpy is long; returns its end. */
char* copyName(char* to, const char* from, size_t count) {
   const auto ends = [&](auto word) { // its first and last octets, which may overlap
      auto last = word;
      std::memcpy(&word, from, sizeof word);
      std::memcpy(&last, from + count - sizeof word, sizeof word);
      std::memcpy(to, &word, sizeof word);
      std::memcpy(to + count - sizeof word, &last, sizeof word);
   };
   if (count > 16)
      std::memcpy(to, from, count);
   else if (count >= 8)
      ends(uint64_t{});
   else if (count >= 4)
      ends(uint32_t{});
   else
      for (size_t i = 0; i < count; ++i) to[i] = from[i];
   return to + count;
}

} // namespace

int rtxDListToUTF8Str(RtxContext* pctxt, const RtxDList* list, char** ptext, char sep) {
   *ptext = nullptr;
   if (list->head == nullptr) return RTX_OK;
   // The trace joins a path for each field: lengths are taken once, as far as paths are deep.
   size_t lengths[16];
   size_t size = list->count; // separators and the NUL
   size_t depth = 0;
   for (const RtxDListNode* node = list->head; node != nullptr; node = node->next) {
      const size_t length = rtxUTF8LenBytes(static_cast<const char*>(node->data));
      if (depth < std::size(lengths)) lengths[depth++] = length;
      size += length;
   }
   auto* dest = static_cast<char*>(rtxMemHeapAlloc(pctxt, size));
   if (dest == nullptr) return RTX_E_NOMEM;
   *ptext = dest;
   size_t i = 0;
   for (const RtxDListNode* node = list->head; node != nullptr; node = node->next, ++i) {
      const auto* text = static_cast<const char*>(node->data);
      dest = copyName(dest, text, i < depth ? lengths[i] : rtxUTF8LenBytes(text));
      *dest++ = node->next != nullptr ? sep : '\0';
   }
   return RTX_OK;
}

RtxDListNode* rtxDListInsertNodeSorted(RtxDList* list, RtxDListNode* node, RtxDListCompareFunc compare,
                                       const void* arg) {
   if (list->head == nullptr || compare(node->data, list->tail->data, arg) >= 0) return append(list, node);
   RtxDListNode* next = list->head;
   if (list->count > 1 && compare(node->data, next->data, arg) > 0) {
      do next = next->next;
      while (next->next != nullptr && compare(node->data, next->data, arg) >= 1);
   }
   return linkNode(list, next->prev, node, next);
}

RtxDListNode* rtxDListInsertSorted(RtxContext* pctxt, RtxDList* list, void* data, RtxDListCompareFunc compare,
                                   const void* arg) {
   RtxDListNode* node = newNode(pctxt, data);
   return node == nullptr ? nullptr : rtxDListInsertNodeSorted(list, node, compare, arg);
}

namespace {

/** Gives up a chunk list whose current chunk, if any, is in the list already. */
int failBuf(RtxContext* pctxt, RtxDListBuf* buf) {
   rtxDListFreeAll(pctxt, &buf->chunks);
   *buf->pdata = nullptr;
   buf->index = buf->chunkSize = buf->total = 0;
   return quorva::recordNoMemory(pctxt);
}

/** Moves the current chunk to the finished ones. */
bool finishChunk(RtxContext* pctxt, RtxDListBuf* buf) {
   if (rtxDListAppend(pctxt, &buf->chunks, *buf->pdata) != nullptr) return true;
   rtxMemHeapFreePtr(pctxt, *buf->pdata);
   return false;
}

} // namespace

void rtxDListBufInit(RtxDListBuf* buf, size_t firstChunkSize, void** pdata, size_t elemSize) {
   *buf = {0, 0, 0, std::max<size_t>(firstChunkSize, 1), elemSize, {}, pdata};
   *pdata = nullptr;
}

int rtxDListBufExpand(RtxContext* pctxt, RtxDListBuf* buf) {
   size_t chunkSize = buf->firstChunkSize;
   if (buf->chunkSize != 0) {
      if (!finishChunk(pctxt, buf)) return failBuf(pctxt, buf);
      if (__builtin_mul_overflow(buf->chunkSize, size_t{2}, &chunkSize)) return failBuf(pctxt, buf);
   }
   void* chunk = allocElems(pctxt, chunkSize, buf->elemSize);
   if (chunk == nullptr) return failBuf(pctxt, buf);
   *buf->pdata = chunk;
   buf->chunkSize = chunkSize;
   buf->index = 0;
   return RTX_OK;
}

int rtxDListBufToArray(RtxContext* pctxt, RtxDListBuf* buf) {
   if (buf->chunkSize == 0) return RTX_OK;
   if (buf->chunks.head == nullptr) { // one chunk: cut it to size; if that can't be, it serves as it is
      const size_t nbytes = buf->total * buf->elemSize;
      void* array = rtxMemHeapRealloc(pctxt, *buf->pdata, nbytes);
      if (array != nullptr || nbytes == 0) *buf->pdata = array;
      return RTX_OK;
   }
   if (!finishChunk(pctxt, buf)) return failBuf(pctxt, buf);
   auto* array = static_cast<uint8_t*>(allocElems(pctxt, buf->total, buf->elemSize));
   if (array == nullptr) return failBuf(pctxt, buf);
   size_t done = 0;
   size_t chunkSize = buf->firstChunkSize;
   for (const RtxDListNode* node = buf->chunks.head; node != nullptr; node = node->next, chunkSize *= 2) {
      const size_t count = std::min(chunkSize, buf->total - done);
      if (count * buf->elemSize != 0)
         std::memcpy(array + done * buf->elemSize, node->data, count * buf->elemSize);
      done += count;
   }
   rtxDListFreeAll(pctxt, &buf->chunks);
   *buf->pdata = array;
   return RTX_OK;
}

void rtxStackInit(RtxContext* pctxt, RtxStack* stack) {
   *stack = {pctxt, {}};
}

RtxStack* rtxStackCreate(RtxContext* pctxt) {
   auto* stack = static_cast<RtxStack*>(rtxMemHeapAlloc(pctxt, sizeof(RtxStack)));
   if (stack != nullptr) rtxStackInit(pctxt, stack);
   return stack;
}

int rtxStackPush(RtxStack* stack, void* data) {
   if (stack == nullptr || stack->pctxt == nullptr) return RTX_E_NULL;
   return rtxDListInsertAfter(stack->pctxt, &stack->dlist, nullptr, data) != nullptr ? RTX_OK : RTX_E_NOMEM;
}

void* rtxStackPop(RtxStack* stack) {
   if (stack == nullptr || stack->dlist.head == nullptr) return nullptr;
   RtxDListNode* node = stack->dlist.head;
   void* data = node->data;
   rtxDListFreeNode(stack->pctxt, &stack->dlist, node);
   return data;
}

void* rtxStackPeek(const RtxStack* stack) {
   return stack == nullptr || stack->dlist.head == nullptr ? nullptr : stack->dlist.head->data;
}
