/**
 * @file rtxStatusText.h
 * Statuses in words: names, what they mean, whether a decoder's record is complete behind them, what to do.
 * Error records and rtxErrPrint have numbers alone; these functions say more to whoever asks.
 */
#ifndef QUORVA_RTXSTATUSTEXT_H
#define QUORVA_RTXSTATUSTEXT_H

#include "quorva/rtxCommon.h"
#include "quorva/rtxStatus.h"

QUORVA_BEGIN_DECLS

/** Is the record of a message complete behind a status? */
typedef enum QuorvaRecordState {
   QUORVA_RECORD_COMPLETE, /**< All of the message is in it. */
   QUORVA_RECORD_DEPENDS,  /**< In some cases, which the advice tells. */
   QUORVA_RECORD_PARTIAL,  /**< What stands ahead of the place of the failure. */
   QUORVA_RECORD_NONE      /**< No decoder gives this status for a message. */
} QuorvaRecordState;

/** A status; all texts are constants. */
typedef struct QuorvaStatus {
   int status;               /**< The number. */
   const char* name;         /**< Of its macro: "RTX_E_NOMEM". */
   const char* text;         /**< What it means, in a sentence without its full stop. */
   QuorvaRecordState record; /**< What of the message is in the record. */
   const char* advice;       /**< What to do, likewise; "" where that goes without saying. */
} QuorvaStatus;

/** All statuses of rtxStatus.h, from 0 down. `count`, if not null, gets their number. */
QUORVA_API const QuorvaStatus* quorvaStatuses(size_t* count);

/** The row of a status, or of 0 for a positive one, which is a count; null for a number that is no status. */
QUORVA_API const QuorvaStatus* quorvaFindStatus(int status);

/** The name of a status, "RTX_E_NOMEM"; "RTX_OK" for a positive one; null for a number that is no status. */
QUORVA_API const char* quorvaStatusName(int status);

/** What a status means, in a sentence without its full stop; as quorvaStatusName, but never null. */
QUORVA_API const char* quorvaStatusText(int status);

QUORVA_END_DECLS

#endif
