/**
 * @file json.h
 * Values as JSON (RFC 8259), both ways, and which bits of a message say what.
 *
 * A record is an object of its fields under the names of its print; what is absent is left out. A list is an
 * array; a choice an object with its arm alone, which stands among the fields around it where the choice has
 * no name. Flags are true and false, numbers are numbers, but those with a name are that name as a text.
 * Octets are hexadecimal digits; bits the same, with "/" and the number of bits behind them unless they are
 * whole octets. Texts are texts; one that is no UTF-8, or no UTF-16, is {"hex": its octets, 16-bit characters
 * most significant octet first}. Nothing is null, as is a text without octets of its own. A selector that no
 * arm's name tells is "t" ahead of the arm.
 */
#ifndef QUORVA_JSON_H
#define QUORVA_JSON_H

#include "quorva/registry.h"

QUORVA_BEGIN_DECLS

/**
 * Writes a value, on one line, without a line end.
 * @param pctxt   Of RTX_CTXT_STANDARD the members and names of standard mode; may be null. It is not changed.
 * @param buffer  Gets the text and its NUL, cut where the room ends; may be null if size is 0.
 * @param size    Its size in octets.
 * @param length  Gets the octets of the whole text without its NUL, also where it was cut; may be null.
 * @return 0, RTX_E_TOO_SMALL if the text was cut, RTX_E_BAD_ARGUMENT for a type that is none of quorvaTypes.
 */
QUORVA_API int quorvaToJson(const RtxContext* pctxt, const QuorvaType* type, const void* value, char* buffer,
                            size_t size, size_t* length);

/** Takes a piece of a text that is no longer there afterwards. A result other than 0 ends the text. */
typedef int (*QuorvaPut)(void* user, const char* text, size_t length);

/** The same, piece by piece. 0, RTX_E_BAD_ARGUMENT, or what `put` returned. */
QUORVA_API int quorvaWriteJson(const RtxContext* pctxt, const QuorvaType* type, const void* value,
                               QuorvaPut put, void* user);

/** Where a JSON text was refused, and why. */
typedef struct QuorvaJsonFault {
   size_t offset;      /**< In the text, in octets from 0. */
   size_t line;        /**< From 1. */
   size_t column;      /**< In octets from 1. */
   const char* reason; /**< A constant text: "no such field". */
   char path[256];     /**< Of the field, as in reflect.h; its end if it is longer. */
} QuorvaJsonFault;

/**
 * Reads a value. Members may stand in any order; one that is missing has its initial state. Lengths that the
 * encoder computes may be left out, as may discriminator, type and header options of a PDU, which its message
 * tells as asn1SetTC_ does. Numbers are taken for names as well. Whether the value can be encoded tells the
 * encoder.
 * @param value   Of the size of the type; best zeroed, as by quorvaNew: of a choice that a number selects
 *                the other arms stay as they are, and the encoder of TS24008Msg_PDU asks one of them. What it
 *                points to lies on the context's heap.
 * @param text    UTF-8, one value with white space around it.
 * @param fault   Tells the place of a failure; may be null.
 * @return 0; RTX_E_BAD_FORMAT for a text that is no JSON, a field twice, or what is nested too deeply;
 *         RTX_E_UNKNOWN_NAME for a member that is no field; RTX_E_VALUE_TYPE for a value of another kind;
 *         RTX_E_BAD_ENUM, RTX_E_BAD_HEX, RTX_E_BAD_VALUE, RTX_E_BAD_UTF8, RTX_E_BAD_CHAR; RTX_E_OVERFLOW for
 *         a number, RTX_E_CONSTRAINT for octets, bits, texts or entries that have no room; RTX_E_BAD_CHOICE
 *         for a second arm, or for one that is not what the fields ahead of a choice select;
 *         RTX_E_BAD_ARGUMENT, RTX_E_NOMEM. The value must not be used then.
 */
QUORVA_API int quorvaFromJson(RtxContext* pctxt, const QuorvaType* type, void* value, const char* text,
                              size_t length, QuorvaJsonFault* fault);

/**
 * Finds a member of an object in a JSON text; of several with that name the first one.
 * @param member  Gets the place of its value, and `size` its octets.
 * @return 0, RTX_E_UNKNOWN_NAME if there is none, RTX_E_BAD_FORMAT for a text that is no JSON object.
 */
QUORVA_API int quorvaJsonMember(const char* text, size_t length, const char* name, const char** member,
                                size_t* size);

QUORVA_END_DECLS

#endif
