/**
 * @file rtPrintToString.h
 * Printers of values to the end of a NUL-terminated text, with the texts of rtxPrintToStream.h and
 * rtPrintToStream.h unless their comment tells of another, and single values as bare texts. No context is
 * needed.
 *
 * A printer gets the buffer and its size in octets. It returns 0, or -1 if the text, with its NUL, has no
 * room: the buffer then holds what had, with a NUL. Null, a size of 0 and a text without NUL give -1 at once.
 * The indent is one of its own, for the whole process and not locked; the printers of values don't write it.
 */
#ifndef QUORVA_RTPRINTTOSTRING_H
#define QUORVA_RTPRINTTOSTRING_H

#include "quorva/rtxDList.h"
#include "quorva/rtxTypes.h"

QUORVA_BEGIN_DECLS

/** Appends a text. */
QUORVA_API int rtPrintToString(const char* text, char* buffer, size_t bufsize);

/** Appends the indent. */
QUORVA_API int rtPrintToStringIndent(char* buffer, size_t bufsize);

/** Sets the indent to 0. */
QUORVA_API void rtPrintToStringResetIndent(void);
/** Adds 3 to the indent. */
QUORVA_API void rtPrintToStringIncrIndent(void);
/** Takes 3 from the indent, which does not go below 0. */
QUORVA_API void rtPrintToStringDecrIndent(void);

/** The indent and `name {`; then, unless that failed, what follows is indented. */
QUORVA_API int rtPrintToStringOpenBrace(const char* name, char* buffer, size_t bufsize);
/** Ends that; the indent and `}`. */
QUORVA_API int rtPrintToStringCloseBrace(char* buffer, size_t bufsize);

/** `name = TRUE` or `name = FALSE`, in capitals. */
QUORVA_API int rtPrintToStringBoolean(const char* name, uint8_t value, char* buffer, size_t bufsize);

/** `name = value` in decimal. */
QUORVA_API int rtPrintToStringInteger(const char* name, int32_t value, char* buffer, size_t bufsize);
/** The same, unsigned. */
QUORVA_API int rtPrintToStringUnsigned(const char* name, uint32_t value, char* buffer, size_t bufsize);
/** The same with 64 bits. */
QUORVA_API int rtPrintToStringInt64(const char* name, int64_t value, char* buffer, size_t bufsize);
/** The same with 64 bits, unsigned. */
QUORVA_API int rtPrintToStringUInt64(const char* name, uint64_t value, char* buffer, size_t bufsize);

/** `name =  = value` and an empty line, in the manner of %g. */
QUORVA_API int rtPrintToStringReal(const char* name, double value, char* buffer, size_t bufsize);

/** `name = 'text'`; a null text shows as (null). */
QUORVA_API int rtPrintToStringCharStr(const char* name, const char* value, char* buffer, size_t bufsize);
/** The same; the octets go out as they are. */
QUORVA_API int rtPrintToStringUTF8Str(const char* name, const char* value, char* buffer, size_t bufsize);

/** `name = 0x` and the octets, above 32 of them a dump. */
QUORVA_API int rtPrintToStringHexStr(const char* name, size_t numocts, const uint8_t* data, char* buffer,
                                     size_t bufsize);

/** `name.numocts = number` and `name.data = ` with the dump on its line. */
QUORVA_API int rtPrintToStringOctStr(const char* name, uint32_t numocts, const uint8_t* data,
                                     const char* conn, char* buffer, size_t bufsize);
/** The same for the octets of an open type. */
QUORVA_API int rtPrintToStringOpenType(const char* name, uint32_t numocts, const uint8_t* data,
                                       const char* conn, char* buffer, size_t bufsize);

/** Each RtxDynOctStr of a list as rtPrintToStringOpenType prints it; a null list prints nothing. */
QUORVA_API int rtPrintToStringOpenTypeExt(const char* name, const RtxDList* pElemList, char* buffer,
                                          size_t bufsize);
/** Each as rtPrintToStringHexStr prints it, indented. */
QUORVA_API int rtPrintToStringOpenTypeExtBraceText(const char* name, const RtxDList* pElemList, char* buffer,
                                                   size_t bufsize);

