// The constant table of a module as text: rows, and what they name by number, each once.
#pragma once

#include "compiler/model.h"
#include "compiler/writer.h"

#include <map>
#include <string>
#include <vector>

namespace l3c {

// Some C++: a number or an expression.
struct Cell {
   Cell(Number auto number) : text(std::to_string(number)) {}
   Cell(std::string expression) : text(std::move(expression)) {}
   Cell(const char* expression) : text(expression) {}

   std::string text;
};

// A field: what all walkers know of it, and codecs alone.
struct RowText {
   std::string name, wireName, doc;
   Cell offset = 0, count = 0, capacity = 0, stride = 0, presence = "kNone", group = "kNone";
   uint64_t sample = 0;
   size_t first = 0, rows = 0, index = 0, module = 0;
   std::string kind;
   Cell width = 0;
   std::vector<std::string> flags;

   std::vector<std::string> wire; // flags too
   size_t argument = 0, test = 0, second = 0, limits = 0;
   uint64_t number = 0, lead = 0;
   unsigned bits = 0, iei = 0, ieiBits = 0;
   Cell format = 0;
};

struct TypeText {
   Cell size = 0, presenceOctets = 0, presenceOffset = 0, lengthOffset = 0, appendixOctets = 0,
        appendixOffset = 0;
   size_t first = 0, rows = 0, limits = 0, legal = 0, mandatory = 0, standard = 0;
   size_t presenceBits = 0, appendixBits = 0;
   std::string form = "Value", codec = "Element", name, decodedName, doc;
   std::vector<std::string> flags;
   unsigned lengthBits = 0, bits = 0, halfOctets = 0;
   std::string functions;
};

class TableText {
public:
   TableText() { (void)textAt(""); }
   size_t arms() const { return armCount_; }

   // What has a number: that is it. Rows go one behind the other, and the first one's tells.
   size_t add(const std::vector<RowText>& block);
   size_t limits(const std::string& limits) { return limits_.at(limits); }
   size_t legal(const std::string& set) { return legals_.at(set); }
   size_t expression(const std::string& value) { return expressions_.at(value); }
   // Names of numbers, in a table that the header declares or, without one, here.
   size_t names(const std::string& table, const std::vector<EnumRow>& rows);

   void add(const TypeText& type);
   void addArm(uint64_t low, uint64_t high, size_t row, const std::string& pattern);
   // What must be so of the records.
   void guard(const std::string& condition);

   std::string text(const Module& module) const;

private:
   // Entries, each once, and their numbers; the first one is there from the start.
   class Numbered {
   public:
      explicit Numbered(const std::string& first) { (void)at(first); }
      size_t at(const std::string& entry) {
         auto [hit, fresh] = at_.emplace(entry, all_.size());
         if (fresh) all_.push_back(entry);
         return hit->second;
      }
      const std::vector<std::string>& all() const { return all_; }

   private:
      std::map<std::string, size_t> at_;
      std::vector<std::string> all_;
   };

   size_t textAt(const std::string& text);

   const Writer forms_;
   std::map<std::string, size_t> textsAt_;
   std::string texts_;
   size_t textSize_ = 0, rowCount_ = 0, armCount_ = 0, docCount_ = 0, nameCount_ = 0;
   // Lines of the arrays.
   std::string nameArrays_, names_, rows_, wires_, arms_, types_, typeDocs_, rowDocs_, guards_;
   Numbered expressions_{""}, limits_{"frame::Limits{}"}, legals_{"frame::LegalSet{}"};
};

} // namespace l3c
