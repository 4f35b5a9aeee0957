/**
 * @file TS44018Misc.h
 * Lists of channel numbers (ARFCN) of TS 44.018 and the bit strings that frequency elements carry them in
 * (10.5.2.1b, 10.5.2.13, annex J). No message codec does this: elements hold the bit string as it was
 * received, or as it is to be sent. The records of the elements are in TS44018IE.h.
 *
 * A list is an array of numbers from 0 to 1023, each once, in any order. The caller chooses its format:
 * - all of them in 1 to 124: the bit map 0;
 * - else, of the range that rtx3GPPGetARFCNRange gives: the variable bit map up to 112, which an element of
 * 16 octets holds;
 * - else the smallest of the range formats 128, 256, 512 and 1024 that is not less. With 16 octets these take
 * 29, 22, 18 and 16 channels, the origin included (17 for 1024 if 0 is one of them).
 */
#ifndef QUORVA_TS44018MISC_H
#define QUORVA_TS44018MISC_H

#include "quorva/rtxCommon.h"

QUORVA_BEGIN_DECLS

/** Formats of a list, as the frequency elements number them. */
enum Rtx3GPPArfcnCode {
   RTX_ARFCN_BITMAP0 = 0,        /**< A bit a channel, from 124 down to 1: 124 bits. */
   RTX_ARFCN_RANGE_1024 = 1,     /**< A bit for channel 0, then the tree. */
   RTX_ARFCN_RANGE_512 = 2,      /**< Ten bits of ORIG-ARFCN, then the tree. */
   RTX_ARFCN_RANGE_256 = 3,      /**< Likewise. */
   RTX_ARFCN_RANGE_128 = 4,      /**< Likewise. */
   RTX_ARFCN_VARIABLE_BITMAP = 5 /**< Ten bits of ORIG-ARFCN, then a bit for each channel behind it. */
};

/**
 * Finds the channel from which on, counting modulo 1024, all others lie nearest.
 * @param porigArfcn gets that channel, the first in the list of several. It stays as it was if the list spans
 * all of 1024; 0 for an empty list.
 * @param prange gets the span, first and last channel counted: 1 to 1024; 0 for an empty list.
 * @return 0.
 */
QUORVA_API int rtx3GPPGetARFCNRange(const uint16_t* arfcns, uint16_t count, uint16_t* porigArfcn,
                                    uint16_t* prange);

/**
 * Codes a list. The first bit is the most significant one of the first octet.
 * @param format     one of Rtx3GPPArfcnCode.
 * @param range      range formats: the span as of rtx3GPPGetARFCNRange; variable bit map: the number of bit
 * positions, which that span is enough for.
 * @param origArfcn  formats 2 to 5: ORIG-ARFCN. In formats 2 to 4 it must be one of the channels.
 * @param buffer     two pointers. The first one is the output, cleared by the caller for range formats; if it
 * is null, octets of the context's heap are put there. Formats 2 to 4 store the second octet, which has the
 * last two bits of ORIG-ARFCN, as a whole through the second pointer: it should be the first one plus 1, or
 * null for just that.
 * @param bufferSize octets of a caller's output.
 * @param pbits      gets the number of bits, which fill the element's octets; may be null. The bit map 0 does
 * not set it. What an element of fixed size has beyond them is 0: a node of 0 ends the tree.
 * @return 0; recorded: -1 if the output is too small; -14 for a channel outside 1 to 124 in the bit map 0, a
 * span above that of the format, an ORIG-ARFCN above 1023 or that is none of the channels, a list whose
 * channels are not different or span more than `range` says (as far as the tree shows it), an unknown format;
 * -19 for a channel beyond the bit positions, or a list without any but channel 0 in the range format 1024;
 * -10. The octets written until then stay.
 */
QUORVA_API int rtx3GPPEncARFCN(RtxContext* pctxt, const uint16_t* arfcns, uint16_t count, uint32_t format,
                               uint16_t range, uint16_t origArfcn, uint8_t** buffer, size_t bufferSize,
                               uint32_t* pbits);

/**
 * Decodes a list. Channels come in the order of the bits: falling from a bit map 0, ORIG-ARFCN and then the
 * others from a variable bit map, the nodes of the tree and then channel 0 or ORIG-ARFCN from a range format.
 * @param format  one of Rtx3GPPArfcnCode.
 * @param data    the bit string.
 * @param bits    its size in bits.
 * @param parfcns gets an array on the context's heap.
 * @param pcount  gets the number of channels.
 * @return 0; recorded: -14 for a number of bits that the format cannot have (124 in the bit map 0, at least 1
 * in the range format 1024, 10 in others) or an unknown format; -10. Of a tree of range 1024 or 512 the first
 * 256 nodes are read as they were written, and one more at most.
 */
