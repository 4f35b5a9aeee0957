/**
 * @file rtxTxt.h
 * Characters and numbers of text at the cursor of a context, in a buffer or on a stream: what readers and
 * writers of value notation are made of.
 *
 * Functions return 0 or a negative status, which is on record. White space is blank and tab to carriage
 * return. What has been read when one fails stays read. At the end of the input they give RTX_E_END_OF_DATA,
 * on streams too; a full output that may not grow gives RTX_E_BUFFER_FULL. Null targets are allowed.
 */
#ifndef QUORVA_RTXTXT_H
#define QUORVA_RTXTXT_H

#include "quorva/rtxCommon.h"

QUORVA_BEGIN_DECLS

/** Passes over white space; the end of the input is no failure. */
QUORVA_API int rtxTxtSkipWhitespace(RtxContext* pctxt);

/** Looks at the next character without reading it, behind white space if `skip` is set. */
QUORVA_API int rtxTxtPeekChar(RtxContext* pctxt, char* pchar, int skip);

/** As rtxTxtPeekChar. Returns the character, 0 for a failure. */
QUORVA_API char rtxTxtPeekChar2(RtxContext* pctxt, int skip);

/**
 * Reads a character that must be `expected`, behind white space if `skip` is set. Another one is read too; it
 * becomes a parameter, and the status RTX_E_BAD_CHAR.
 */
QUORVA_API int rtxTxtMatchChar(RtxContext* pctxt, char expected, int skip);

/** The same for each character of a text; white space may stand only before the first. RTX_E_BAD_ARGUMENT for
 * null. */
QUORVA_API int rtxTxtMatchChars(RtxContext* pctxt, const char* expected, int skip);

/*
 * Numbers. The readers take a decimal number behind white space; the signed ones may have a plus or a minus
 * sign. It ends before the first character that is no digit. RTX_E_BAD_CHAR, with the character as a
 * parameter, if there is no digit; RTX_E_OVERFLOW if the target does not hold the number.
 */
/** Reads a signed number of 8 bits. */
QUORVA_API int rtxTxtReadInt8(RtxContext* pctxt, int8_t* pvalue);
/** Reads a signed number of 16 bits. */
QUORVA_API int rtxTxtReadInt16(RtxContext* pctxt, int16_t* pvalue);
/** Reads a signed number of 32 bits. */
QUORVA_API int rtxTxtReadInt32(RtxContext* pctxt, int32_t* pvalue);
/** Reads a signed number of 64 bits. */
QUORVA_API int rtxTxtReadInt64(RtxContext* pctxt, int64_t* pvalue);
/** Reads an unsigned number of 8 bits. */
QUORVA_API int rtxTxtReadUInt8(RtxContext* pctxt, uint8_t* pvalue);
/** Reads an unsigned number of 16 bits. */
QUORVA_API int rtxTxtReadUInt16(RtxContext* pctxt, uint16_t* pvalue);
/** Reads an unsigned number of 32 bits. */
QUORVA_API int rtxTxtReadUInt32(RtxContext* pctxt, uint32_t* pvalue);
/** Reads an unsigned number of 64 bits. */
QUORVA_API int rtxTxtReadUInt64(RtxContext* pctxt, uint64_t* pvalue);

/** Reads a signed decimal number of any length as a heap text, without a plus sign. */
QUORVA_API int rtxTxtReadBigInt(RtxContext* pctxt, const char** ptext);

/** Writes a number in decimal. */
QUORVA_API int rtxTxtWriteInt(RtxContext* pctxt, int32_t value);
/** The same with 64 bits. */
QUORVA_API int rtxTxtWriteInt64(RtxContext* pctxt, int64_t value);
/** The same, unsigned. */
QUORVA_API int rtxTxtWriteUInt(RtxContext* pctxt, uint32_t value);
/** The same with 64 bits, unsigned. */
QUORVA_API int rtxTxtWriteUInt64(RtxContext* pctxt, uint64_t value);

/** Writes the octets of a text. RTX_E_BAD_ARGUMENT for null. */
QUORVA_API int rtxCopyAsciiText(RtxContext* pctxt, const char* text);

QUORVA_END_DECLS

#endif
