/**
 * @file rtxStack.h
 * Stack of untyped pointers; the top is the head of the list.
 */
#ifndef QUORVA_RTXSTACK_H
#define QUORVA_RTXSTACK_H

#include "quorva/rtxDList.h"

QUORVA_BEGIN_DECLS

/** Pointers, the last one in the first one out. */
typedef struct RtxStack {
   RtxContext* pctxt; /**< Context whose heap serves the nodes. */
   RtxDList dlist;    /**< The pointers; the top is the head. */
} RtxStack;

/** Makes an empty stack over the heap of a context. */
QUORVA_API void rtxStackInit(RtxContext* pctxt, RtxStack* stack);

/** An empty stack that itself lives on the heap; null if memory fails. */
QUORVA_API RtxStack* rtxStackCreate(RtxContext* pctxt);

/** 0, RTX_E_NULL for a null stack or one without a context, RTX_E_NOMEM; not recorded. */
QUORVA_API int rtxStackPush(RtxStack* stack, void* data);

/** Takes the top off and gives its data; null for an empty stack. */
QUORVA_API void* rtxStackPop(RtxStack* stack);

/** Data of the top; null for an empty stack. */
QUORVA_API void* rtxStackPeek(const RtxStack* stack);

QUORVA_END_DECLS

#endif
