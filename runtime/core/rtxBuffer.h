/**
 * @file rtxBuffer.h
 * Questions about the buffer and its stream that the bit, octet and stream functions share.
 */
#ifndef QUORVA_RUNTIME_CORE_RTXBUFFER_H
#define QUORVA_RUNTIME_CORE_RTXBUFFER_H

#include "quorva/rtxContext.h"
#include "quorva/rtxStream.h"
#include "runtime/core/rtxInline.h"

#include <cstring>

namespace quorva {

/** Most octets that one load of the context buffer is asked for; longer runs go past it. */
inline constexpr size_t maxLoad = 1024;

/** Octets between the cursor and the end of the buffer. */
inline size_t octetsAtHand(const RtxContext* pctxt) {
   return pctxt->bufByteIndex < pctxt->bufSize ? pctxt->bufSize - pctxt->bufByteIndex : 0;
}

/** Do `numocts` octets at the cursor lie inside the buffer? Safe for any count. */
inline bool fitsBuffer(const RtxContext* pctxt, size_t numocts) {
   return numocts <= pctxt->bufSize && pctxt->bufByteIndex <= pctxt->bufSize - numocts;
}

inline bool activeMemoryStream(const RtxContext* pctxt) {
   return hot::streamActive(pctxt) && pctxt->stream->kind == RTX_STREAM_KIND_MEMORY;
}

inline bool hasContextBuffer(const RtxStream* stream) {
   return (stream->flags & RTX_STREAM_CTXT_BUF) != 0;
}

/** Does the core buffer for the stream? Kinds 5 and 6 do so themselves. */
inline bool coreBuffers(const RtxStream* stream) {
   return hasContextBuffer(stream) && stream->kind != RTX_STREAM_KIND_DIRECT_BUF &&
          stream->kind != RTX_STREAM_KIND_CTXT_BUF;
}

/** memcpy that takes null pointers with a count of 0. */
inline void copyOctets(uint8_t* dest, const uint8_t* source, size_t numocts) {
   if (numocts != 0) std::memcpy(dest, source, numocts);
}

/**
 * Reallocates the context's own buffer where it lives. On failure buffer and size stay as they are, so that a
 * caller who drops the status can't write past the end.
 */
int resizeBuffer(RtxContext* pctxt, size_t size);

/** Adds to `size`, or gives the largest size, which no allocation fits. */
inline size_t addSizes(size_t size, size_t more) {
   return more > static_cast<size_t>(-1) - size ? static_cast<size_t>(-1) : size + more;
}

/** Writes to the stream past the buffer and moves the stream position, `bufBase`, by just these octets. */
int writeThrough(RtxContext* pctxt, const uint8_t* octets, size_t numocts);

} // namespace quorva

#endif
