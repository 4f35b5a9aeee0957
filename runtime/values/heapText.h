/**
 * @file heapText.h
 * Room for texts on the heap.
 */
#ifndef QUORVA_RUNTIME_VALUES_HEAPTEXT_H
#define QUORVA_RUNTIME_VALUES_HEAPTEXT_H

#include "quorva/rtxMemHeap.h"

namespace quorva {

/** Memory for a text of `size` octets with its NUL, or null. */
inline char* allocText(RtxContext* pctxt, size_t size) {
   // Whole units of 8 octets: a static heap, which does not align, then stays fit for records.
   return static_cast<char*>(rtxMemHeapAlloc(pctxt, (size + 7) & ~size_t{7}));
}

} // namespace quorva

#endif
