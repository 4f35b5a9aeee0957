/**
 * @file rtxHexDump.h
 * Hex dumps, 16 octets a line with their characters, and conversions between octets and hexadecimal text.
 *
 * A group size tells how many octets stand together: 1, 2 or 4. Octets behind the last whole group are not
 * shown. Null data, no octets and a group size of 0 print nothing.
 */
#ifndef QUORVA_RTXHEXDUMP_H
#define QUORVA_RTXHEXDUMP_H

#include "quorva/rtxCommon.h"

#include <stdio.h>

QUORVA_BEGIN_DECLS

/** Dump to the print stream by single octets, one call a line and no indent. */
QUORVA_API void rtxHexDumpToStream(RtxContext* pctxt, const uint8_t* data, size_t numocts);
/** The same by groups of octets. */
QUORVA_API void rtxHexDumpToStreamEx(RtxContext* pctxt, const uint8_t* data, size_t numocts,
                                     size_t groupSize);

/** As rtxHexDumpToStreamEx, without the characters. */
QUORVA_API void rtxHexDumpToStreamExNoAscii(RtxContext* pctxt, const uint8_t* data, size_t numocts,
                                            size_t groupSize);

/** Dump to an open file by single octets; a null file takes nothing, here and below. */
QUORVA_API void rtxHexDumpToFile(FILE* file, const uint8_t* data, size_t numocts);
/** The same by groups of octets. */
QUORVA_API void rtxHexDumpToFileEx(FILE* file, const uint8_t* data, size_t numocts, size_t groupSize);
/** As rtxHexDumpToFileEx, without the characters. */
QUORVA_API void rtxHexDumpToFileExNoAscii(FILE* file, const uint8_t* data, size_t numocts, size_t groupSize);

/** Dump to standard output by single octets. */
QUORVA_API void rtxHexDump(const uint8_t* data, size_t numocts);
/** The same by groups of octets. */
QUORVA_API void rtxHexDumpEx(const uint8_t* data, size_t numocts, size_t groupSize);

/** Dump to a new file by single octets. 0, or RTX_E_FILE_WRITE if it can't be opened. */
QUORVA_API int rtxHexDumpToNamedFile(const char* fileName, const uint8_t* data, size_t numocts);
/** The same without the characters. */
QUORVA_API int rtxHexDumpToNamedFileNoAscii(const char* fileName, const uint8_t* data, size_t numocts);

/**
 * Dump of a file's content to standard output. The file is left open.
 * @return 0, or RTX_E_FILE_READ if it can't be opened.
 */
QUORVA_API int rtxHexDumpFileContents(const char* inFileName);

/** As rtxHexDumpFileContents, to a new file; RTX_E_FILE_WRITE if that can't be opened. */
QUORVA_API int rtxHexDumpFileContentsToFile(const char* inFileName, const char* outFileName);

/**
 * Dump appended to a text.
 * @param numocts    Number of octets, a multiple of the group size; otherwise nothing is appended.
 * @param buffer     NUL-terminated text.
 * @param offset     Its length.
 * @param bufsize    Room at `buffer` in octets.
 * @param groupSize  1, 2, 4 or 8; 8 makes two groups of 4 a line. Anything else appends nothing.
 * @return The new length; 0 if nothing was to append; -1 when a line does not fit, with the lines before it
 * in the buffer, and for a null buffer or an offset outside it.
 */
QUORVA_API int rtxHexDumpToStringEx(const uint8_t* data, size_t numocts, char* buffer, size_t offset,
                                    size_t bufsize, size_t groupSize);

/** As rtxHexDumpToStringEx, octet by octet. */
QUORVA_API int rtxHexDumpToString(const uint8_t* data, size_t numocts, char* buffer, size_t offset,
                                  size_t bufsize);

/** Writes two lower-case digits and a NUL. 0, or -1 for null and without room for three characters. */
QUORVA_API int rtxByteToHexChar(uint8_t byte, char* dest, size_t size);

/** As rtxByteToHexChar, behind a prefix that may be null or empty. */
QUORVA_API int rtxByteToHexCharWithPrefix(uint8_t byte, char* dest, size_t size, const char* prefix);

/**
 * Octets that rtxHexCharsToBin makes of a text.
 * @param nchars  Length of the text; 0: up to its NUL.
 * @return Their number, 0 for null, RTX_E_BAD_HEX, or RTX_E_OVERFLOW for more than 2^31 - 1.
 */
QUORVA_API int rtxHexCharsToBinCount(const char* text, size_t nchars);

/**
 * Converts hexadecimal text to octets. White space and commas separate tokens; each may begin with 0x. Two
 * digits make an octet; a single one at the end of a token is an octet of its own, but at the front when the
 * text is one token that runs to its end.
 * @param out   Receives the octets; nothing after RTX_E_BAD_HEX.
 * @param size  Room at `out` in octets.
 * @return A result of rtxHexCharsToBinCount, or RTX_E_TOO_SMALL with as many octets as there is room for.
 */
QUORVA_API int rtxHexCharsToBin(const char* text, size_t nchars, uint8_t* out, size_t size);

/**
 * Lists the differences of two octet arrays, "[index]xx != yy" joined by ", ". The 101st is the last, with
 * ", ..." behind it.
 * @return Heap text, to be freed with rtxMemHeapFreePtr. Null if there is no difference or memory fails at
 * the first; failing later, it gives what it has.
 */
QUORVA_API char* rtxHexDiffToDynString(RtxContext* pctxt, const uint8_t* a, const uint8_t* b, size_t numocts);

QUORVA_END_DECLS

#endif
