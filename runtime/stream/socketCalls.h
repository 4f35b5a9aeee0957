/**
 * @file socketCalls.h
 * What all callers of the system's socket functions share: its failures as statuses, and waiting.
 */
#ifndef QUORVA_RUNTIME_STREAM_SOCKETCALLS_H
#define QUORVA_RUNTIME_STREAM_SOCKETCALLS_H

#include <chrono>

namespace quorva {

/** Status of a failed socket call, by its `errno`. */
int socketStatus(int error);

using SocketDeadline = std::chrono::steady_clock::time_point;
inline constexpr SocketDeadline noDeadline = SocketDeadline::max();

/**
 * Sleeps until one of the poll events shows on the descriptor, or a failure that the next call will report.
 * Signals don't end it. False when the deadline has passed.
 */
bool waitForSocket(int descriptor, short events, SocketDeadline deadline);

} // namespace quorva

#endif
