/**
 * @file utf8Steps.h
 * Steps and failures of the functions over UTF-8 texts.
 */
#ifndef QUORVA_RUNTIME_VALUES_UTF8STEPS_H
#define QUORVA_RUNTIME_VALUES_UTF8STEPS_H

#include "quorva/rtxError.h"
#include "runtime/core/rtxInline.h"

namespace quorva {

/** Records a status in the context, if there is one, and gives what the caller is to return. */
inline int failed(RtxContext* pctxt, int status) {
   return pctxt ? recordNewFailure(pctxt, status) : status;
}

/** The same for a bad sequence, whose place, in octets from the text's start, becomes a parameter. */
int badUTF8(RtxContext* pctxt, size_t position);

/** Octets of the sequence that a lead octet of 0x80 or above begins; 0 if it can't begin one. */
inline size_t utf8SequenceSize(uint8_t lead) {
   if (lead < 0xC0) return 0;
   if (lead < 0xE0) return 2;
   if (lead < 0xF0) return 3;
   if (lead < 0xF8) return 4;
   if (lead < 0xFC) return 5;
   return lead < 0xFE ? 6 : 0;
}

} // namespace quorva

#endif
