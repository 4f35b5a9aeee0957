/**
 * @file heapText.h
 * Room for texts on the heap.
 */
#ifndef QUORVA_RUNTIME_VALUES_HEAPTEXT_H
#define QUORVA_RUNTIME_VALUES_HEAPTEXT_H

#include "quorva/rtxMemHeap.h"

namespace quorva {

/** Memory for `count` units of a text, its terminator among them, or null. */
template <class Unit>
Unit* allocUnits(RtxContext* pctxt, size_t count) {
   // Whole units of 8 octets: a static heap, which does not align, then stays fit for records.
   return static_cast<Unit*>(rtxMemHeapAlloc(pctxt, (count * sizeof(Unit) + 7) & ~size_t{7}));
}

/** The same for a text of `size` octets with its NUL. */
inline char* allocText(RtxContext* pctxt, size_t size) {
   return allocUnits<char>(pctxt, size);
}

} // namespace quorva

#endif
