// Statuses in words. docs/statuses.md is this table; a test compares them, and both with rtxStatus.h.
#include "quorva/rtxStatusText.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace {

constexpr QuorvaRecordState kWhole = QUORVA_RECORD_COMPLETE;
constexpr QuorvaRecordState kDepends = QUORVA_RECORD_DEPENDS;
constexpr QuorvaRecordState kPart = QUORVA_RECORD_PARTIAL;
constexpr QuorvaRecordState kNone = QUORVA_RECORD_NONE;

#define STATUS(name, text, record, advice)                                                                   \
   { name, #name, text, record, advice }

constexpr QuorvaStatus kStatuses[] = {
      STATUS(RTX_OK, "Success; a positive number is a count", kWhole, ""),
      STATUS(RTX_E_BUFFER_FULL, "The output has no room and its buffer may not grow", kPart,
             "Decoding: digits beyond the room of their text. "
             "Encoding: give a larger buffer, or none: rtxCtxtSetBufPtr with null makes one that grows"),
      STATUS(RTX_E_END_OF_DATA, "The input ends ahead of what has to be there", kPart,
             "The message was cut, is of another type, or was ciphered: look at the place"),
      STATUS(RTX_E_BAD_TOKEN, "Value notation has not the token or identifier that belongs there", kNone, ""),
      STATUS(RTX_E_BAD_ENUM, "A number or a name that the enumeration does not have", kPart,
             "Values that are reserved or newer than the library pass in standard mode (RTX_CTXT_STANDARD)"),
      STATUS(RTX_E_BAD_CHOICE, "A selector or message type that leads nowhere", kPart,
             "Decoding: another protocol, an unknown message, or a wrong ciphering key behind a right MAC. "
             "Encoding: set the selector `t`, discriminator and type alike"),
      STATUS(RTX_E_NOMEM, "Memory is exhausted", kPart, "Free what is not needed; rtxMemReset or rtxMemFree"),
      STATUS(RTX_E_BAD_HEX, "A character that is no hexadecimal digit", kNone, ""),
      STATUS(RTX_E_BAD_REAL, "A text that is no real number", kNone, ""),
      STATUS(RTX_E_TOO_SMALL, "What the caller gave for the result is too small", kPart,
             "Give more room; quorvaToJson tells how much"),
      STATUS(RTX_E_BAD_VALUE, "A value that can't be coded", kPart, "Look at the path for the field"),
      STATUS(RTX_E_CONSTRAINT, "A value, a count or a length outside of its limits", kPart,
             "Look at the path for the field and at quorva explain TYPE for its limits"),
      STATUS(RTX_E_END_OF_STREAM, "A stream gave fewer octets than were asked for", kPart,
             "The peer ended, or the limit of the stream's input cuts the message"),
      STATUS(RTX_E_BAD_UTF8, "A sequence of octets that is no UTF-8", kNone, ""),
      STATUS(RTX_E_INDEX, "An index outside of a list or bit string", kNone, ""),
      STATUS(RTX_E_BAD_ARGUMENT, "An argument is wrong, or a stream is in the wrong state", kNone, ""),
      STATUS(RTX_E_BAD_FORMAT, "A text that has not the required form", kNone, ""),
      STATUS(RTX_E_NOT_INIT, "The context is not initialised, or a record or stream is not there", kPart,
             "Call rtInitContext first; a path leads to a field that is absent"),
      STATUS(RTX_E_OVERFLOW, "A value or size too large for what is to hold it", kPart, ""),
      STATUS(RTX_E_BAD_CHAR, "A character outside of the allowed set", kPart,
             "Digits of numbers and of networks are 0 to 9; a label of an access point name has no dot"),
      STATUS(RTX_E_FILE_NOT_FOUND, "There is no such file", kNone, ""),
      STATUS(RTX_E_FILE_READ, "Reading a file failed", kPart, ""),
      STATUS(RTX_E_FILE_WRITE, "Writing a file failed", kNone, ""),
      STATUS(RTX_E_BAD_BASE64, "A text that is no base64", kPart, ""),
      STATUS(RTX_E_SOCKET, "A socket failed in a way that has no status of its own", kPart, "Look at errno"),
      STATUS(RTX_E_BAD_REGEX, "A pattern that does not compile", kNone, ""),
      STATUS(RTX_E_HOST_NOT_FOUND, "No address was found for the name of a host", kNone, ""),
      STATUS(RTX_E_HTTP, "An HTTP exchange failed or broke its rules", kNone, ""),
      STATUS(RTX_E_UNKNOWN_NAME, "A name that value notation, a path or JSON does not know", kNone,
             "quorvaFields and quorva explain TYPE list the names"),
      STATUS(RTX_E_STREAM_ATTACHED, "The context has a stream already", kNone, "rtxStreamClose ends it"),
      STATUS(RTX_E_NULL, "A pointer that has to be there is null", kNone, ""),
      STATUS(RTX_E_CANNOT_DO, "The step can't be done here", kNone, ""),
      STATUS(RTX_E_MULTIPLE, "More than one failure is on record", kDepends,
             "rtxErrGetFirstError tells the first, the context's errList all. The record is complete if each "
             "of them is one behind which it is. Failures of an earlier message count too: call rtxMemReset "
             "or "
             "rtxErrReset between messages"),
      STATUS(RTX_E_ADDR_IN_USE, "The address of the socket is in use", kNone, ""),
      STATUS(RTX_E_CONN_RESET, "The connection was reset or aborted", kPart, ""),
      STATUS(RTX_E_UNREACHABLE, "The network or the host can't be reached", kNone, ""),
      STATUS(RTX_E_NOT_CONNECTED, "The socket is not connected", kPart, ""),
      STATUS(RTX_E_CONN_REFUSED, "The connection was refused", kNone, ""),
      STATUS(RTX_E_ALREADY_CONNECTED, "The socket is connected already", kNone, ""),
      STATUS(RTX_E_NO_MARK, "The stream has no mark to go back to", kNone, ""),
      STATUS(RTX_E_UNSUPPORTED, "Not supported in this mode; a parameter names what", kNone,
             "Algorithms 1 and 3 of NAS security need standard mode (RTX_CTXT_STANDARD)"),
      STATUS(RTX_E_LENGTH_OVERRUN, "What is in an element goes beyond the length of the element", kPart,
             "Look at the path for the element"),
      STATUS(RTX_E_BAD_IEI, "An unknown element that has to be understood", kWhole,
             "The record holds all that is known of the message; a parameter tells the IEI. Reject the "
             "message or go on without the element, as the protocol says (TS 24.007, 11.2.5)"),
      STATUS(RTX_E_NOT_ALIGNED, "A field that starts at an octet's start stands elsewhere", kNone, ""),
      STATUS(RTX_E_MAC_MISMATCH, "The message authentication code is not the one that the keys give", kWhole,
             "Do not trust the record: the key, COUNT, BEARER or direction is wrong, or the message is "
             "forged. Two parameters tell the code received and the one computed. Behind a wrong COUNT a "
             "ciphered "
             "message is noise, which mostly ends in a second status"),
      STATUS(RTX_E_NO_SECURITY, "A protected message, and the context has no NAS security state", kDepends,
             "Complete if the message is not ciphered: it is readable, but its MAC was not checked. Of a "
             "ciphered one the security header alone is there: call rtx3gppSecInitialize and "
             "rtx3gppAssignAlgorithmKeys ahead of it, and again behind each rtxMemReset"),
      STATUS(RTX_E_VALUE_TYPE, "A value of another kind than the field", kNone, ""),
      STATUS(RTX_E_VALUE_DIFFERS, "Values that were compared differ", kNone, ""),
      STATUS(RTX_E_UNUSED_BITS, "Bits behind the end of a bit string are set", kNone, ""),
      STATUS(RTX_E_WOULD_BLOCK, "The socket has nothing to give or no room now", kPart, "Try again"),
      STATUS(RTX_E_BAD_OID, "An object identifier that is none", kNone, ""),
      STATUS(RTX_E_SIZE_MISMATCH, "What is in an element is not as large as its fixed size", kPart, ""),
      STATUS(RTX_E_NOT_OCTET_END, "An element with an open tail ends within an octet", kNone,
             "Fill the tail up to whole octets"),
      STATUS(RTX_E_BAD_TIME, "An ASN.1 time breaks a canonical rule, which a parameter tells", kNone, ""),
};

#undef STATUS

} // namespace

const QuorvaStatus* quorvaStatuses(size_t* count) {
   if (count != nullptr) *count = std::size(kStatuses);
   return kStatuses;
}

const QuorvaStatus* quorvaFindStatus(int status) {
   const int number = std::min(status, 0);
   const auto* row =
         std::lower_bound(std::begin(kStatuses), std::end(kStatuses), number,
                          [](const QuorvaStatus& each, int sought) { return each.status > sought; });
   return row != std::end(kStatuses) && row->status == number ? row : nullptr;
}

const char* quorvaStatusName(int status) {
   const QuorvaStatus* row = quorvaFindStatus(status);
   return row == nullptr ? nullptr : row->name;
}

const char* quorvaStatusText(int status) {
   const QuorvaStatus* row = quorvaFindStatus(status);
   return row == nullptr ? "A number that is no status" : row->text;
}
