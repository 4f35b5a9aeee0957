/** Hash maps: one template, three forms. */
#include "quorva/rtxHashMap.h"

#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStatus.h"

#include <bit>
#include <cstring>
#include <iterator>
#include <utility>

namespace {

/** Sizes of a table, each about twice the last. */
constexpr uint32_t kPrimes[] = {53,        97,        193,       389,       769,       1543,     3079,
                                6151,      12289,     24593,     49157,     98317,     196613,   393241,
                                786433,    1572869,   3145739,   6291469,   12582917,  25165843, 50331653,
                                100663319, 201326611, 402653189, 805306457, 1610612741};

/** Entries that a table of this size takes: 0.65 of it, rounded up. */
uint32_t thresholdOf(uint32_t nbuckets) {
   return static_cast<uint32_t>((uint64_t{nbuckets} * 65 + 99) / 100);
}

/** Spreads a hash, since callers' functions may leave most of their bits alike. */
uint32_t spread(uint32_t h) {
   h = h - 1 - (h << 9);
   h ^= std::rotr(h, 14);
   h *= 17;
   return h ^ std::rotr(h, 10);
}

template <class Map>
struct Ops {
   using Entry = std::remove_reference_t<decltype(**Map::buckets)>;
   using Key = decltype(Entry::key);
   using Value = decltype(Entry::value);

   static Entry** newTable(RtxContext* pctxt, uint32_t nbuckets) {
      return static_cast<Entry**>(rtxMemHeapAllocZ(pctxt, nbuckets * sizeof(Entry*)));
   }

   static int init(RtxContext* pctxt, Map* map, size_t capacity, decltype(Map::hashFn) hashFn,
                   decltype(Map::equalsFn) equalsFn) {
      *map = {};
      if (hashFn == nullptr || equalsFn == nullptr) return RTX_E_NULL;
      uint32_t index = 0;
      while (index < std::size(kPrimes) && kPrimes[index] <= capacity) ++index;
      if (index == std::size(kPrimes)) return RTX_E_BAD_ARGUMENT;
      map->buckets = newTable(pctxt, kPrimes[index]);
      if (map->buckets == nullptr) return RTX_E_NOMEM;
      map->nbuckets = kPrimes[index];
      map->threshold = thresholdOf(map->nbuckets);
      map->primeIndex = index;
      map->hashFn = hashFn;
      map->equalsFn = equalsFn;
      return RTX_OK;
   }

   static Map* create(RtxContext* pctxt, size_t capacity, decltype(Map::hashFn) hashFn,
                      decltype(Map::equalsFn) equalsFn) {
      auto* map = static_cast<Map*>(rtxMemHeapAlloc(pctxt, sizeof(Map)));
      if (map != nullptr && init(pctxt, map, capacity, hashFn, equalsFn) != RTX_OK) {
         rtxMemHeapFreePtr(pctxt, map);
         return nullptr;
      }
      return map;
   }

   static void free(RtxContext* pctxt, Map* map) {
      for (uint32_t i = 0; i < map->nbuckets; ++i) {
         for (Entry *entry = map->buckets[i], *next; entry != nullptr; entry = next) {
            next = entry->next;
            rtxMemHeapFreePtr(pctxt, entry);
         }
      }
      rtxMemHeapFreePtr(pctxt, map->buckets);
      *map = {};
   }

   static Map* copy(RtxContext* pctxt, const Map* map) {
      auto* result = static_cast<Map*>(rtxMemHeapAlloc(pctxt, sizeof(Map)));
      if (result == nullptr) return nullptr;
      *result = *map;
      result->buckets = newTable(pctxt, map->nbuckets);
      if (result->buckets == nullptr) {
         rtxMemHeapFreePtr(pctxt, result);
         return nullptr;
      }
      for (uint32_t i = 0; i < map->nbuckets; ++i) {
         Entry** end = &result->buckets[i]; // entries that hide others go on doing so
         for (const Entry* entry = map->buckets[i]; entry != nullptr; entry = entry->next) {
            *end = newEntry(pctxt, *entry);
            if (*end == nullptr) {
               free(pctxt, result);
               rtxMemHeapFreePtr(pctxt, result);
               return nullptr;
            }
            (*end)->next = nullptr;
            end = &(*end)->next;
         }
      }
      return result;
   }

   static Entry* newEntry(RtxContext* pctxt, const Entry& value) {
      auto* entry = static_cast<Entry*>(rtxMemHeapAlloc(pctxt, sizeof(Entry)));
      if (entry != nullptr) *entry = value;
      return entry;
   }

   static void push(Map* map, Entry* entry) {
      Entry*& bucket = map->buckets[entry->hash % map->nbuckets];
      entry->next = bucket;
      bucket = entry;
   }

   static int expand(RtxContext* pctxt, Map* map) {
      if (map->primeIndex + 1 >= std::size(kPrimes)) return RTX_E_NOMEM;
      const uint32_t nbuckets = kPrimes[map->primeIndex + 1];
      Entry** table = newTable(pctxt, nbuckets);
      if (table == nullptr) return RTX_E_NOMEM;
      Entry** old = std::exchange(map->buckets, table);
      const uint32_t nold = std::exchange(map->nbuckets, nbuckets);
      ++map->primeIndex;
      map->threshold = thresholdOf(nbuckets);
      // Each entry goes to the head of its new bucket, so that of several with one key the order turns round:
      // callers that insert a key twice count on nothing else.
      for (uint32_t i = 0; i < nold; ++i) {
         for (Entry *entry = old[i], *next; entry != nullptr; entry = next) {
            next = entry->next;
            push(map, entry);
         }
      }
      rtxMemHeapFreePtr(pctxt, old);
      return RTX_OK;
   }

