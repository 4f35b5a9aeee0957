/**
 * @file rtPrintToStream.h
 * Printers of ASN.1 values to the print stream. They return 0 unless their comment says otherwise. A
 * connector `conn`, normally ".", stands between the element name and a field word.
 */
#ifndef QUORVA_RTPRINTTOSTREAM_H
#define QUORVA_RTPRINTTOSTREAM_H

#include "quorva/rtxDList.h"
#include "quorva/rtxPrintToStream.h"
#include "quorva/rtxSList.h"

QUORVA_BEGIN_DECLS

/** `name.numocts = number`, `name.data =` and a dump. */
QUORVA_API int rtPrintToStreamOctStr(RtxContext* pctxt, const char* name, uint32_t numocts,
                                     const uint8_t* data, const char* conn);
/** The same for the octets of an open type. */
QUORVA_API int rtPrintToStreamOpenType(RtxContext* pctxt, const char* name, uint32_t numocts,
                                       const uint8_t* data, const char* conn);

/** Each RtxDynOctStr of a list as rtPrintToStreamOpenType prints it; a null list prints nothing. */
QUORVA_API int rtPrintToStreamOpenTypeExt(RtxContext* pctxt, const char* name, const RtxDList* pElemList);

/** Each RtxDynOctStr of a list, indented, as rtxPrintToStreamHexStr prints it; a null list prints nothing. */
QUORVA_API int rtPrintToStreamOpenTypeExtBraceText(RtxContext* pctxt, const char* name,
                                                   const RtxDList* pElemList);

/** `name.nchars = number`, `name.data =` and a dump of the units as they lie in memory. */
QUORVA_API int rtPrintToStream16BitCharStr(RtxContext* pctxt, const char* name,
                                           const Rtx16BitCharString* value, const char* conn);
/** The same with units of 32 bits. */
QUORVA_API int rtPrintToStream32BitCharStr(RtxContext* pctxt, const char* name,
                                           const Rtx32BitCharString* value, const char* conn);

/** `name = 'text'`; units outside 0x20 to 0x7E show as 0x and four digits. */
QUORVA_API int rtPrintToStreamUnicodeCharStr(RtxContext* pctxt, const char* name,
                                             const Rtx16BitCharString* value);
/** The same with eight digits. */
QUORVA_API int rtPrintToStreamUnivCharStr(RtxContext* pctxt, const char* name,
                                          const Rtx32BitCharString* value);

/** `name = text`; octets outside 0x20 to 0x7E are left out. */
QUORVA_API int rtPrintToStreamText(RtxContext* pctxt, const char* name, size_t numocts, const uint8_t* data);

/** `name = 10.0.0.1`. */
QUORVA_API int rtPrintToStreamIpv4Addr(RtxContext* pctxt, const char* name, size_t numocts,
                                       const uint8_t* data);

/** `name = 201:db8`, octets without leading zeros. */
QUORVA_API int rtPrintToStreamIpv6Addr(RtxContext* pctxt, const char* name, size_t numocts,
                                       const uint8_t* data);

/** `name = digits` of a telephony BCD string, low half first; fillers are left out. TS 29.002, TBCD-STRING.
 */
QUORVA_API int rtPrintToStreamTBCDStr(RtxContext* pctxt, const char* name, size_t numocts,
                                      const uint8_t* data);

/** `name = ` and the text of rtxDateTimeToString. -1 for a record that has none, with the line left open. */
QUORVA_API int rtPrintToStreamDateTime(RtxContext* pctxt, const char* name, const RtxDateTime* value);

/** `{ 1 2 3 }`, with no name. An arc from 2^31 on shows as a negative number, here and below. */
QUORVA_API int rtPrintToStreamOIDValue(RtxContext* pctxt, const RtxOID* value);
/** The same of `numids` arcs. */
QUORVA_API int rtPrintToStreamOIDValue2(RtxContext* pctxt, uint32_t numids, const uint32_t* subid);
/** The same with arcs of 64 bits, negative from 2^63 on. */
QUORVA_API int rtPrintToStreamOID64Value(RtxContext* pctxt, const RtxOID64* value);

