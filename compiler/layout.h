// How types and fields look in C: the record of a type, the calls of its codec.
#pragma once

#include "compiler/walk.h"
#include "compiler/writer.h"

#include <string>

namespace l3c {

// How a value of the type is handed to functions.
enum class Passing { Value, Array, Text, TextPointer, Pointer, Nothing };
Passing passing(const Type& type);

bool hasRecord(const Type& type); // a C type exists
bool hasInit(const Type& type);   // asn1Init_ exists
bool isPlain(const Type& record); // nothing in it tells what is there: values alone
bool hasSample(const Type& type); // asn1Test_ exists
bool hasDecoder(const Type& type);

// C type of an unsigned integer of that many bits.
std::string uintType(uint64_t bits);
// C type of the count of an array with that capacity (0: heap).
std::string countType(const Storage& storage, Entries entries = Entries::Rest);
// Is each entry led by a bit outside of it, as lists of CSN.1 have it? Their counts have 64 bits.
bool isLed(Entries entries);
// The bits that lead an arm, as a number: 1 and H are set.
uint64_t patternBits(const std::string& pattern);
// Does the value that the structure around hands in stand in it?
bool namesOuter(const Expr& e);
// Argument that hands `place`, an lvalue of the type, to a codec, printer or initialiser.
std::string encodeArgument(const Type& type, const std::string& place);
std::string pointerArgument(const Type& type, const std::string& place);

// The value behind a `void* v`, as the type's encoder and printer take it, and as its decoder does.
std::string valueOf(const Type& type, bool constant);
std::string targetOf(const Type& type);

// `Limits{...}` for the bounds of a length or count.
std::string limitsText(const Bounds& bounds);
// Of the length of a value that no record holds: that of one of fixed width must be its octets.
Bounds boundsOfBare(const Type& type);

// Parameter lists of the exported functions, behind the context.
std::string encodeParameters(const Type& type);
std::string decodeParameters(const Type& type);

// Their names, as arguments behind the context.
std::string argumentNames(const Type& type, bool encode);

// Has the codec a short form? Fixed bits, 16-bit characters and lengths of four bits have none.
bool hasShortForm(const Type& type);
// May it be called so as a part of a structure? `twice`: with two values.
bool hasShortPart(const Type& part, bool twice);
// Is there a function of it that starts at an octet? Types by place have the one alone that goes on in an
// octet.
bool hasShortEntry(const Type& type);
// One of a signature that all such have: made by l3c, of a record and nothing besides.
bool isUniform(const Type& type);
bool hasMessageForm(const Type& type);
// A decoder that can return early, with the container of the type left behind; callers see it by that.
bool leavesContainer(const Type& type);
// Can be told by a caller of the type itself only in the exact form.
bool quits(const Type& type);
// Marks the types whose values follow a bit of the elements that they stand in: entries of chains and of
// lists with flags, and what a leading bit announces.
void markBehindBits(Model& model);
// May a value of the type begin or end inside an octet, without being one of a run?
bool standsAmongBits(const Type& type);
std::string shortDeclaration(const Type& type, bool encode);

std::string printParameters(const Type& type);
std::string sampleDeclaration(const Type& type);

// Presence bits of a record, in order: names of the members of `m`.
struct PresenceBit {
   std::string name;
   const Field* field; // null for a group bit
   int group;
};
std::vector<PresenceBit> presenceBits(const std::vector<std::unique_ptr<Field>>& fields);

// What only the standard form of a type has, at the end of the record.
std::vector<const Field*> appendedFields(const Type& type);
std::string appendixBit(const Field& field);
// Is the type coded in another way by the standards, or a value of another type among its fields of fixed
// width? Then its short form is for the family's own way.
bool departs(const Type& type);

// Width on the wire if it is fixed, and no choice, option or repetition is inside; 0 otherwise.
unsigned fixedBits(const Type& type);
// Can a field of the type stand in a run: a value type, or a record of fixed fields of up to 56 bits?
bool isRunType(const Type& type);
unsigned runBits(const Field& field); // of one that can, when it is there; 0 of others
constexpr unsigned kMaxRunBits = 56;

std::string hex(uint64_t value, int digits = 0);

} // namespace l3c
