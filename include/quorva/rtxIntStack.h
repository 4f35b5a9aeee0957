/**
 * @file rtxIntStack.h
 * Stack of signed 32-bit integers on the heap of a context.
 */
#ifndef QUORVA_RTXINTSTACK_H
#define QUORVA_RTXINTSTACK_H

#include "quorva/rtxCommon.h"

QUORVA_BEGIN_DECLS

/** Numbers, the last one in the first one out. */
typedef struct RtxIntStack {
   RtxContext* pctxt; /**< Context whose heap serves the values. */
   int32_t* values;   /**< The values, the lowest one first. */
   size_t index;      /**< Values on the stack. */
   size_t capacity;   /**< Values that there is room for. */
} RtxIntStack;

/** Makes an empty stack with room for `capacity` values; 0 means 100. 0 or RTX_E_NOMEM. */
QUORVA_API int rtxIntStackInit(RtxContext* pctxt, RtxIntStack* stack, size_t capacity);

/** Doubles the room when it is full. 0 or RTX_E_NOMEM, with the stack as it was. */
QUORVA_API int rtxIntStackPush(RtxIntStack* stack, int32_t value);

/** Takes off the top; `pvalue` may be null. 0, or RTX_E_END_OF_DATA for an empty stack. */
QUORVA_API int rtxIntStackPop(RtxIntStack* stack, int32_t* pvalue);
/** As rtxIntStackPop, but the top stays. */
QUORVA_API int rtxIntStackPeek(const RtxIntStack* stack, int32_t* pvalue);

QUORVA_END_DECLS

#endif
