/**
 * @file rt3GPPTS32297.h
 * Headers of charging data record (CDR) files and of the records in them, TS 32.297, 6.1. The records' octets
 * and the loop over them are the caller's. Source and target are the context's buffer or stream; what fails
 * is recorded.
 *
 * The decoders give release codes as they stand in the octet, 0 to 7; the encoders and the parser of texts
 * deal in release numbers, 3 and up: a decoded record needs numbers in their place before it is encoded.
 */
#ifndef QUORVA_RT3GPPTS32297_H
#define QUORVA_RT3GPPTS32297_H

#include "quorva/rtxCommon.h"

QUORVA_BEGIN_DECLS

/** Time without a year, TS 32.297, 6.1.1.7. */
typedef struct RtTS32297Timestamp {
   uint8_t month;      /**< 1 to 12. */
   uint8_t day;        /**< 1 to 31. */
   uint8_t hour;       /**< 0 to 24. */
   uint8_t minute;     /**< 0 to 59. */
   uint8_t tzHour;     /**< Offset from UTC, 0 to 12. */
   uint8_t tzMinute;   /**< 0 to 59. */
   uint8_t tzPositive; /**< Not 0 east of it: 8 from the decoder, 1 from the parser. */
} RtTS32297Timestamp;

/** Release and version. */
typedef struct RtTS32297RelVersId {
   uint8_t release; /**< Code or number, see above. */
   uint8_t version; /**< Version within the release. */
} RtTS32297RelVersId;

/** Octets with their number. */
typedef struct RtTS32297Octets {
   uint16_t length; /**< How many. */
   uint8_t* data;   /**< The octets; null if there are none. */
} RtTS32297Octets;

/** Header of a CDR file, TS 32.297, 6.1.1. */
typedef struct RtTS32297FileHdr {
   uint32_t fileLength;                    /**< In octets, this header included. */
   uint32_t headerLength;                  /**< Octets of this header; set by the encoder. */
   uint8_t highRelease;                    /**< Highest release and version of the records. */
   uint8_t highVersion;                    /**< Its version. */
   uint8_t lowRelease;                     /**< Lowest ones. */
   uint8_t lowVersion;                     /**< Their version. */
   RtTS32297Timestamp openTimestamp;       /**< When the file was opened. */
   RtTS32297Timestamp lastAppendTimestamp; /**< When the last record was appended. */
   uint32_t cdrCount;                      /**< Records in the file. */
   uint32_t fileSequenceNumber;            /**< Number of the file. */
   uint8_t fileClosureReason;              /**< Why it was closed. */
   uint8_t ipAddress[20];                  /**< Of the node that made the file. */
   uint8_t lostCDRIndicator;               /**< Whether records were lost, and how many. */
   RtTS32297Octets cdrRoutingFilter;       /**< After decoding from malloc; the caller calls free. */
   RtTS32297Octets privateExtension;       /**< As cdrRoutingFilter. */
   uint8_t highReleaseExtPresent; /**< Whether the next one is in the octets. The encoder goes by it alone. */
   uint8_t highReleaseExtension;  /**< Release number less 10. */
   uint8_t lowReleaseExtPresent;  /**< As highReleaseExtPresent. */
   uint8_t lowReleaseExtension;   /**< As highReleaseExtension. */
} RtTS32297FileHdr;

/** Header of a CDR, TS 32.297, 6.1.2. */
typedef struct RtTS32297Hdr {
   uint16_t cdrLength;        /**< Octets of the record behind this header. */
   uint8_t release;           /**< Of the record's format; code or number, see above. */
   uint8_t version;           /**< Its version. */
   uint32_t dataRecordFormat; /**< 1: BER, 2 and 3: PER, 4: XER. */
   uint8_t tsNumber;          /**< After decoding the whole octet, with the format in its top three bits. */
   uint8_t releaseExtPresent; /**< As in the file header. */
   uint8_t releaseExtension;  /**< As in the file header. */
} RtTS32297Hdr;

