/**
 * @file ContextFixture.h
 * A context whose system memory can be told to fail; at the end the heap must check clean.
 */
#ifndef QUORVA_TESTS_CONTAINERS_CONTEXTFIXTURE_H
#define QUORVA_TESTS_CONTAINERS_CONTEXTFIXTURE_H

#include "quorva/rtxContext.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "support/systemMemory.h"

#include <gtest/gtest.h>

class ContextTest : public testing::Test {
protected:
   ContextTest() {
      system_memory::reset();
      EXPECT_EQ(0, system_memory::init(&context_));
      // each allocation reaches the system, so that the n-th of them can fail
      rtxMemHeapSetFlags(&context_, RTX_MH_RAW_ONLY);
   }

   ~ContextTest() override {
      rtxMemHeapCheck(&context_, __FILE__, __LINE__);
      rtxFreeContext(&context_);
      EXPECT_EQ(system_memory::live, 0u);
   }

   /**
    * Runs an operation with the n-th allocation failing, for n from 1 until it succeeds; it says whether it
    * did, and must leave nothing allocated when it did not.
    */
   template <class F>
   void failEach(F operation) {
      for (size_t n = 1;; ++n) {
         rtxErrReset(&context_);
         system_memory::failures = 0;
         system_memory::failAt = system_memory::calls + n;
         const bool done = operation();
         system_memory::failAt = 0;
         ASSERT_EQ(done, system_memory::failures == 0) << "allocation " << n;
         if (done) break;
         rtxErrReset(&context_);
         ASSERT_TRUE(rtxMemHeapIsEmpty(&context_)) << "allocation " << n;
      }
   }

   RtxContext context_;
};

#endif
