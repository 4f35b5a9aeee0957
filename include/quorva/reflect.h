/**
 * @file reflect.h
 * Fields at run time: what a type is made of, and the fields of a value by their names. For programs that
 * learn only at run time which field they want; the types themselves are in registry.h.
 *
 * A path names a field from the value on: names as prints show them, joined by points, and entries of lists
 * by their number in brackets: "data.obj_AttachAccept.taiList.idents[2].typeOfList". What prints in braces
 * has a name in the path too, also a choice and the arm in it; the value itself is "". Two words of the C
 * records may stand where they stand there, "elem" ahead of a bracket and "u" ahead of an arm; "n" behind a
 * list is its count and "t" behind a choice with a selector of its own this selector.
 *
 * Functions here never look at presence bits of a type that the value doesn't have, take values as decoders
 * and quorvaNew leave them, and record no errors in the context.
 */
#ifndef QUORVA_REFLECT_H
#define QUORVA_REFLECT_H

#include "quorva/registry.h"
#include "quorva/rtxEnum.h"

QUORVA_BEGIN_DECLS

/** What a field holds. */
typedef enum QuorvaKind {
   QUORVA_RECORD, /**< Fields. */
   QUORVA_LIST,   /**< Entries of one kind. */
   QUORVA_CHOICE, /**< One of several arms. */
   QUORVA_NULL,   /**< Nothing. */
   QUORVA_FLAG,   /**< One octet, 0 or 1. */
   QUORVA_NUMBER, /**< Unsigned integer of `size` octets, of which some values may have names. */
   QUORVA_ENUM,   /**< The same of 32 bits; its values have names. */
   QUORVA_OCTETS, /**< Octets. */
   QUORVA_BITS,   /**< Bits, from the most significant one of the first octet on. */
   QUORVA_TEXT,   /**< Text with its NUL. */
   QUORVA_UNITS   /**< Characters of 16 bits. */
} QuorvaKind;

/** Number of a bit that is always set, of an IEI that there is none. */
#define QUORVA_NONE UINT32_MAX

/** A field of a record, an arm of a choice, the entry of a list. */
typedef struct QuorvaField {
   const char* name;       /**< As in prints and paths; "" of an entry. */
   QuorvaKind kind;        /**< Through all types between the field and what it holds. */
   const QuorvaType* type; /**< Its type, if that has a name; else null. */
   const char* doc;        /**< From its description, with the clause of the standard; "" without. */
   size_t offset;          /**< In octets from the start of the type's record; of an entry 0. */
   size_t size;            /**< Octets of the record that it takes, a count and a selector included. */
   uint32_t bits;          /**< On the wire; 0 if that is not the same for all values. */
   uint32_t capacity;      /**< Most octets, bits, characters or entries that have room; 0: on the heap. */
   uint64_t low;           /**< Least value that the encoder takes of a number, a count or a length. */
   uint64_t high;          /**< Greatest one. */
   uint32_t presenceBit;   /**< Tells that it is there: a bit of the type's record, counted from its start and
                                in each octet from the least significant one; QUORVA_NONE: always there. */
   uint32_t groupBit;      /**< The same for the group of the release that it came with, or for what it stands
                                in without a name of its own. */
   uint32_t iei;           /**< Of an optional element of a message; else QUORVA_NONE. */
   uint32_t selector;      /**< Of an arm: the lowest selector that leads to it; else QUORVA_NONE. */
   const RtxEnumItem* names; /**< Values with names, in the order of the names; null without. Of some numbers,
                                  such as the causes of 5GMM, texts have digits all the same. */
   size_t nameCount;         /**< Of `names`. */
   const void* module_;      /**< The library's own, for quorvaFieldsIn. */
   const void* row_;         /**< The same. */
} QuorvaField;

/**
 * The fields of a record in the order of its print, those of default mode. A type that is no record has one
 * field without a name: its value. Those of inner records without a type, of lists and of choices are asked
 * for by quorvaFieldsIn.
 * @param fields  Gets them, as many as there is room for; null for none.
 * @param room    How many it has room for.
 * @return How many there are; 0 for a type that is none of quorvaTypes.
 */
QUORVA_API size_t quorvaFields(const QuorvaType* type, QuorvaField* fields, size_t room);

/**
 * The same for what is inside a field: the fields of a record, the arms of a choice, the entry of a list.
 * Offsets count from the record of the same type, and of the field's type if it has one; of an entry from its
 * own start.
 */
QUORVA_API size_t quorvaFieldsIn(const QuorvaField* field, QuorvaField* fields, size_t room);

/** Clause and name of a type, as its description has them: "EMM cause, TS 24.301, 9.9.3.9". "" without. */
QUORVA_API const char* quorvaDoc(const QuorvaType* type);

/** Names of an enumeration's or a number's values, in their order, as in QuorvaField. Null, and no count, for
 * another type. */
QUORVA_API const RtxEnumItem* quorvaEnumNames(const QuorvaType* type, size_t* count);

/** Where a message comes from. */
typedef enum QuorvaDirection { QUORVA_DOWNLINK, QUORVA_UPLINK } QuorvaDirection;

