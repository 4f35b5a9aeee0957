/**
 * @file registry.h
 * Every type of every module by its name, for programs that learn only at run time what they code: tools,
 * tests, fuzzers. The functions here have one signature; behind them stand the NASEnc_, NASDec_,
 * asn1PrtToStrm_, asn1Init_ and asn1Test_ functions of the type.
 */
#ifndef QUORVA_REGISTRY_H
#define QUORVA_REGISTRY_H

#include "quorva/rtxContext.h"

QUORVA_BEGIN_DECLS

/**
 * A type. A value stands in `size` octets, suitably aligned: the record, the number, the text array, or the
 * pointer to a text. What a type lacks is null.
 */
typedef struct QuorvaType {
   const char* name; /**< Module and type, as in the names of its functions: "TS24301Msg_PDU". */
   size_t size;      /**< Octets of a value; 0 for a type that holds none. */
   /** Encodes a value at the context's cursor; writes length fields into it. Status of the encoder. */
   int (*encode)(RtxContext* pctxt, void* pvalue);
   /**
    * Decodes a value at the context's cursor; what it points to lies on the context's heap. A text whose size
    * only its caller knows takes the octets up to the end of the container. Status of the decoder.
    */
   int (*decode)(RtxContext* pctxt, void* pvalue);
   /** Prints a value under a name, by the print stream. */
   int (*print)(RtxContext* pctxt, const char* name, const void* pvalue);
   /** Puts a record into its empty state. Always 0. */
   int (*init)(void* pvalue);
   /**
    * A new sample of the type on the context's heap; null if memory is exhausted. Types that live inside
    * another one have it too, though no asn1Test_ function.
    */
   void* (*sample)(RtxContext* pctxt);
   /** The type as an octet figure, lines ended by "\n". */
   const char* explanation;
} QuorvaType;

/** All types in ascending order of the octets of their names. `count`, if not null, gets their number. */
QUORVA_API const QuorvaType* quorvaTypes(size_t* count);

/** The type of a name; null if there is none. */
QUORVA_API const QuorvaType* quorvaFindType(const char* name);

/** The octet figure of the type of a name; null if there is none. */
QUORVA_API const char* quorvaExplain(const char* name);

QUORVA_END_DECLS

#endif
