/**
 * @file rtxPrintToStream.h
 * The print stream: where all readable text goes, its indentation, and the printers of common values.
 *
 * Text goes to the callback registered in the context, else to the process-wide one, else to standard output.
 * What a callback returns is dropped, so printing can't fail; the printers return 0 unless their comment says
 * otherwise. Wherever a context is taken it may be null. The value printers write no indent; the caller does.
 *
 * Printers of records, dumps and listings of bits don't call the stock callbacks below, nor flush standard
 * output at each piece when nothing is registered: they write what these would write straight to its place,
 * and flush at the end of each line. Any other callback gets every piece by a call.
 */
#ifndef QUORVA_RTXPRINTTOSTREAM_H
#define QUORVA_RTXPRINTTOSTREAM_H

#include "quorva/rtxTypes.h"

#include <stdarg.h>

QUORVA_BEGIN_DECLS

/** Where text goes: formats `fmt` with `args`. The result is dropped. */
typedef int (*RtxPrintCallback)(void* pUserData, const char* fmt, va_list args);

/** A print callback with the pointer that each call of it gets. */
struct RtxPrintStream {
   RtxPrintCallback pfn; /**< The callback; null: none. */
   void* pUserData;      /**< The pointer. */
};

/** The process-wide registration; zeroed at start. Not locked: set it before printing begins. */
extern QUORVA_API RtxPrintStream g_PrintStream;

/** User data of rtxPrintStreamToStringCB. */
typedef struct RtxPrintToStringBuffer {
   char* buffer; /**< The caller's memory. */
   size_t size;  /**< Its size in octets, with room for the NUL. */
   size_t used;  /**< Octets written so far, without the NUL. */
} RtxPrintToStringBuffer;

/**
 * Registers a callback in a context, in place of the one there, and resets the context's indent. The record
 * is system memory; the context owns it.
 * @return 0, RTX_E_BAD_ARGUMENT for a null callback (nothing changes) or context, RTX_E_NOMEM; both are
 * recorded.
 */
QUORVA_API int rtxSetPrintStream(RtxContext* pctxt, RtxPrintCallback pfn, void* pUserData);

/** Registers a callback for the whole process. 0, or RTX_E_BAD_ARGUMENT for a null callback. */
QUORVA_API int rtxSetGlobalPrintStream(RtxPrintCallback pfn, void* pUserData);

/** Ends the context's registration. 0, or RTX_E_BAD_ARGUMENT for a null context. */
QUORVA_API int rtxPrintStreamRelease(RtxContext* pctxt);

/** Prints formatted text. Always 0. Standard output, when nothing is registered, is flushed at once. */
QUORVA_API int rtxPrintToStream(RtxContext* pctxt, const char* fmt, ...) QUORVA_PRINTF(2, 3);

/** As rtxPrintToStream, with an argument list already started. */
QUORVA_API int rtxDiagToStream(RtxContext* pctxt, const char* fmt, va_list args) QUORVA_PRINTF(2, 0);

/** Callback: standard output, not flushed. The user data is ignored. */
QUORVA_API int rtxPrintStreamToStdoutCB(void* pUserData, const char* fmt, va_list args) QUORVA_PRINTF(2, 0);

/** Callback: the open `FILE*` given as user data, not flushed. */
QUORVA_API int rtxPrintStreamToFileCB(void* pUserData, const char* fmt, va_list args) QUORVA_PRINTF(2, 0);

/**
 * Callback: appends to the RtxPrintToStringBuffer given as user data. Text that does not fit is cut without a
 * report; the NUL is always there.
 * @return Octets appended, or `used` if the buffer is full.
 */
QUORVA_API int rtxPrintStreamToStringCB(void* pUserData, const char* fmt, va_list args) QUORVA_PRINTF(2, 0);

/** Prints the indent, blank by blank. A null context means the indent of the process, here and below. */
QUORVA_API int rtxPrintToStreamIndent(RtxContext* pctxt);

/** Sets the indent to 0. */
QUORVA_API void rtxPrintToStreamResetIndent(RtxContext* pctxt);

/** Adds 3 to the indent. */
QUORVA_API void rtxPrintToStreamIncrIndent(RtxContext* pctxt);

/** Takes 3 from the indent, which does not go below 0. */
QUORVA_API void rtxPrintToStreamDecrIndent(RtxContext* pctxt);

