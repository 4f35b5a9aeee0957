/**
 * @file rtxPcapFile.h
 * Headers of the classic capture file format: of the file, of each packet in it, of an Ethernet frame. The
 * walk over the packets is the caller's. Source is the context's buffer or stream; failures of reading are
 * recorded and returned, with what was read before in the record. No field is checked.
 */
#ifndef QUORVA_RTXPCAPFILE_H
#define QUORVA_RTXPCAPFILE_H

#include "quorva/rtxCommon.h"

QUORVA_BEGIN_DECLS

/** Header of a file, 24 octets. */
typedef struct RtxPcapHdr {
   uint8_t magic[4];       /**< As it stands in the file. */
   uint16_t version_major; /**< Of the format. */
   uint16_t version_minor; /**< Of the format. */
   int32_t thiszone;       /**< Seconds from UTC to the time of the packets. */
   uint32_t sigfigs;       /**< Accuracy of the times; 0 in practice. */
   uint32_t snaplen;       /**< Most octets that are kept of a packet. */
   uint32_t network;       /**< Link type. */
} RtxPcapHdr;

/** Header of a packet, 16 octets. */
typedef struct RtxPcapRecHdr {
   uint32_t ts_sec;   /**< Seconds since 1970. */
   uint32_t ts_usec;  /**< Microseconds; nanoseconds in a file that says so. */
   uint32_t incl_len; /**< Octets in the file; may be above `snaplen`. */
   uint32_t orig_len; /**< Octets of the packet. */
} RtxPcapRecHdr;

/** Header of an Ethernet frame, 14 octets. */
typedef struct RtxEtherHdr {
   uint8_t dst[6]; /**< Address of the receiver. */
   uint8_t src[6]; /**< Address of the sender. */
   uint16_t type;  /**< What the frame holds. */
} RtxEtherHdr;

/**
 * Decodes the header of a file.
 * @param hdr    The record, or null to skip the header.
 * @param pSwap  Null, or receives 1 if the file begins with D4 and so has low octets first; every other file,
 *               one with nanoseconds included, counts as having high octets first. Not set when skipping.
 * @return 0, or what the reading gives.
 */
QUORVA_API int rtxDecPcapHdr(RtxContext* pctxt, RtxPcapHdr* hdr, uint8_t* pSwap);

/** Decodes or, with null, skips the header of a packet. `swap` is that of rtxDecPcapHdr. */
QUORVA_API int rtxDecPcapRecHdr(RtxContext* pctxt, RtxPcapRecHdr* hdr, uint8_t swap);

/**
 * Decodes or, with null, skips the header of a frame. Its type follows `swap` like all numbers:
 * with low octets first it comes out with its octets exchanged, 8 for IPv4.
 */
QUORVA_API int rtxDecEtherHdr(RtxContext* pctxt, RtxEtherHdr* hdr, uint8_t swap);

/** Prints the header of a capture to standard output, numbers signed. */
QUORVA_API void rtxPrintPcapHdr(const RtxPcapHdr* hdr);
/** The same of a packet's header. */
QUORVA_API void rtxPrintPcapRecHdr(const RtxPcapRecHdr* hdr);

QUORVA_END_DECLS

#endif
