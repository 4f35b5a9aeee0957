/**
 * @file rtxTypes.h
 * Records of the ASN.1 value kinds that printers and value functions share.
 */
#ifndef QUORVA_RTXTYPES_H
#define QUORVA_RTXTYPES_H

#include "quorva/rtxCommon.h"

/** Most arcs of an object identifier. */
#define RTX_MAX_SUBIDS 128

/** Object identifier. */
typedef struct RtxOID {
   uint32_t numids;                /**< Arcs in use. */
   uint32_t subid[RTX_MAX_SUBIDS]; /**< The arcs, first one first. */
} RtxOID;

/** Object identifier with arcs of 64 bits. */
typedef struct RtxOID64 {
   uint32_t numids;
   uint64_t subid[RTX_MAX_SUBIDS];
} RtxOID64;

/** Text of 16-bit units; no terminator. */
typedef struct Rtx16BitCharString {
   uint32_t nchars;
   const uint16_t* data;
} Rtx16BitCharString;

/** Text of 32-bit units; no terminator. */
typedef struct Rtx32BitCharString {
   uint32_t nchars;
   const uint32_t* data;
} Rtx32BitCharString;

/** Name and value, both UTF-8; either may be null. */
typedef struct RtxNVP {
   const char* name;
   const char* value;
} RtxNVP;

#endif
