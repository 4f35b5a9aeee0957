/**
 * @file rtxMemHeapStatic.h
 * The process-wide bump allocator, as the heap sees it.
 */
#ifndef QUORVA_RUNTIME_CORE_RTXMEMHEAPSTATIC_H
#define QUORVA_RUNTIME_CORE_RTXMEMHEAPSTATIC_H

namespace quorva::heap {

/** Moves the bump position up to the next address that is a multiple of 8. */
void alignStaticAlloc();

} // namespace quorva::heap

#endif
