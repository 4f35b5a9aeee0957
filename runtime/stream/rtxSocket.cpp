// Sockets: one system call a function, its failure as a status.
#include "quorva/rtxSocket.h"

#include "runtime/stream/socketCalls.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

using namespace quorva;

namespace quorva {

int socketStatus(int error) {
   switch (error) {
   case EAGAIN: return RTX_E_WOULD_BLOCK;
   case EDESTADDRREQ:
   case ENOTCONN: return RTX_E_NOT_CONNECTED;
   case EADDRINUSE: return RTX_E_ADDR_IN_USE;
   case ENETDOWN:
   case ENETUNREACH:
   case EHOSTDOWN:
   case EHOSTUNREACH: return RTX_E_UNREACHABLE;
   case ENETRESET:
   case ECONNABORTED:
   case ECONNRESET: return RTX_E_CONN_RESET;
   case EISCONN: return RTX_E_ALREADY_CONNECTED;
   case ECONNREFUSED: return RTX_E_CONN_REFUSED;
   default: return RTX_E_SOCKET;
   }
}

bool waitForSocket(int descriptor, short events, SocketDeadline deadline) {
   using namespace std::chrono;
   for (;;) {
      int wait = -1;
      if (deadline != noDeadline) {
         const auto left = ceil<milliseconds>(deadline - steady_clock::now()).count();
         if (left <= 0) return false;
         wait = static_cast<int>(std::min<milliseconds::rep>(left, INT_MAX));
      }
      pollfd polled = {descriptor, events, 0};
      const int ready = ::poll(&polled, 1, wait);
      if (ready > 0 || (ready < 0 && errno != EINTR)) return true;
   }
}

} // namespace quorva

