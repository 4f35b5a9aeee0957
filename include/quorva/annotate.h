/**
 * @file annotate.h
 * Which bits of a message say what: the trace of a decoder (rtxDiag.h) joined with the value that it gave.
 */
#ifndef QUORVA_ANNOTATE_H
#define QUORVA_ANNOTATE_H

#include "quorva/json.h"

QUORVA_BEGIN_DECLS

/** Bits of a message, and what they say. */
typedef struct QuorvaNote {
   size_t bitOffset; /**< From the first bit of the buffer. */
   size_t bitCount;  /**< How many. */
   const char* path; /**< Of the field, as in reflect.h; bits that are none, such as a length or an
                        identifier, have that of the field around them. */
   const char* kind; /**< What the trace calls them: "INTEGER", "length", "ext bit". */
   const char*
         text;      /**< What they say: the field's text, of a record its JSON; of other bits their number. */
   const char* doc; /**< The description's words about the field, or else about the element that it is in,
                       with the clause; "" without. */
   const char* meaning; /**< As in QuorvaItem. */
} QuorvaNote;

/** Takes a note, which lasts as long as the call; a result other than 0 ends the telling. */
typedef int (*QuorvaTakeNote)(void* user, const QuorvaNote* note);

/**
 * Tells of the bits of a message that was decoded with a trace: `bitFields` of the context was a list then,
 * and the buffer is still there. Of a message that was decoded only in part the memory of value and heap was
 * zeroed ahead of it.
 * @param take  Is told of each field of the trace in its order; what it gets stands until it returns. A
 * result other than 0 ends the call.
 * @return 0, what `take` returned, RTX_E_NOT_INIT without a trace or a buffer, RTX_E_BAD_ARGUMENT for a type
 *         that is none of quorvaTypes, RTX_E_NOMEM.
 */
QUORVA_API int quorvaNotes(RtxContext* pctxt, const QuorvaType* type, const void* value, QuorvaTakeNote take,
                           void* user);

/**
 * The same as JSON: an object of "octets" in hexadecimal digits and "notes", an array of objects with "bit",
 * "bits", "path", "kind", "text" and, where there are any, the "meaning" and the words "doc".
 */
QUORVA_API int quorvaAnnotate(RtxContext* pctxt, const QuorvaType* type, const void* value, QuorvaPut put,
                              void* user);

QUORVA_END_DECLS

#endif
