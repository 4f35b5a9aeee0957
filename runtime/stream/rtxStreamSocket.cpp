// A connected socket as a stream.
#include "quorva/rtxContext.h"
#include "quorva/rtxError.h"
#include "quorva/rtxHexDump.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxSocket.h"
#include "quorva/rtxStream.h"
#include "runtime/core/rtxInline.h"
#include "runtime/stream/socketCalls.h"
#include "runtime/stream/streamCore.h"

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <thread>

using namespace quorva;
using namespace quorva::stream;

namespace {

/** What the stream keeps of its socket. */
struct SocketRecord {
   RtxContext* pctxt;
   RtxSocket socket;
   int32_t ownSocket;    /**< Closing the stream closes the socket. */
   uint32_t readTimeout; /**< Seconds, 0 for no time-out. */

   /* The mark; `bufMark` of the context has its index. */
   bool marked;
   int16_t bitsLeft;
   uint32_t ctxtFlags;
   size_t bufBase;

   /* Hexadecimal text, whose pieces end where they like. */
   char heldDigit; /**< Last digit read whose partner has yet to come; 0 for none. */
   bool inToken;   /**< The character before belongs to a token that may go on. */
};

constexpr int connectAttempts = 3;
constexpr auto closingDelay = std::chrono::seconds(2);
constexpr size_t skipPiece = 128;
constexpr size_t maxHexRead = 64 * 1024; // octets that one read converts at most

bool isSocketStream(const RtxStream* stream, uint16_t direction) {
   return isOf(stream, RTX_STREAM_KIND_SOCKET, direction);
}

/** One receive; a socket that has nothing is waited for, without a limit. */
ptrdiff_t receive(const SocketRecord* record, uint8_t* target, size_t maxocts) {
   for (;;) {
      const int got = record->readTimeout == 0
                            ? rtxSocketRecv(record->socket, target, maxocts)
                            : rtxSocketRecvTimed(record->socket, target, maxocts, record->readTimeout);
      if (got != RTX_E_WOULD_BLOCK) return got;
      waitForSocket(record->socket, POLLIN, noDeadline);
   }
}

/**
 * Converts the next piece of the text, `length` characters behind which nothing more has come yet. A digit at
 * its end may be the first half of an octet and is held back.
 */
ptrdiff_t convertPiece(SocketRecord* record, const char* text, size_t length, uint8_t* target,
                       size_t maxocts) {
   size_t digits = 0;
   while (digits < length && hexDigitValue(text[length - 1 - digits]) >= 0) ++digits;
   if (digits % 2 != 0) record->heldDigit = text[--length];
   if (length == 0) return 0;
   // A prefix opens a token, but does not stand inside one, wherever the piece began.
   if (record->inToken && length > 1 && text[0] == '0' && (text[1] | 0x20) == 'x') return RTX_E_BAD_HEX;
   record->inToken = text[length - 1] != ',' && !isSpace(text[length - 1]);
   return rtxHexCharsToBin(text, length, target, maxocts);
}

ptrdiff_t receiveHexText(SocketRecord* record, uint8_t* target, size_t maxocts) {
   const size_t room = std::min(maxocts, maxHexRead) * 2;
   char* text = static_cast<char*>(rtxMemHeapAlloc(record->pctxt, room + 1));
   if (text == nullptr) return RTX_E_NOMEM;
   ptrdiff_t count = 0;
   while (count == 0) { // white space alone is not the end
      const size_t held = record->heldDigit != '\0' ? 1 : 0;
      text[0] = record->heldDigit;
      const ptrdiff_t got = receive(record, reinterpret_cast<uint8_t*>(text) + held, room - held);
      if (got < 0) {
         count = got;
      } else if (got > 0) {
         record->heldDigit = '\0';
         count = convertPiece(record, text, held + static_cast<size_t>(got), target, maxocts);
      } else { // the end; the digit held is an octet by itself
         record->heldDigit = '\0';
         if (held != 0) count = rtxHexCharsToBin(text, held, target, maxocts);
         break;
      }
   }
   rtxMemHeapFreePtr(record->pctxt, text);
   return count;
}

ptrdiff_t socketRead(RtxStream* stream, uint8_t* target, size_t maxocts) {
   if (!isSocketStream(stream, RTX_STREAM_READ)) return RTX_E_BAD_ARGUMENT;
   if (maxocts == 0) return 0;
   auto* record = recordOf<SocketRecord>(stream);
   return stream->flags & RTX_STREAM_HEX_TEXT ? receiveHexText(record, target, maxocts)
                                              : receive(record, target, maxocts);
}

int socketWrite(RtxStream* stream, const uint8_t* octets, size_t numocts) {
   if (!isSocketStream(stream, RTX_STREAM_WRITE)) return RTX_E_BAD_ARGUMENT;
   const auto* record = recordOf<SocketRecord>(stream);
   if ((stream->flags & RTX_STREAM_HEX_TEXT) == 0) return rtxSocketSend(record->socket, octets, numocts);
   if (numocts > INT32_MAX / 2) return RTX_E_OVERFLOW;
   const size_t size = 2 * numocts + 1;
   char* text = static_cast<char*>(rtxMemHeapAlloc(record->pctxt, size));
   if (text == nullptr) return RTX_E_NOMEM;
   for (size_t i = 0; i < numocts; ++i) rtxByteToHexChar(octets[i], text + 2 * i, size - 2 * i);
   const int status = rtxSocketSend(record->socket, reinterpret_cast<const uint8_t*>(text), 2 * numocts);
   rtxMemHeapFreePtr(record->pctxt, text);
   return status;
}

/** The socket has them already. */
int socketFlush(RtxStream*) {
   return RTX_OK;
}

int socketSkip(RtxStream* stream, size_t numocts) {
   uint8_t dropped[skipPiece];
   while (numocts > 0) {
      const ptrdiff_t got = socketRead(stream, dropped, std::min(numocts, sizeof dropped));
      if (got < 0) return static_cast<int>(got);
      if (got == 0) break; // that the peer has closed is no failure
      numocts -= static_cast<size_t>(got);
   }
   return RTX_OK;
}

/** Can the stream be marked, and reset? Only the context buffer can give octets again. */
int checkMarkable(const RtxStream* stream) {
   if (stream->kind != RTX_STREAM_KIND_SOCKET || stream->extra == nullptr) return RTX_E_BAD_ARGUMENT;
   if ((stream->flags & RTX_STREAM_CTXT_BUF) == 0) {
      rtxErrAddStrParm(recordOf<SocketRecord>(stream)->pctxt, "stream mark/reset");
      return RTX_E_UNSUPPORTED;
   }
   return readable(stream) ? RTX_OK : RTX_E_BAD_ARGUMENT;
}

int socketMark(RtxStream* stream, size_t limit) {
   const int status = checkMarkable(stream);
   if (status < 0) return status;
   auto* record = recordOf<SocketRecord>(stream);
   RtxContext* pctxt = record->pctxt;
   record->marked = true;
   record->bitsLeft = pctxt->bufBitsLeft;
   record->ctxtFlags = pctxt->flags;
   record->bufBase = stream->bufBase; // `bufMarkBase` may be in use by rtxMarkPos
   pctxt->bufMark = pctxt->bufByteIndex;
   stream->markLimit = limit;
   return RTX_OK;
}

int socketReset(RtxStream* stream) {
   const int status = checkMarkable(stream);
   if (status < 0) return status;
   auto* record = recordOf<SocketRecord>(stream);
   RtxContext* pctxt = record->pctxt;
   if (!record->marked || pctxt->bufMark == allOnes) return RTX_E_BAD_ARGUMENT;
   const size_t mark = record->bufBase + pctxt->bufMark;
   const size_t cursor = stream->bufBase + pctxt->bufByteIndex;
   if (cursor > mark && cursor - mark > stream->markLimit) return RTX_E_BAD_ARGUMENT;
   pctxt->bufByteIndex = pctxt->bufMark;
   pctxt->bufBitsLeft = record->bitsLeft;
   // Whose memory the buffer is has not changed with the cursor.
   pctxt->flags = (record->ctxtFlags & ~RTX_CTXT_SYS_BUFFER) | (pctxt->flags & RTX_CTXT_SYS_BUFFER);
   stream->bufBase = record->bufBase;
   record->marked = false;
   pctxt->bufMark = allOnes;
   stream->markLimit = 0;
   return RTX_OK;
}

int socketClose(RtxStream* stream) {
   if (stream->kind != RTX_STREAM_KIND_SOCKET) return RTX_E_BAD_ARGUMENT;
   auto* record = recordOf<SocketRecord>(stream);
   if (record == nullptr) return RTX_OK;
   const int status = record->ownSocket ? rtxSocketClose(record->socket) : RTX_OK;
   stream->extra = nullptr;
   rtxMemHeapSysFreePtr(record->pctxt, record);
   return status;
}

void setOperations(RtxStream* stream) {
   if (readable(stream)) {
      stream->read = socketRead;
      stream->skip = socketSkip;
      stream->mark = socketMark;
      stream->reset = socketReset;
   } else {
      stream->write = socketWrite;
      stream->flush = socketFlush;
   }
   stream->close = socketClose;
}

/** The record of the context's socket stream; a failure if it has another stream or none. */
int findRecord(RtxContext* pctxt, SocketRecord** precord) {
   const RtxStream* stream = pctxt->stream;
   if (stream == nullptr || stream->kind != RTX_STREAM_KIND_SOCKET || stream->extra == nullptr)
      return recordFailure(pctxt, RTX_E_NOT_INIT);
   *precord = recordOf<SocketRecord>(stream);
   return RTX_OK;
}

} // namespace

