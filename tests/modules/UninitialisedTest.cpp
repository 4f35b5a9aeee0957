// Standard mode refuses a record that nobody has initialised, if anything in it can tell.

#include "quorva/reflect.h"
#include "tests/modules/codecs.h"
#include "tests/modules/records.h"

#include <fstream>
#include <set>

using namespace quorva::test;

namespace {

// Is anything legal that the memory of these fields may hold? Numbers of whole octets, octets and bits.
// `prepared`: presence bits, counts and spare bits are in their first state.
bool takesAnything(const std::vector<QuorvaField>& fields, bool prepared) {
   for (const QuorvaField& field : fields) {
      const bool isSpare = std::strncmp(field.name, "spare", 5) == 0;
      if (prepared && (field.presenceBit != QUORVA_NONE || field.kind == QUORVA_LIST || isSpare)) continue;
      if (field.presenceBit != QUORVA_NONE) return false;
      switch (field.kind) {
      case QUORVA_NUMBER:
         if (field.bits != 0 && field.bits % 8 != 0) return false;
         break;
      case QUORVA_OCTETS:
      case QUORVA_BITS:
         if (field.capacity == 0 && !prepared) return false; // by a pointer
         break;
      case QUORVA_NULL: break;
      case QUORVA_RECORD:
         if (!takesAnything(field.type != nullptr ? fieldsOf(*field.type) : fieldsIn(field), prepared))
            return false;
         break;
      default: return false;
      }
   }
   return true;
}

bool isText(const QuorvaType& type) {
   const auto fields = fieldsOf(type);
   return fields.size() == 1 && fields[0].kind == QUORVA_TEXT && *fields[0].name == 0;
}

struct Outcome {
   int status;
   bool told; // with a path
   std::vector<uint8_t> octets;
};
Outcome outcome(TestContext& context, const QuorvaType& type, void* record) {
   const Coded coded = encode(*static_cast<RtxContext*>(context), type, record);
   return {coded.status, context->elemNames.count > 0, coded.octets};
}

// The table of messages in docs/conformance.md that any memory is a value of.
std::set<std::string> tableOfMessages() {
   std::set<std::string> names;
   std::ifstream file(QUORVA_TEST_DATA "/../docs/conformance.md");
   bool here = false;
   for (std::string line; std::getline(file, line);) {
      if (line.rfind("## ", 0) == 0) here = line == "## Records that nobody initialised";
      if (here && line.rfind("| `TS", 0) == 0) names.insert(line.substr(3, line.find('`', 3) - 3));
   }
   return names;
}

// Memory full of one octet.
class Filled {
public:
   Filled(size_t size, int fill) : memory_((size + 15) / 8) {
      std::memset(memory_.data(), fill, memory_.size() * 8);
   }
   uint8_t* get() { return reinterpret_cast<uint8_t*>(memory_.data()); }

private:
   std::vector<uint64_t> memory_;
};

bool isMessage(const QuorvaType& type) {
   return std::strstr(type.name, "Msg_") != nullptr;
}

} // namespace

TEST(Uninitialised, RecordsAreRefused) {
   std::set<std::string> taken;
   size_t refused = 0;
   for (const QuorvaType* type : allTypes()) {
      // A text alone is its caller's pointer.
      if (type->encode == nullptr || type->size == 0 || isText(*type)) continue;
      for (const int fill : {0xAA, 0xFF}) {
         SCOPED_TRACE(std::string(type->name) + " of octets " + std::to_string(fill));
         TestContext context;
         rtxCtxtSetFlag(context, RTX_CTXT_STANDARD);
         Filled memory(type->size, fill);
         const Outcome out = outcome(context, *type, memory.get());
         if (out.status < 0) {
            EXPECT_TRUE(out.told);
            ++refused;
         } else {
            EXPECT_TRUE(takesAnything(fieldsOf(*type), false));
            if (isMessage(*type)) taken.insert(type->name);
         }
      }
   }
   EXPECT_EQ(taken, tableOfMessages());
   EXPECT_GT(refused, 3300u);
}

// An optional element whose presence bit somebody has set, and nothing else.
TEST(Uninitialised, ElementsAreRefused) {
   size_t tried = 0, refused = 0;
   for (const QuorvaType* type : allTypes()) {
      if (type->encode == nullptr || type->sample == nullptr || !isMessage(*type)) continue;
      for (const QuorvaField& field : fieldsOf(*type)) {
         if (field.presenceBit == QUORVA_NONE || field.kind == QUORVA_NULL) continue;
         std::vector<QuorvaField> parts = fieldsIn(field);
         if (field.type != nullptr)
            parts = fieldsOf(*field.type);
         else if (field.kind != QUORVA_RECORD)
            parts = {field}, parts[0].presenceBit = QUORVA_NONE;
         for (const int fill : {0xAA, 0xFF}) {
            SCOPED_TRACE(std::string(type->name) + "." + field.name + " of octets " + std::to_string(fill));
            TestContext context;
            rtxCtxtSetFlag(context, RTX_CTXT_STANDARD);
            auto* record = static_cast<uint8_t*>(type->sample(context));
            uint8_t& bits = record[field.presenceBit / 8];
            const auto bit = static_cast<uint8_t>(1 << field.presenceBit % 8);
            bits &= ~bit;
            const Outcome without = outcome(context, *type, record);
            bits |= bit;
            const auto with = [&](int octet, bool initialised) {
               Filled memory(type->size, octet);
               if (initialised && type->init != nullptr) type->init(memory.get());
               std::memcpy(record + field.offset, memory.get() + field.offset, field.size);
               return outcome(context, *type, record);
            };
            const Outcome raw = with(fill, false), prepared = with(fill, true), zero = with(0, true);
            if (raw.status >= 0 && raw.octets == without.octets) continue; // not there in standard mode
            EXPECT_TRUE(raw.status < 0 || takesAnything(parts, false)) << "as it was";
            // What the initialiser of the message has not prepared does not show.
            EXPECT_TRUE(prepared.status < 0 || takesAnything(parts, true) ||
                        (zero.status >= 0 && prepared.octets == zero.octets))
                  << "as the message's initialiser leaves it";
            ++tried;
            refused += raw.status < 0;
         }
      }
   }
   EXPECT_GT(refused * 5, tried * 4);
}

// In a message the union has a name, and what a length is around does not have that of the length.
TEST(Uninitialised, PathsAreThoseOfTheEncoders) {
   const struct {
      const char *type, *field;
   } rows[] = {
         {"TS24008Msg_PDU", "data.obj_AuthenticationRequest.spare"},
         {"TS24501Msg_PDU_SM", "data.obj_EstablishRequest5G.maxPktFilters.spare"},
         {"TS24501IE_ATSSSContainer", "contents[0].contents.rules[0].selectionDesc.addlIndicator.spare"}};
   for (const auto& row : rows) {
      TestContext context;
      const QuorvaType& type = *quorvaFindType(row.type);
      void* record = type.sample(context);
      QuorvaItem item;
      ASSERT_EQ(quorvaGet(context, &type, record, row.field, &item), 0);
      std::memset(const_cast<void*>(item.data), 0xFF, 1);
      std::string told[2];
      for (std::string& each : told) {
         EXPECT_EQ(outcome(context, type, record).status, RTX_E_CONSTRAINT);
         rtxErrAddElemNameParm(context);
         each = context.parms().back();
         rtxErrReset(context);
         rtxCtxtSetFlag(context, RTX_CTXT_STANDARD);
      }
      EXPECT_EQ(told[0], told[1]);
   }
}
