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
   uint32_t numids;                /**< Arcs in use. */
   uint64_t subid[RTX_MAX_SUBIDS]; /**< The arcs, first one first. */
} RtxOID64;

/** As RtxDynOctStr, with a count of the width of a size. */
typedef struct RtxDynOctStr64 {
   size_t numocts;      /**< How many. */
   const uint8_t* data; /**< The octets. */
} RtxDynOctStr64;

/** As RtxDynBitStr, with a count of the width of a size. */
typedef struct RtxDynBitStr64 {
   size_t numbits;      /**< How many. */
   const uint8_t* data; /**< The bits. */
} RtxDynBitStr64;

/** Named bit of a bit string: one row of a table that ends with a null name. */
typedef struct RtxNamedBit {
   const char* name;   /**< Null behind the last row. */
   uint32_t bitNumber; /**< 0 is the most significant bit of the first octet. */
} RtxNamedBit;

/** Text of 16-bit units; no terminator. */
typedef struct Rtx16BitCharString {
   uint32_t nchars;      /**< Units. */
   const uint16_t* data; /**< The units. */
} Rtx16BitCharString;

/** Text of 32-bit units; no terminator. */
typedef struct Rtx32BitCharString {
   uint32_t nchars;      /**< Units. */
   const uint32_t* data; /**< The units. */
} Rtx32BitCharString;

/** Date and time of day. */
typedef struct RtxDateTime {
   int32_t year;    /**< Of the Gregorian calendar. */
   uint8_t mon;     /**< 1 to 12. */
   uint8_t day;     /**< 1 to 31. */
   uint8_t hour;    /**< 0 to 23. */
   uint8_t min;     /**< 0 to 59. */
   double sec;      /**< With the fraction. */
   uint8_t tz_flag; /**< The time zone is known. */
   int32_t tzo;     /**< Its offset from UTC in minutes, east positive. */
} RtxDateTime;

/** Name and value, both UTF-8; either may be null. */
typedef struct RtxNVP {
   const char* name;  /**< The name. */
   const char* value; /**< The value. */
} RtxNVP;

#endif
