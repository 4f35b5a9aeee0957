#include "tools/quorva/security.h"

#include "quorva/rt3gppNasSec.h"

#include <algorithm>

namespace quorva::tool {

// The null algorithms.
static const Keys kNoKeys;

constexpr size_t kMostTerminals = 65536; // that are remembered
constexpr size_t kMostTries = 4096;      // of COUNT for a message
constexpr uint32_t kOverflows = 256;     // that are tried where a capture begins amid a connection

SecurityHeader securityHeaderOf(Octets octets) {
   SecurityHeader header;
   if (octets.empty()) return header;
   const unsigned first = octets[0];
   unsigned type = first >> 4;
   if (first == 0x7E) { // TS 24.501, 9.1.1
      if (octets.size() < 7 || (octets[1] & 15) == 0) return header;
      type = octets[1] & 15;
      header.fiveG = true;
      header.size = 7;
   } else if ((first & 15) == 7 && type >= 12) { // Service Request, TS 24.301, 9.9.3.19
      if (octets.size() < 2) return header;
      header.shortForm = header.present = true;
      header.sequenceNumber = octets[1] & 31u;
      header.sequenceBits = 5;
      return header;
   } else {
      if ((first & 15) != 7 || type == 0 || octets.size() < 6) return header;
      header.size = 6;
   }
   header.present = true;
   header.ciphered = type == 2 || type == 4;
   header.newContext = type == 3 || type == 4;
   header.sequenceNumber = octets[header.size - 1];
   header.sequenceBits = 8;
   return header;
}

Security::Security(const SecurityOptions& options) : options_(options) {
   if (options.keys.any()) subscribers_.push_back({options.keys});
   for (const Keys& each : options.subscribers) {
      Keys keys = each;
      if (!keys.count) keys.count = options.keys.count;
      if (!keys.bearer) keys.bearer = options.keys.bearer;
      keys.nullCipher = keys.nullCipher || options.keys.nullCipher;
      subscribers_.push_back({keys});
   }
}

// DIRECTION, TS 33.401, B.1.1.
static uint8_t wayOf(Direction direction) {
   return direction == Direction::uplink ? RTX_NAS_UPLINK : RTX_NAS_DOWNLINK;
}

Direction Security::givenDirection() const {
   return options_.uplink ? Direction::uplink : Direction::downlink;
}

// The next COUNT that ends in the sequence number.
static uint32_t countBehind(uint32_t next, const SecurityHeader& header) {
   const uint32_t range = 1u << header.sequenceBits;
   const uint32_t count = (next & ~(range - 1)) | header.sequenceNumber;
   return count < next ? count + range : count;
}

// The same, or the last one if that is much nearer: a capture may hold a message twice.
static uint32_t countNear(uint32_t next, const SecurityHeader& header) {
   const uint32_t range = 1u << header.sequenceBits;
   const uint32_t count = countBehind(next, header);
   return count - next >= range / 4 * 3 && count >= range ? count - range : count;
}

Protection Security::protect(Octets octets) {
   if (!options_.subscribers.empty()) return protect(octets, givenDirection(), {});
   Protection protection;
   protection.header = securityHeaderOf(octets);
   protection.direction = givenDirection();
   if (subscribers_.empty()) return protection;
   Subscriber& own = subscribers_.front();
   const size_t way = wayOf(protection.direction);
   protection.keys = &own.keys;
   protection.bearer = own.keys.bearer.value_or(0);
   const bool exact = !own.started[way] && own.keys.count.has_value();
   const uint32_t next = own.started[way] ? own.next[way] : own.keys.count.value_or(0);
   protection.count = next;
   if (!protection.header.present) return protection;
   if (!exact) protection.count = countBehind(next, protection.header);
   own.next[way] = protection.count + 1;
   own.started[way] = true;
   protection.alone = true;
   const Keys& keys = own.keys;
   if (protection.header.ciphered && !keys.cipherKey && !keys.nullCipher) {
      // Without a key it is readable only if the null algorithm was at work.
      protection.mayBeNull = protection.taken = true;
      protection.mac = macFits(keys, octets, protection) ? Protection::Mac::right : Protection::Mac::wrong;
   }
   return protection;
}

bool Security::macFits(const Keys& keys, Octets octets, const Protection& protection) {
   const SecurityHeader& header = protection.header;
   // The code stands ahead of the sequence number and what follows; the half of it in a Service Request
   // behind that, TS 24.301, 9.9.3.28.
   if (header.shortForm && octets.size() < 4) return false;
   const Octets code = header.shortForm ? octets.subspan(2, 2) : octets.subspan(header.size - 5, 4);
   const Octets covered = header.shortForm ? octets.first(2) : octets.subspan(header.size - 1);
   uint32_t received = 0, computed = 0;
   for (const uint8_t octet : code) received = received << 8 | octet;
   if (!session_) session_.emplace(stdout);
   Protection trial = protection;
   trial.keys = &keys;
   RtxContext* ctxt = session_->ctxt();
   // The octets are only read.
   const bool done =
         prepare(ctxt, trial) >= 0 &&
         rtx3gppComputeMAC(ctxt, const_cast<uint8_t*>(covered.data()), covered.size(), &computed) >= 0;
   session_->forget();
   return done && received == (header.shortForm ? computed & 0xFFFF : computed);
}

// Finds the COUNT with which the message's code is right under the keys of a subscriber.
bool Security::findCount(Subscriber& subscriber, Octets octets, Protection& protection) {
   const SecurityHeader& header = protection.header;
   const size_t way = wayOf(protection.direction);
   const uint32_t range = 1u << header.sequenceBits;
   const uint32_t start = subscriber.keys.count.value_or(0);
   const uint32_t next = subscriber.started[way] ? subscriber.next[way] : start;
   uint32_t last = 0;
   const auto fits = [&](uint32_t count, bool first = false) {
      if (!first && count == last) return false;
      protection.count = last = count;
      return macFits(subscriber.keys, octets, protection);
   };
   bool found = fits(countNear(next, header), true) || fits(countBehind(next, header)) ||
                fits(header.sequenceNumber) || (!subscriber.started[way] && fits(start));
   // Half a code would fit by chance.
   if (!subscriber.started[way] && !header.shortForm) {
      // Nobody told how often the sequence number had begun anew when the capture began.
      const auto tries =
            static_cast<uint32_t>(std::min<size_t>(kOverflows, kMostTries / subscribers_.size()));
      for (uint32_t i = 1; i < tries && !found; ++i) found = fits(i * range + header.sequenceNumber);
   }
   if (!found) return false;
   subscriber.next[way] = protection.count + 1;
   return subscriber.started[way] = true;
}

// The ciphering algorithm that a Security Mode Command selects: TS 24.301, 8.2.20, and TS 24.501, 8.2.25.
static std::optional<uint8_t> cipherOf(Octets octets, const SecurityHeader& header) {
   if (!header.newContext || header.ciphered) return std::nullopt;
   const Octets message = octets.subspan(header.size);
   const size_t type = header.fiveG ? 2 : 1;
   if (message.size() < type + 2 || message[0] != (header.fiveG ? 0x7E : 0x07) || message[type] != 0x5D)
      return std::nullopt;
   return static_cast<uint8_t>(message[type + 1] >> 4 & (header.fiveG ? 15 : 7));
}

Security::Terminal& Security::terminalOf(const std::string& name) {
   if (terminals_.size() >= kMostTerminals) terminals_.clear();
   return terminals_[name];
}

// Sets the keys of a subscriber. BEARER of EPS is 0, that of 5GS the identifier of the access: 1 is that of
// 3GPP (TS 33.501, 6.4.2.2).
static void setKeys(Protection& protection, const Keys& keys) {
   protection.keys = &keys;
   protection.bearer = keys.bearer.value_or(protection.header.fiveG ? 1 : 0);
}

// Finds the subscriber whose integrity key the message's code is right with; first the one that it was
// before.
bool Security::prove(Octets octets, Terminal& terminal, Protection& protection) {
   const auto isRight = [&](size_t i) {
      Subscriber& subscriber = subscribers_[i];
      if (!subscriber.keys.integrityKey) return false;
      setKeys(protection, subscriber.keys);
      return findCount(subscriber, octets, protection);
   };
   bool found = terminal.subscriber && isRight(*terminal.subscriber);
   for (size_t i = 0; i < subscribers_.size() && !found; ++i) {
      if (i == terminal.subscriber) continue;
      found = isRight(i);
      if (found) terminal.subscriber = i;
   }
   if (found) protection.mac = Protection::Mac::right;
   return found;
}

// Where no code is right, or no key for one is there: the keys that may be meant.
void Security::assume(const Terminal& terminal, Protection& protection) {
   const auto unproved = std::find_if(subscribers_.begin(), subscribers_.end(),
                                      [](const Subscriber& each) { return !each.keys.integrityKey; });
   Subscriber* chosen = nullptr;
   if (terminal.subscriber) {
      chosen = &subscribers_[*terminal.subscriber];
   } else if (subscribers_.size() == 1) {
      chosen = &subscribers_.front();
   } else if (unproved != subscribers_.end()) {
      chosen = &*unproved;
   }
   if (chosen == nullptr) {
      setKeys(protection, kNoKeys);
      protection.mac = subscribers_.empty() ? Protection::Mac::notChecked : Protection::Mac::noneFits;
      return;
   }
   setKeys(protection, chosen->keys);
   const size_t way = wayOf(protection.direction);
   const uint32_t next = chosen->started[way] ? chosen->next[way] : chosen->keys.count.value_or(0);
   const SecurityHeader& header = protection.header;
   protection.count = header.newContext ? header.sequenceNumber : countNear(next, header);
   protection.mac = chosen->keys.integrityKey ? Protection::Mac::wrong : Protection::Mac::notChecked;
   if (chosen->keys.integrityKey) return;
   chosen->next[way] = protection.count + 1;
   chosen->started[way] = true;
}

Protection Security::protect(Octets octets, Direction direction, const std::string& terminal) {
   Protection protection;
   protection.header = securityHeaderOf(octets);
   protection.direction = direction != Direction::unknown ? direction : givenDirection();
   if (!protection.header.present) return protection;
   Terminal& known = terminalOf(terminal);
   if (!prove(octets, known, protection)) assume(known, protection);
   // Without a name it could be a terminal as well as another.
   if (!terminal.empty()) {
      if (const auto cipher = cipherOf(octets, protection.header)) known.cipher = cipher;
      protection.cipher = known.cipher;
   }
   if (!protection.header.ciphered || protection.keys->nullCipher) return protection;
   protection.mayBeNull = true;
   // The command may be of another connection with the same name.
   protection.taken = !protection.keys->cipherKey || protection.cipher == uint8_t{0};
   return protection;
}

int Security::prepare(RtxContext* ctxt, const Protection& protection) {
   if (protection.direction == Direction::uplink) rtxCtxtSetFlag(ctxt, RTX_CTXT_UPLINK);
   if (protection.keys == nullptr || protection.closed) return 0;
   int status = rtx3gppSecInitialize(ctxt);
   if (status < 0) return status;
   const auto keyOf = [](const std::optional<Key>& key) { return key ? key->data() : nullptr; };
   const Keys& keys = *protection.keys;
   const int integrity = keys.integrityKey ? keys.integrityAlgorithm : 0;
   const int cipher = keys.cipherKey && !protection.taken ? keys.cipherAlgorithm : 0;
   // SNOW 3G and ZUC are the standards' alone.
   if (((integrity | cipher) & 1) != 0) rtxCtxtSetFlag(ctxt, RTX_CTXT_STANDARD);
   status =
         rtx3gppAssignAlgorithmKeys(ctxt, keyOf(keys.integrityKey), keyOf(keys.cipherKey), integrity, cipher);
   if (status < 0) return status;
   return rtx3gppSetCount(ctxt, protection.count, protection.bearer, wayOf(protection.direction));
}

} // namespace quorva::tool
