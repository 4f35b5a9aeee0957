/**
 * @file socketTest.h
 * Loopback ends of a connection, in this process or in one of their own, and what all socket tests watch.
 */
#ifndef QUORVA_TESTS_SOCKET_SOCKETTEST_H
#define QUORVA_TESTS_SOCKET_SOCKETTEST_H

#include "quorva/rtxContext.h"
#include "quorva/rtxSocket.h"

#include <gtest/gtest.h>

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <thread>
#include <utility>

namespace quorva::test {

inline constexpr uint32_t loopback = 0x7F000001;
inline constexpr const char* loopbackHost = "127.0.0.1";

inline void sleepMs(int milliseconds) {
   std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

/** Seconds since a point in time. */
using Clock = std::chrono::steady_clock;
inline double secondsSince(Clock::time_point start) {
   return std::chrono::duration<double>(Clock::now() - start).count();
}

/** A test that leaves no descriptor open. */
class SocketTest : public testing::Test {
protected:
   void TearDown() override { EXPECT_EQ(openDescriptors(), before_) << "descriptors don't balance"; }

private:
   static size_t openDescriptors() {
      const std::filesystem::directory_iterator open("/proc/self/fd");
      return static_cast<size_t>(std::distance(begin(open), end(open)));
   }

   const size_t before_ = openDescriptors();
};

/** A socket that is closed with it, unless it was taken. */
class Owned {
public:
   explicit Owned(RtxSocket socket = RTX_SOCKET_INVALID) : socket_(socket) {}
   ~Owned() { close(); }
   Owned(const Owned&) = delete;
   Owned& operator=(const Owned&) = delete;

   operator RtxSocket() const { return socket_; }
   RtxSocket* slot() { return &socket_; }
   RtxSocket take() { return std::exchange(socket_, RTX_SOCKET_INVALID); }
   void close() {
      if (socket_ == RTX_SOCKET_INVALID) return;
      EXPECT_EQ(rtxSocketClose(take()), 0);
   }

private:
   RtxSocket socket_;
};

/** The local port of a socket. */
inline int portOf(RtxSocket socket) {
   sockaddr_in end{};
   socklen_t size = sizeof end;
   EXPECT_EQ(getsockname(socket, reinterpret_cast<sockaddr*>(&end), &size), 0);
   return ntohs(end.sin_port);
}

/** Listens at a port that the system chose. */
struct Listener : Owned {
   explicit Listener(int backlog = 8) {
      EXPECT_EQ(rtxSocketCreate(slot()), 0);
      EXPECT_EQ(rtxSocketBind(*this, loopback, 0), 0);
      EXPECT_EQ(rtxSocketListen(*this, backlog), 0);
      port = portOf(*this);
   }

   int port;
};

/** A connection to a listener. */
struct Connected : Owned {
   explicit Connected(const Listener& listener) {
      EXPECT_EQ(rtxSocketCreate(slot()), 0);
      EXPECT_EQ(rtxSocketConnect(*this, loopbackHost, listener.port), 0);
   }
};

/** Both ends of a connection in this process. */
struct Pair {
   Pair() { EXPECT_EQ(rtxSocketAccept(listener, accepted.slot(), nullptr, nullptr), 0); }

   Listener listener;
   Connected connected{listener};
   Owned accepted;
};

/** Two connected sockets; one send arrives as one receive. */
struct Packets {
   Packets() {
      int both[2];
      EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, both), 0);
      *ours.slot() = both[0];
      *theirs.slot() = both[1];
   }
   template <class Text>
   void send(const Text& octets) const {
      EXPECT_EQ(rtxSocketSend(theirs, reinterpret_cast<const uint8_t*>(octets.data()), octets.size()), 0);
   }
   /** Attaches our end, which closes with the stream. */
   RtxStream* attach(RtxContext* pctxt, unsigned flags) {
      EXPECT_EQ(rtxStreamSocketAttach(pctxt, ours, static_cast<uint16_t>(flags)), 0);
      ours.take();
      return pctxt->stream;
   }

   Owned ours, theirs;
};

/** A part of a test in a process of its own; it gives whether all went well. */
class Child {
public:
   template <class Part>
   explicit Child(Part part) : pid_(fork()) {
      if (pid_ != 0) return;
      alarm(30); // it does not outlive a test that hangs
      _exit(part() ? 0 : 1);
   }
   ~Child() {
      int status = -1;
      EXPECT_EQ(waitpid(pid_, &status, 0), pid_);
      EXPECT_EQ(status, 0) << "the other process failed";
   }
   Child(const Child&) = delete;
   Child& operator=(const Child&) = delete;

private:
   pid_t pid_;
};

/** The other end in a process of its own: it accepts a connection, plays its part and closes. */
struct Peer {
   template <class Part>
   explicit Peer(Part part)
         : child([&] {
              RtxSocket socket;
              return rtxSocketAccept(listener, &socket, nullptr, nullptr) == 0 && part(socket);
           }) {}

   Listener listener;
   Child child;
};

/** Closes with a reset. */
inline bool resetConnection(RtxSocket socket) {
   const linger now = {1, 0};
   return setsockopt(socket, SOL_SOCKET, SO_LINGER, &now, sizeof now) == 0 && close(socket) == 0;
}

/** Interrupts whatever the main thread waits in, every 5 ms. */
class Interruptions {
public:
   Interruptions() {
      struct sigaction action {}; // without SA_RESTART
      action.sa_handler = [](int) { ++count_; };
      count_ = 0;
      sigaction(SIGALRM, &action, &before_);
      every({0, 5000});
   }
   ~Interruptions() {
      every({0, 0});
      sigaction(SIGALRM, &before_, nullptr);
   }
   int count() const { return count_; }

private:
   static void every(timeval interval) {
      const itimerval timer = {interval, interval};
      setitimer(ITIMER_REAL, &timer, nullptr);
   }

   static inline std::atomic<int> count_;
   struct sigaction before_;
};

} // namespace quorva::test

#endif
