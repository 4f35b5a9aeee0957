/**
 * @file rtxError.h
 * Error records of a context: recording, questions, parameters, texts.
 *
 * The list keeps a record for each status that differs from the one before it, so every frame of a failing
 * codec can hand the status upward through rtxErrSetData. Parameters gather on `errFixed`.
 */
#ifndef QUORVA_RTXERROR_H
#define QUORVA_RTXERROR_H

#include "quorva/rtxContext.h"

QUORVA_BEGIN_DECLS

#if defined(__GNUC__)
/** Marks a function that does not return. */
#define QUORVA_NORETURN __attribute__((noreturn))
#else
#define QUORVA_NORETURN
#endif

/**
 * Records a failure unless it is the one recorded last. File and line are accepted and dropped.
 * @return The overall status, as rtxErrGetStatus. It is 0 when nothing but non-fatal records exists.
 */
QUORVA_API int rtxErrSetData(RtxContext* pctxt, int status, const char* file, int line);

/** The same, but always a new record. With no memory left RTX_E_NOMEM goes on record in `errFixed`. */
QUORVA_API int rtxErrSetNewData(RtxContext* pctxt, int status, const char* file, int line);

/** 0 without a fatal record, the status of the only one, or RTX_E_MULTIPLE. */
QUORVA_API int rtxErrGetStatus(const RtxContext* pctxt);

/** 0 without a record, the status on which all agree, or RTX_E_MULTIPLE; whether fatal or not. */
QUORVA_API int rtxErrCheckNonFatal(const RtxContext* pctxt);

/** The last record no longer counts in rtxErrGetStatus. */
QUORVA_API void rtxErrSetNonFatal(RtxContext* pctxt);

/** Status of the oldest record; 0 if there is none. */
QUORVA_API int rtxErrGetFirstError(const RtxContext* pctxt);
/** Status of the newest record; 0 if there is none. */
QUORVA_API int rtxErrGetLastError(const RtxContext* pctxt);

/** Number of records. */
QUORVA_API size_t rtxErrGetErrorCnt(const RtxContext* pctxt);

/** Drops errors, names and open containers; decoded records stay. Returns 0. */
QUORVA_API int rtxErrReset(RtxContext* pctxt);

/** Drops all error records. Returns 0. */
QUORVA_API int rtxErrResetErrInfo(RtxContext* pctxt);

/** Drops the last records, at most `count`. Returns 0. */
QUORVA_API int rtxErrResetLastErrors(RtxContext* pctxt, size_t count);

/** Frees the texts of all records; their statuses become 0. */
QUORVA_API void rtxErrFreeParms(RtxContext* pctxt);

/** Frees the parameters of one record; its status becomes 0. */
QUORVA_API void rtxErrFreeNodeParms(RtxContext* pctxt, RtxErrInfo* info);

/** Appends an empty fatal record. Null when memory is exhausted (not recorded). */
QUORVA_API RtxErrInfo* rtxErrNewNode(RtxContext* pctxt);

/**
 * Makes the errors of `dest` a copy of those of `source`. Of `errFixed` the parameters are copied, not the
 * status: it stands for a place in the list, and `dest` must be able to use its own when memory ends.
 * @return 0 or RTX_E_NOMEM, with none left in `dest`.
 */
QUORVA_API int rtxErrCopy(RtxContext* dest, const RtxContext* source);

/** Appends a copy of each record of `source`. Returns 0 or RTX_E_NOMEM. */
QUORVA_API int rtxErrAppend(RtxContext* dest, const RtxContext* source);

/** Adds the value as a parameter and returns RTX_E_BAD_CHOICE, not recorded. */
QUORVA_API int rtxErrInvUIntOpt(RtxContext* pctxt, uint32_t value);

/*
 * Parameters. A copy goes to the heap and is added to `errFixed`. The result is true, or false when there is
 * no memory or RTX_ERR_MAX_PARMS are there already.
 */
