// Sockets over the loopback interface: statuses, time-outs, signals, and peers that behave badly.
#include "socketTest.h"

#include "runtime/stream/socketCalls.h"

#include <fcntl.h>
#include <sys/resource.h>

#include <cerrno>
#include <cstring>
#include <deque>
#include <map>
#include <string>
#include <vector>

using namespace quorva::test;

namespace {

bool blocking(RtxSocket socket) {
   return (fcntl(socket, F_GETFL) & O_NONBLOCK) == 0;
}

int option(RtxSocket socket, int name) {
   int value[2] = {-1, -1};
   socklen_t size = sizeof value;
   EXPECT_EQ(getsockopt(socket, SOL_SOCKET, name, value, &size), 0);
   return value[0];
}

TEST_F(SocketTest, ErrnoGivesTheStatus) {
   const std::map<int, int> statuses = {{11, -79},  {89, -55},  {107, -55}, {98, -52},  {100, -54},
                                        {101, -54}, {112, -54}, {113, -54}, {102, -53}, {103, -53},
                                        {104, -53}, {106, -57}, {111, -56}};
   for (int error = 1; error < 140; ++error) {
      const auto found = statuses.find(error);
      EXPECT_EQ(quorva::socketStatus(error), found != statuses.end() ? found->second : -32) << error;
   }
}

TEST_F(SocketTest, FailuresOfTheSystemGiveTheirStatus) {
   uint8_t octets[4] = {};
   Pair pair;
   Owned tcp, udp, unused;
   ASSERT_EQ(rtxSocketsInit() | rtxSocketCreate(tcp.slot()) | rtxSocketCreateUDP(udp.slot()), 0);
   EXPECT_EQ(option(tcp, SO_REUSEADDR), 1);
   EXPECT_EQ(option(udp, SO_REUSEADDR), 1);
   EXPECT_EQ(option(tcp, SO_LINGER), 0);
   EXPECT_EQ(rtxSocketRecv(tcp, octets, 4), RTX_E_NOT_CONNECTED);
   EXPECT_EQ(rtxSocketSend(udp, octets, 4), RTX_E_NOT_CONNECTED);
   EXPECT_EQ(rtxSocketSend(tcp, octets, 4), RTX_E_SOCKET); // no SIGPIPE
   EXPECT_EQ(rtxSocketBind(tcp, loopback, pair.listener.port), RTX_E_ADDR_IN_USE);
   EXPECT_EQ(rtxSocketBind(tcp, 0xC0000201, 0), RTX_E_SOCKET); // not an address of this host
   EXPECT_EQ(rtxSocketListen(udp, 1), RTX_E_SOCKET);
   EXPECT_EQ(rtxSocketAccept(tcp, unused.slot(), nullptr, nullptr), RTX_E_SOCKET);
   EXPECT_EQ(unused, RTX_SOCKET_INVALID);
   EXPECT_EQ(rtxSocketConnect(tcp, "255.255.255.255", 9), RTX_E_UNREACHABLE);
   EXPECT_EQ(rtxSocketConnect(pair.connected, loopbackHost, pair.listener.port), RTX_E_ALREADY_CONNECTED);
   const int port = pair.listener.port;
   pair.listener.close();
   EXPECT_EQ(rtxSocketConnect(tcp, loopbackHost, port), RTX_E_CONN_REFUSED);
   EXPECT_EQ(rtxSocketConnectTimed(tcp, "255.255.255.255", 9, 5), RTX_E_UNREACHABLE);
   EXPECT_TRUE(blocking(tcp));
   EXPECT_EQ(rtxSocketConnectTimed(tcp, "no..host", port, 5), RTX_E_HOST_NOT_FOUND);
   EXPECT_EQ(rtxSocketConnect(tcp, loopbackHost, 65536 + port), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtxSocketBind(tcp, loopback, -1), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtxSocketSetBlocking(pair.connected, false), 0);
   EXPECT_EQ(rtxSocketRecv(pair.connected, octets, 4), RTX_E_WOULD_BLOCK);
   EXPECT_EQ(rtxSocketRecvTimed(pair.connected, octets, 4, 9), RTX_E_WOULD_BLOCK); // at once
   EXPECT_EQ(rtxSocketSetBlocking(pair.connected, true), 0);
   EXPECT_TRUE(blocking(pair.connected));
   EXPECT_EQ(rtxSocketSend(pair.connected, octets, size_t{1} << 31), RTX_E_OVERFLOW);
}

TEST_F(SocketTest, TheInvalidDescriptorIsRefused) {
   uint8_t octet = 0;
   RtxSocket socket = RTX_SOCKET_INVALID;
   const int statuses[] = {rtxSocketClose(-1),
                           rtxSocketBind(-1, 0, 0),
                           rtxSocketListen(-1, 1),
                           rtxSocketAccept(-1, &socket, nullptr, nullptr),
                           rtxSocketSend(-1, &octet, 1),
                           rtxSocketRecv(-1, &octet, 1),
                           rtxSocketRecvTimed(-1, &octet, 1, 1),
                           rtxSocketConnect(-1, "no..host", 1),
                           rtxSocketConnectTimed(-1, "no..host", 1, 1)};
   for (const int status : statuses) EXPECT_EQ(status, RTX_E_SOCKET) << &status - statuses;
   EXPECT_EQ(rtxSocketSetBlocking(-1, true), 0);

   Listener listener;
   EXPECT_EQ(rtxSocketAccept(listener, nullptr, nullptr, nullptr), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtxSocketCreate(nullptr), RTX_E_BAD_ARGUMENT);
}

TEST_F(SocketTest, AnAcceptedDescriptorOfZeroCountsAsFailure) {
   Listener listener;
   Connected connected(listener);
   const int input = dup(0);
   close(0);
   RtxSocket accepted = 7;
   EXPECT_EQ(rtxSocketAccept(listener, &accepted, nullptr, nullptr), RTX_E_SOCKET);
   EXPECT_EQ(accepted, RTX_SOCKET_INVALID);
   EXPECT_EQ(fcntl(0, F_GETFD), -1); // it did not stay open
   uint8_t octet;
   EXPECT_EQ(rtxSocketRecv(connected, &octet, 1), 0);
   if (input >= 0) {
      dup2(input, 0);
      close(input);
   }
}

TEST_F(SocketTest, ConnectsBySystemsNamesAndTellsThePeer) {
   Listener listener;
   Owned connected, accepted;
   ASSERT_EQ(rtxSocketCreate(connected.slot()), 0);
   ASSERT_EQ(rtxSocketConnectTimed(connected, "localhost", listener.port, 5), 0);
   EXPECT_TRUE(blocking(connected));
   uint32_t addr = 0;
   int port = 0;
   ASSERT_EQ(rtxSocketAccept(listener, accepted.slot(), &addr, &port), 0);
   EXPECT_EQ(addr, loopback);
   EXPECT_EQ(port, portOf(connected));
   uint8_t octets[8];
   fd_set readable;
   FD_ZERO(&readable);
   FD_SET(accepted, &readable);
   timeval none = {0, 0};
   EXPECT_EQ(rtxSocketSelect(accepted + 1, &readable, nullptr, nullptr, &none), 0);
   ASSERT_EQ(rtxSocketSend(connected, reinterpret_cast<const uint8_t*>("octets"), 6), 0);
   FD_SET(accepted, &readable);
   EXPECT_EQ(rtxSocketSelect(accepted + 1, &readable, nullptr, nullptr, nullptr), 1);
   EXPECT_EQ(rtxSocketRecv(accepted, octets, sizeof octets), 6);
   EXPECT_EQ(memcmp(octets, "octets", 6), 0);
   connected.close();
   EXPECT_EQ(rtxSocketRecv(accepted, octets, sizeof octets), 0);

   Owned sender, receiver;
   ASSERT_EQ(rtxSocketCreateUDP(sender.slot()) | rtxSocketCreateUDP(receiver.slot()), 0);
   ASSERT_EQ(rtxSocketBind(receiver, 0, 0), 0); // any address
   ASSERT_EQ(rtxSocketConnect(sender, loopbackHost, portOf(receiver)), 0);
   ASSERT_EQ(rtxSocketSend(sender, octets, 5), 0);
   EXPECT_EQ(rtxSocketRecvTimed(receiver, octets, sizeof octets, 5), 5);
}

TEST_F(SocketTest, APartialSendCountsAsSuccess) {
   Pair pair;
   const std::vector<uint8_t> much(64 << 20, 0x5A);
   rtxSocketSetBlocking(pair.connected, false);
   int status = 0;
   size_t sent = 0;
   for (; sent < 100 * much.size(); sent += much.size())
      if ((status = rtxSocketSend(pair.connected, much.data(), much.size())) != 0) break;
   EXPECT_EQ(status, RTX_E_WOULD_BLOCK) << "when nothing fits";
   pair.connected.close();
   std::vector<uint8_t> got(1 << 20);
   size_t total = 0;
   for (int count; (count = rtxSocketRecv(pair.accepted, got.data(), got.size())) > 0;)
      total += static_cast<size_t>(count);
   EXPECT_GT(total, 0u);
   EXPECT_LT(total, sent);
}

TEST_F(SocketTest, DescriptorsBeyondASetAreRefused) {
   rlimit limit;
   ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
   const rlimit before = limit;
   limit.rlim_cur = FD_SETSIZE + 8;
   if (before.rlim_cur < limit.rlim_cur && setrlimit(RLIMIT_NOFILE, &limit) != 0)
      GTEST_SKIP() << "the system allows no descriptors beyond FD_SETSIZE";
   Listener listener;
   Owned low;
   ASSERT_EQ(rtxSocketCreate(low.slot()), 0);
   Owned high(fcntl(low, F_DUPFD, FD_SETSIZE));
   ASSERT_GE(high, FD_SETSIZE);
   EXPECT_EQ(rtxSocketConnectTimed(high, loopbackHost, listener.port, 5), RTX_E_SOCKET);
   timeval none = {0, 0};
   EXPECT_EQ(rtxSocketSelect(high + 1, nullptr, nullptr, nullptr, &none), RTX_E_SOCKET);
   EXPECT_EQ(rtxSocketSelect(FD_SETSIZE, nullptr, nullptr, nullptr, &none), 0);
   EXPECT_EQ(rtxSocketConnect(high, loopbackHost, listener.port), 0); // what needs no set works
   setrlimit(RLIMIT_NOFILE, &before);
}

/** Connects to a listener that takes no connections, until the system answers no more. */
std::deque<Owned> fillBacklog(const Listener& listener) {
   std::deque<Owned> sockets;
   for (;;) {
      Owned& socket = sockets.emplace_back();
      EXPECT_EQ(rtxSocketCreate(socket.slot()), 0);
      if (rtxSocketConnectTimed(socket, loopbackHost, listener.port, 0) != 0) return sockets;
   }
}

// Attempts that a full backlog holds up: the system tries again after a second. Signals don't end them.
TEST_F(SocketTest, AConnectionIsWaitedFor) {
   Listener lasting(0), ending(0);
   std::deque<Owned> queued = fillBacklog(lasting), queuedToo = fillBacklog(ending);
   EXPECT_TRUE(blocking(queued.back())) << "after the time-out";
   Owned timed, refused, patient;
   for (Owned* socket : {&timed, &refused, &patient}) ASSERT_EQ(rtxSocketCreate(socket->slot()), 0);
   const Child inTime([&] {
      ending.close(); // this process's share in it
      Interruptions signals;
      return rtxSocketConnectTimed(timed, loopbackHost, lasting.port, 9) == 0 && blocking(timed) &&
             signals.count() > 10;
   });
   std::thread refusedLater([&] {
      EXPECT_EQ(rtxSocketConnectTimed(refused, loopbackHost, ending.port, 9), -1);
      EXPECT_TRUE(blocking(refused));
   });
   std::thread later([&] {
      sleepMs(50);
      ending.close();
      EXPECT_EQ(rtxSocketListen(lasting, 8), 0); // now there is room
   });
   {
      Interruptions signals;
      EXPECT_EQ(rtxSocketConnect(patient, loopbackHost, lasting.port), 0);
      EXPECT_GT(signals.count(), 10);
   }
   refusedLater.join();
   later.join();
}

TEST_F(SocketTest, SignalsEndOnlySelect) {
   Peer peer([](RtxSocket socket) {
      const uint8_t octets[] = {1, 2, 3};
      sleepMs(30);
      const bool sent = rtxSocketSend(socket, octets, 3) == 0;
      uint8_t got;
      return rtxSocketRecv(socket, &got, 1) == 0 && sent; // ends with us
   });
   Listener listener;
   const Child connecting([&] {
      sleepMs(30);
      Connected late(listener);
      return true;
   });
   Connected connected(peer.listener);
   Owned accepted;
   uint8_t octets[3];
   Interruptions signals;
   EXPECT_EQ(rtxSocketAccept(listener, accepted.slot(), nullptr, nullptr), 0);
   EXPECT_EQ(rtxSocketRecv(connected, octets, 3), 3);
   EXPECT_EQ(rtxSocketSelect(0, nullptr, nullptr, nullptr, nullptr), RTX_E_SOCKET);
   EXPECT_EQ(errno, EINTR);
   const auto start = Clock::now();
   EXPECT_EQ(rtxSocketRecvTimed(connected, octets, 3, 1), RTX_E_WOULD_BLOCK);
   EXPECT_GE(secondsSince(start), 0.99);
   EXPECT_LT(secondsSince(start), 5);
   timeval left{};
   socklen_t size = sizeof left;
   EXPECT_EQ(getsockopt(connected, SOL_SOCKET, SO_RCVTIMEO, &left, &size), 0);
   EXPECT_EQ(left.tv_sec, 1) << "the time-out stays set";
   EXPECT_GT(signals.count(), 10);
}

TEST_F(SocketTest, ReadsDottedAddresses) {
   const std::pair<const char*, uint32_t> rows[] = {
         {"1.2.3.4", 0x01020304},   {"255.255.255.255", 0xFFFFFFFF},
         {"1.2.3.256", 0x01020300}, // deliberately taken, and cut to 8 bits
         {"1.256.3.4", 0x01000304}, {"...", 0},
         {"1..3.", 0x01000300},     {" 1 0.2. 3.4 ", 0x0A020304},
   };
   uint32_t addr = 0;
   for (const auto& [text, expected] : rows) {
      EXPECT_EQ(rtxSocketStrToAddr(text, &addr), 0) << text;
      EXPECT_EQ(addr, expected) << text;
   }
   addr = 0;
   for (const char* refused : {"1.2.3.257", "1.2.3.42949672960", "1.2.3", "1.2.3.4.5", "1.2.3.4.", "", " ",
                               "1.2.3.4\t", "1.2.3.x", "1.2.3.-4"})
      EXPECT_EQ(rtxSocketStrToAddr(refused, &addr), -20) << refused;
   EXPECT_EQ(rtxSocketStrToAddr(nullptr, &addr), -20);
   EXPECT_EQ(addr, 0u);
   EXPECT_EQ(rtxSocketStrToAddr("1.2.3.4", nullptr), -20);
}

TEST_F(SocketTest, WritesDottedAddresses) {
   const struct {
      uint32_t addr;
      size_t size;
      int status;
      std::string written; // "#" is untouched
   } rows[] = {
         {0x01020304, 7, -1, "################"},
         {0x01020304, 8, 0, std::string("1.2.3.4\0########", 16)},
         {0x0A020304, 8, 0, "10.2.3.4########"}, // no room for the NUL
         {0x0A0B0304, 8, -13, "################"},
         {0xFFFFFFFF, 14, -13, "################"},
         {0xFFFFFFFF, 15, 0, "255.255.255.255#"},
         {0xFFFFFFFF, 16, 0, std::string("255.255.255.255\0", 16)},
         {0, 16, 0, std::string("0.0.0.0\0########", 16)},
   };
   for (const auto& row : rows) {
      std::string target(16, '#');
      EXPECT_EQ(rtxSocketAddrToStr(row.addr, target.data(), row.size), row.status) << row.size;
      EXPECT_EQ(target, row.written);
   }
   EXPECT_EQ(rtxSocketAddrToStr(0, nullptr, 16), -20);
}

TEST_F(SocketTest, TakesURLsApart) {
   const struct {
      const char* url;
      const char* protocol;
      const char* address;
      int port;
   } rows[] = {
         {"http://host", "http", "host", 80},
         {"http://host:8080", "http", "host", 8080},
         {"http://host:8080/path", "http", "host", 8080},
         {"http://host/path", "http", "host/path", 80},
         {"https://host", "https", "host", 0},
         {"HTTP://host", "HTTP", "host", 0},
         {"host:25", "", "host", 25},
         {"host", "", "host", 0},
         {"", "", "", 0},
         {"http://host:", "http", "host", 0},
         {"sctp://host/a:7", "sctp", "host/a", 7},
         {"host:99999999999", "", "host", 2147483647},
   };
   for (const auto& row : rows) {
      std::string url = row.url;
      char *protocol = nullptr, *address = nullptr;
      int port = -1;
      EXPECT_EQ(rtxSocketParseURL(url.data(), &protocol, &address, &port), 0);
      EXPECT_STREQ(protocol != nullptr ? protocol : "", row.protocol) << row.url;
      EXPECT_EQ(protocol == nullptr, row.protocol[0] == 0) << row.url;
      EXPECT_STREQ(address, row.address) << row.url;
      EXPECT_EQ(port, row.port) << row.url;
   }
   char text[] = "a", *part;
   int port;
   EXPECT_EQ(rtxSocketParseURL(nullptr, &part, &part, &port), -20);
   EXPECT_EQ(rtxSocketParseURL(text, nullptr, &part, &port), -20);
   EXPECT_EQ(rtxSocketParseURL(text, &part, nullptr, &port), -20);
   EXPECT_EQ(rtxSocketParseURL(text, &part, &part, nullptr), -20);
}

TEST_F(SocketTest, FindsHosts) {
   uint32_t addr = 0;
   EXPECT_EQ(rtxSocketGetHost("127.0.0.1", &addr), 0);
   EXPECT_EQ(addr, htonl(loopback)); // network order
   addr = 0;
   EXPECT_EQ(rtxSocketGetHost("localhost", &addr), 0);
   EXPECT_EQ(addr, htonl(loopback));
   EXPECT_EQ(rtxSocketGetHost("255.255.255.255", &addr), 0);
   EXPECT_EQ(addr, 0xFFFFFFFF);
   EXPECT_EQ(rtxSocketGetHost("no..host", &addr), RTX_E_HOST_NOT_FOUND);
   EXPECT_EQ(rtxSocketGetHost(nullptr, &addr), RTX_E_BAD_ARGUMENT);
}

} // namespace
