/**
 * @file rtxDList.h
 * Doubly linked list of untyped pointers. Nodes live on the context's heap; the data is the caller's.
 */
#ifndef QUORVA_RTXDLIST_H
#define QUORVA_RTXDLIST_H

#include "quorva/rtxCommon.h"

QUORVA_BEGIN_DECLS

/** Node of a list. */
typedef struct RtxDListNode {
   void* data;                /**< The item, which stays the caller's. */
   struct RtxDListNode* next; /**< Null at the tail. */
   struct RtxDListNode* prev; /**< Null at the head. */
} RtxDListNode;

/** A zeroed record is an empty list. */
typedef struct RtxDList {
   size_t count;       /**< Nodes. */
   RtxDListNode* head; /**< First node, or null. */
   RtxDListNode* tail; /**< Last node, or null. */
} RtxDList;

/**
 * Places one data pointer against another: below 0, 0 or above 0 as `data1` comes before, with or after
 * `data2`. `arg` is what the caller gave.
 */
typedef int (*RtxDListCompareFunc)(const void* data1, const void* data2, const void* arg);

/*
 * Functions that make a node give it back, or null if memory fails; nothing is recorded unless their comment
 * says so. A node given by the caller becomes the list's.
 */

/** Makes an empty list. */
QUORVA_API void rtxDListInit(RtxDList* list);

/** New node at the tail. */
QUORVA_API RtxDListNode* rtxDListAppend(RtxContext* pctxt, RtxDList* list, void* data);

/** Links a given node at the tail. Gives it back. */
QUORVA_API RtxDListNode* rtxDListAppendNode(RtxDList* list, RtxDListNode* node);
/** Links a given node so that it has the index; one of `count` or more appends. Gives the node back. */
QUORVA_API RtxDListNode* rtxDListInsertNode(RtxDList* list, size_t index, RtxDListNode* node);

/** New node with the given index; an index above `count` appends. */
QUORVA_API RtxDListNode* rtxDListInsert(RtxContext* pctxt, RtxDList* list, size_t index, void* data);

/** New node before a node of the list; null: at the tail. */
QUORVA_API RtxDListNode* rtxDListInsertBefore(RtxContext* pctxt, RtxDList* list, RtxDListNode* node,
                                              void* data);

/** New node behind a node of the list; null: at the head. */
QUORVA_API RtxDListNode* rtxDListInsertAfter(RtxContext* pctxt, RtxDList* list, RtxDListNode* node,
                                             void* data);

/** Appends a heap copy of `size` octets. 0 or RTX_E_NOMEM, recorded. */
QUORVA_API int rtxDListAppendCharArray(RtxContext* pctxt, RtxDList* list, size_t size, const void* octets);

/**
 * Appends the address of each element of an array, which stays the caller's. On failure the list is as it
 * was. 0 or RTX_E_NOMEM, recorded.
 * @param count     Elements.
 * @param elemSize  Octets of one.
 */
QUORVA_API int rtxDListAppendArray(RtxContext* pctxt, RtxDList* list, void* array, size_t count,
                                   size_t elemSize);

/** As rtxDListAppendArray, with a heap copy of each element. */
QUORVA_API int rtxDListAppendArrayCopy(RtxContext* pctxt, RtxDList* list, const void* array, size_t count,
                                       size_t elemSize);

/** Node with an index, or null. */
QUORVA_API RtxDListNode* rtxDListFindByIndex(const RtxDList* list, size_t index);

/** First node with this data pointer, or null. */
QUORVA_API RtxDListNode* rtxDListFindByData(const RtxDList* list, const void* data);
/** Index of the first node with this data pointer, or -1. */
QUORVA_API int rtxDListFindIndexByData(const RtxDList* list, const void* data);

/** First node whose data is not null, or null. */
QUORVA_API RtxDListNode* rtxDListFindFirstData(const RtxDList* list);

