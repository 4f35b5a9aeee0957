/**
 * @file rtxBits.h
 * Bit and octet input and output at the cursor of a context, most significant bit first; bit strings in
 * memory; sizes of numbers.
 *
 * Functions that take a context return 0 or a negative status, which is on record unless told otherwise.
 * A null target is allowed for every decoded value: the cursor moves and nothing is stored. Past the end of
 * the data the status is RTX_E_END_OF_DATA, on a stream RTX_E_END_OF_STREAM; a full output that may not grow
 * gives RTX_E_BUFFER_FULL.
 */
#ifndef QUORVA_RTXBITS_H
#define QUORVA_RTXBITS_H

#include "quorva/rtxContext.h"

QUORVA_BEGIN_DECLS

/* Reading bits, right aligned. RTX_E_OVERFLOW for more bits than the target holds. */

/** One bit, stored as 0 or 1. */
QUORVA_API int rtxDecBit(RtxContext* pctxt, uint8_t* pvalue);
/** 0 to 32 bits, right aligned. */
QUORVA_API int rtxDecBits(RtxContext* pctxt, uint32_t* pvalue, size_t nbits);
/** 0 to 8 bits, right aligned. With a null target a move, as rtxMoveBitCursor. */
QUORVA_API int rtxDecBitsToByte(RtxContext* pctxt, uint8_t* pvalue, uint8_t nbits);
/** 0 to 16 bits, right aligned. */
QUORVA_API int rtxDecBitsToUInt16(RtxContext* pctxt, uint16_t* pvalue, size_t nbits);
/** 0 to 64 bits, right aligned. */
QUORVA_API int rtxDecBitsToUInt64(RtxContext* pctxt, uint64_t* pvalue, size_t nbits);
/** 0 to the bits of a `size_t`, right aligned. */
QUORVA_API int rtxDecBitsToSize(RtxContext* pctxt, size_t* pvalue, size_t nbits);

/**
 * Reads a bit string, left aligned; the unused low bits of its last octet are cleared.
 * @param bufsiz Octets at `buf`.
 * @return RTX_E_TOO_SMALL, with nothing read, if `nbits` need more.
 */
QUORVA_API int rtxDecBitsToByteArray(RtxContext* pctxt, uint8_t* buf, size_t bufsiz, size_t nbits);

/** Reads a bit without moving the cursor. */
QUORVA_API int rtxPeekBit(RtxContext* pctxt, uint8_t* pvalue);
/**
 * Reads 0 to 32 bits without moving the cursor. An active stream can't go back: RTX_E_UNSUPPORTED, with the
 * value stored and the cursor behind it.
 */
QUORVA_API int rtxPeekBits(RtxContext* pctxt, uint32_t* pvalue, size_t nbits);

/* Moving. Without a stream a move that fails with RTX_E_END_OF_DATA at the end is not undone. */

/** Moves the cursor by a number of bits, back if negative. */
QUORVA_API int rtxMoveBitCursor(RtxContext* pctxt, int32_t nbits);

/** Hands the count to rtxMoveBitCursor, where it counts as signed. */
QUORVA_API int rtxSkipBits(RtxContext* pctxt, uint32_t nbits);

/** Passes over octets; the position inside the octet stays. */
QUORVA_API int rtxSkipBytes(RtxContext* pctxt, size_t numocts);

/* Reading octets. These ignore the position inside the octet. */

/** Copies octets. A buffer that holds fewer gives none, a stream what it has before it fails. */
QUORVA_API int rtxReadBytes(RtxContext* pctxt, uint8_t* target, size_t numocts);

/** RTX_E_BUFFER_FULL, not recorded, if the octets do not fit the target. */
QUORVA_API int rtxReadBytesSafe(RtxContext* pctxt, uint8_t* target, size_t targetSize, size_t numocts);

/**
 * Reads octets without copying where it can.
 * @param ppdata   Receives a pointer to the octets.
 * @param pallocated Receives 1 if they are in new heap memory, else 0.
 */
QUORVA_API int rtxReadBytesDynamic(RtxContext* pctxt, uint8_t** ppdata, size_t numocts, uint8_t* pallocated);

/** Looks at the next octet. Returns 1, 0 if there is none, or a negative status. */
QUORVA_API int rtxPeekByte(RtxContext* pctxt, uint8_t* pvalue);

/** Looks at up to `numocts` octets; stores their number, which may be less, in `*pgot`. */
QUORVA_API int rtxPeekBytes(RtxContext* pctxt, uint8_t* target, size_t targetSize, size_t numocts,
                            size_t* pgot);

/*
 * Integers of whole octets, big endian. RTX_E_OVERFLOW for more octets than the target holds; the unsigned
 * forms take one more if it is 0 and comes first. The octets are consumed before that is checked.
 */
/** One octet, two's complement. */
QUORVA_API int rtxDecInt8(RtxContext* pctxt, int8_t* pvalue);
/** 0 to 2 octets, two's complement. */
QUORVA_API int rtxDecInt16(RtxContext* pctxt, int16_t* pvalue, size_t numocts);
/** 0 to 4 octets, two's complement. */
QUORVA_API int rtxDecInt32(RtxContext* pctxt, int32_t* pvalue, size_t numocts);
/** 0 to 8 octets, two's complement. */
QUORVA_API int rtxDecInt64(RtxContext* pctxt, int64_t* pvalue, size_t numocts);
/** One octet. */
QUORVA_API int rtxDecUInt8(RtxContext* pctxt, uint8_t* pvalue);
/** 0 to 2 octets, or 3 of which the first is 0. */
QUORVA_API int rtxDecUInt16(RtxContext* pctxt, uint16_t* pvalue, size_t numocts);
/** 0 to 4 octets, or 5 of which the first is 0. */
QUORVA_API int rtxDecUInt32(RtxContext* pctxt, uint32_t* pvalue, size_t numocts);
/** 0 to 8 octets, or 9 of which the first is 0. */
QUORVA_API int rtxDecUInt64(RtxContext* pctxt, uint64_t* pvalue, size_t numocts);

