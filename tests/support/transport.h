/**
 * @file transport.h
 * A stream of the test's own, as others may add them: octets in memory, and operations that do as they are
 * told.
 */
#ifndef QUORVA_TESTS_SUPPORT_TRANSPORT_H
#define QUORVA_TESTS_SUPPORT_TRANSPORT_H

#include "quorva/rtxStream.h"
#include "support/vectors.h"

#include <algorithm>
#include <cstring>

namespace quorva::test {

/** What the stream stands on; it outlives the stream. */
struct Transport {
   Octets octets; /**< Read, or written at the end. */
   size_t pos = 0;
   size_t chunk = SIZE_MAX; /**< Most octets that one read gives. */
   int calls = 0;
   bool closed = false;
   int failure = 0; /**< Status that the operations give once it is not 0. */
};

inline Transport& transportOf(RtxStream* stream) {
   return *static_cast<Transport*>(stream->extra);
}

/** Attaches it; null if memory is exhausted. No marks; positions are supported when asked for. */
inline RtxStream* attach(RtxContext* pctxt, Transport& transport, uint16_t flags, bool positions = false,
                         uint16_t kind = RTX_STREAM_KIND_FILE) {
   if (rtxStreamInit(pctxt) < 0) return nullptr;
   RtxStream* stream = pctxt->stream;
   stream->extra = &transport;
   stream->kind = kind;
   stream->flags = flags;
   stream->inputLimit = SIZE_MAX;
   stream->read = [](RtxStream* self, uint8_t* target, size_t maxocts) -> ptrdiff_t {
      Transport& from = transportOf(self);
      ++from.calls;
      if (from.failure != 0) return from.failure;
      const size_t run = std::min({maxocts, from.chunk, from.octets.size() - from.pos});
      if (run != 0) std::memcpy(target, from.octets.data() + from.pos, run);
      from.pos += run;
      return static_cast<ptrdiff_t>(run);
   };
   stream->skip = [](RtxStream* self, size_t numocts) {
      Transport& from = transportOf(self);
      if (numocts > from.octets.size() - from.pos) return RTX_E_END_OF_STREAM;
      from.pos += numocts;
      return 0;
   };
   stream->write = [](RtxStream* self, const uint8_t* octets, size_t numocts) {
      Transport& to = transportOf(self);
      ++to.calls;
      if (to.failure != 0) return to.failure;
      to.octets.insert(to.octets.end(), octets, octets + numocts);
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
   return stream;
}

} // namespace quorva::test

#endif
