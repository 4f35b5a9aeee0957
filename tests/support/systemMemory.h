/**
 * @file systemMemory.h
 * System functions for contexts and heaps under test: they count what is out, and can be told to fail.
 */
#ifndef QUORVA_TESTS_SUPPORT_SYSTEMMEMORY_H
#define QUORVA_TESTS_SUPPORT_SYSTEMMEMORY_H

#include <cstddef>
#include <cstdlib>

namespace system_memory {

inline size_t calls;       ///< Allocations and reallocations asked for.
inline size_t live;        ///< Pieces out.
inline size_t lastSize;    ///< Size last asked for.
inline size_t failAt;      ///< Number of the call that fails; 0: none.
inline bool failFromThere; ///< All later calls fail too.
inline unsigned failures;  ///< Calls that failed.
inline bool (*failHook)(); ///< Decides over each call when set.

inline void reset() {
   calls = live = lastSize = failAt = 0;
   failFromThere = false;
   failures = 0;
   failHook = nullptr;
}

inline bool fails(size_t nbytes) {
   ++calls;
   lastSize = nbytes;
   const bool now = (failAt != 0 && (calls == failAt || (failFromThere && calls > failAt))) ||
                    (failHook != nullptr && failHook());
   failures += now;
   return now;
}

inline void* alloc(size_t nbytes) {
   if (fails(nbytes)) return nullptr;
   ++live;
   return std::malloc(nbytes);
}

inline void* realloc(void* ptr, size_t nbytes) {
   if (fails(nbytes)) return nullptr;
   live += ptr == nullptr;
   return std::realloc(ptr, nbytes);
}

inline void free(void* ptr) {
   if (ptr != nullptr) --live;
   std::free(ptr);
}

} // namespace system_memory

#endif
