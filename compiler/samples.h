// The values of a sample: numbers, counts and arms that agree with one another.
#pragma once

#include "compiler/program.h"

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

   uint64_t number(const Step& step) const;     // Flag, Integer, Unary
   uint64_t count(const Step& step) const;      // of octets, bits, characters or entries
   uint64_t sizeOf(const Step& step) const;     // what a step of a type without a count of its own counts
   uint64_t selector(const Step& choice) const; // value of the steering number, of `t` or of a PDU's table
   bool absent(const Step& step) const;         // an optional one that the sample leaves out

   // A number inside of a nested record that must have another value than in samples of its own type.
   struct Override {
      std::vector<const Field*> path; // from the record of the type inwards
      uint64_t value;
   };
   // Those that are due behind a step.
   std::vector<Override> overridesBehind(const Step& step) const;

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

   void collect(const std::vector<Step>& steps);
   void wish(const Expr* expr, const std::vector<uint64_t>& values);
   std::vector<uint64_t> candidates(const Steering& number) const;
   void solve();
   uint64_t value(const Path& path) const;
   uint64_t evaluate(const Expr& expr) const;
   const Step* chosen(const Step& choice) const;
   int score(const std::vector<Step>& steps) const;
   int score(const Step& step) const;
   static int scoreCount(uint64_t count, const Bounds& bounds, const Storage& storage, bool bits);
   static uint64_t plainNumber(const Field& field);
   static bool reachable(uint64_t value, const Field& field);
   // Up to the step of the field `stop`, which is told by `found`; of all if it is none of these.
   std::optional<uint64_t> bits(const std::vector<Step>& steps, const Field* stop, bool& found) const;
   std::optional<uint64_t> bits(const Step& step, const Field* stop, bool& found) const;
   static std::optional<uint64_t> bitsOf(const Type& type);
   static uint64_t typeCount(const Type& type); // of a list, or of a string of octets or bits

   Steering& steering(const Path& path);

   const Type& type_;
   Program program_;
   const TableRow* row_ = nullptr; // the message of a PDU
   std::vector<Steering> steering_;
};

} // namespace l3c
