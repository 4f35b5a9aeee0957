/**
 * @file rtxSocket.h
 * IPv4 sockets, with failures as statuses, and a connected socket as a stream.
 *
 * The functions of the first part work on plain descriptors, of this library or of the caller, and know no
 * context. Each returns 0 or a status, unless it says otherwise; the descriptor -1 gives RTX_E_SOCKET. A
 * failed system call gives:
 *
 *     EAGAIN                                            RTX_E_WOULD_BLOCK
 *     EDESTADDRREQ, ENOTCONN                            RTX_E_NOT_CONNECTED
 *     EADDRINUSE                                        RTX_E_ADDR_IN_USE
 *     ENETDOWN, ENETUNREACH, EHOSTDOWN, EHOSTUNREACH    RTX_E_UNREACHABLE
 *     ENETRESET, ECONNABORTED, ECONNRESET               RTX_E_CONN_RESET
 *     EISCONN                                           RTX_E_ALREADY_CONNECTED
 *     ECONNREFUSED                                      RTX_E_CONN_REFUSED
 *     any other                                         RTX_E_SOCKET
 *
 * A call that a signal interrupts is taken up again, and none raises SIGPIPE. Null where a pointer is
 * required and a port outside 0 to 65535 give RTX_E_BAD_ARGUMENT.
 *
 * Addresses are numbers in host order, 127.0.0.1 being 0x7F000001, but for rtxSocketGetHost; ports are in
 * host order.
 */
#ifndef QUORVA_RTXSOCKET_H
#define QUORVA_RTXSOCKET_H

#include "quorva/rtxCommon.h"
#include "quorva/rtxStatus.h"

#include <sys/select.h>

QUORVA_BEGIN_DECLS

/** A socket's descriptor. */
typedef int32_t RtxSocket;

#define RTX_SOCKET_INVALID (-1) /**< No socket. */

/** Does nothing; the system's sockets need no preparation. Returns 0. */
QUORVA_API int rtxSocketsInit(void);

/** Creates a TCP socket, with SO_REUSEADDR on and SO_LINGER off. The caller closes it. */
QUORVA_API int rtxSocketCreate(RtxSocket* psocket);

/** Creates a UDP socket, with SO_REUSEADDR on. The caller closes it. */
QUORVA_API int rtxSocketCreateUDP(RtxSocket* psocket);

/** Shuts the socket down for writing, if it is connected, and closes it. */
QUORVA_API int rtxSocketClose(RtxSocket socket);

/** Binds to a local address, or to any with 0; port 0 lets the system choose one (see getsockname). */
QUORVA_API int rtxSocketBind(RtxSocket socket, uint32_t addr, int port);

/** Lets connections come in; as many as `backlog` wait to be accepted. */
QUORVA_API int rtxSocketListen(RtxSocket socket, int backlog);

/**
 * Waits for a connection and accepts it.
 * @param pNewSocket  Receives its descriptor, which the caller closes, or -1. A new descriptor of 0 is closed
 *                    and counts as a failure, RTX_E_SOCKET.
 * @param paddr       Receives the peer's address; may be null.
 * @param pport       Receives the peer's port; may be null.
 */
QUORVA_API int rtxSocketAccept(RtxSocket socket, RtxSocket* pNewSocket, uint32_t* paddr, int* pport);

/**
 * Waits as select does, with the same arguments. This call alone ends when a signal interrupts it.
 * @return The number of descriptors that are ready, 0 after the time-out; RTX_E_SOCKET, without a call of
 *         select, for more descriptors than an fd_set holds.
 */
QUORVA_API int rtxSocketSelect(int nfds, fd_set* readfds, fd_set* writefds, fd_set* exceptfds,
                               struct timeval* timeout);

/**
 * Sends octets in one go.
 * @return 0, also if only some of the octets were taken, as happens on a non-blocking socket or
 *         when a signal comes in between; RTX_E_OVERFLOW, with nothing sent, for 2^31 octets and more.
 */
QUORVA_API int rtxSocketSend(RtxSocket socket, const uint8_t* octets, size_t numocts);

/**
 * Waits for octets and gives those that are there.
 * @param size  Room at `target` in octets.
 * @return Their number, 0 when the peer has closed, or a status.
 */
QUORVA_API int rtxSocketRecv(RtxSocket socket, uint8_t* target, size_t size);

/**
 * As rtxSocketRecv, but waits no longer than some seconds, for ever with 0; then RTX_E_WOULD_BLOCK. The
 * time-out stays set on the socket (SO_RCVTIMEO).
 */
QUORVA_API int rtxSocketRecvTimed(RtxSocket socket, uint8_t* target, size_t size, uint32_t seconds);

