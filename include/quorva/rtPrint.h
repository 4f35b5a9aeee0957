/**
 * @file rtPrint.h
 * Printers of ASN.1 values to standard output, with the texts of rtPrintToStream.h unless their comment tells
 * of another. Context, flushing, results and indent are as in rtxPrint.h.
 */
#ifndef QUORVA_RTPRINT_H
#define QUORVA_RTPRINT_H

#include "quorva/rtxDList.h"
#include "quorva/rtxTypes.h"

QUORVA_BEGIN_DECLS

/** `name.numocts = number`, `name.data =` and a dump. */
QUORVA_API int rtPrintOctStr(const char* name, uint32_t numocts, const uint8_t* data, const char* conn);
/** The same for the octets of an open type. */
QUORVA_API int rtPrintOpenType(const char* name, uint32_t numocts, const uint8_t* data, const char* conn);

/** Each RtxDynOctStr of a list as rtPrintOpenType prints it; a null list prints nothing. */
QUORVA_API int rtPrintOpenTypeExt(const char* name, const RtxDList* pElemList);
/** Each as rtxPrintHexStr prints it, indented. */
QUORVA_API int rtPrintOpenTypeExtBraceText(const char* name, const RtxDList* pElemList);

/** As rtPrintUnicodeCharStr; the connector is not used. */
QUORVA_API int rtPrint16BitCharStr(const char* name, const Rtx16BitCharString* value, const char* conn);
/** `name = 'text'`; units outside 0x20 to 0x7E show as 0x and four digits. */
QUORVA_API int rtPrintUnicodeCharStr(const char* name, const Rtx16BitCharString* value);
/** The same with eight digits. */
QUORVA_API int rtPrintUnivCharStr(const char* name, const Rtx32BitCharString* value);

/** `name.nchars = number`, `name.data =` and a dump. */
QUORVA_API int rtPrint32BitCharStr(const char* name, const Rtx32BitCharString* value, const char* conn);

/** `name = ` and the text of rtxDateTimeToString. -1 for a record that has none, with the line open. */
QUORVA_API int rtPrintDateTime(const char* name, const RtxDateTime* value);

/** `{ 1 2 3 }`, with no name. An arc from 2^31 on shows as a negative number, here and below. */
QUORVA_API int rtPrintOIDValue(const RtxOID* value);
/** The same of `numids` arcs. */
QUORVA_API int rtPrintOIDValue2(uint32_t numids, const uint32_t* subid);
/** The same with arcs of 64 bits, negative from 2^63 on. */
QUORVA_API int rtPrintOID64Value(const RtxOID64* value);

/** `name = { 1 2 3 }`. */
QUORVA_API int rtPrintOID(const char* name, const RtxOID* value);
/** The same of `numids` arcs. */
QUORVA_API int rtPrintOID2(const char* name, uint32_t numids, const uint32_t* subid);
/** The same with arcs of 64 bits. */
QUORVA_API int rtPrintOID64(const char* name, const RtxOID64* value);

/**
 * `name = { 1 2 3 }` from the text "1.2.3"; `name = (null)` from null. Each call takes system memory that it
 * does not give back; RTX_E_NOMEM if there is none.
 */
QUORVA_API int rtPrintOIDStr(const char* name, const char* value);

/** Bits as octets `0x1F 0x00`, 16 a line, and what is left as eight characters 1, 0 and x. No line end behind
 * them; from 72 bits on one ahead. */
QUORVA_API int rtBitStringDump(uint32_t numbits, const uint8_t* data);

/** `name.numbits = number` and `name.data = ` with that dump. */
QUORVA_API int rtPrintBitStr(const char* name, uint32_t numbits, const uint8_t* data, const char* conn);

/** As rtPrintBitStr, both lines indented. Bits behind `dataSize` octets come from `extData`, unless null,
 * with a dump of their own. */
QUORVA_API int rtPrintBitStrExt(const char* name, uint32_t numbits, const uint8_t* data, size_t dataSize,
                                const uint8_t* extData, const char* conn);

/** As rtPrintBitStr, both lines indented, with a 1 or 0 for each bit. */
QUORVA_API int rtPrintBitStrBin(const char* name, uint32_t numbits, const uint8_t* data, const char* conn);

/** `name = { numbits, dump }`, at any length. */
QUORVA_API int rtPrintBitStrBraceText(const char* name, uint32_t numbits, const uint8_t* data);
/** The same, with bits behind `dataSize` octets as in rtPrintBitStrExt. */
QUORVA_API int rtPrintBitStrBraceTextExt(const char* name, uint32_t numbits, const uint8_t* data,
                                         size_t dataSize, const uint8_t* extData);

/** As rtPrintBitStr, both lines indented, with the bits as `(a(1), (0))`; see rtPrintToStreamBitStrNamed. */
QUORVA_API int rtPrintBitStrNamed(const char* name, uint32_t numbits, const uint8_t* data, const char* conn,
                                  size_t nameCount, const uint32_t* bitNumbers, const char* const* bitNames);
/** The same; bits behind `dataSize` octets as in rtPrintBitStrExt, with no names. */
QUORVA_API int rtPrintBitStrNamedExt(const char* name, uint32_t numbits, const uint8_t* data, size_t dataSize,
                                     const uint8_t* extData, const char* conn, size_t nameCount,
                                     const uint32_t* bitNumbers, const char* const* bitNames);

QUORVA_END_DECLS

#endif