/**
 * The PDU that decodes a Layer-3 message, by its protocol discriminator (TS 24.007, 11.2.3.1.1): that of
 * TS 24.301, TS 24.501, TS 24.008, the control protocol of TS 24.011, or TS 44.018 on the main DCCH, where
 * the direction decides. Null if the octets are none of them.
 */
QUORVA_API const QuorvaType* quorvaTypeOf(const uint8_t* octets, size_t count, QuorvaDirection direction);

/** A zeroed and initialised value on the context's heap; null if memory is exhausted. */
QUORVA_API void* quorvaNew(RtxContext* pctxt, const QuorvaType* type);

/** What is met in a value, and where. */
typedef struct QuorvaItem {
   const char* path;       /**< From the value on. */
   const char* name;       /**< The last name; an entry has that of its list. */
   size_t index;           /**< Of an entry in its list; of others 0. */
   QuorvaKind kind;        /**< What it is. */
   const QuorvaType* type; /**< Its type, if that has a name; else null. */
   const char* doc;        /**< Of the field, or else of its type; "" without. */
   const char* text; /**< Of a flag "true" or "false", of a number its name or its digits, of octets their
                          hexadecimal digits, of bits these with "/" and the number of bits behind
                          them unless they are whole octets, of a text itself, of 16-bit characters
                          UTF-8; else "". */
   uint64_t number;  /**< Of a flag or number; of a choice its selector. */
   const void* data; /**< Octets, bits, text or characters; of others the place of the value, which with a
                          type is one of this type. */
   size_t count;     /**< Of octets, bits, characters or entries. */
   const char*
         meaning; /**< Of a number whose text is its digits what it means, where that is known: the name of
                       a cause, the title of a message for its type, "Authentication Request"; else "". */
} QuorvaItem;

/** Who is told what is met. Each may be null; a result other than 0 ends the visit. */
typedef struct QuorvaVisitor {
   int (*begin)(void* user, const QuorvaItem* item); /**< Of a record, list or choice. */
   int (*leaf)(void* user, const QuorvaItem* item);  /**< Anything else. */
   int (*end)(void* user, const QuorvaItem* item);   /**< Behind all that is in it. */
   void* user;                                       /**< Handed to each of them. */
} QuorvaVisitor;

/**
 * Visits what is there of a value, in the order of its print; a selector that no arm's name tells is a leaf
 * "t". With RTX_CTXT_STANDARD fields and names are those of standard mode, here as in the functions of paths.
 * Items and their texts stand while the visitor runs. Paths and texts take the context's heap while the
 * visit lasts.
 * @return 0, what the visitor returned, RTX_E_BAD_ARGUMENT for an unknown type, RTX_E_NOMEM.
 */
QUORVA_API int quorvaVisit(RtxContext* pctxt, const QuorvaType* type, const void* value,
                           const QuorvaVisitor* visitor);

/**
 * The item at a path. Its path and text lie on the context's heap.
 * @return 0; RTX_E_NOT_INIT if it is not there: an optional field, another arm; RTX_E_INDEX behind the end of
 *         a list; RTX_E_UNKNOWN_NAME for a name that the type doesn't have; RTX_E_BAD_FORMAT for a path that
 * is none; RTX_E_BAD_ARGUMENT for an unknown type, RTX_E_NOMEM.
 */
QUORVA_API int quorvaGet(RtxContext* pctxt, const QuorvaType* type, const void* value, const char* path,
                         QuorvaItem* item);

/**
 * Sets the leaf at a path. What is on the way to it becomes present, in its initial state where it was not:
 * presence and group bits are set, arms selected (of a PDU as asn1SetTC_ does, with the message's header),
 * records of messages allocated; an entry just behind the end of a list is added to it. An arm that was
 * selected before is lost, as is one that a changed number deselects. Memory is taken from the context's
 * heap.
 * @param text  As in QuorvaItem; of a number also digits, in hexadecimal behind 0x, or any name that it has.
 * A record, a list, a choice or nothing takes "" and becomes present.
 * @return 0; as quorvaGet; RTX_E_BAD_ENUM, RTX_E_BAD_HEX, RTX_E_BAD_VALUE or RTX_E_BAD_UTF8 for a text that
 * is no such value; RTX_E_OVERFLOW for a number that has no room, RTX_E_CONSTRAINT for too many octets or
 *         entries; RTX_E_BAD_CHOICE for an arm that an earlier field deselects and that can't be selected by
 * a number. Bounds are the encoder's. On failure what is on the way may have become present.
 */
QUORVA_API int quorvaSet(RtxContext* pctxt, const QuorvaType* type, void* value, const char* path,
                         const char* text);

/** The same of a flag, a number or an enumeration by its number; for others RTX_E_VALUE_TYPE. */
QUORVA_API int quorvaSetNumber(RtxContext* pctxt, const QuorvaType* type, void* value, const char* path,
                               uint64_t number);

/**
 * Takes out an optional field: clears its presence bit. RTX_E_CANNOT_DO for one that is always there;
 * 0 also if it was not there; statuses of paths as of quorvaGet.
 */
QUORVA_API int quorvaRemove(RtxContext* pctxt, const QuorvaType* type, void* value, const char* path);

QUORVA_END_DECLS

#endif