/** Connects to a host, given by name or dotted address; or RTX_E_HOST_NOT_FOUND. */
QUORVA_API int rtxSocketConnect(RtxSocket socket, const char* host, int port);

/**
 * As rtxSocketConnect, but waits no longer than some seconds. Leaves the socket blocking.
 * @return As rtxSocketConnect; -1 if the connection isn't made in time, or fails while it is waited for;
 *         RTX_E_SOCKET for a descriptor that no fd_set holds.
 */
QUORVA_API int rtxSocketConnectTimed(RtxSocket socket, const char* host, int port, uint32_t seconds);

/** Makes calls on the socket wait (true) or give RTX_E_WOULD_BLOCK (false). Always returns 0. */
QUORVA_API int rtxSocketSetBlocking(RtxSocket socket, int value);

/**
 * Gives the first IPv4 address of a host.
 * @param host   Name, or dotted address in the forms of inet_addr.
 * @param paddr  Receives the address, in network order.
 * @return 0, RTX_E_HOST_NOT_FOUND, RTX_E_NOMEM.
 */
QUORVA_API int rtxSocketGetHost(const char* host, uint32_t* paddr);

/**
 * Reads a dotted address of four decimal parts. Blanks are passed over, an empty part is 0, and a part of 256
 * is taken, for 0.
 * @return 0 or RTX_E_BAD_ARGUMENT.
 */
QUORVA_API int rtxSocketStrToAddr(const char* text, uint32_t* paddr);

/**
 * Writes an address as dotted text. Its NUL is left out if there is no room for it: 16 octets hold any.
 * @return 0, RTX_E_BUFFER_FULL for a size below 8, RTX_E_TOO_SMALL, with nothing written, for a longer text.
 */
QUORVA_API int rtxSocketAddrToStr(uint32_t addr, char* target, size_t size);

/**
 * Takes a text "protocol://address:port" apart, in place: the parts are pieces of the text. A path stays with
 * the address, or behind the number of the port.
 * @param pprotocol  Receives the protocol, null if there is none.
 * @param paddress   Receives the address.
 * @param pport      Receives the port; without one 80 for the protocol "http", else 0.
 */
QUORVA_API int rtxSocketParseURL(char* url, char** pprotocol, char** paddress, int* pport);

/**
 * Attaches a connected socket as stream. An open stream is closed first. The stream's close closes the
 * socket; see rtxStreamSocketSetOwnership. After a failure the socket stays the caller's.
 *
 * The stream gets a context buffer, which codecs need. A context that has a buffer already, as after
 * rtxCtxtSetBufPtr, keeps that, and only rtxStreamRead, rtxStreamWrite and their like use the socket then.
 *
 * A read waits until octets come or the peer closes. A write is one rtxSocketSend: octets that a non-blocking
 * socket does not take are lost, without a report.
 * @param flags  RTX_STREAM_READ or RTX_STREAM_WRITE, alone or with RTX_STREAM_HEX_TEXT or
 *               RTX_STREAM_TEXT_FILTER.
 * @return 0, RTX_E_SOCKET for the descriptor -1, RTX_E_BAD_ARGUMENT for both directions or none, RTX_E_NOMEM.
 */
QUORVA_API int rtxStreamSocketAttach(RtxContext* pctxt, RtxSocket socket, uint16_t flags);

/**
 * Connects to a host, in up to three attempts, and attaches the connection as output stream.
 * @return 0, RTX_E_STREAM_ATTACHED if the context has a stream, or as rtxSocketConnect.
 */
QUORVA_API int rtxStreamSocketCreateWriter(RtxContext* pctxt, const char* host, int port);

/**
 * Closes the stream, as rtxStreamClose, after a sleep of 2 seconds, in which what was sent has time to
 * arrive.
 */
QUORVA_API int rtxStreamSocketClose(RtxContext* pctxt);

/**
 * Tells whether closing the stream closes the socket; so it does from the start. With false the caller closes
 * it, or a second context that has the other direction of the same connection.
 * @return 0 or RTX_E_NOT_INIT if the context's stream is no socket stream.
 */
QUORVA_API int rtxStreamSocketSetOwnership(RtxContext* pctxt, int ownSocket);

/**
 * Sets the time-out of one receive, in seconds, 0 for none. A read tries again after each time-out, without a
 * limit, so the caller does not see it; to bound the wait, use rtxSocketSelect ahead of a read.
 * @return 0 or RTX_E_NOT_INIT if the context's stream is no socket stream.
 */
QUORVA_API int rtxStreamSocketSetReadTimeout(RtxContext* pctxt, uint32_t seconds);

QUORVA_END_DECLS

#endif
