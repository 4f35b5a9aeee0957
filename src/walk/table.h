// The table that the walkers run over: one row a field for all that is no short form. Exact codecs, printer
// and sample builder are a body each, so that a type costs rows and no code. l3c writes the tables; offsets
// come from offsetof on the generated records, so that the two can't differ.
#pragma once

#include "quorva/rtxContext.h"
#include "quorva/rtxEnum.h"

#include <cstddef>
#include <cstdint>

namespace quorva::frame {
struct Limits;
struct LegalSet;
} // namespace quorva::frame

namespace quorva::walk {

enum class Kind : uint8_t {
   Flag,            // octet, 0 or 1
   Number,          // unsigned integer of `width` octets
   Enumeration,     // 32-bit value with names
   OpenEnumeration, // the same; a value without a name is no surprise
   NamedNumber,     // integer of which some values have names
   Octets,          // `capacity` octets
   Bits,            // `capacity` bits
   CountedOctets,   // count and octets
   CountedBits,     // count and bits
   CountedUnits,    // count and 16-bit characters
   Text,            // text with its NUL; `capacity` characters, or by pointer
   Group,           // record of its own: `rows` rows from `first`, in the same coordinates
   Nested,          // value of the type `index` of module `module`
   Message,         // pointer to such a value
   List,            // count and entries; row `first` describes an entry from its own start
   Choice,          // `rows` arms from `first`; steered by the number at `count` or by an expression
   Null,            // nothing
   Store,           // nothing; a sample stores a number there
   Constant,        // nothing in the record
   // `rows` rows from `first` that belong to the same record:
   Length,  // the octets that they take, on the wire ahead of them; in the record too, if there is a width
   Chain,   // octets each led by an ext bit
   Since,   // those of a release; under a presence bit of their own
   Swap,    // coded from the last to the first
   Span,    // a number in the record alone: the octets that they take
   Padding, // nothing in the record; bits of the padding pattern to the octet's end
};

enum Flags : uint8_t {
   kHeap = 1,        // octets or entries by pointer
   kOwnSelector = 2, // Choice: the selector stands in the record for this choice alone
   kSteeredByExpression = 4,
   kUnnamed = 8,     // Choice: prints its arm without a block
   kNoSample = 16,   // optional, and absent in samples
   kCharacters = 32, // Text: words rather than digits
   kWireOnly = 64,   // nothing to print or to fill
   kMustBe = 128,    // at the end of the record, and encoders miss it if its bit is clear
};

constexpr uint32_t kNone = UINT32_MAX;
constexpr uint32_t kAbsent =
      0x80000000; // of the number of a presence bit: it tells that the field is not there

// What the record's side of a field needs.
struct Row {
   uint32_t name;     // where the name begins among the module's texts
   uint32_t offset;   // of the value, from the start of the type's record
   uint32_t count;    // offset of the count, of the steering number, of the presence bits of a Group
   uint32_t capacity; // of what lies inline: octets, bits, characters, entries; of a Group presence bits
   uint32_t stride;   // List: from entry to entry
   uint32_t presence; // number of the presence bit, from the start of the record; kNone: always there
   uint32_t group;    // the same for the bit of its group
   uint32_t sample;   // number or selector in a sample; otherwise how many
   uint16_t first;
   uint16_t rows;
   uint16_t index; // type or names
   uint8_t module;
   Kind kind;
   uint8_t width; // octets of the number, count, steering number or presence bits
   uint8_t flags;
};

enum WireFlags : uint32_t {
   // When there is a field at all; encoders ask the presence bit
   kIfMore = 1,      // something is left
   kIfTest = 2,      // the expression `test` is not 0
   kByBit = 4,       // a bit of its own says so
   kByBitIfMore = 8, // the same, if something is left
   kGuarded = 16,    // decoders: if something is left
   // How failures go out
   kEndTested = 32, // behind it the cursor is compared with the end of the length around
   kLogged = 64,    // a failed bound is logged
   kLast = 128,     // Octets, Bits: their status is the codec's own
   // What the kinds need
   kRest = 256,       // all that is left
   kByCount = 512,    // the encoder goes by the record's count
   kOpensTail = 1024, // sets the open tail's flag
   kKeepsTail = 2048, // closing leaves the flag
   kTimes = 4096,     // List: as often as `argument` says; kFree: the encoder by the count
   kFree = 8192,
   kLedByExt = 16384,   // List: an ext bit an entry
   kLedByFlags = 32768, // List: a 1 an entry, a 0 behind
   kInits = 65536,      // List: the decoder initialises the entries
   kSkips = 131072,     // Chain: unknown octets are skipped
   kCounts = 262144,    // Number: the octets of another field, whose count, capacity and bit are in `count`,
                        // `capacity` and `stride`, plus `number`
   kSingle = 524288,    // Choice: of one arm, which names a refusal
   kContents = 1048576, // Nested: without its length, in `argument` octets
   kAhead = 2097152,    // Nested: the selector of its choice is the bit `number` ahead
   kInner = 4194304,    // Nested: a message or PDU
   kBareAround = 8388608, // a length of `lead` bits around this field alone
   kBeside = 16777216,    // behind the half octet of length, not counted
   kQuits = 33554432,     // Since: a decoder at the element's end returns as it stands
   kUnnamedOnWire = 67108864,
   // CSN.1, TS 44.018 and TS 44.060
   kHigh = 1 << 27,        // what tells of an option, an entry or an arm is H or L
   kPatterns = 1 << 28,    // Choice: each arm has its own bits; Number: as many H as it says, then L
   kInBits = 1 << 29,      // Length: counts bits, less `number`
   kLedOutside = 1 << 30,  // List: a bit ahead of each entry, outside of it
   kLedByZeros = 1u << 31, // and that bit is a 0, a 1 ends the list
   kPreset = kCounts,    // List and strings: the count is in the record; Nested: `argument` is to be it there
   kInitial = kAhead,    // Number: begins as `second`
   kUnasked = kSingle,   // List and strings: an encoder by hand writes as many as `argument` says
   kOfMessages = kInner, // Choice: the messages of a PDU, whose arms know their discriminator and type
};

// And what the wire's side needs, row by row the same.
struct Wire {
   uint32_t name; // with the hyphens of the standard
   uint32_t flags;
   uint16_t argument; // expression; 0: none
   uint16_t test;
   uint16_t second;
   uint16_t number; // Since: release; Constant: value; Nested with kPreset: 1 if the structure around tells
                    // the size; others as the flags say
   uint8_t bits;    // width of the number, of a count or of a length
   uint8_t limits;  // number among the module's limits
   uint8_t iei;     // optional element of a message: IEI, its bits, what the scan skips; in the arm of a PDU
                    // the type of the message, with its discriminator in `number` and in `lead` the arm of
                    // the header's choice that no octet tells, 0 without one
   uint8_t ieiBits;
   uint8_t format;
   uint8_t lead; // Since: bits that must be left; kBareAround: bits of that length; TV: octets of the value;
                 // Nested, in CSN.1: bits of 0 behind it
};

// Values of a choice that lead to a row; the first arm that fits counts.
struct Arm {
   uint32_t low, high;
   uint16_t row;
   uint8_t pattern = 0, bits = 0; // kPatterns: what leads it on the wire
};

// Record: rows in a block. Value: the one row tells all. Alias: another type's form under an own name; the
// type is in `first` and the module in `rows`.
enum class Form : uint8_t { Record, Value, Empty, Alias };

// What stands between the rows of a type and its callers.
enum class Codec : uint8_t { Element, Message, OneElement, Pdu, ByHand };

enum TypeFlags : uint16_t {
   kBare = 1,    // the length is on the wire alone
   kAligned = 2, // on to the next octet ahead of the closing steps
   kCountsBits = 4,
   kTailStays = 8,       // closing leaves the open tail's flag
   kShifts = 16,         // Message: codeset shifts
   kTailStops = 32,      // Message: no element behind an open tail
   kTestsNumber = 64,    // Enumeration: all values are legal, the encoder tests for more
   kCsn1 = 128,          // a structure of CSN.1; Enumeration: L or H
   kStandardForm = 1024, // of other fields, so that the record is emptied first
   kShortLength = 512,   // the record has one octet for a length of two
   kSixes = 256,         // Message: elements with IEIs 7x have two octets of length, TS 24.007, 11.2.4
   kEndsByItself = 2048, // the end of what it stands in does not matter
   kElementsEnd = 4096,  // Message: so it is with each of its elements
};

using ShortDecode = const uint8_t* (*)(const uint8_t* at, const uint8_t* end, RtxContext* ctxt, void* value);
using ShortEncode = uint8_t* (*)(uint8_t* at, uint8_t* end, RtxContext* ctxt, void* value);
using MessageDecode = int (*)(RtxContext* ctxt, void* value, const uint8_t* end);
using PlainCodec = int (*)(RtxContext* ctxt, void* value);
using HandDecode = int (*)(RtxContext* ctxt, void* value, uint64_t first, uint64_t second);

struct Type {
   uint32_t size;
   uint16_t first, rows;
   Form form;
   // For the codecs
   Codec codec;
   uint16_t flags;
   uint8_t lengthBits; // 0: none
   uint8_t limits;     // of the length
   uint8_t bits;       // Enumeration
   uint8_t legal;      // Enumeration: number among the module's legal sets; 0: all values
   uint8_t presenceOctets;
   uint16_t presenceOffset;
   uint16_t lengthOffset;
   uint16_t mandatory;         // Message: rows ahead of the optional elements
   uint16_t halfOctets;        // Message: bit n for the half-octet IEI n
   uint32_t name, decodedName; // on the name stack
   // The type as the standards code it, among the module's types; 0: no other way. What it alone has stands
   // at the record's end, with bits of its own that tell what is there.
   uint16_t standard;
   uint32_t appendixOffset;
   uint8_t appendixOctets;
   uint16_t presenceBits, appendixBits; // that mean something; the others are 0
   // Short form; the codec of a message on plain octets; the codec by hand.
   ShortDecode shortDecode;
   ShortEncode shortEncode;
   MessageDecode messageDecode;
   PlainCodec messageEncode;
   HandDecode decode;
   PlainCodec encode;
   int (*init)(void* value);
};

// Values with names.
struct Names {
   const RtxEnumItem* items;
   uint16_t count;
};

// Value of an expression of a record; the context is null where nothing is decoded, and nothing left then.
using Expression = uint64_t (*)(const void* record, const RtxContext* ctxt, uint64_t parameter);

// The description's words at a row.
struct RowDoc {
   uint16_t row;
   uint32_t text;
};

struct Module {
   const char* texts;
   const Type* types;
   const Row* rows;
   const Wire* wires;
   const Arm* arms;
   const Names* names;
   const Expression* expressions;
   const frame::Limits* limits;
   const frame::LegalSet* legals;
   const uint32_t* typeDocs; // texts, type by type
   const RowDoc* rowDocs;    // in ascending order of the rows
   size_t rowDocCount;
};

// All modules, in the order of their numbers.
extern const Module* const modules[];

// The number of `width` octets at a place.
uint64_t load(const void* place, unsigned width);
void store(void* place, unsigned width, uint64_t value);

// The arm of a choice for a value; null if there is none.
const Arm* armOf(const Module& module, const Row& choice, uint64_t value);
// And its row.
const Row* findArm(const Module& module, const Row& choice, uint64_t value);

} // namespace quorva::walk
