/**
 * @file messages.h
 * Runs the messages of a vector file through a PDU: decode with the expected status, facts by field path,
 * encode back to the same octets.
 */
#ifndef QUORVA_TESTS_MODULES_MESSAGES_H
#define QUORVA_TESTS_MODULES_MESSAGES_H

#include "quorva/rt3gppNasSec.h"
#include "quorva/rtxMemHeap.h"
#include "tests/support/context.h"
#include "tests/support/facts.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace quorva::test {

/** Keys, algorithms and the state that goes into the MAC and the key stream. */
struct SecurityState {
   Octets integKey, cipherKey;
   int32_t integAlg = 0, cipherAlg = 0;
   uint32_t count = 0;
   uint8_t bearer = 0, direction = 0;

   /** What a vector of nas-security.txt says. */
   static SecurityState of(const Vector& vector) {
      return {vector.hex("integrity-key"),
              vector.hex("cipher-key"),
              static_cast<int32_t>(vector.number("integrity-algorithm")),
              static_cast<int32_t>(vector.number("cipher-algorithm")),
              static_cast<uint32_t>(vector.number("count")),
              static_cast<uint8_t>(vector.number("bearer")),
              static_cast<uint8_t>(vector.number("direction"))};
   }

   void apply(RtxContext* ctxt) const {
      if (ctxt->nasSec == nullptr) {
         ASSERT_EQ(rtx3gppSecInitialize(ctxt), 0);
      }
      ctxt->nasSec->count = count;
      ctxt->nasSec->bearer = bearer;
      ctxt->nasSec->direction = direction;
      ASSERT_EQ(rtx3gppAssignAlgorithmKeys(ctxt, integKey.data(), cipherKey.data(), integAlg, cipherAlg), 0);
   }
};

/** One value of a type of the registry, in a context of its own. */
class Message {
public:
   explicit Message(const std::string& type) : type_(*quorvaFindType(type.c_str())) {
      value_ = rtxMemHeapAlloc(context_, type_.size);
      std::memset(value_, 0xA5, type_.size); // what the decoder leaves unset must not matter
      if (type_.init != nullptr) type_.init(value_);
   }

   TestContext& context() { return context_; }
   template <class Record>
   Record& as() {
      return *static_cast<Record*>(value_);
   }

   int decode(const Octets& octets) {
      rtxErrReset(context_);
      context_.decode(octets);
      return type_.decode(context_, value_);
   }
   /** What the encoder writes; its status in `status`. */
   Octets encode(int& status) {
      rtxErrReset(context_);
      context_.encode(2048);
      status = type_.encode(context_, value_);
      return octetsFromHex(context_.written());
   }
   Leaves leaves() const { return leavesOf(type_, value_); }

private:
   const QuorvaType& type_;
   TestContext context_;
   void* value_;
};

/** Mode of the messages that openMessage reads. */
inline uint32_t modeInside = 0;

/** The leaves of octets at the leaf `i` that hold a message, put behind it. */
inline void openMessage(Leaves& leaves, size_t i, const std::string& type) {
   Message message(type);
   rtxCtxtSetFlag(message.context(), modeInside);
   SecurityState().apply(message.context());
   EXPECT_GE(message.decode(as::part(leaves[i])), 0) << leaves[i].path;
   Leaves inner = message.leaves();
   for (Leaf& leaf : inner) leaf.path = leaves[i].path + "." + leaf.path;
   leaves.insert(leaves.begin() + static_cast<std::ptrdiff_t>(i) + 1, inner.begin(), inner.end());
}

/** How the messages of a file are decoded and compared. */
struct MessageRules {
   std::string type;
   FactTable facts;
   /** Puts what octets hold further messages behind them. */
   std::function<void(Leaves&)> open = [](Leaves&) {};
   /** Sets up the context ahead of decoding. */
   std::function<void(RtxContext*, const Vector&)> prepare = [](RtxContext*, const Vector&) {};
   /** What the message encodes to, if other octets than it has; so many of them were decoded. */
   std::function<Octets(const Octets&, size_t)> canonical = [](const Octets& all, size_t) { return all; };
   /** Octets of the MAC in a protected message, and whether a message has one. */
   size_t macAt = 0, macOctets = 0;
   std::function<bool(const Vector&)> isProtected = [](const Vector&) { return false; };
   /** Vectors whose decoding ends with a failure, for a reason. */
   struct Refusal {
      int status;
      std::string reason;
      /** If any: the facts behind the place of the failure; the others are compared. */
      std::vector<std::string> outOfReach = {};
   };
   std::map<std::string, Refusal> refused = {};
   /** What standard mode refuses, and facts that it reads otherwise, with the status 0. */
   std::map<std::string, Refusal> standard = {};
   /** Vectors that encode to other octets, since their sender's coding was not canonical. */
   std::map<std::string, std::string> uncanonical = {};
   /** Vectors with a key that their dissector read otherwise. */
   struct Otherwise {
      std::string key, reason;
   };
   std::map<std::string, Otherwise> readOtherwise = {};
};

using Conversions = std::map<std::string, Conversion>;

/**
 * What a file of rules says: names and facts of the messages, and the vectors that fail or differ. Its facts
 * are converted in the common ways and by those of its own.
 */
MessageRules loadRules(const std::string& file, const Conversions& own = {});

/** Country and network codes, of pairs at "mcc" and of these IMSIs. */
Reader networksOf(const Conversion& ofPair, const std::vector<std::string>& imsis);

