/**
 * @file systemMemory.h
 * System functions for contexts and heaps under test: they count what is out, and can be told to fail.
 */
#ifndef QUORVA_TESTS_SUPPORT_SYSTEMMEMORY_H
#define QUORVA_TESTS_SUPPORT_SYSTEMMEMORY_H

#include "quorva/rtxContext.h"

#include <gtest/gtest.h>

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

/** A context of these functions; its status. */
inline int init(RtxContext* context) {
   return rtxInitContextExt(context, alloc, realloc, free);
}

/** The n-th call from now fails, alone or with all that follow. */
inline void failNth(size_t n, bool onward = false) {
   failAt = calls + n;
   failFromThere = onward;
}

/**
 * Runs `work` once for each allocation it makes, which fails alone, then with all that follow; nothing may be
 * left over. Failures count from where the work calls what it is given. At least `least` points must exist.
 */
template <class Work>
void failEach(size_t least, Work work) {
   for (bool onward : {false, true})
      for (size_t n = 1;; ++n) {
         SCOPED_TRACE(testing::Message() << "allocation " << n << (onward ? " and all that follow" : ""));
         reset();
         work([=] { failNth(n, onward); });
         ASSERT_EQ(live, 0u);
         if (failures == 0) {
            EXPECT_GT(n, least);
            break;
         }
         ASSERT_LT(n, 1000u);
      }
}

} // namespace system_memory

#endif