namespace {

/** Status of a system call that gives -1 on failure. */
int statusOf(int result) {
   return result < 0 ? socketStatus(errno) : RTX_OK;
}

/** Makes the system call until no signal interrupts it. */
template <class Call>
auto uninterrupted(Call call) {
   auto result = call();
   while (result < 0 && errno == EINTR) result = call();
   return result;
}

/** Closes a socket after a failure, and gives its status. */
int abandon(RtxSocket* psocket) {
   const int status = socketStatus(errno);
   ::close(*psocket);
   *psocket = RTX_SOCKET_INVALID;
   return status;
}

template <class Value>
bool setOption(RtxSocket socket, int option, const Value& value) {
   return ::setsockopt(socket, SOL_SOCKET, option, &value, sizeof value) == 0;
}

/** Creates a socket with SO_REUSEADDR on. */
int create(RtxSocket* psocket, int type) {
   if (psocket == nullptr) return RTX_E_BAD_ARGUMENT;
   *psocket = ::socket(AF_INET, type, 0);
   if (*psocket < 0) return socketStatus(errno);
   return setOption(*psocket, SO_REUSEADDR, 1) ? RTX_OK : abandon(psocket);
}

bool isPort(int port) {
   return port >= 0 && port <= UINT16_MAX;
}

/** Address in network order and port in host order, as the system wants them. */
sockaddr_in endpoint(uint32_t addr, int port) {
   sockaddr_in end{};
   end.sin_family = AF_INET;
   end.sin_addr.s_addr = addr;
   end.sin_port = htons(static_cast<uint16_t>(port));
   return end;
}

int connectTo(RtxSocket socket, const sockaddr_in& end) {
   return ::connect(socket, reinterpret_cast<const sockaddr*>(&end), sizeof end);
}

/** How the attempt to connect ended: 0 or an errno. */
int connectError(RtxSocket socket) {
   int error = 0;
   socklen_t size = sizeof error;
   return ::getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

/** One receive; the deadline is looked at only when a signal has interrupted it. */
int receive(RtxSocket socket, uint8_t* target, size_t size, SocketDeadline deadline) {
   for (;;) {
      const ssize_t got = ::recv(socket, target, std::min<size_t>(size, INT_MAX), 0);
      if (got >= 0) return static_cast<int>(got);
      if (errno != EINTR) return socketStatus(errno);
      if (deadline != noDeadline && !waitForSocket(socket, POLLIN, deadline)) return RTX_E_WOULD_BLOCK;
   }
}

/** First address of a host name, in network order. As gethostbyname, but threads don't share the result. */
int lookUp(const char* name, uint32_t* paddr) {
   hostent entry;
   hostent* found = nullptr;
   char* buffer = nullptr;
   size_t size = 1024;
   int result = ERANGE;
   for (int hostError; result == ERANGE; size *= 2) {
      char* larger = static_cast<char*>(std::realloc(buffer, size));
      if (larger == nullptr) break;
      buffer = larger;
      result = ::gethostbyname_r(name, &entry, buffer, size, &found, &hostError);
   }
   int status = result == ERANGE ? RTX_E_NOMEM : RTX_E_HOST_NOT_FOUND;
   if (found != nullptr && entry.h_addrtype == AF_INET && entry.h_addr_list[0] != nullptr) {
      std::memcpy(paddr, entry.h_addr_list[0], sizeof *paddr);
      status = RTX_OK;
   }
   std::free(buffer);
   return status;
}

/** The endpoint at a host. */
int findHost(const char* host, int port, sockaddr_in* pend) {
   if (!isPort(port)) return RTX_E_BAD_ARGUMENT;
   uint32_t addr = 0;
   const int status = rtxSocketGetHost(host, &addr);
   if (status == RTX_OK) *pend = endpoint(addr, port);
   return status;
}

/** Waits until the socket can be written to. False after the time-out or a failure. */
bool writableWithin(RtxSocket socket, uint32_t seconds) {
   timeval left = {static_cast<time_t>(seconds), 0}; // an interrupted select counts it down
   int ready;
   do {
      fd_set sockets;
      FD_ZERO(&sockets);
      FD_SET(socket, &sockets);
      ready = rtxSocketSelect(socket + 1, nullptr, &sockets, nullptr, &left);
   } while (ready < 0 && errno == EINTR);
   return ready > 0;
}

} // namespace

int rtxSocketsInit(void) {
   return RTX_OK;
}

int rtxSocketCreate(RtxSocket* psocket) {
   rtxSocketsInit();
   const int status = create(psocket, SOCK_STREAM);
   if (status < 0) return status;
   return setOption(*psocket, SO_LINGER, linger{}) ? RTX_OK : abandon(psocket);
}

int rtxSocketCreateUDP(RtxSocket* psocket) {
   rtxSocketsInit();
   return create(psocket, SOCK_DGRAM);
}

int rtxSocketClose(RtxSocket socket) {
   if (socket == RTX_SOCKET_INVALID) return RTX_E_SOCKET;
   ::shutdown(socket, SHUT_WR); // fails without a connection, which is no reason to keep the descriptor
   const int result = ::close(socket);
   return result < 0 && errno == EINTR ? RTX_OK : statusOf(result); // interrupted, it is closed all the same
}

int rtxSocketBind(RtxSocket socket, uint32_t addr, int port) {
   if (socket == RTX_SOCKET_INVALID) return RTX_E_SOCKET;
   if (!isPort(port)) return RTX_E_BAD_ARGUMENT;
   const sockaddr_in end = endpoint(htonl(addr), port); // INADDR_ANY is 0
   return statusOf(::bind(socket, reinterpret_cast<const sockaddr*>(&end), sizeof end));
}

int rtxSocketListen(RtxSocket socket, int backlog) {
   if (socket == RTX_SOCKET_INVALID) return RTX_E_SOCKET;
   return statusOf(::listen(socket, backlog));
}

int rtxSocketAccept(RtxSocket socket, RtxSocket* pNewSocket, uint32_t* paddr, int* pport) {
   if (socket == RTX_SOCKET_INVALID) return RTX_E_SOCKET;
   if (pNewSocket == nullptr) return RTX_E_BAD_ARGUMENT;
   *pNewSocket = RTX_SOCKET_INVALID;
   sockaddr_in peer{};
   const int accepted = uninterrupted([&] {
      socklen_t size = sizeof peer;
      return ::accept(socket, reinterpret_cast<sockaddr*>(&peer), &size);
   });
   if (accepted < 0) return socketStatus(errno);
   if (accepted == 0) { // callers see a failure
      ::close(accepted);
      return RTX_E_SOCKET;
   }
   *pNewSocket = accepted;
   if (paddr != nullptr) *paddr = ntohl(peer.sin_addr.s_addr);
   if (pport != nullptr) *pport = ntohs(peer.sin_port);
   return RTX_OK;
}

int rtxSocketSelect(int nfds, fd_set* readfds, fd_set* writefds, fd_set* exceptfds, timeval* timeout) {
   if (nfds > FD_SETSIZE) return RTX_E_SOCKET; // select would go past the ends of the sets
   const int ready = ::select(nfds, readfds, writefds, exceptfds, timeout);
   return ready < 0 ? socketStatus(errno) : ready;
}

int rtxSocketSend(RtxSocket socket, const uint8_t* octets, size_t numocts) {
   if (socket == RTX_SOCKET_INVALID) return RTX_E_SOCKET;
   if (numocts > INT32_MAX) return RTX_E_OVERFLOW;
   // A partial send is a success too: callers see 0.
   const ssize_t sent = uninterrupted([=] { return ::send(socket, octets, numocts, MSG_NOSIGNAL); });
   return sent < 0 ? socketStatus(errno) : RTX_OK;
}

int rtxSocketRecv(RtxSocket socket, uint8_t* target, size_t size) {
   if (socket == RTX_SOCKET_INVALID) return RTX_E_SOCKET;
   return receive(socket, target, size, noDeadline);
}

int rtxSocketRecvTimed(RtxSocket socket, uint8_t* target, size_t size, uint32_t seconds) {
   if (socket == RTX_SOCKET_INVALID) return RTX_E_SOCKET;
   setOption(socket, SO_RCVTIMEO, timeval{static_cast<time_t>(seconds), 0}); // it may fail
   const SocketDeadline start = std::chrono::steady_clock::now();
   return receive(socket, target, size, seconds != 0 ? start + std::chrono::seconds(seconds) : noDeadline);
}

int rtxSocketConnect(RtxSocket socket, const char* host, int port) {
   if (socket == RTX_SOCKET_INVALID) return RTX_E_SOCKET;
   sockaddr_in end;
   const int status = findHost(host, port, &end);
   if (status < 0) return status;
   if (connectTo(socket, end) == 0) return RTX_OK;
   if (errno != EINTR) return socketStatus(errno);
   waitForSocket(socket, POLLOUT, noDeadline); // the attempt goes on, and must not be begun anew
   const int error = connectError(socket);
   return error != 0 ? socketStatus(error) : RTX_OK;
}

int rtxSocketConnectTimed(RtxSocket socket, const char* host, int port, uint32_t seconds) {
   if (socket < 0 || socket >= FD_SETSIZE) return RTX_E_SOCKET; // it will stand in an fd_set
   sockaddr_in end;
   int status = findHost(host, port, &end);
   if (status < 0) return status;
   rtxSocketSetBlocking(socket, false);
   if (connectTo(socket, end) < 0) {
      if (errno != EINPROGRESS && errno != EAGAIN)
         status = socketStatus(errno);
      else if (!writableWithin(socket, seconds) || connectError(socket) != 0)
         status = -1; // whatever the reason was
   }
   rtxSocketSetBlocking(socket, true);
   return status;
}

int rtxSocketSetBlocking(RtxSocket socket, int value) {
   const int flags = ::fcntl(socket, F_GETFL);
   if (flags >= 0) ::fcntl(socket, F_SETFL, value ? flags & ~O_NONBLOCK : flags | O_NONBLOCK);
   return RTX_OK;
}

int rtxSocketGetHost(const char* host, uint32_t* paddr) {
   if (host == nullptr || paddr == nullptr) return RTX_E_BAD_ARGUMENT;
   const in_addr_t dotted = ::inet_addr(host);
   if (dotted == INADDR_NONE) return lookUp(host, paddr);
   *paddr = dotted;
   return RTX_OK;
}