QUORVA_API int rtx3GPPDecARFCN(RtxContext* pctxt, uint32_t format, const uint8_t* data, uint16_t bits,
                               uint16_t** parfcns, uint16_t* pcount);

/**
 * Decodes one node of a tree (annex J), without ORIG-ARFCN.
 * @param w       values of the nodes; node 1 is `w[1]`.
 * @param index   the node, from 1.
 * @param range   128, 256, 512 or 1024.
 * @param parfcn  gets the channel; may be null.
 * @return 0, or, not recorded, -14 for another range or node 0.
 */
QUORVA_API int rtx3GPPFromRangeFormat(const uint32_t* w, uint32_t index, uint32_t range, int32_t* parfcn);

struct TS44018IE_Cell_Channel_Description;
struct TS44018IE_Neighbour_Cell_Description;
struct TS44018IE_Neighbour_Cell_Description_2;
struct TS44018IE_Extended_Measurement_Frequency_List;
struct TS44018IE_Frequency_Short_List;
struct TS44018IE_Frequency_Short_List_2;
struct TS44018IE_Frequency_List;

/**
 * Decodes the list of a cell channel description (TS 44.018, 10.5.2.1b), by the format that its selectors
 * tell and all bits of its string, as rtx3GPPDecARFCN does.
 * @param parfcns gets an array on the context's heap.
 * @param pcount  gets the number of channels.
 * @return 0; recorded: -14 for a selector that names no format; -10.
 */
QUORVA_API int
TS44018IE_Cell_Channel_Description_decodeARFCN(RtxContext* pctxt,
                                               const struct TS44018IE_Cell_Channel_Description* pvalue,
                                               uint16_t** parfcns, uint16_t* pcount);

/** The same for a neighbour cell description (10.5.2.22). */
QUORVA_API int
TS44018IE_Neighbour_Cell_Description_decodeARFCN(RtxContext* pctxt,
                                                 const struct TS44018IE_Neighbour_Cell_Description* pvalue,
                                                 uint16_t** parfcns, uint16_t* pcount);

/** The same for a neighbour cell description 2 (10.5.2.22a). */
QUORVA_API int TS44018IE_Neighbour_Cell_Description_2_decodeARFCN(
      RtxContext* pctxt, const struct TS44018IE_Neighbour_Cell_Description_2* pvalue, uint16_t** parfcns,
      uint16_t* pcount);

/** The same for an extended measurement frequency list (10.5.2.46). */
QUORVA_API int TS44018IE_Extended_Measurement_Frequency_List_decodeARFCN(
      RtxContext* pctxt, const struct TS44018IE_Extended_Measurement_Frequency_List* pvalue,
      uint16_t** parfcns, uint16_t* pcount);

/** The same for a frequency short list (10.5.2.14), which has no bit map 0. */
QUORVA_API int TS44018IE_Frequency_Short_List_decodeARFCN(RtxContext* pctxt,
                                                          const struct TS44018IE_Frequency_Short_List* pvalue,
                                                          uint16_t** parfcns, uint16_t* pcount);

/** The same for a frequency short list 2 (10.5.2.14a), of the 51 or 49 bits that its record holds. */
QUORVA_API int
TS44018IE_Frequency_Short_List_2_decodeARFCN(RtxContext* pctxt,
                                             const struct TS44018IE_Frequency_Short_List_2* pvalue,
                                             uint16_t** parfcns, uint16_t* pcount);

/**
 * The same for a frequency list (10.5.2.13), whose record has the number of bits. -14 also for more than
 * 65,535 bits, and for fewer than the format needs.
 */
QUORVA_API int TS44018IE_Frequency_List_decodeARFCN(RtxContext* pctxt,
                                                    const struct TS44018IE_Frequency_List* pvalue,
                                                    uint16_t** parfcns, uint16_t* pcount);

/** Prints a list as "[1,2,3]" to standard output, without a line end. Returns 0. */
QUORVA_API int TS44018IE_printArfcns(const uint16_t* arfcns, uint16_t count);

/** Bits of the cell information field of `cells` UTRAN FDD cells (TS 44.018, 9.1.54); 0 above 16 cells. */
QUORVA_API uint32_t TS44018Msg_p(uint32_t cells);

/** The same for UTRAN TDD cells; 0 above 20. */
QUORVA_API uint32_t TS44018Msg_q(uint32_t cells);

QUORVA_END_DECLS

#endif