   /** The pointer to the first entry of a key; that at the chain's end if there is none. */
   static Entry** find(const Map* map, Key key) {
      const uint32_t hash = spread(map->hashFn(key));
      Entry** place = &map->buckets[hash % map->nbuckets];
      while (*place != nullptr && ((*place)->hash != hash || map->equalsFn((*place)->key, key) == 0))
         place = &(*place)->next;
      return place;
   }

   static int insert(RtxContext* pctxt, Map* map, Key key, Value value) {
      if (map->nbuckets == 0) return RTX_E_NOT_INIT;
      if (++map->count > map->threshold) expand(pctxt, map); // failing that, chains get longer
      Entry* entry = newEntry(pctxt, {key, value, spread(map->hashFn(key)), nullptr});
      if (entry == nullptr) {
         --map->count;
         return RTX_E_NOMEM;
      }
      push(map, entry);
      return RTX_OK;
   }

   static int search(const Map* map, Key key, Value* pvalue) {
      if (map->nbuckets == 0) return 0;
      const Entry* entry = *find(map, key);
      if (entry == nullptr) return 0;
      if (pvalue != nullptr) *pvalue = entry->value;
      return 1;
   }

   static int remove(RtxContext* pctxt, Map* map, Key key, Value* pvalue) {
      if (map->nbuckets == 0) return 0;
      Entry** place = find(map, key);
      Entry* entry = *place;
      if (entry == nullptr) return 0;
      if (pvalue != nullptr) *pvalue = entry->value;
      *place = entry->next;
      --map->count;
      rtxMemHeapFreePtr(pctxt, entry);
      return 1;
   }

   static int put(RtxContext* pctxt, Map* map, Key key, Value value) {
      if (map->nbuckets == 0) return RTX_E_NOT_INIT;
      Entry* entry = *find(map, key);
      if (entry == nullptr) return insert(pctxt, map, key, value);
      entry->value = value;
      return RTX_OK;
   }

   static int sort(RtxContext* pctxt, const Map* map, RtxDList* list,
                   int (*compare)(const Entry* entry1, const Entry* entry2)) {
      rtxDListInit(list);
      for (uint32_t i = 0; i < map->nbuckets; ++i) {
         for (Entry* entry = map->buckets[i]; entry != nullptr; entry = entry->next) {
            RtxDListNode* next = list->head;
            while (next != nullptr && compare(entry, static_cast<Entry*>(next->data)) > 0) next = next->next;
            if (rtxDListInsertBefore(pctxt, list, next, entry) == nullptr) {
               rtxDListFreeNodes(pctxt, list);
               return RTX_E_NOMEM;
            }
         }
      }
      return RTX_OK;
   }
};

} // namespace

#define DEFINE_HASH_MAP(Map, Key, Value)                                                                     \
   int rtx##Map##Init(RtxContext* pctxt, Rtx##Map* map, size_t capacity, Rtx##Map##HashFunc hashFn,          \
                      Rtx##Map##EqualsFunc equalsFn) {                                                       \
      return Ops<Rtx##Map>::init(pctxt, map, capacity, hashFn, equalsFn);                                    \
   }                                                                                                         \
   Rtx##Map* rtxNew##Map(RtxContext* pctxt, size_t capacity, Rtx##Map##HashFunc hashFn,                      \
                         Rtx##Map##EqualsFunc equalsFn) {                                                    \
      return Ops<Rtx##Map>::create(pctxt, capacity, hashFn, equalsFn);                                       \
   }                                                                                                         \
   void rtx##Map##Free(RtxContext* pctxt, Rtx##Map* map) {                                                   \
      Ops<Rtx##Map>::free(pctxt, map);                                                                       \
   }                                                                                                         \
   Rtx##Map* rtx##Map##Copy(RtxContext* pctxt, const Rtx##Map* map) {                                        \
      return Ops<Rtx##Map>::copy(pctxt, map);                                                                \
   }                                                                                                         \
   int rtx##Map##Insert(RtxContext* pctxt, Rtx##Map* map, Key key, Value value) {                            \
      return Ops<Rtx##Map>::insert(pctxt, map, key, value);                                                  \
   }                                                                                                         \
   int rtx##Map##Search(const Rtx##Map* map, Key key, Value* pvalue) {                                       \
      return Ops<Rtx##Map>::search(map, key, pvalue);                                                        \
   }                                                                                                         \
   int rtx##Map##Remove(RtxContext* pctxt, Rtx##Map* map, Key key, Value* pvalue) {                          \
      return Ops<Rtx##Map>::remove(pctxt, map, key, pvalue);                                                 \
   }                                                                                                         \
   int rtx##Map##Put(RtxContext* pctxt, Rtx##Map* map, Key key, Value value) {                               \
      return Ops<Rtx##Map>::put(pctxt, map, key, value);                                                     \
   }                                                                                                         \
   int rtx##Map##Sort(RtxContext* pctxt, const Rtx##Map* map, RtxDList* list,                                \
                      Rtx##Map##CompareFunc compare) {                                                       \
      return Ops<Rtx##Map>::sort(pctxt, map, list, compare);                                                 \
   }

DEFINE_HASH_MAP(HashMap, const void*, void*)
DEFINE_HASH_MAP(HashMapStr2Int, const char*, int32_t)
DEFINE_HASH_MAP(HashMapStr2UInt, const char*, uint32_t)
