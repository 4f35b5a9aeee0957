/**
 * @file rtxDiag.h
 * Diagnostics: filtered text lines, and the bit trace, which notes every field that a codec reads or writes
 * and lists the message bit by bit, as text or as an HTML page.
 */
#ifndef QUORVA_RTXDIAG_H
#define QUORVA_RTXDIAG_H

#include "quorva/rtxContext.h"
#include "quorva/rtxSList.h"

QUORVA_BEGIN_DECLS

/** Diagnostics are on for every context. Clear at start; not locked. */
extern QUORVA_API uint8_t g_DiagEnabled;

/** One traced field. */
struct RtxDiagBitField {
   char* elemName;         /**< Element path when the field began, joined by "."; heap, or null. */
   const char* nameSuffix; /**< Kind of the field; a literal. */
   size_t bitOffset;       /**< Where it starts. */
   size_t bitCount;        /**< Bits that it took; 0 until rtxDiagSetBitFldCount. */
   RtxDiagBitFieldList* openTypeFields; /**< Trace of an embedded message, or null. */
};

/** The line of a bit listing under construction. */
typedef struct RtxDiagBitLine {
   uint8_t octet;    /**< Bits of the current octet. */
   uint8_t mask;     /**< Its next bit; 128 at its start. */
   char bits[36];    /**< Bits in groups of eight. */
   char hex[9];      /**< Two digits for each complete octet. */
   char chars[5];    /**< Its character, or a point. */
   int32_t numBits;  /**< Characters of `bits` in use. */
   int32_t numHex;   /**< Characters of `hex` in use. */
   int32_t numChars; /**< Characters of `chars` in use. */
} RtxDiagBitLine;

/**
 * The trace of a message. A caller allocates it on the context's heap, initialises it and stores it in
 * `bitFields` of the context; it must not be used after the heap's next reset.
 */
struct RtxDiagBitFieldList {
   uint16_t disabledCount;   /**< Above 0: nothing is noted. */
   RtxSList fieldList;       /**< The fields, oldest first. */
   RtxMemBuf* captureBuf;    /**< What passed through the stream; null for buffers and memory streams. */
   RtxDiagBitLine lineState; /**< Survives from one field to the next. */
   RtxSListNode* lastField;  /**< Last field printed: the next listing goes on behind it. */
};

/** Are diagnostics on, for all or for this context? The context may be null. */
QUORVA_API int rtxDiagEnabled(const RtxContext* pctxt);

/** Switches the context's diagnostics. Returns what rtxDiagEnabled gave before. */
QUORVA_API int rtxSetDiag(RtxContext* pctxt, int value);

/** Switches the diagnostics of all contexts. Returns the old value. */
QUORVA_API int rtxSetGlobalDiag(int value);

/** Switches the context's diagnostics on and sets `diagLevel`: 0 errors only, 1 warnings too, 2 information,
 * 3 all. */
QUORVA_API int rtxDiagSetTraceLevel(RtxContext* pctxt, uint8_t level);

/** Would a line of this level pass? Above a `diagLevel` of 3 none does. */
QUORVA_API int rtxDiagTraceLevelEnabled(const RtxContext* pctxt, unsigned level);

/**
 * Prints to standard output, if diagnostics are on. A format that begins with "~" and a class letter (E, W, I
 * or D, in either case) passes only if the context's `diagLevel` lets the class through: 0 E, 1 E and W, 2 E,
 * W and I, 3 all four; a higher level lets everything pass. The two characters are printed too.
 */
QUORVA_API void rtxDiagPrint(const RtxContext* pctxt, const char* fmt, ...) QUORVA_PRINTF(2, 3);

/** As rtxDiagPrint, to the print stream. */
QUORVA_API void rtxDiagStream(RtxContext* pctxt, const char* fmt, ...) QUORVA_PRINTF(2, 3);

/** Dump to standard output, if diagnostics are on. */
QUORVA_API void rtxDiagHexDump(const RtxContext* pctxt, const uint8_t* data, size_t numocts);
/** Dump to the print stream, if diagnostics are on. */
QUORVA_API void rtxDiagStreamHexDump(RtxContext* pctxt, const uint8_t* data, size_t numocts);

/** The octets as characters and a line end to standard output, if diagnostics are on. */
QUORVA_API void rtxDiagPrintChars(const RtxContext* pctxt, const char* data, size_t nchars);

/** The octets as characters to the print stream, if diagnostics are on. */
QUORVA_API void rtxDiagStreamPrintChars(RtxContext* pctxt, const char* data, size_t nchars);

/**
 * Bits as 1 and 0 behind a prefix, to the print stream, if diagnostics are on. Exhausted memory is recorded.
 * @param descr     The prefix; may be null.
 * @param startBit  First bit, counted from the most significant one of the first octet.
 */
QUORVA_API void rtxDiagStreamPrintBits(RtxContext* pctxt, const char* descr, const uint8_t* data,
                                       size_t startBit, size_t nbits);

/**
 * Initialises a list over a context. With an active stream that is no memory stream, what passes through it
 * is captured from here on. 0, or RTX_E_NOMEM if the capture can't be allocated (not recorded).
 */
QUORVA_API int rtxDiagBitFieldListInit(RtxContext* pctxt, RtxDiagBitFieldList* pBFList);

/** Does nothing; 0. */
QUORVA_API int rtxDiagCtxtBitFieldListInit(RtxContext* pctxt);

/**
 * Notes that a field begins at the cursor, under the names on the context's element stack.
 * @param suffix  Its kind; not copied.
 * @return The field; null for a null or disabled list, or when memory fails, which is recorded nowhere.
 */
QUORVA_API RtxDiagBitField* rtxDiagNewBitField(RtxDiagBitFieldList* pBFList, const char* suffix);

/** The newest field ends at the cursor. */
QUORVA_API void rtxDiagSetBitFldCount(RtxDiagBitFieldList* pBFList);

/** Moves the start of the newest field to the cursor, if it has no bits yet. */
QUORVA_API void rtxDiagSetBitFldOffset(RtxDiagBitFieldList* pBFList);

/** Changes the kind of the newest field. */
QUORVA_API void rtxDiagSetBitFldNameSuffix(RtxDiagBitFieldList* pBFList, const char* suffix);

/** Splits the newest field at the cursor into a "length" and what follows, under the same name. */
QUORVA_API void rtxDiagInsBitFieldLen(RtxDiagBitFieldList* pBFList);

/** Appends "." and a part to the name of the newest field; one with no name gets that of the element stack.
 */
QUORVA_API void rtxDiagBitFldAppendNamePart(RtxDiagBitFieldList* pBFList, const char* namePart);

/**
 * Disables the list (value not 0), or takes one disabling back. Calls nest.
 * @return Is it disabled now? True for a null list.
 */
QUORVA_API int rtxDiagSetBitFldDisabled(RtxDiagBitFieldList* pBFList, int value);

/** Lists the fields noted since the last listing, to the print stream. The prefix of their names may be null.
 */
QUORVA_API void rtxDiagBitTracePrint(RtxDiagBitFieldList* pBFList, const char* varname);

/** Writes all fields as an HTML page to a file; a null or empty name and "stdout" mean standard output. */
QUORVA_API void rtxDiagBitTracePrintHTML(const char* fileName, RtxDiagBitFieldList* pBFList,
                                         const char* varname);

QUORVA_END_DECLS

#endif
