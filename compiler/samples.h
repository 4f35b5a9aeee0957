// The values of a sample: numbers, counts and arms that agree with one another.
#pragma once

#include "compiler/model.h"

#include <optional>
#include <string>
#include <vector>

namespace l3c {

// One legal value of a type, picked once and for all: any number within its bounds, but fields that steer
// others (the value of a choice, a count, the condition of an optional field) such that as much of the record
// as possible is there.
class Sample {
public:
   explicit Sample(const Type& type);

   uint64_t number(const Field& field) const;      // Flag, Uint, Frame; of Named a number or an enumeration
   uint64_t count(const Field& field) const;       // of octets, bits, characters or entries
   uint64_t selector(const Field& choice) const;   // value of the steering number, of `t` or of a PDU's table
   bool absent(const Field& field) const;          // an optional field that the sample leaves out
   const TableRow* message(const Type& pdu) const; // row of the PDU's table; null if there is none

   // A number inside of a nested record that must have another value than in samples of its own type.
   struct Override {
      std::vector<const Field*> path; // from the record of the type inwards
      uint64_t value;
   };
   // Those that are due behind a field of the record.
   std::vector<Override> overridesBehind(const Field& field) const;

   uint64_t sizeOf(const Field& field) const; // what a field of a type without a count of its own counts
   // Octets or bits that a repeated count of a list type or an octet string type has.
   static uint64_t typeCount(const Type& type);
   // The number that a type of its own has, an enumeration or a plain one.
   static uint64_t typeNumber(const Type& type);

private:
   using Path = std::vector<const Field*>;

   // A number that steers something, in the order in which the description names them.
   struct Steering {
      Path path;
      std::vector<uint64_t> wishes; // values that the arms and counts suggest
      uint64_t value = 0;
   };

   void collect(const std::vector<std::unique_ptr<Field>>& fields);
   void collect(const Field& field);
   void wish(const Expr* expr, const std::vector<uint64_t>& values);
   std::vector<uint64_t> candidates(const Steering& number) const;
   void solve();
   uint64_t value(const Path& path) const;
   uint64_t evaluate(const Expr& expr) const;
   int score(const std::vector<std::unique_ptr<Field>>& fields) const;
   int score(const Field& field) const;
   int scoreCount(uint64_t count, const Bounds& bounds, const Storage& storage) const;
   static uint64_t plainNumber(const Field& field);
   static bool reachable(uint64_t value, const Field& field);
   std::optional<uint64_t> bitsAhead(const std::vector<std::unique_ptr<Field>>& fields, const Field& stop,
                                     bool& found) const;
   std::optional<uint64_t> bits(const Field& field) const;
   static std::optional<uint64_t> bitsOf(const Type& type);

   Steering& steering(const Path& path);

   const Type& type_;
   std::vector<Steering> steering_;
};

} // namespace l3c