/** The messages of a file by their names, for a test with parameters. */
inline auto vectorsOf(const std::string& file, const std::string& prefix = "") {
   std::vector<Vector> all = loadVectors(QUORVA_TEST_DATA "/vectors/" + file);
   std::erase_if(all, [&](const Vector& vector) { return vector.name.substr(0, prefix.size()) != prefix; });
   return testing::ValuesIn(all);
}
inline std::string vectorName(const testing::TestParamInfo<Vector>& info) {
   std::string name = info.param.name;
   std::replace(name.begin(), name.end(), '-', '_');
   return name;
}

/** Sets the direction of the context ahead of decoding. */
inline void setDirection(RtxContext* ctxt, const Vector& vector) {
   if (vector.direction == "ul") {
      rtxCtxtSetFlag(ctxt, RTX_CTXT_UPLINK);
   } else {
      rtxCtxtClearFlag(ctxt, RTX_CTXT_UPLINK);
   }
}

/** A message whose keys nobody knows: under the null algorithms, where the MAC is 0. */
inline void checkMessage(const Vector& vector, const MessageRules& rules, uint32_t mode) {
   SCOPED_TRACE(vector.name + (mode != 0 ? ", standard mode" : ""));
   Message message(rules.type);
   rtxCtxtSetFlag(message.context(), mode);
   setDirection(message.context(), vector);
   SecurityState().apply(message.context());
   rules.prepare(message.context(), vector);
   const bool isProtected = rules.isProtected(vector);
   int expected = 0;
   if (isProtected)
      for (size_t i = 0; i < rules.macOctets; ++i)
         if (vector.octets.at(rules.macAt + i) != 0) expected = RTX_E_MAC_MISMATCH;
   const int status = message.decode(vector.octets);
   const auto& refusals = mode != 0 ? rules.standard : rules.refused;
   const auto refused = refusals.find(vector.name);
   if (refused != refusals.end() && refused->second.status != 0) {
      // With a MAC mismatch on record the failure is the second error.
      EXPECT_EQ(status, expected == 0 ? refused->second.status : RTX_E_MULTIPLE) << refused->second.reason;
      if (refused->second.outOfReach.empty()) return;
      compareFacts(rules.facts, {vector, message.leaves()}, refused->second.outOfReach);
      return;
   }
   ASSERT_EQ(status, expected);
   const auto uncanonical = rules.uncanonical.find(vector.name);
   const Octets canonical = rules.canonical(vector.octets, message.context().used());
   if (uncanonical == rules.uncanonical.end()) {
      EXPECT_EQ(message.context().used(), canonical.size());
   }

   Leaves leaves = message.leaves();
   modeInside = mode;
   rules.open(leaves);
   modeInside = 0;
   std::vector<std::string> outOfReach;
   if (refused != refusals.end()) outOfReach = refused->second.outOfReach;
   if (const auto other = rules.readOtherwise.find(vector.name); other != rules.readOtherwise.end())
      outOfReach.push_back(other->second.key);
   compareFacts(rules.facts, {vector, leaves}, outOfReach);

   int encodeStatus = 0;
   Octets encoded = message.encode(encodeStatus);
   EXPECT_GE(encodeStatus, 0);
   if (isProtected && encoded.size() >= rules.macAt + rules.macOctets)
      std::copy_n(vector.octets.begin() + static_cast<std::ptrdiff_t>(rules.macAt), rules.macOctets,
                  encoded.begin() + static_cast<std::ptrdiff_t>(rules.macAt));
   EXPECT_EQ(hexFromOctets(encoded) == hexFromOctets(canonical), uncanonical == rules.uncanonical.end())
         << hexFromOctets(encoded) << "\n"
         << hexFromOctets(canonical) << (uncanonical == rules.uncanonical.end() ? "" : uncanonical->second);
}

inline void checkMessage(const Vector& vector, const MessageRules& rules) {
   checkMessage(vector, rules, 0);
   checkMessage(vector, rules, RTX_CTXT_STANDARD);
}

/**
 * A message under its own keys: it verifies, deciphers to the plain octets of the vector, and is the same
 * octets again when encoded. A flipped bit gives another status, a negative one; in the octets ahead of the
 * code, `macAt`, which no code covers, it may show in the security header alone, whose octets are `header`.
 * `expected` is the status of a message that doesn't decode.
 */
inline void checkProtected(const Vector& vector, const std::string& type, size_t macAt, size_t header,
                           const std::function<bool(Message&)>& headerShows, int expected = 0) {
   SCOPED_TRACE(vector.name);
   const SecurityState state = SecurityState::of(vector);
   Message message(type);
   setDirection(message.context(), vector);
   state.apply(message.context());
   ASSERT_EQ(message.decode(vector.octets), expected);
   if (vector.has("plain")) {
      const Octets plain(message.context()->bufData + header,
                         message.context()->bufData + message.context()->bufSize);
      EXPECT_EQ(hexFromOctets(plain), vector.fact("plain")); // deciphered in place
   }
   if (expected == 0) {
      int status = 0;
      EXPECT_EQ(hexFromOctets(message.encode(status)), hexFromOctets(vector.octets));
      EXPECT_GE(status, 0);
   }
   for (size_t bit = 0; bit < vector.octets.size() * 8; ++bit) {
      Octets damaged = vector.octets;
      damaged[bit / 8] = static_cast<uint8_t>(damaged[bit / 8] ^ (0x80u >> bit % 8));
      Message other(type);
      setDirection(other.context(), vector);
      state.apply(other.context());
      const int result = other.decode(damaged);
      EXPECT_TRUE((result < 0 && result != expected) || (bit / 8 < macAt && headerShows(other)))
            << "bit " << bit << ": " << result;
   }
}

} // namespace quorva::test

#endif