/*
 * Writing. The first bit written into an octet overwrites the whole octet, so the buffer need not be clear.
 * RTX_E_BAD_ARGUMENT for a width that the value does not have.
 */

/** One bit: 1 for any value but 0. */
QUORVA_API int rtxEncBit(RtxContext* pctxt, uint8_t value);

/** Writes the low `nbits` of the value. */
QUORVA_API int rtxEncBits(RtxContext* pctxt, uint32_t value, size_t nbits);
/** Writes the low `nbits`, up to 64, of a size. */
QUORVA_API int rtxEncBitsFromSize(RtxContext* pctxt, size_t value, size_t nbits);

/** As rtxEncBits, but the bits behind the field keep their value: for lengths that are known only later. */
QUORVA_API int rtxMergeBits(RtxContext* pctxt, uint32_t value, int nbits);

/** Fills with an octet pattern that lies along the octets of the buffer, wherever the field begins. */
QUORVA_API int rtxEncBitsPattern(RtxContext* pctxt, uint8_t pattern, size_t nbits);

/** Writes a left-aligned bit string. */
QUORVA_API int rtxEncBitsFromByteArray(RtxContext* pctxt, const uint8_t* octets, size_t nbits);

/** Writes bits of an octet array from bit `startBit` on. */
QUORVA_API int rtxCopyBits(RtxContext* pctxt, const uint8_t* octets, size_t nbits, size_t startBit);

/** Writes octets at the current octet, whatever the position inside it. */
QUORVA_API int rtxWriteBytes(RtxContext* pctxt, const uint8_t* octets, size_t numocts);

/** Writes the value in 1, 2 or 4 octets, big endian; octets that do not fit are lost. */
QUORVA_API int rtxEncUInt32(RtxContext* pctxt, uint32_t value, size_t numocts);

/* Bits of an octet array; bit 0 is the most significant bit of octet 0. */

/** Sets a bit. Returns what it was, 0 or its mask in the octet, or RTX_E_INDEX if it is none of `nbits`. */
QUORVA_API int rtxSetBit(uint8_t* octets, size_t nbits, size_t index);
/** Clears a bit; result as of rtxSetBit. */
QUORVA_API int rtxClearBit(uint8_t* octets, size_t nbits, size_t index);

/** Non-zero if the bit is set; 0 outside. */
QUORVA_API int rtxTestBit(const uint8_t* octets, size_t nbits, size_t index);

/** Returns `flags` with the mask set or cleared. */
QUORVA_API uint32_t rtxSetBitFlags(uint32_t flags, uint32_t mask, int set);

/** Index of the highest-numbered set bit, or -1. */
QUORVA_API int64_t rtxLastBitSet(const uint8_t* octets, size_t nbits);

/**
 * Makes room for `wantedBits` in a bit string on the heap; what is new is clear.
 * @param ppdata     The octets, or null at first.
 * @param pcapacity  Their number.
 * @param preferredBits Growth in advance stops here; 0 for no limit.
 * @return 0, or RTX_E_NOMEM, not recorded.
 */
QUORVA_API int rtxCheckBitBounds(RtxContext* pctxt, uint8_t** ppdata, size_t* pcapacity, size_t wantedBits,
                                 size_t preferredBits);

/** Clears the bits of the last octet behind the bit string. Returns 0, or RTX_E_BAD_ARGUMENT for null. */
QUORVA_API int rtxZeroUnusedBits(uint8_t* octets, size_t nbits);

/** Returns 0 if those bits are clear, else RTX_E_UNUSED_BITS; RTX_E_BAD_ARGUMENT for null. */
QUORVA_API int rtxCheckUnusedBitsZero(const uint8_t* octets, size_t nbits);

/* Sizes of numbers. */

/** As rtxUInt32BitLen. */
QUORVA_API uint32_t rtxGetBitCount(uint32_t value);
/** Significant bits, 1 to 32; 0 for 0. */
QUORVA_API uint32_t rtxUInt32BitLen(uint32_t value);
/** Significant bits, 1 to 64; 0 for 0. */
QUORVA_API uint32_t rtxUInt64BitLen(uint64_t value);

/** Bits from the most significant one through the lowest set one; 0 for 0. */
QUORVA_API uint32_t rtxOctetBitLen(uint8_t value);

/** 8 if the top octet of the value is in use, else 7. */
QUORVA_API uint32_t rtxSizeByteCount(size_t value);

/** Octets of the shortest two's-complement form: 1 to 4. */
QUORVA_API uint32_t rtxIntByteCount(int32_t value);

/** Octets of the base-128 form: 1 to 5. */
QUORVA_API uint32_t rtxGetIdentByteCount(uint32_t value);

/** Smallest k, at least 1, with 2^k not below the value. */
QUORVA_API uint32_t rtxLog2Ceil(size_t value);

/** Largest k with 2^k not above the value; 0 for 0. */
QUORVA_API uint32_t rtxLog2Floor(size_t value);

/** Floor of the decimal logarithm; -1 for 0. */
QUORVA_API int rtxLog10Floor(uint32_t value);

QUORVA_END_DECLS

#endif
