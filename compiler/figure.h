// Octets drawn as the standards draw them: bits 8 to 1, a row an octet, its number at the right.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace l3c {

class Figure {
public:
   // A field of so many bits; it may cross octets.
   void bits(const std::string& text, uint64_t count, bool optional);
   // A field of unknown size; octets behind it are counted from a letter.
   void open(const std::vector<std::string>& lines, bool optional);
   // From here on the place of a field in its octet is not known.
   void loosen();
   // A line that stands for no octets.
   void note(const std::string& text);
   // The next octet has that label: 3a behind 3. An empty one ends this.
   void label(const std::string& text) { label_ = text; }
   std::string octetName() const;
   bool loose() const { return loose_; }
   bool empty() const { return rows_.empty() && row_.cells.empty(); }
   std::string draw();

private:
   struct Cell {
      unsigned bits;
      std::vector<std::string> lines; // each is broken further to fit
   };
   struct Row {
      std::vector<Cell> cells;
      std::string label;
      bool optional = false;
      bool loose = false; // no line between two of them
   };

   void flush(const std::string& label);
   void box(const std::vector<std::string>& lines, const std::string& label, bool optional);
   void advance(uint64_t octets) { offset_ += octets; }

   std::vector<Row> rows_;
   Row row_; // the present octet
   unsigned used_ = 0;
   bool loose_ = false;
   std::string symbol_; // letter that octets count from; empty: from 1
   uint64_t offset_ = 1;
   unsigned letters_ = 0;
   std::string label_;
};

} // namespace l3c
