/**
 * @file rtxMemHeapNodes.h
 * The nodes of name and container stacks, as the heap keeps them for the contexts on it.
 */
#ifndef QUORVA_RUNTIME_CORE_RTXMEMHEAPNODES_H
#define QUORVA_RUNTIME_CORE_RTXMEMHEAPNODES_H

#include "runtime/core/rtxInline.h"

/** A piece of memory with nodes: behind the record of a heap, or in system memory of its own. */
struct RtxMemHeapNodes {
   RtxMemHeapNodes* next;
   RtxFreeFunc freeFn; ///< Null for what lies behind the record.
   RtxDListNode names[24];
   RtxDListNode containers[12];
   quorva::hot::RtxContainer limits[12]; ///< The entries, which stay with their nodes.
};

namespace quorva::heap {

/** Nodes that some context has in use. */
size_t nodesInUse(const RtxMemHeap* heap);

/** Gives back the pieces of system memory; no node may be in use. */
void releaseNodes(RtxMemHeap* heap);

} // namespace quorva::heap

#endif
