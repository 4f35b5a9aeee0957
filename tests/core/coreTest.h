/**
 * @file coreTest.h
 * A context for a test, and one with a stream of octets in memory.
 */
#ifndef QUORVA_TESTS_CORE_CORETEST_H
#define QUORVA_TESTS_CORE_CORETEST_H

#include "quorva/rtxBits.h"
#include "quorva/rtxContext.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "support/transport.h"

#include <gtest/gtest.h>

#include <string>

using quorva::test::attach;
using quorva::test::Octets;
using quorva::test::Transport;

/** A context that is checked and freed at the end of the test. */
struct Context : RtxContext {
   Context() { EXPECT_EQ(rtInitContext(this), 0); }
   explicit Context(Octets& octets) : Context() { use(octets); }
   ~Context() {
      if (magic != RTX_CTXT_MAGIC) return;
      rtxMemHeapCheck(this, __FILE__, __LINE__);
      rtFreeContext(this);
   }
   Context(const Context&) = delete;
   Context& operator=(const Context&) = delete;

   void use(Octets& octets) { EXPECT_EQ(rtxCtxtSetBufPtr(this, octets.data(), octets.size()), 0); }
   void at(size_t index, int bitsLeft) {
      bufByteIndex = index;
      bufBitsLeft = static_cast<int16_t>(bitsLeft);
   }
   ptrdiff_t cleared(ptrdiff_t status) {
      rtxErrReset(this);
      return status;
   }
   std::vector<std::string> parms() const { return {errFixed.parms, errFixed.parms + errFixed.parmCount}; }
};

using After = std::pair<int, size_t>;

/** The status of a call and the bit offset behind it; clears the record of errors. */
inline After after(Context& c, int status) {
   rtxErrReset(&c);
   return {status, rtxCtxtGetBitOffset(&c)};
}

/** A context with a stream over a transport of its own. */
struct Streamed : Context, Transport { // the context first: its address is a heap handle
   explicit Streamed(uint16_t streamFlags, const Octets& octets = {}, bool positions = false)
         : Transport{octets} {
      attach(this, *this, streamFlags, positions);
   }
};

#endif