/** Adds a copy of a text, "(null)" for null. */
QUORVA_API int rtxErrAddStrParm(RtxContext* pctxt, const char* text);
/** The same with at most `nchars` octets of the text. */
QUORVA_API int rtxErrAddStrnParm(RtxContext* pctxt, const char* text, size_t nchars);
/** Adds a signed number in decimal. */
QUORVA_API int rtxErrAddIntParm(RtxContext* pctxt, int32_t value);
/** Adds an unsigned number in decimal. */
QUORVA_API int rtxErrAddUIntParm(RtxContext* pctxt, uint32_t value);
/** Adds a signed number of 64 bits in decimal. */
QUORVA_API int rtxErrAddInt64Parm(RtxContext* pctxt, int64_t value);
/** Adds an unsigned number of 64 bits in decimal. */
QUORVA_API int rtxErrAddUInt64Parm(RtxContext* pctxt, uint64_t value);
/** Adds a size in decimal. */
QUORVA_API int rtxErrAddSizeParm(RtxContext* pctxt, size_t value);

/** Adds the text "?", whatever the value. */
QUORVA_API int rtxErrAddDoubleParm(RtxContext* pctxt, double value);

/** Adds a text of 16-bit units as UTF-8. */
QUORVA_API int rtxErrAddUniStrParm(RtxContext* pctxt, const uint16_t* text);

/** Adds the buffer from the cursor on, up to a NUL, as text. */
QUORVA_API int rtxErrAddCtxtBufParm(RtxContext* pctxt);

/** Adds the element path, its names joined by ".", or "?" if there is none. */
QUORVA_API int rtxErrAddElemNameParm(RtxContext* pctxt);

/** Message of one record: there are no texts for statuses, so the buffer stays as it is. Null if one is
 * missing. */
QUORVA_API char* rtxErrFmtMsg(const RtxErrInfo* info, char* buf, size_t bufsiz);

/** Fills the buffer with two lines a record, the status and an empty message, as far as they fit. */
QUORVA_API char* rtxErrGetTextBuf(RtxContext* pctxt, char* buf, size_t bufsiz);

/**
 * As rtxErrGetTextBuf.
 * @param buf   Buffer of `*psize` octets. With null a heap text is made and its room stored in `*psize`, if
 *              that is given.
 */
QUORVA_API char* rtxErrGetText(RtxContext* pctxt, char* buf, size_t* psize);

/** Heap text with the element and the empty message of each record. Null when memory is exhausted. */
QUORVA_API char* rtxErrGetMsgText(RtxContext* pctxt);

/** Fills the buffer with the empty message and a line break for each record. */
QUORVA_API char* rtxErrGetMsgTextBuf(RtxContext* pctxt, char* buf, size_t bufsiz);

/** Prints a record to standard output: status and an empty line. Null: nothing. */
QUORVA_API void rtxErrPrintElement(const RtxErrInfo* info);
/** The same for all records, the oldest first. */
QUORVA_API void rtxErrPrint(const RtxContext* pctxt);

/** Takes a line of text, which lasts as long as the call. */
typedef void (*RtxErrLogCallback)(const char* text, void* userArg);

/** Hands the text of all records to the callback, then frees their parameters. */
QUORVA_API void rtxErrLogUsingCB(RtxContext* pctxt, RtxErrLogCallback callback, void* userArg);

/** Prints the condition and ends the process. */
QUORVA_API QUORVA_NORETURN void rtxErrAssertionFailed(const char* condition, int line, const char* file);

/* There are no tables of status texts to set up. */

/** Does nothing. */
QUORVA_API void rtxErrInit(void);
/** Does nothing. */
QUORVA_API void rtErrASN1Init(void);
/** Does nothing. Always 0. */
QUORVA_API int rtxErrAddErrorTableEntry(const char* const* texts, int minStatus, int maxStatus);

QUORVA_END_DECLS

#endif
