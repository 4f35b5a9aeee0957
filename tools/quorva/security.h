// NAS security of the messages that a command decodes.
#pragma once

#include "tools/quorva/capture/finding.h"
#include "tools/quorva/keys.h"
#include "tools/quorva/session.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace quorva::tool {

using capture::Direction;
using capture::Octets;

// The part of a NAS message that TS 24.301, 9.2 and TS 24.501, 9.1 put ahead of it for security.
struct SecurityHeader {
   bool present = false;
   bool fiveG = false;
   bool ciphered = false;
   bool newContext = false;     // the first message under new keys
   bool shortForm = false;      // EPS Service Request
   size_t size = 0;             // octets ahead of the message inside
   uint32_t sequenceNumber = 0; // lowest bits of COUNT
   unsigned sequenceBits = 0;
};

SecurityHeader securityHeaderOf(Octets octets);

// What is known of a message's security before it is decoded.
struct Protection {
   SecurityHeader header;
   Direction direction = Direction::downlink;
   const Keys* keys = nullptr; // null: the message is decoded without a security state
   uint32_t count = 0;
   uint8_t bearer = 0;
   enum class Mac { none, notChecked, noneFits, right, wrong } mac = Mac::none;
   bool macChecked() const { return mac != Mac::notChecked && mac != Mac::noneFits; }
   // Of a ciphered message in a capture: it may be by the null algorithm, though nobody says so.
   bool mayBeNull = false;
   bool taken = false;            // as null-ciphered: no cipher key is used
   bool closed = false;           // it is decoded to the end of its header alone
   bool alone = false;            // it was given by itself
   bool doubtful = false;         // the code is right, and no message came out of it
   std::optional<uint8_t> cipher; // algorithm, where a Security Mode Command of the capture tells it
};

// Gives each message in turn its keys and its COUNT. The lowest bits of NAS COUNT travel in the message
// (TS 24.301, 4.4.3.1). The first protected message of a direction has the COUNT of the options, and those
// behind it have the next COUNT that ends in their sequence number.
class Security {
public:
   explicit Security(const SecurityOptions& options);

   // A message given by itself.
   Protection protect(Octets octets);

   // A message of a capture, where not every message need be, and several terminals may: those that share
   // `terminal` are of one. Whose keys it has, and what its COUNT is, shows by its authentication code.
   Protection protect(Octets octets, Direction direction, const std::string& terminal);

   // Prepares the context for a message. A status below 0 is a failure.
   static int prepare(RtxContext* ctxt, const Protection& protection);

private:
   // The keys of a subscriber, and the next COUNT of each direction.
   struct Subscriber {
      Keys keys;
      uint32_t next[2] = {};
      bool started[2] = {};
   };
   // What is known of a terminal's connection.
   struct Terminal {
      std::optional<size_t> subscriber; // whose keys fit
      std::optional<uint8_t> cipher;    // algorithm of the last Security Mode Command
   };
   Direction givenDirection() const;
   Terminal& terminalOf(const std::string& name);
   bool prove(Octets octets, Terminal& terminal, Protection& protection);
   void assume(const Terminal& terminal, Protection& protection);
   bool findCount(Subscriber& subscriber, Octets octets, Protection& protection);
   bool macFits(const Keys& keys, Octets octets, const Protection& protection);

   const SecurityOptions& options_;
   std::vector<Subscriber> subscribers_;
   std::map<std::string, Terminal> terminals_;
   std::optional<Session> session_; // to compute codes in
};

} // namespace quorva::tool
