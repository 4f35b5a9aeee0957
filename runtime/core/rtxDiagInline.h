/**
 * @file rtxDiagInline.h
 * The test that keeps the bit trace off the path of a codec when nobody asked for it.
 */
#ifndef QUORVA_RUNTIME_CORE_RTXDIAGINLINE_H
#define QUORVA_RUNTIME_CORE_RTXDIAGINLINE_H

#include "quorva/rtxDiag.h"

namespace quorva::hot {

/** Does a call that feeds the context's trace note anything? */
inline bool traceOn(const RtxContext* pctxt) {
   return pctxt->bitFields != nullptr && pctxt->bitFields->disabledCount == 0;
}

} // namespace quorva::hot

#endif