/** Unlinks a node; it becomes the caller's. */
QUORVA_API void rtxDListRemove(RtxDList* list, RtxDListNode* node);

/** Unlinks and frees a node, not its data. */
QUORVA_API void rtxDListFreeNode(RtxContext* pctxt, RtxDList* list, RtxDListNode* node);

/** Frees the nodes and empties the list. With an empty heap, which has them no more, it only empties it. */
QUORVA_API void rtxDListFreeNodes(RtxContext* pctxt, RtxDList* list);

/** As rtxDListFreeNodes, with the data. Data that lies directly behind its node is part of it. */
QUORVA_API void rtxDListFreeAll(RtxContext* pctxt, RtxDList* list);

/**
 * Copies the octets of each element into an array.
 * @param parray     In: array or null. Out: a new heap array if `count` exceeds the capacity.
 * @param pcapacity  Elements that the array has room for, updated with it; null: none.
 * @param elemSize   Octets of an element; null data gives zeros.
 * @return The number of elements, or RTX_E_NOMEM.
 */
QUORVA_API int rtxDListToArray(RtxContext* pctxt, const RtxDList* list, void** parray, size_t* pcapacity,
                               size_t elemSize);

/** As rtxDListToArray, with the data pointers themselves. */
QUORVA_API int rtxDListToPointerArray(RtxContext* pctxt, const RtxDList* list, void*** parray,
                                      size_t* pcapacity);

/**
 * Joins a list of texts in new heap memory.
 * @param ptext  Receives the text, NUL-terminated; null for an empty list.
 * @param sep    Character between two texts.
 * @return 0 or RTX_E_NOMEM.
 */
QUORVA_API int rtxDListToUTF8Str(RtxContext* pctxt, const RtxDList* list, char** ptext, char sep);

/**
 * Links a node into a sorted list. It goes behind an equal tail, so that input in order stays in order at one
 * comparison each; elsewhere it goes before its equals. `compare` gets the new data first.
 */
QUORVA_API RtxDListNode* rtxDListInsertNodeSorted(RtxDList* list, RtxDListNode* node,
                                                  RtxDListCompareFunc compare, const void* arg);

/** As rtxDListInsertNodeSorted, with a new node. */
QUORVA_API RtxDListNode* rtxDListInsertSorted(RtxContext* pctxt, RtxDList* list, void* data,
                                              RtxDListCompareFunc compare, const void* arg);

/**
 * Gathers items of unknown number in chunks, each twice the last. The caller stores an item at `index` of the
 * chunk at `*pdata`, then raises `index` and `total`; before that, when `index` equals `chunkSize`, it calls
 * rtxDListBufExpand. All sizes but `elemSize` count elements.
 */
typedef struct RtxDListBuf {
   size_t index;          /**< Elements in the current chunk. */
   size_t chunkSize;      /**< Room in the current chunk; 0 before the first. */
   size_t total;          /**< Elements in all chunks. */
   size_t firstChunkSize; /**< Room in the first chunk. */
   size_t elemSize;       /**< Octets of an element. */
   RtxDList chunks;       /**< Finished chunks, full ones. */
   void** pdata;          /**< The caller's pointer to the current chunk. */
} RtxDListBuf;

/** Begins; no memory is taken. A first chunk of 0 elements counts as 1. `*pdata` becomes null. */
QUORVA_API void rtxDListBufInit(RtxDListBuf* buf, size_t firstChunkSize, void** pdata, size_t elemSize);

/** Makes room for more. On failure all chunks are freed: 0 or RTX_E_NOMEM, recorded. */
QUORVA_API int rtxDListBufExpand(RtxContext* pctxt, RtxDListBuf* buf);

/** Ends: `*pdata` becomes one heap array of `total` elements, null for none. Failure as rtxDListBufExpand. */
QUORVA_API int rtxDListBufToArray(RtxContext* pctxt, RtxDListBuf* buf);

QUORVA_END_DECLS

#endif