/** `name.nchars = number`, `name.data =` and a dump of the units as they lie in memory. */
QUORVA_API int rtPrintToString16BitCharStr(const char* name, const Rtx16BitCharString* value,
                                           const char* conn, char* buffer, size_t bufsize);
/** The same with units of 32 bits. */
QUORVA_API int rtPrintToString32BitCharStr(const char* name, const Rtx32BitCharString* value,
                                           const char* conn, char* buffer, size_t bufsize);

/** `name = 'text'`; units outside 0x20 to 0x7E show as 0x and four digits. */
QUORVA_API int rtPrintToStringUnicodeCharStr(const char* name, const Rtx16BitCharString* value, char* buffer,
                                             size_t bufsize);
/** The same with eight digits. */
QUORVA_API int rtPrintToStringUnivCharStr(const char* name, const Rtx32BitCharString* value, char* buffer,
                                          size_t bufsize);

/** `name = text`; octets outside 0x20 to 0x7E are left out. */
QUORVA_API int rtPrintToStringText(const char* name, size_t numocts, const uint8_t* data, char* buffer,
                                   size_t bufsize);

/** `name = 10.0.0.1`. */
QUORVA_API int rtPrintToStringIpv4Addr(const char* name, size_t numocts, const uint8_t* data, char* buffer,
                                       size_t bufsize);
/** `name = 201:db8`, octets without leading zeros. */
QUORVA_API int rtPrintToStringIpv6Addr(const char* name, size_t numocts, const uint8_t* data, char* buffer,
                                       size_t bufsize);

/** `name = digits` of a telephony BCD string. */
QUORVA_API int rtPrintToStringTBCDStr(const char* name, size_t numocts, const uint8_t* data, char* buffer,
                                      size_t bufsize);

/** `name = ` and the text of rtxDateTimeToString. -1 also for a record that has none, with the line open. */
QUORVA_API int rtPrintToStringDateTime(const char* name, const RtxDateTime* value, char* buffer,
                                       size_t bufsize);

/** `{ 1 2 3 }`, with no name. Arcs are unsigned, here and below. */
QUORVA_API int rtPrintToStringOIDValue(const RtxOID* value, char* buffer, size_t bufsize);
/** The same of `numids` arcs. */
QUORVA_API int rtPrintToStringOIDValue2(uint32_t numids, const uint32_t* subid, char* buffer, size_t bufsize);
/** The same with arcs of 64 bits. */
QUORVA_API int rtPrintToStringOID64Value(const RtxOID64* value, char* buffer, size_t bufsize);

/** `name = { 1 2 3 }`. */
QUORVA_API int rtPrintToStringOID(const char* name, const RtxOID* value, char* buffer, size_t bufsize);
/** The same of `numids` arcs. */
QUORVA_API int rtPrintToStringOID2(const char* name, uint32_t numids, const uint32_t* subid, char* buffer,
                                   size_t bufsize);
/** The same with arcs of 64 bits. */
QUORVA_API int rtPrintToStringOID64(const char* name, const RtxOID64* value, char* buffer, size_t bufsize);

/** `name = { 1 2 3 }` from the text "1.2.3"; `name = (null)` from null. RTX_E_NOMEM if memory fails. */
QUORVA_API int rtPrintToStringOIDStr(const char* name, const char* value, char* buffer, size_t bufsize);

/** The dump of rtBitStringDump with octets in lower case. */
QUORVA_API int rtBitStringDumpToString(uint32_t numbits, const uint8_t* data, char* buffer, size_t bufsize);
/** Bits with names, `(a(1), (0))`; see rtPrintToStreamBitStrNamed. */
QUORVA_API int rtBitStringDumpNamedToString(uint32_t numbits, const uint8_t* data, size_t nameCount,
                                            const uint32_t* bitNumbers, const char* const* bitNames,
                                            char* buffer, size_t bufsize);

/** `name.numbits = number` and `name.data = ` with the dump of rtBitStringDumpToString. */
QUORVA_API int rtPrintToStringBitStr(const char* name, uint32_t numbits, const uint8_t* data,
                                     const char* conn, char* buffer, size_t bufsize);
