// Every field of every type lies where the C compiler put the member of that name, and every member has its
// field. members.py reads the headers for that, and knows nothing of the descriptions.
#ifdef QUORVA_MEMBERS

#include "tests/reflect/members.h"
#include "modules/records.h"
#include "quorva/reflect.h"

#include <gtest/gtest.h>
#include <map>
#include <set>

namespace {

using Name = std::pair<std::string, std::string>; // record and path

class Members : public testing::Test {
protected:
   Members() {
      for (size_t i = 0; i < cMemberCount; ++i)
         members_[{cMembers[i].record, cMembers[i].path}] = &cMembers[i];
      for (size_t i = 0; i < cBitCount; ++i) bits_[{cBits[i].record, cBits[i].path}] = cBits[i].number();
   }

   template <class List, class Of>
   static std::vector<QuorvaField> all(List list, const Of* of) {
      std::vector<QuorvaField> fields(list(of, nullptr, 0));
      list(of, fields.data(), fields.size());
      return fields;
   }

   const CMember* find(const std::string& record, const std::string& path) {
      auto at = members_.find({record, path});
      if (at == members_.end()) at = members_.find({record, path + "_"}); // a keyword of C
      if (at == members_.end()) return nullptr;
      met_.insert(at->first);
      return at->second;
   }

   // A field of what stands at a path.
   void check(const std::string& record, const std::string& around, const QuorvaField& field) {
      const std::string inner = around.empty() ? "" : around + ".";
      const std::string path = *field.name == 0 ? around : inner + field.name;
      SCOPED_TRACE(record + " " + path);
      known_.insert({record, field.presenceBit});
      known_.insert({record, field.groupBit});
      if (const auto bit = bits_.find({record, inner + "m." + field.name + "Present"}); bit != bits_.end()) {
         EXPECT_EQ(field.presenceBit, bit->second);
      }
      const CMember* member = find(record, path);
      if (*field.name == 0 && field.kind == QUORVA_CHOICE) { // no member, but two
         const CMember *first = find(record, inner + "t"), *arms = find(record, inner + "u");
         ASSERT_NE(arms, nullptr);
         EXPECT_EQ(field.offset, (first != nullptr ? first : arms)->offset);
      } else if (member == nullptr || field.size == 0) {
         EXPECT_EQ(field.size, 0u); // of nothing
      } else {
         EXPECT_EQ(field.offset, member->offset);
         // A structure may end in padding.
         EXPECT_LE(field.size, member->size);
         EXPECT_LT(member->size - field.size, *member->type != 0 && *path.c_str() != 0 ? 1u : 8u);
      }
      if (field.type != nullptr) return;
      const bool aside = member != nullptr && members_.contains({member->type, "elem"});
      inside(aside ? member->type : record, aside ? "" : path, field);
   }

   void inside(const std::string& record, const std::string& path, const QuorvaField& field) {
      const std::string inner = path.empty() ? "" : path + ".";
      for (const QuorvaField& each : all(quorvaFieldsIn, &field)) {
         if (field.kind != QUORVA_LIST) {
            check(record, field.kind == QUORVA_CHOICE ? inner + "u" : path, each);
            continue;
         }
         const CMember* list = find(record, inner + "elem");
         ASSERT_NE(list, nullptr);
         EXPECT_EQ(each.offset, 0u);
         EXPECT_LE(each.size, list->entry);
         EXPECT_LT(list->entry - each.size, each.type != nullptr ? 1u : 8u);
         if (each.type == nullptr) inside(record, inner + "elem", each);
      }
   }

   std::map<Name, const CMember*> members_;
   std::map<Name, size_t> bits_;
   std::set<Name> met_;
   std::set<std::pair<std::string, size_t>> known_;
};

// What a field is made of: its count, selector, contents; and the presence bits around it.
bool isPart(const std::string& path) {
   static const std::set<std::string> parts = {"",     "m",       "n",       "t",      "u",      "elem",
                                               "data", "numocts", "numbits", "nchars", "unused_"};
   return parts.contains(path.substr(path.rfind('.') + 1));
}

TEST_F(Members, LieWhereTheCompilerPutsThem) {
   size_t fields = 0;
   for (const QuorvaType* type : quorva::test::allTypes()) {
      const CMember* record = find(type->name, "");
      EXPECT_EQ(record != nullptr ? record->size : 0, type->size) << type->name;
      for (const QuorvaField& field : all(quorvaFields, type)) check(type->name, "", field), ++fields;
   }
   EXPECT_GT(fields, 5000u);
   // What a record has for standard mode alone is no field.
   const auto standard = [](const Name& name) { return name.second.starts_with("standard"); };
   for (const auto& [name, member] : members_)
      EXPECT_TRUE(met_.contains(name) || isPart(name.second) || standard(name))
            << name.first << " " << name.second;
   for (const auto& [name, number] : bits_)
      EXPECT_TRUE(known_.contains({name.first, number}) || standard(name))
            << name.first << " " << name.second;
}

} // namespace

#endif