int rtxStreamSocketAttach(RtxContext* pctxt, RtxSocket socket, uint16_t flags) {
   if (socket == RTX_SOCKET_INVALID) return recordFailure(pctxt, RTX_E_SOCKET);
   if (!oneDirection(flags)) return recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
   int status = makeRoomForStream(pctxt);
   if (status < 0) return status;
   auto* record = static_cast<SocketRecord*>(newRecord(pctxt, sizeof(SocketRecord)));
   if (record == nullptr) {
      rtxStreamRelease(pctxt);
      return RTX_E_NOMEM;
   }
   record->pctxt = pctxt;
   record->socket = socket;
   record->ownSocket = true;
   RtxStream* stream = pctxt->stream;
   stream->extra = record;
   stream->kind = RTX_STREAM_KIND_SOCKET;
   stream->inputLimit = allOnes;
   stream->flags = flags;
   setOperations(stream);
   if (pctxt->bufData != nullptr || (flags & RTX_STREAM_TEXT_FILTER)) return RTX_OK;
   status = rtxStreamInitCtxtBuf(pctxt);
   if (status < 0) {
      record->ownSocket = false; // it stays the caller's
      rtxStreamRelease(pctxt);
   }
   return status;
}

int rtxStreamSocketCreateWriter(RtxContext* pctxt, const char* host, int port) {
   if (pctxt->stream != nullptr) return recordFailure(pctxt, RTX_E_STREAM_ATTACHED);
   RtxSocket socket = RTX_SOCKET_INVALID;
   int status = rtxSocketCreate(&socket);
   if (status < 0) return recordFailure(pctxt, status);
   for (int attempt = 0; attempt < connectAttempts; ++attempt) {
      status = rtxSocketConnect(socket, host, port);
      if (status >= 0) break;
   }
   status =
         status < 0 ? recordFailure(pctxt, status) : rtxStreamSocketAttach(pctxt, socket, RTX_STREAM_WRITE);
   if (status < 0) rtxSocketClose(socket);
   return status;
}

int rtxStreamSocketClose(RtxContext* pctxt) {
   std::this_thread::sleep_for(closingDelay); // so that what was sent arrives
   return rtxStreamClose(pctxt);
}

int rtxStreamSocketSetOwnership(RtxContext* pctxt, int ownSocket) {
   SocketRecord* record = nullptr;
   const int status = findRecord(pctxt, &record);
   if (status == RTX_OK) record->ownSocket = ownSocket != 0;
   return status;
}

int rtxStreamSocketSetReadTimeout(RtxContext* pctxt, uint32_t seconds) {
   SocketRecord* record = nullptr;
   const int status = findRecord(pctxt, &record);
   if (status == RTX_OK) record->readTimeout = seconds;
   return status;
}
