// Makes captures: frames from the message outwards.
#pragma once

#include "support/vectors.h"

#include <cstdint>
#include <string>
#include <vector>

namespace quorva_test {

using Bytes = std::string;

// Of hex with blanks.
inline Bytes bytes(std::string hex) {
   std::erase(hex, ' ');
   const auto octets = quorva::test::octetsFromHex(hex);
   return {octets.begin(), octets.end()};
}

// A number of 1 to 4 octets, the highest first.
inline Bytes number(size_t octets, size_t value) {
   Bytes text;
   while (octets-- > 0) text += static_cast<char>(value >> 8 * octets & 0xFF);
   return text;
}

// Behind its length, X.691, 11.9: in two octets from 128 on, and in fragments from 16,384 on.
inline Bytes open(Bytes octets) {
   if (octets.size() < 128) return number(1, octets.size()) + octets;
   if (octets.size() < 16384) return number(2, 0x8000 | octets.size()) + octets;
   const Bytes rest = octets.substr(16384);
   octets.resize(16384);
   return number(1, 0xC1) + octets + open(rest);
}

inline Bytes field(size_t id, const Bytes& value) {
   return number(2, id) + bytes("00") + open(value);
}

// A PDU of S1AP or NGAP that initiates a procedure.
inline Bytes applicationPdu(size_t procedure, const std::vector<Bytes>& fields) {
   Bytes elements = bytes("00") + number(2, fields.size());
   for (const Bytes& each : fields) elements += each;
   return bytes("00") + number(1, procedure) + bytes("00") + open(elements);
}

inline Bytes sctp(size_t payload, const Bytes& data, size_t flags = 3) {
   const Bytes padding(-data.size() & 3, '\0');
   return bytes("8e3c8e3c0000000000000000") + bytes("00") + number(1, flags) + number(2, 16 + data.size()) +
          number(4, 1) + number(4, 0) + number(4, payload) + data + padding;
}

inline Bytes udp(const Bytes& data) {
   return number(2, 4729) + number(2, 4729) + number(2, 8 + data.size()) + number(2, 0) + data;
}

inline Bytes gsmtap(size_t type, bool uplink, size_t channel, const Bytes& data) {
   return bytes("0204") + number(1, type) + number(1, 0) + number(2, uplink ? 0x4000 : 0) +
          bytes("000000000000") + number(1, channel) + bytes("000000") + data;
}

inline Bytes ipv4(size_t protocol, const Bytes& data, size_t place = 0) {
   return bytes("4500") + number(2, 20 + data.size()) + bytes("0000") + number(2, place) + bytes("40") +
          number(1, protocol) + bytes("0000c0000201c0000202") + data;
}

inline Bytes ipv6(size_t protocol, const Bytes& data) {
   return bytes("60000000") + number(2, data.size()) + number(1, protocol) + bytes("40") +
          bytes("20010db8000000000000000000000001") + bytes("20010db8000000000000000000000002") + data;
}

inline Bytes ethernet(const Bytes& packet, const std::string& types = "0800") {
   return bytes("020000000001020000000002") + bytes(types) + packet;
}

// A classic capture with its highest octets first; frames in turn, 250 milliseconds apart.
inline Bytes capture(size_t linkType, const std::vector<Bytes>& frames) {
   Bytes file = bytes("a1b2c3d4000200040000000000000000") + number(4, 262144) + number(4, linkType);
   for (size_t i = 0; i < frames.size(); ++i)
      file += number(4, 1700000000 + i / 4) + number(4, i % 4 * 250000) + number(4, frames[i].size()) +
              number(4, frames[i].size()) + frames[i];
   return file;
}

} // namespace quorva_test
