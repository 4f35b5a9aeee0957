/** Heap: nodes of name and container stacks, which outlive what ends all allocations. */
#include "runtime/core/rtxMemHeapNodes.h"

#include "runtime/core/rtxMemHeapBlocks.h"

#include <iterator>

namespace quorva::heap {
namespace {

constexpr size_t kNodes = std::size(RtxMemHeapNodes{}.names) + std::size(RtxMemHeapNodes{}.containers);

/** Makes all nodes of a piece spare, in the order in which they lie. */
void addSpares(RtxMemHeap* heap, RtxMemHeapNodes* nodes) {
   for (size_t i = std::size(nodes->names); i-- > 0;) {
      nodes->names[i].next = heap->spareNames;
      heap->spareNames = &nodes->names[i];
   }
   for (size_t i = std::size(nodes->containers); i-- > 0;) {
      nodes->containers[i] = {&nodes->limits[i], heap->spareContainers, nullptr};
      heap->spareContainers = &nodes->containers[i];
   }
}

size_t lengthOf(const RtxDListNode* node) {
   size_t length = 0;
   for (; node != nullptr; node = node->next) ++length;
   return length;
}

} // namespace

size_t firstNodesSize() {
   return sizeof(RtxMemHeapNodes);
}

void addFirstNodes(RtxMemHeap* heap) {
   static_assert(sizeof(RtxMemHeap) % alignof(RtxMemHeapNodes) == 0);
   heap->nodes = reinterpret_cast<RtxMemHeapNodes*>(heap + 1);
   addSpares(heap, heap->nodes);
}

bool addNodes(RtxMemHeap* heap) {
   auto* nodes =
         static_cast<RtxMemHeapNodes*>(systemAlloc(heap->mallocFn, heap->freeFn, sizeof(RtxMemHeapNodes)));
   if (nodes == nullptr) return false;
   nodes->freeFn = heap->freeFn;
   nodes->next = heap->nodes;
   heap->nodes = nodes;
   addSpares(heap, nodes);
   return true;
}

size_t nodesInUse(const RtxMemHeap* heap) {
   size_t count = 0;
   for (const RtxMemHeapNodes* nodes = heap->nodes; nodes != nullptr; nodes = nodes->next) count += kNodes;
   return count - lengthOf(heap->spareNames) - lengthOf(heap->spareContainers);
}

void endAllocations(RtxMemHeap* heap) {
   ++heap->epoch;
   heap->nodesAtReset = nodesInUse(heap);
   heap->maxElsewhere = kUnknown;
   if ((heap->flags & RTX_MH_ZERO_ON_FREE) == 0) return;
   for (RtxDListNode* node = heap->spareNames; node != nullptr; node = node->next)
      node->data = node->prev = nullptr;
}

void releaseNodes(RtxMemHeap* heap) {
   if (heap->nodes->freeFn == nullptr) return;
   while (const RtxFreeFunc freeFn = heap->nodes->freeFn) {
      RtxMemHeapNodes* nodes = heap->nodes;
      heap->nodes = nodes->next;
      clearFreed(heap, nodes, sizeof *nodes);
      freeFn(nodes);
   }
   heap->spareNames = heap->spareContainers = nullptr;
   addSpares(heap, heap->nodes);
}

} // namespace quorva::heap
