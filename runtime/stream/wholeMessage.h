/**
 * @file wholeMessage.h
 * A message on a stream. What is left of a message, where its fields are and what its length fields hold is
 * known of a whole message alone, not of what happens to be loaded: so it is decoded, and encoded, in the
 * buffer.
 */
#ifndef QUORVA_RUNTIME_STREAM_WHOLEMESSAGE_H
#define QUORVA_RUNTIME_STREAM_WHOLEMESSAGE_H

#include "quorva/rtxContext.h"

namespace quorva::stream {

/** Loads what an active stream has of a message, its end or `inputLimit` being that. Failures are recorded.
 */
int loadWhole(RtxContext* pctxt);

/**
 * Loads the active stream up to its end or `inputLimit` and runs `decode` on that as on a buffer. The stream
 * goes on at the cursor that `decode` leaves. Returns its status, or that of a failed load.
 */
int decodeWhole(RtxContext* pctxt, int (*decode)(void* argument), void* argument);

/**
 * Runs `encode` in the buffer of the active stream and writes out what it gives in one piece. After a failure
 * the cursor is where it was, and nothing has been written.
 */
int encodeWhole(RtxContext* pctxt, int (*encode)(void* argument), void* argument);

/* By value, so that what a codec holds need not have an address for this. */
template <class Code>
[[gnu::cold, gnu::noinline]] int fromStream(RtxContext* pctxt, Code decode) {
   return decodeWhole(
         pctxt, [](void* argument) { return (*static_cast<Code*>(argument))(); }, &decode);
}

template <class Code>
[[gnu::cold, gnu::noinline]] int toStream(RtxContext* pctxt, Code encode) {
   return encodeWhole(
         pctxt, [](void* argument) { return (*static_cast<Code*>(argument))(); }, &encode);
}

} // namespace quorva::stream

#endif
