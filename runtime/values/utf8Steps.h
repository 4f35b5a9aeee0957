/**
 * @file utf8Steps.h
 * Failures of the functions over UTF-8 texts.
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

} // namespace quorva

#endif
