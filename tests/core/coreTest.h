/**
 * @file coreTest.h
 * A context for a test, and a stream of octets in memory whose operations the test chooses.
 */
#ifndef QUORVA_TESTS_CORE_CORETEST_H
#define QUORVA_TESTS_CORE_CORETEST_H

#include "quorva/rtxBits.h"
#include "quorva/rtxContext.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

using Octets = std::vector<uint8_t>;

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

/** Transport of a test stream: `data` is read, or written at its end. */
struct Transport {
   Octets data;
   size_t pos = 0;
   size_t chunk = static_cast<size_t>(-1); /**< Most octets that one read gives. */
   int calls = 0;
   bool closed = false;
   int failure = 0; /**< Status that the operations give once it is not 0. */
};

inline Transport& transportOf(RtxStream* stream) {
   return *static_cast<Transport*>(stream->extra);
}

/** Attaches a stream over the transport. Positions are supported when asked for. */
inline RtxStream* attach(RtxContext* pctxt, Transport& transport, uint16_t flags, bool positions = false) {
   auto* stream = static_cast<RtxStream*>(rtxMemHeapSysAllocZ(pctxt, sizeof(RtxStream)));
   stream->extra = &transport;
   stream->kind = RTX_STREAM_KIND_FILE;
   stream->flags = flags;
   stream->read = [](RtxStream* self, uint8_t* target, size_t maxocts) -> ptrdiff_t {
      Transport& from = transportOf(self);
      ++from.calls;
      if (from.failure != 0) return from.failure;
      const size_t run = std::min({maxocts, from.chunk, from.data.size() - from.pos});
      if (run != 0) std::memcpy(target, from.data.data() + from.pos, run);
      from.pos += run;
      return static_cast<ptrdiff_t>(run);
   };
   stream->skip = [](RtxStream* self, size_t numocts) {
      Transport& from = transportOf(self);
      if (numocts > from.data.size() - from.pos) return RTX_E_END_OF_STREAM;
      from.pos += numocts;
      return 0;
   };
   stream->write = [](RtxStream* self, const uint8_t* octets, size_t numocts) {
      Transport& to = transportOf(self);
      ++to.calls;
      if (to.failure != 0) return to.failure;
      to.data.insert(to.data.end(), octets, octets + numocts);
      return 0;
   };
   stream->close = [](RtxStream* self) {
      transportOf(self).closed = true;
      return 0;
   };
   if (positions) {
      stream->getPos = [](RtxStream* self, size_t* ppos) {
         *ppos = transportOf(self).pos;
         return 0;
      };
      stream->setPos = [](RtxStream* self, size_t pos) {
         transportOf(self).pos = pos;
         self->bufBase = pos;
         return 0;
      };
   }
   pctxt->stream = stream;
   pctxt->flags &= ~RTX_CTXT_BUFFER_MODE;
   return stream;
}

/** A context with a stream over a transport of its own. */
struct Streamed : Context, Transport { // the context first: its address is a heap handle
   explicit Streamed(uint16_t streamFlags, const Octets& octets = {}, bool positions = false)
         : Transport{octets} {
      attach(this, *this, streamFlags, positions);
   }
};

#endif
