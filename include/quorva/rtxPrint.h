/**
 * @file rtxPrint.h
 * Printers of common values to standard output, with the texts of rtxPrintToStream.h unless their comment
 * tells of another. They need no context and don't flush. The results have no meaning but where told. The
 * indent is one of its own, for the whole process and not locked; the printers of values don't write it.
 */
#ifndef QUORVA_RTXPRINT_H
#define QUORVA_RTXPRINT_H

#include "quorva/rtxTypes.h"

QUORVA_BEGIN_DECLS

/** Prints the indent. */
QUORVA_API int rtxPrintIndent(void);

/** Sets the indent to 0. */
QUORVA_API void rtxPrintResetIndent(void);
/** Adds 3 to the indent. */
QUORVA_API void rtxPrintIncrIndent(void);
/** Takes 3 from the indent, which does not go below 0. */
QUORVA_API void rtxPrintDecrIndent(void);

/** The indent and `name {`, and what follows is indented. */
QUORVA_API int rtxPrintOpenBrace(const char* name);
/** Ends that; the indent and `}`. */
QUORVA_API int rtxPrintCloseBrace(void);

/** `name = true` or `name = false`. */
QUORVA_API int rtxPrintBoolean(const char* name, uint8_t value);

/** `name = value` in decimal. */
QUORVA_API int rtxPrintInteger(const char* name, int32_t value);
/** The same, unsigned. */
QUORVA_API int rtxPrintUnsigned(const char* name, uint32_t value);
/** The same with 64 bits. */
QUORVA_API int rtxPrintInt64(const char* name, int64_t value);
/** The same with 64 bits, unsigned. */
QUORVA_API int rtxPrintUInt64(const char* name, uint64_t value);

/** `name = value` with up to 12 significant digits, where the print stream has 6. */
QUORVA_API int rtxPrintReal(const char* name, double value);

/** `name = <null>`. */
QUORVA_API int rtxPrintNull(const char* name);

/** `name = 'text'`; a null text shows as (null). */
QUORVA_API int rtxPrintCharStr(const char* name, const char* value);
/** The same; the octets go out as they are. */
QUORVA_API int rtxPrintUTF8CharStr(const char* name, const char* value);

/** `name = 'text'` of 16-bit units; a negative number of them means that a zero ends the text. Null prints
 * nothing. */
QUORVA_API int rtxPrintUnicodeCharStr(const char* name, const uint16_t* value, int32_t nunits);
/** The same with a count of 64 bits. */
QUORVA_API int rtxPrintUnicodeCharStr64(const char* name, const uint16_t* value, int64_t nunits);

/** `name = 0x` and the octets, on one line whatever their number. */
QUORVA_API int rtxPrintHexStrPlain(const char* name, size_t numocts, const uint8_t* data);
/** As rtxPrintHexStrPlain up to 32 octets, above that `name =` and a dump. */
QUORVA_API int rtxPrintHexStr(const char* name, size_t numocts, const uint8_t* data);

/** As rtxPrintHexStr, but a dump without characters. */
QUORVA_API int rtxPrintHexStrNoAscii(const char* name, size_t numocts, const uint8_t* data);

/** `name.numocts = number`, `name.data =` and a dump. */
QUORVA_API int rtxPrintHexBinary(const char* name, size_t numocts, const uint8_t* data);

/** `name = text`; octets outside 0x20 to 0x7E are left out. */
QUORVA_API int rtxPrintText(const char* name, size_t numocts, const uint8_t* data);

/** `name = 10.0.0.1`. */
QUORVA_API int rtxPrintIpv4Addr(const char* name, size_t numocts, const uint8_t* data);
/** `name = 201:db8`, octets without leading zeros. */
QUORVA_API int rtxPrintIpv6Addr(const char* name, size_t numocts, const uint8_t* data);

/** `name = digits` of a telephony BCD string, with no line end. */
QUORVA_API int rtxPrintTBCDStr(const char* name, size_t numocts, const uint8_t* data);

/** `name.name  = 'text'` and `name.value = 'text'`; a null text shows as (null). */
QUORVA_API int rtxPrintNVP(const char* name, const RtxNVP* value);
/** The same with `name[index]` in place of the name. */
QUORVA_API int rtxPrintArrayNVP(const char* name, size_t index, const RtxNVP* value);

/** Prints a file, with one more line end behind each line. 0, or RTX_E_FILE_NOT_FOUND. */
QUORVA_API int rtxPrintFile(const char* fileName);

QUORVA_END_DECLS

#endif
