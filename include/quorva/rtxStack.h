/**
 * @file rtxStack.h
 * Stack of untyped pointers; the top is the head of the list.
 */
#ifndef QUORVA_RTXSTACK_H
#define QUORVA_RTXSTACK_H

#include "quorva/rtxDList.h"

QUORVA_BEGIN_DECLS

typedef struct RtxStack {
   RtxContext* pctxt; /**< Context whose heap serves the nodes. */
   RtxDList dlist;
} RtxStack;

QUORVA_END_DECLS

#endif
