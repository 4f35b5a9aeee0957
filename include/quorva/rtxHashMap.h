/**
 * @file rtxHashMap.h
 * Hash maps on the heap of a context, in three forms: pointer to pointer, text to signed and text to unsigned
 * integer. Keys are not copied. A map grows when it holds more entries than `threshold`; when it can't, its
 * chains get longer.
 */
#ifndef QUORVA_RTXHASHMAP_H
#define QUORVA_RTXHASHMAP_H

#include "quorva/rtxDList.h"

QUORVA_BEGIN_DECLS

/**
 * Declares one form; `Map` is its name, and RtxMap, RtxMapEntry and the functions have it in theirs:
 *
 * - `rtxMapInit` makes an empty map with a table for more than `capacity` buckets. Maps with text keys are
 *   made with rtxUTF8StrHash and rtxUTF8StrEqual. 0, RTX_E_BAD_ARGUMENT for a capacity of 1610612741 or more,
 *   RTX_E_NULL for a missing function, RTX_E_NOMEM.
 * - `rtxNewMap` does so with a new record on the heap; null on any failure.
 * - `rtxMapFree` frees the entries and the table, not keys, values or the record. The map then takes nothing
 *   (RTX_E_NOT_INIT) and finds nothing.
 * - `rtxMapCopy` gives a new record with the same table size and entries; null if memory fails.
 * - `rtxMapInsert` adds an entry without a look for others of the same key, which it hides until the table
 *   grows: growth turns the order of entries with one key round. 0 or RTX_E_NOMEM.
 * - `rtxMapSearch` is true if the key is there; the value goes to `*pvalue` unless that is null.
 * - `rtxMapRemove` does the same and removes the entry.
 * - `rtxMapPut` replaces the value of a key that is there, else inserts. 0 or RTX_E_NOMEM.
 * - `rtxMapSort` fills a list, whose old content is not looked at, with the entries in the order of
 * `compare`, which is above 0 if the first entry belongs behind the second. 0, or RTX_E_NOMEM with an empty
 * list.
 *
 * No status is recorded.
 */
#define QUORVA_HASH_MAP(Map, Key, Value)                                                                     \
   typedef struct Rtx##Map##Entry {                                                                          \
      Key key;                                                                                               \
      Value value;                                                                                           \
      uint32_t hash; /* spread hash of the key */                                                            \
      struct Rtx##Map##Entry* next;                                                                          \
   } Rtx##Map##Entry;                                                                                        \
   typedef uint32_t (*Rtx##Map##HashFunc)(Key key);                                                          \
   typedef int (*Rtx##Map##EqualsFunc)(Key key1, Key key2);                                                  \
   typedef int (*Rtx##Map##CompareFunc)(const Rtx##Map##Entry* entry1, const Rtx##Map##Entry* entry2);       \
   typedef struct Rtx##Map {                                                                                 \
      uint32_t nbuckets;                                                                                     \
      Rtx##Map##Entry** buckets;                                                                             \
      uint32_t count;      /* entries */                                                                     \
      uint32_t threshold;  /* entries above which the table grows */                                         \
      uint32_t primeIndex; /* place of nbuckets among the sizes that a table can have */                     \
      Rtx##Map##HashFunc hashFn;                                                                             \
      Rtx##Map##EqualsFunc equalsFn;                                                                         \
   } Rtx##Map;                                                                                               \
   QUORVA_API int rtx##Map##Init(RtxContext* pctxt, Rtx##Map* map, size_t capacity,                          \
                                 Rtx##Map##HashFunc hashFn, Rtx##Map##EqualsFunc equalsFn);                  \
   QUORVA_API Rtx##Map* rtxNew##Map(RtxContext* pctxt, size_t capacity, Rtx##Map##HashFunc hashFn,           \
                                    Rtx##Map##EqualsFunc equalsFn);                                          \
   QUORVA_API void rtx##Map##Free(RtxContext* pctxt, Rtx##Map* map);                                         \
   QUORVA_API Rtx##Map* rtx##Map##Copy(RtxContext* pctxt, const Rtx##Map* map);                              \
   QUORVA_API int rtx##Map##Insert(RtxContext* pctxt, Rtx##Map* map, Key key, Value value);                  \
   QUORVA_API int rtx##Map##Search(const Rtx##Map* map, Key key, Value* pvalue);                             \
   QUORVA_API int rtx##Map##Remove(RtxContext* pctxt, Rtx##Map* map, Key key, Value* pvalue);                \
   QUORVA_API int rtx##Map##Put(RtxContext* pctxt, Rtx##Map* map, Key key, Value value);                     \
   QUORVA_API int rtx##Map##Sort(RtxContext* pctxt, const Rtx##Map* map, RtxDList* list,                     \
                                 Rtx##Map##CompareFunc compare);

QUORVA_HASH_MAP(HashMap, const void*, void*)
QUORVA_HASH_MAP(HashMapStr2Int, const char*, int32_t)
QUORVA_HASH_MAP(HashMapStr2UInt, const char*, uint32_t)

QUORVA_END_DECLS

#endif