/** `name = { 1 2 3 }`. */
QUORVA_API int rtPrintToStreamOID(RtxContext* pctxt, const char* name, const RtxOID* value);
/** The same of `numids` arcs. */
QUORVA_API int rtPrintToStreamOID2(RtxContext* pctxt, const char* name, uint32_t numids,
                                   const uint32_t* subid);
/** The same with arcs of 64 bits. */
QUORVA_API int rtPrintToStreamOID64(RtxContext* pctxt, const char* name, const RtxOID64* value);

/** `name = { 1 2 3 }` from the text "1.2.3"; `name = (null)` from null. RTX_E_NOMEM if memory fails. */
QUORVA_API int rtPrintToStreamOIDStr(RtxContext* pctxt, const char* name, const char* value);

/**
 * `name.numbits = number` and `name.data`: NULL for no bits, one line under 64 bits, else a block of lines.
 * Whole octets show as two digits, what is left as eight characters 1, 0 and x.
 * @return 0, or RTX_E_NOMEM if memory fails, here and in the next three.
 */
QUORVA_API int rtPrintToStreamBitStr(RtxContext* pctxt, const char* name, uint32_t numbits,
                                     const uint8_t* data, const char* conn);

/**
 * As rtPrintToStreamBitStr for a string of which only `dataSize` octets are at `data`; then
 * `name.extdata = 0x..` with the first octet at `extData`, if not null.
 */
QUORVA_API int rtPrintToStreamBitStrExt(RtxContext* pctxt, const char* name, uint32_t numbits,
                                        const uint8_t* data, size_t dataSize, const uint8_t* extData,
                                        const char* conn);

/** `name = { numbits, bits }`, from 64 bits on in a block of indented lines. */
QUORVA_API int rtPrintToStreamBitStrBraceText(RtxContext* pctxt, const char* name, uint32_t numbits,
                                              const uint8_t* data);

/** As rtPrintToStreamBitStrBraceText, with the extension as in rtPrintToStreamBitStrExt. */
QUORVA_API int rtPrintToStreamBitStrBraceTextExt(RtxContext* pctxt, const char* name, uint32_t numbits,
                                                 const uint8_t* data, size_t dataSize,
                                                 const uint8_t* extData);

/** `name.numbits = number` and `name.data = ` with a 1 or 0 for each bit. */
QUORVA_API int rtPrintToStreamBitStrBin(RtxContext* pctxt, const char* name, uint32_t numbits,
                                        const uint8_t* data, const char* conn);

/**
 * `name.numbits = number` and `name.data = (a(1), (0))`, both indented.
 * @param nameCount   Number of named bits.
 * @param bitNumbers  The number of each named bit, 0 for the first of the string.
 * @param bitNames    Its name.
 */
QUORVA_API int rtPrintToStreamBitStrNamed(RtxContext* pctxt, const char* name, uint32_t numbits,
                                          const uint8_t* data, const char* conn, size_t nameCount,
                                          const uint32_t* bitNumbers, const char* const* bitNames);

/** As rtPrintToStreamBitStrNamed; bits behind `dataSize` octets come from `extData` and have no names. */
QUORVA_API int rtPrintToStreamBitStrNamedExt(RtxContext* pctxt, const char* name, uint32_t numbits,
                                             const uint8_t* data, size_t dataSize, const uint8_t* extData,
                                             const char* conn, size_t nameCount, const uint32_t* bitNumbers,
                                             const char* const* bitNames);

/**
 * Turns bits into lines of up to 16 octets, for the bit string printers.
 * @param list  Initialised by rtxSListInitEx over the context; receives heap texts. The caller frees it with
 *              rtxSListFreeAll, also after a failure.
 * @return 0, or RTX_E_NOMEM (not recorded) with the lines made so far in the list.
 */
QUORVA_API int rtBitStringDumpToList(RtxContext* pctxt, uint32_t numbits, const uint8_t* data,
                                     RtxSList* list);

/** Prints bits with names, `(a(1), (0))`; nothing if memory fails. Arguments as rtPrintToStreamBitStrNamed.
 */
QUORVA_API int rtBitStringDumpNamed(RtxContext* pctxt, uint32_t numbits, const uint8_t* data,
                                    size_t nameCount, const uint32_t* bitNumbers,
                                    const char* const* bitNames);

QUORVA_END_DECLS

#endif