/** All 0, but both times January 1st, 01:00, with a plus. */
QUORVA_API void rtInitTS32297FileHdr(RtTS32297FileHdr* hdr);

/** All 0, but the format 1. */
QUORVA_API void rtInitTS32297Hdr(RtTS32297Hdr* hdr);

/**
 * Decodes the header of a file, as far as its own length tells; fields behind that stay as they were.
 * @param hdr  The record, or null to skip the header.
 * @return Octets consumed, at least 8. Skipping: 0, or RTX_E_LENGTH_OVERRUN for a header length under 8.
 *         RTX_E_BAD_VALUE for a filter or extension longer than the file; RTX_E_NOMEM; what the reading
 * gives. After a failure the record holds what was read, and blocks in it are the caller's.
 */
QUORVA_API int rtDecTS32297FileHdr(RtxContext* pctxt, RtTS32297FileHdr* hdr);

/**
 * Decodes the header of a CDR.
 * @param hdr  The record, or null to skip the header.
 * @return Octets consumed, 4 or 5. Skipping: 0. Otherwise what the reading gives.
 */
QUORVA_API int rtDecTS32297Hdr(RtxContext* pctxt, RtTS32297Hdr* hdr);

/** Encodes the header of a file. Its length, which it stores, or RTX_E_BAD_VALUE for a release number
 * under 3. */
QUORVA_API int rtEncTS32297FileHdr(RtxContext* pctxt, RtTS32297FileHdr* hdr);

/** Encodes the header of a CDR. 4 or 5, or RTX_E_BAD_VALUE for a release number under 3. */
QUORVA_API int rtEncTS32297Hdr(RtxContext* pctxt, const RtTS32297Hdr* hdr);

/** Octets that a file header takes. */
QUORVA_API uint32_t rtTS32297CalcFileHdrLen(const RtTS32297FileHdr* hdr);

/** Prints the header of a file line by line, with no indent. Always 0. */
QUORVA_API int rtPrtToStrmTS32297FileHdr(RtxContext* pctxt, const RtTS32297FileHdr* hdr);
/** The same of a CDR's header. */
QUORVA_API int rtPrtToStrmTS32297Hdr(RtxContext* pctxt, const RtTS32297Hdr* hdr);

/** Release number of a code: 99 for 0, 4 to 9 for 1 to 6, extension + 10 for 7. Otherwise RTX_E_BAD_VALUE. */
QUORVA_API int rtTS32297GetReleaseNumber(const RtTS32297RelVersId* id, uint8_t extension, uint32_t* pNumber);

/** `rel-15 v.2` of a release code, cut to `size` octets. 0, or RTX_E_BAD_VALUE with nothing written. */
QUORVA_API int rtTS32297RelVersIdToText(const RtTS32297RelVersId* id, uint8_t extension, char* dest,
                                        size_t size);

/** Release number and version of such a text; "Beyond" is 10 and 31. 0 or RTX_E_BAD_VALUE. */
QUORVA_API int rtParseTS32297RelVersText(const char* text, RtTS32297RelVersId* id);

/** `03/15 12:30+01:00`, cut to `size` octets. Always 0. */
QUORVA_API int rtTS32297TimestampToText(const RtTS32297Timestamp* timestamp, char* dest, size_t size);

/** Reads such a text; what follows it is ignored. 0 or RTX_E_BAD_VALUE. */
QUORVA_API int rtParseTS32297TimestampText(const char* text, RtTS32297Timestamp* timestamp);

/** `32.251`, the number of the TS that the record follows, from the low five bits. 0, or RTX_E_BAD_VALUE and
 * "Unknown". */
QUORVA_API int rtTS32297TSNumberToText(uint8_t number, char* dest, size_t size);

/** Number of such a text. 0, RTX_E_BAD_VALUE, or RTX_E_BAD_FORMAT and RTX_E_OVERFLOW for what follows "32.".
 */
QUORVA_API int rtParseTS32297TSNumberText(const char* text, uint8_t* pNumber);

QUORVA_END_DECLS

#endif
