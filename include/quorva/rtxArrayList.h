/**
 * @file rtxArrayList.h
 * List of untyped pointers with an index, kept in segments of equal size on the heap of a context.
 */
#ifndef QUORVA_RTXARRAYLIST_H
#define QUORVA_RTXARRAYLIST_H

#include "quorva/rtxDList.h"

QUORVA_BEGIN_DECLS

/** Are two items equal? `arg` is the list's `equalsArg`. */
typedef int (*RtxArrayListEqualsFunc)(const void* item1, const void* item2, const void* arg);

/** A node of `segments` and its array of `segSize` pointers, the node's data, are one allocation. */
typedef struct RtxArrayList {
   RtxDList segments;               /**< The segments. */
   size_t segSize;                  /**< Items in a segment. */
   size_t size;                     /**< Items. All segments but the last are full. */
   const void* equalsArg;           /**< Handed to equalsFn. */
   RtxArrayListEqualsFunc equalsFn; /**< Compares the pointers unless the caller stores another here. */
} RtxArrayList;

/** Position between two items, or at an end. Valid while the list does not change. */
typedef struct RtxArrayListIter {
   const RtxArrayList* list; /**< The list. */
   const RtxDListNode* node; /**< Segment of the next item. */
   size_t index;             /**< Index of the next item in the list. */
} RtxArrayListIter;

/** Makes an empty list; a segment size of 0 means 10. */
QUORVA_API void rtxArrayListInit(RtxArrayList* list, size_t segSize);

/** As rtxArrayListInit, with a new record on the heap; null if memory fails. */
QUORVA_API RtxArrayList* rtxNewArrayList(RtxContext* pctxt, size_t segSize);

/** Frees the segments and leaves an empty list. Neither the items nor the record are freed. */
QUORVA_API void rtxFreeArrayList(RtxContext* pctxt, RtxArrayList* list);

/**
 * Appends an item.
 * @param pindex  Receives its index unless null.
 * @return 0, RTX_E_BAD_ARGUMENT for a null list, RTX_E_NOMEM; not recorded.
 */
QUORVA_API int rtxArrayListAdd(RtxContext* pctxt, RtxArrayList* list, void* item, size_t* pindex);

/** Inserts an item before that with this index. As rtxArrayListAdd; RTX_E_INDEX for one above `size`. */
QUORVA_API int rtxArrayListInsert(RtxContext* pctxt, RtxArrayList* list, void* item, size_t index);

/** Removes the item with this index; -1 is the last. 0 or RTX_E_INDEX, recorded. */
QUORVA_API int rtxArrayListRemoveIndexed(RtxContext* pctxt, RtxArrayList* list, size_t index);

/** Removes the first item that equals the given one. 0 or RTX_E_INDEX, recorded, if there is none. */
QUORVA_API int rtxArrayListRemove(RtxContext* pctxt, RtxArrayList* list, const void* item);

/** 0, or RTX_E_INDEX for an index not below `size`. */
QUORVA_API int rtxArrayListReplace(RtxArrayList* list, void* item, size_t index);

/** The item, or null. */
QUORVA_API void* rtxArrayListGetIndexed(const RtxArrayList* list, size_t index);

/** Index of the first item that equals the given one, or -1. RTX_E_BAD_ARGUMENT for a null list. */
QUORVA_API int rtxArrayListIndexOf(const RtxArrayList* list, const void* item);

/** Sets an iterator before the item with index `start`. */
QUORVA_API void rtxArrayListInitIter(RtxArrayListIter* iter, const RtxArrayList* list, size_t start);
/** 1 if rtxArrayListNextItem has an item left to give, else 0. */
QUORVA_API int rtxArrayListHasNextItem(const RtxArrayListIter* iter);

/** The item behind the position, which moves over it; null at the end. */
QUORVA_API void* rtxArrayListNextItem(RtxArrayListIter* iter);

QUORVA_END_DECLS

#endif
