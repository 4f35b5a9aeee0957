// Numbered messages with file:line:column, the source line and a caret.
#pragma once

#include "compiler/model.h"

#include <string>
#include <vector>

namespace l3c {

// The numbers; a message shows its own as L3C<number>.
enum DiagnosticNumber : int {
   // Reading
   BadCharacter = 1,
   UnclosedText,
   NumberTooLarge,
   Unexpected,    // something else was expected here
   NoModule,      // the file doesn't begin with its module line
   NoDeclaration, // a line at the top level begins with an unknown word
   Unclosed,      // a bracket without its partner
   TooDeep,       // brackets or expressions nested beyond reason
   BadIei,        // a line without an IEI among the optional elements
   BadOctets,     // a vector that is not whole octets in hex
   MisplacedWord, // a word that this declaration or field doesn't take
   // Names
   UnknownModule = 20,
   UsesCycle,
   DuplicateModule,
   UnknownType,
   ModuleNotUsed, // a type's module is not among those of `uses`
   DuplicateType,
   DuplicateField,
   UnknownPdu,
   UnknownName,   // an expression's name is no field
   LaterField,    // an expression's name is a field that comes later
   NoFieldWithin, // a dotted name goes into a field that has no such field
   NoNumber,      // an expression's name is a field that is no number
   // Values
   DuplicateRow = 40,
   NoRows,
   ValueTooWide,
   BadWidth,
   BoundsReversed,
   BoundsTooWide,
   EmptyChoice,
   DuplicateArm,
   UnevenPatterns,  // arms led by different numbers of bits
   UnreachableArm,  // `else` where each value has an arm
   ValueOutOfRange, // an expression that can be below 0 or beyond 32 bits
   CountTooLarge,   // more entries or octets than there is room for
   LengthUnfit,     // a length whose bounds the contents never meet
   // Shape
   AfterTail = 60,
   NoCapacity,
   ContainsItself,
   OddBits,         // contents of a length that are no whole half octets
   NoEntryBits,     // a repetition whose entries take no bits
   ArgumentMissing, // a digit type without its number of octets
   ArgumentUnused,
   ValueOfNoLength, // `as V` of a type without a length
   NoNextField,     // `unsent` of what is not the next field
   SwapNotTwo,
   NoFields,
   NotLast,  // what must be there behind what is there if something is left
   NotCoded, // a combination that the frame has no words for
   // Messages
   DuplicateIei = 80,
   HalfOctetRange,
   HalfOctetWidth,
   HiddenIei, // an octet that the scan takes for a half-octet element
   DuplicateSelector,
   NoUnion,    // a table fills a PDU without `data messages`
   NotInTable, // `data messages` without a table
   DuplicateMessage,
   // Vectors
   BadVector = 100, // octets that the type cannot have
};

struct Diagnostic {
   int number; // L3C<number>; each has a refused description among the tests
   Pos pos;
   std::string text; // a plain sentence
};

// A name and a number as sentences have them.
inline std::string quoted(const std::string& name) {
   return "`" + name + "`";
}
inline std::string text(uint64_t value) {
   return std::to_string(value);
}

class Diagnostics {
public:
   explicit Diagnostics(const Model& model) : model_(model) {}
   void error(int number, Pos pos, std::string text) { list_.push_back({number, pos, std::move(text)}); }
   bool failed() const { return !list_.empty(); }
   const std::vector<Diagnostic>& all() const { return list_; }
   std::string render() const; // all messages as text

private:
   const Model& model_;
   std::vector<Diagnostic> list_;
};

// Reads one description into the model; errors go to `diagnostics`. Never throws on bad input.
void readDescription(Model& model, const std::string& path, const std::string& text,
                     Diagnostics& diagnostics);

// Does the text begin with `module X more`?
bool bringsMore(const std::string& text);

// Completes a model: names to types, expressions to fields, storage, groups, nested names. Then checks it.
void resolve(Model& model, Diagnostics& diagnostics);
void check(const Model& model, Diagnostics& diagnostics);
void checkCoding(const Model& model, Diagnostics& diagnostics); // a part of it

// A description in canonical layout (aligned columns), comments kept.
std::string format(const Model& model, int file);

// The type drawn as a 3GPP octet figure.
std::string explain(const Type& type);

// What the descriptions hold, a line a fact, its words parted by tabs; "-" for one that is not there:
//    type NAME element|message|pdu|enum|type|part sample DOC; part: of a type that it is named after
//    field NAME PATH TYPE mandatory|optional; path "": what an alias or a list is made of
//    since NAME RELEASE
//    row PDU DISCRIMINATOR TYPE MEMBER RECORD
std::string list(const Model& model);

} // namespace l3c
