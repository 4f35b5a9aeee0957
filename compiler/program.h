// What a type does on the wire, step by step: all that a description leaves to its surroundings is said at
// the step. The short codecs, the rows that the walkers run over and the C records behind them agree because
// they are made from it.
#pragma once

#include "compiler/model.h"

#include <string>
#include <vector>

namespace l3c {

enum class Op {
   Flag,
   Integer,
   Constant, // on the wire alone
   Octets,   // of a fixed number
   Bits,
   Counted,   // octets behind their count
   Sized,     // octets: as many as an expression says, or all that is left
   RestBits,  // all bits that are left
   SizedBits, // as many as an expression says
   Unary,     // as many H as the value, then L
   Padding,   // of the pattern, to the octet's end
   Nothing,
   Call,     // a value of another type
   Contents, // the contents of a type with a length, without it
   Message,  // a message or a PDU inside
   Group,    // a record of its own under a name
   Choice,
   Pointers, // the messages of a PDU
   List,
   Length, // octets around a part of a record
   Chain,
   Since,
   Swap,
   Span // in the record alone: the octets that its steps take
};

// What tells that a step is taken at all; encoders ask the presence bit.
enum class When { Always, IfMore, IfTest, ByBit, ByBitIfMore };

// An expression, with the record at which its names begin.
struct Term {
   const Expr* expr = nullptr;
   std::string root;   // "", or the member with a point behind it
   std::string inside; // what the step lies in is there, whatever its presence bit says yet
};

// A presence bit: the member that `m` belongs to, the name, the number.
struct BitPlace {
   std::string record;
   std::string name;
   size_t number = 0;
   bool absent = false; // set if it is not there
   explicit operator bool() const { return !name.empty(); }
};

struct Step {
   Op op = Op::Nothing;
   const Field* field = nullptr; // null: the value of a type itself
   std::string name;             // on the wire's side; empty: none
   std::string place;            // member of the record around, with a point behind it
   std::string member;           // of the record; empty: the value itself
   const Type* type = nullptr;   // Call, Contents, Message; List: of an entry, if it is no number
   std::string typeName;         // as the description has it
   unsigned bits = 0;  // Integer, Constant, Counted, Length; List of numbers; Choice: of its selector
   uint64_t count = 0; // Octets, Bits
   Bounds bounds;
   Width width; // all that it may take on the wire, its option included

   // When it is there.
   When when = When::Always;
   Term test;
   BitPlace present, group;
   int groupNumber = 0;
   bool optional = false; // a presence bit of its own tells of it
   bool guarded = false;  // mandatory, yet decoded only if the container has something
   bool appended = false; // of a standard form: its place is at the record's end
   bool high = false;     // the bit that tells of it, or its arms is L or H
   bool quits = false;    // a decoder with nothing left returns here as it stands

   // How it stands among others.
   unsigned run = 0;        // its bits, if it may go with others of fixed width
   unsigned bareAround = 0; // bits of a length around this step alone
   bool beside = false;     // stands in the octet of a length of 4 bits, outside of its container
   bool endTested = false;  // the decoder compares the cursor with the end of the length around
   bool logged = false;     // a failed bound is logged: in the arm of a choice
   bool last = false;       // Octets, Bits: their status is the codec's own

   // Numbers.
   uint64_t number = 0;                         // Constant: its value; Since: the release
   const std::vector<EnumRow>* names = nullptr; // Integer: those of its values, if there are any
   std::optional<uint64_t> init;                // value that the initialiser gives
   std::optional<uint64_t> sample;              // value in samples, where not any value makes one
   size_t counts = 0;       // Integer: its value is the octet count of the step so many further
   uint64_t countsPlus = 0; // and so many more

   // Strings, lists and what has arguments.
   Storage storage;
   Term argument;                   // Sized, Contents, Call: size; List: how often; Choice: what steers it
   Term second;                     // Call of a text type with two parameters
   bool rest = false;               // Sized: all that is left
   bool wide = false;               // Sized: in characters of 16 bits
   bool byCount = false;            // Sized: the encoder goes by the record's count
   bool preset = false;             // Sized, SizedBits, List: the record has the count ahead of decoding
   bool sizes = false;              // Call: `argument` is the count of such a type
   unsigned ahead = 0;              // Contents: of a choice whose selector stands in the n-th bit ahead
   unsigned zeros = 0;              // Call: bits behind it that nothing holds
   Entries entries = Entries::Rest; // List
   const Type* list = nullptr;      // List: its own type, if it has one
   bool freeCount = false;          // List of a count: the encoder goes by the record's
   bool entryInits = false;         // List: the decoder initialises the entries
   bool opensTail = false;

   // What holds others.
   bool inBits = false;                          // Length: counts bits, less `count`
   bool keepsTail = false;                       // closing the length leaves the open tail's flag as it is
   bool skips = false;                           // Chain: unknown octets are skipped
   bool returns = false;                         // Since: a decoder that ends here returns at once
   uint64_t needs = 0;                           // Since: the least bits that it takes, unless it returns
   Selector selector = Selector::Field;          // Choice
   const Arm* arm = nullptr;                     // in a choice: what selects the step
   const std::vector<TableRow>* table = nullptr; // Pointers
   std::vector<Step> steps; // Group, Length, Chain, Since, Swap, Span, Contents; Choice: one an arm; List: of
                            // an entry that is octets

   // Elements of a message.
   unsigned iei = 0, ieiBits = 0;
   Class cls = Class::V; // that of a choice

   bool isOptional() const { return when != When::Always; }
   bool isLed() const { return when == When::ByBit || when == When::ByBitIfMore; }
   bool hasPatterns() const { return op == Op::Choice && selector == Selector::Pattern; }
};

struct Program {
   const Type* type = nullptr;
   std::vector<Step> steps;    // of a message the mandatory part
   std::vector<Step> optional; // of a message
};

Program lower(const Type& type);

Width widthOf(const std::vector<Step>& steps);

// Does what a type takes and means depend on its own octets alone, and not on the end of what it stands in?
bool endsByItself(const Type& type);
// Is it so of all elements of a message? Then only its scan goes by the end of what it stands in.
bool elementsEndByThemselves(const Type& message);
// The class of an element: what the description says, or that of its type, or of a length with a name of its
// own ahead of all else.
Class classOf(const Step& step);

// The expression in C. `record` is the prefix of the record's members, `rest` what stands for the octets
// left, `parameter` for the type's parameter if not its name.
std::string written(const Term& term, const std::string& record, const std::string& rest,
                    const std::string& parameter = "");
// The same where brackets stand around it already.
std::string condition(const Term& term, const std::string& record, const std::string& rest);

} // namespace l3c