/**
 * The same for a string of which only `dataSize` octets are at `data`; then `name.extdata = 0x..` with the
 * first octet at `extData`, if not null.
 */
QUORVA_API int rtPrintToStringBitStrExt(const char* name, uint32_t numbits, const uint8_t* data,
                                        size_t dataSize, const uint8_t* extData, const char* conn,
                                        char* buffer, size_t bufsize);

/** `name.numbits = number` and `name.data = ` with a 1 or 0 for each bit. */
QUORVA_API int rtPrintToStringBitStrBin(const char* name, uint32_t numbits, const uint8_t* data,
                                        const char* conn, char* buffer, size_t bufsize);

/** `name = { numbits, dump }`. */
QUORVA_API int rtPrintToStringBitStrBraceText(const char* name, uint32_t numbits, const uint8_t* data,
                                              char* buffer, size_t bufsize);
/**
 * The same for a string of which only `dataSize` octets are at `data`; the first octet at `extData`, if not
 * null, is the third item.
 */
QUORVA_API int rtPrintToStringBitStrBraceTextExt(const char* name, uint32_t numbits, const uint8_t* data,
                                                 size_t dataSize, const uint8_t* extData, char* buffer,
                                                 size_t bufsize);

/** As rtPrintToStreamBitStrNamed. */
QUORVA_API int rtPrintToStringBitStrNamed(const char* name, uint32_t numbits, const uint8_t* data,
                                          const char* conn, size_t nameCount, const uint32_t* bitNumbers,
                                          const char* const* bitNames, char* buffer, size_t bufsize);
/** As rtPrintToStreamBitStrNamedExt; the octets at `extData` in lower case. */
QUORVA_API int rtPrintToStringBitStrNamedExt(const char* name, uint32_t numbits, const uint8_t* data,
                                             size_t dataSize, const uint8_t* extData, const char* conn,
                                             size_t nameCount, const uint32_t* bitNumbers,
                                             const char* const* bitNames, char* buffer, size_t bufsize);

/** "TRUE" or "FALSE". */
QUORVA_API const char* rtBoolToString(uint8_t value);

/** Decimal text of a number, cut to the size of the buffer. Returns the buffer, here and below. */
QUORVA_API const char* rtIntToString(int32_t value, char* buffer, size_t bufsize);
/** The same, unsigned. */
QUORVA_API const char* rtUIntToString(uint32_t value, char* buffer, size_t bufsize);
/** The same with 64 bits. */
QUORVA_API const char* rtInt64ToString(int64_t value, char* buffer, size_t bufsize);
/** The same with 64 bits, unsigned. */
QUORVA_API const char* rtUInt64ToString(uint64_t value, char* buffer, size_t bufsize);

/** `'101'B`, cut to the size of the buffer; its last octet is a NUL in any case. */
QUORVA_API const char* rtBitStrToString(uint32_t numbits, const uint8_t* data, char* buffer, size_t bufsize);
/** `'1f00'H`, cut in the same way. */
QUORVA_API const char* rtOctStrToString(uint32_t numocts, const uint8_t* data, char* buffer, size_t bufsize);

/** `{ 1 2 3 }`; ends behind the last arc that has room, without the brace. Null for a size under 6. */
QUORVA_API const char* rtOIDToString(uint32_t numids, const uint32_t* subid, char* buffer, size_t bufsize);
/** The same with arcs of 64 bits. */
QUORVA_API const char* rtOID64ToString(uint32_t numids, const uint64_t* subid, char* buffer, size_t bufsize);

/** `[UNIVERSAL 2]`, `[APPLICATION 2]`, `[2]`, `[PRIVATE 2]`: class in the top two bits, number in the low 13.
 * Cut to the size. */
QUORVA_API const char* rtTagToString(uint16_t tag, char* buffer, size_t bufsize);

/** `name[index]`, as the elements of a list are called. A piece that does not fit whole is left out, and all
 * behind it. */
QUORVA_API char* rtxGetArrayElemName(char* dest, size_t bufsize, const char* name, size_t index);

QUORVA_END_DECLS

#endif
