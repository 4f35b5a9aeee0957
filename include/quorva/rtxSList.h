/**
 * @file rtxSList.h
 * Singly linked list of untyped pointers, on the heap of a context or in system memory.
 */
#ifndef QUORVA_RTXSLIST_H
#define QUORVA_RTXSLIST_H

#include "quorva/rtxCommon.h"

QUORVA_BEGIN_DECLS

/** Node of a list. */
typedef struct RtxSListNode {
   void* data;                /**< The item, which stays the caller's. */
   struct RtxSListNode* next; /**< Null at the tail. */
} RtxSListNode;

/** List of pointers, linked in one direction. */
typedef struct RtxSList {
   size_t count;       /**< Nodes. */
   RtxSListNode* head; /**< First node, or null. */
   RtxSListNode* tail; /**< Last node, or null. */
   RtxContext* pctxt;  /**< Context whose heap serves the nodes; null: malloc and free do. */
} RtxSList;

/** Makes an empty list with nodes in system memory. */
QUORVA_API void rtxSListInit(RtxSList* list);

/** Makes an empty list with nodes on the heap; a null context as rtxSListInit. */
QUORVA_API void rtxSListInitEx(RtxContext* pctxt, RtxSList* list);

/** A new empty list, record and nodes in system memory; null if memory fails. */
QUORVA_API RtxSList* rtxSListCreate(void);
/** The same on the heap; a null context as rtxSListCreate. */
QUORVA_API RtxSList* rtxSListCreateEx(RtxContext* pctxt);

/** New node at the tail; null if memory fails. */
QUORVA_API RtxSListNode* rtxSListAppend(RtxSList* list, void* data);

/** First node with this data pointer, or null. */
QUORVA_API RtxSListNode* rtxSListFind(const RtxSList* list, const void* data);

/** Frees the first node with this data pointer, if there is one; not the data. */
QUORVA_API void rtxSListRemove(RtxSList* list, const void* data);

/** Frees the nodes; the list is empty then and can be used again. */
QUORVA_API void rtxSListFree(RtxSList* list);

/** As rtxSListFree, with the data, which has the memory of the nodes. */
QUORVA_API void rtxSListFreeAll(RtxSList* list);

QUORVA_END_DECLS

#endif
