// Dumps with offsets: as od -tx1, xxd and hexdump -C write them, with or without a column of characters, and
// as text2pcap reads them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorva::tool {

// Puts the lines of a dump together. Offsets may be hexadecimal, octal or decimal; the first is 0, and each
// tells how many octets the line ahead of it has, whatever its characters look like.
class Dump {
public:
   // Does this line begin a dump? It is taken then.
   bool begin(std::string_view line);

   // Takes a line if it goes on with the dump; false for one that is none of it.
   bool goOn(std::string_view line);

   bool open() const { return open_; }
   bool ended() const { return ended_; } // the offset behind the last octet was there

   // The octets, and the way to the next dump. Empty with a fault.
   std::vector<uint8_t> finish(std::string& fault);

private:
   struct Line {
      std::string_view offset;
      std::vector<uint8_t> octets; // of a line that is a beginning of them, or its characters look like some
      bool exact = false;          // they are it
   };
   static std::optional<Line> parse(std::string_view line);
   void take(Line& line);
   std::optional<size_t> next(std::string_view offset);

   bool open_ = false, ended_ = false, repeat_ = false;
   std::vector<uint8_t> octets_; // of all lines but the last
   Line last_;
   size_t width_ = 16;  // octets of a line, as far as it is known
   unsigned bases_ = 7; // bits of those that the offsets may be written in
   std::string fault_;
};

} // namespace quorva::tool