/** Prints the indent and `name {`, and indents what follows. */
QUORVA_API int rtxPrintToStreamOpenBrace(RtxContext* pctxt, const char* name);

/** Ends the indent of rtxPrintToStreamOpenBrace; prints the indent and `}`. */
QUORVA_API int rtxPrintToStreamCloseBrace(RtxContext* pctxt);

/** `name = true`, for any value but 0, or `name = false`. */
QUORVA_API int rtxPrintToStreamBoolean(RtxContext* pctxt, const char* name, uint8_t value);

/** `name = value` in decimal. */
QUORVA_API int rtxPrintToStreamInteger(RtxContext* pctxt, const char* name, int32_t value);
/** The same, unsigned. */
QUORVA_API int rtxPrintToStreamUnsigned(RtxContext* pctxt, const char* name, uint32_t value);
/** The same with 64 bits. */
QUORVA_API int rtxPrintToStreamInt64(RtxContext* pctxt, const char* name, int64_t value);
/** The same with 64 bits, unsigned. */
QUORVA_API int rtxPrintToStreamUInt64(RtxContext* pctxt, const char* name, uint64_t value);

/** `name = value`, in the manner of %g. */
QUORVA_API int rtxPrintToStreamReal(RtxContext* pctxt, const char* name, double value);

/** `name = <null>`. */
QUORVA_API int rtxPrintToStreamNull(RtxContext* pctxt, const char* name);

/** `name = 'text'`; a null text shows as (null). */
QUORVA_API int rtxPrintToStreamCharStr(RtxContext* pctxt, const char* name, const char* text);
/** The same; the octets go out as they are. */
QUORVA_API int rtxPrintToStreamUTF8CharStr(RtxContext* pctxt, const char* name, const char* text);

/**
 * `name = 'text'` of 16-bit units; those outside 0x20 to 0x7E show as 0x and four digits.
 * @param text    The units; null prints nothing.
 * @param nunits  Their number; a negative one means that a zero unit ends the text.
 */
QUORVA_API int rtxPrintToStreamUnicodeCharStr(RtxContext* pctxt, const char* name, const uint16_t* text,
                                              int32_t nunits);

/** `name = 0x` and the octets, on one line whatever their number. */
QUORVA_API int rtxPrintToStreamHexStrPlain(RtxContext* pctxt, const char* name, size_t numocts,
                                           const uint8_t* data);

/** As rtxPrintToStreamHexStrPlain up to 32 octets, above that `name =` and a dump. */
QUORVA_API int rtxPrintToStreamHexStr(RtxContext* pctxt, const char* name, size_t numocts,
                                      const uint8_t* data);

/** `name =` and a dump without characters, whatever the number of octets. */
QUORVA_API int rtxPrintToStreamHexStrNoAscii(RtxContext* pctxt, const char* name, size_t numocts,
                                             const uint8_t* data);

/** `name.numocts = number`, `name.data =` and a dump. */
QUORVA_API int rtxPrintToStreamHexBinary(RtxContext* pctxt, const char* name, size_t numocts,
                                         const uint8_t* data);

/** `name.name  = 'text'` and `name.value = 'text'`; a null text shows as (null). */
QUORVA_API int rtxPrintToStreamNVP(RtxContext* pctxt, const char* name, const RtxNVP* value);

/**
 * Prints a file, each line as a format text with no arguments: a file to print must come from whoever wrote
 * the program, and has %% for each percent sign.
 * @return 0, or RTX_E_FILE_NOT_FOUND if it can't be opened.
 */
QUORVA_API int rtxPrintToStreamFile(RtxContext* pctxt, const char* fileName);

/**
 * Writes a text so that it stays on its line and shows what is in it, by the escapes of C: those with a
 * letter for line ends and tabs, those with two hexadecimal digits for other control characters and for
 * octets that are no UTF-8, those with "u" and four for control characters, line ends and changes of
 * direction outside of ASCII, and a backslash ahead of a backslash and of the quote.
 * @param quote   Character that the text stands in; 0: in none.
 * @param buffer  Gets the result and its NUL, cut ahead of what has no room; may be null if size is 0.
 * @return Octets of the whole result without its NUL.
 */
QUORVA_API size_t quorvaEscapeText(const char* text, size_t numocts, char quote, char* buffer, size_t size);

QUORVA_END_DECLS

#endif
