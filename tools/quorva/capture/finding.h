// A message that was found in a frame of a capture.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace quorva::capture {

using Octets = std::span<const uint8_t>;

enum class Direction : uint8_t { unknown, uplink, downlink };

// An internet address; of size 0 where there is none.
struct Address {
   uint8_t octets[16] = {};
   uint8_t size = 0; // 4 or 16
};

struct Finding {
   Octets octets;              // of the message; they stand in the frame, or until the call returns
   const char* type = nullptr; // its name in the registry; null: goes by the first octet
   const char* carrier = "";   // what it came in, "S1AP"
   Direction direction = Direction::unknown;
   Address source, target;
   Octets terminal;   // what all messages of a terminal's connection have in common; may be empty
   std::string fault; // why there is something, but no message
};

using Take = std::function<void(const Finding&)>;

// Reads from the front of octets, numbers with their highest octet first. What isn't there reads as 0, and
// the reader stays failed.
class Reader {
public:
   explicit Reader(Octets octets) : rest_(octets) {}

   bool good() const { return good_; }
   size_t left() const { return rest_.size(); }
   Octets rest() const { return rest_; }

   Octets take(size_t count) {
      if (count > rest_.size()) {
         good_ = false;
         rest_ = {};
         return {};
      }
      const Octets taken = rest_.first(count);
      rest_ = rest_.subspan(count);
      return taken;
   }

   uint32_t number(size_t octets) {
      uint32_t value = 0;
      for (const uint8_t octet : take(octets)) value = value << 8 | octet;
      return value;
   }

   bool skip(size_t count) {
      take(count);
      return good_;
   }

private:
   Octets rest_;
   bool good_ = true;
};

} // namespace quorva::capture
