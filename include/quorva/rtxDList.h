/**
 * @file rtxDList.h
 * Doubly linked list of untyped pointers. Nodes live on the context's heap; the data is the caller's.
 */
#ifndef QUORVA_RTXDLIST_H
#define QUORVA_RTXDLIST_H

#include "quorva/rtxCommon.h"

QUORVA_BEGIN_DECLS

typedef struct RtxDListNode {
   void* data;
   struct RtxDListNode* next;
   struct RtxDListNode* prev;
} RtxDListNode;

/** A zeroed record is an empty list. */
typedef struct RtxDList {
   size_t count;
   RtxDListNode* head;
   RtxDListNode* tail;
} RtxDList;

QUORVA_END_DECLS

#endif
