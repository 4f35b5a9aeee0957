/**
 * @file rtxScalarDList.h
 * Doubly linked list of numbers. It is a RtxDList whose nodes carry their value.
 */
#ifndef QUORVA_RTXSCALARDLIST_H
#define QUORVA_RTXSCALARDLIST_H

#include "quorva/rtxDList.h"

QUORVA_BEGIN_DECLS

/** What a node holds. */
typedef enum RtxScalarKind {
   RTX_SCALAR_INT32 = 1,
   RTX_SCALAR_UINT32,
   RTX_SCALAR_INT64,
   RTX_SCALAR_UINT64,
   RTX_SCALAR_DOUBLE,
   RTX_SCALAR_FLOAT
} RtxScalarKind;

/** Node of a list of numbers. */
typedef struct RtxScalarDListNode {
   RtxDListNode link; /**< `data` is the address of `value`. */
   union {
      int32_t int32;
      uint32_t uint32;
      int64_t int64;
      uint64_t uint64;
      double dbl;
      float flt;
   } value;            /**< The number. */
   RtxScalarKind kind; /**< Member of `value` that holds the number. */
} RtxScalarDListNode;

/** `head` and `tail`, and the neighbours of a node, are the `link` of a RtxScalarDListNode each. */
typedef RtxDList RtxScalarDList;

/** Makes an empty list. */
QUORVA_API void rtxScalarDListInit(RtxScalarDList* list);

/** New node at the tail; null if memory fails (not recorded), here and in the next five. */
QUORVA_API RtxScalarDListNode* rtxScalarDListAppendInt32(RtxContext* pctxt, RtxScalarDList* list,
                                                         int32_t value);
/** New node with an unsigned number. */
QUORVA_API RtxScalarDListNode* rtxScalarDListAppendUInt32(RtxContext* pctxt, RtxScalarDList* list,
                                                          uint32_t value);
/** New node with a signed number of 64 bits. */
QUORVA_API RtxScalarDListNode* rtxScalarDListAppendInt64(RtxContext* pctxt, RtxScalarDList* list,
                                                         int64_t value);
/** New node with an unsigned number of 64 bits. */
QUORVA_API RtxScalarDListNode* rtxScalarDListAppendUInt64(RtxContext* pctxt, RtxScalarDList* list,
                                                          uint64_t value);
/** New node with a double. */
QUORVA_API RtxScalarDListNode* rtxScalarDListAppendDouble(RtxContext* pctxt, RtxScalarDList* list,
                                                          double value);
/** New node with a float. */
QUORVA_API RtxScalarDListNode* rtxScalarDListAppendFloat(RtxContext* pctxt, RtxScalarDList* list,
                                                         float value);

/** Links a given node at the tail and points its `link.data` at the value. Gives it back. */
QUORVA_API RtxScalarDListNode* rtxScalarDListAppendNode(RtxScalarDList* list, RtxScalarDListNode* node);
/** The same so that it has the index; one of `count` or more appends. */
QUORVA_API RtxScalarDListNode* rtxScalarDListInsertNode(RtxScalarDList* list, size_t index,
                                                        RtxScalarDListNode* node);

/** Node with an index, or null. */
QUORVA_API RtxScalarDListNode* rtxScalarDListFindByIndex(const RtxScalarDList* list, size_t index);

/** Unlinks a node; it becomes the caller's. */
QUORVA_API void rtxScalarDListRemove(RtxScalarDList* list, RtxScalarDListNode* node);

/** Unlinks and frees a node. */
QUORVA_API void rtxScalarDListFreeNode(RtxContext* pctxt, RtxScalarDList* list, RtxScalarDListNode* node);

/** Frees the nodes and empties the list. */
QUORVA_API void rtxScalarDListFreeNodes(RtxContext* pctxt, RtxScalarDList* list);

QUORVA_END_DECLS

#endif
