// What each construct of the language becomes in the model.
#include "tests/compiler/described.h"

#include "compiler/layout.h"
#include "compiler/naming.h"
#include "compiler/program.h"
#include "compiler/walk.h"

#include <gtest/gtest.h>

namespace l3c {
namespace {

class Every : public testing::Test {
protected:
   void SetUp() override { ASSERT_FALSE(all.diagnostics.failed()) << all.diagnostics.render(); }
   const Type& type(const char* name) { return *all.type(name); }
   const Field& field(const char* way, const char* owner = "Whole") {
      const Field* hit = all.field(owner, way);
      if (!hit) throw std::runtime_error(std::string("no field ") + way);
      return *hit;
   }
   Described all{{everything(), base()}};
};

TEST_F(Every, ModuleAndOrder) {
   ASSERT_EQ(all.model.modules.size(), 2u);
   EXPECT_EQ(all.model.modules[0]->name, "Base"); // used ones first
   EXPECT_EQ(all.model.modules[0]->file, "Base");
   EXPECT_EQ(all.model.modules[1]->file, "EveryIES");
   EXPECT_EQ(all.model.modules[1]->tests[1].octets, (std::vector<uint8_t>{3, 1, 2, 3}));
}

TEST_F(Every, Values) {
   EXPECT_EQ(type("Cause").doc, "Causes");
   EXPECT_EQ(type("Cause").rows[2].value, 0x7Fu);
   EXPECT_TRUE(type("Wild").unchecked);
   EXPECT_TRUE(type("Open").checked);
   EXPECT_EQ(type("Level").bounds.high, 9u);
   EXPECT_EQ(type("Level").rows.size(), 2u);
   EXPECT_TRUE(type("Bare").bare);
   EXPECT_EQ(type("Bare").bits, 16u);
}

TEST_F(Every, StorageOfTypes) {
   const struct {
      const char* name;
      bool heap;
      uint64_t capacity;
   } cases[] = {{"Fixed", false, 4},     {"Counted", false, 8}, {"Long", true, 0},     {"Kept", false, 100},
                {"BareFixed", false, 2}, {"Rest", false, 20},   {"Number", false, 15}, {"Digits", true, 0},
                {"Packed", true, 0},     {"Causes", false, 4},  {"Flagged", true, 0},  {"Plain", false, 16}};
   for (auto& one : cases) {
      EXPECT_EQ(type(one.name).storage.heap, one.heap) << one.name;
      EXPECT_EQ(type(one.name).storage.capacity, one.capacity) << one.name;
   }
}

TEST_F(Every, ListsAndParameters) {
   EXPECT_EQ(type("Flagged").entries, Entries::Flags);
   EXPECT_EQ(type("Chained").entries, Entries::Ext);
   EXPECT_EQ(type("Packed").parameters, (std::vector<std::string>{"octets", "spareBits"}));
   EXPECT_EQ(type("Number").parameters, (std::vector<std::string>{"octets"}));
   const Type& times = type("Times");
   ASSERT_TRUE(times.times);
   EXPECT_TRUE(times.times->left->parameter);
   EXPECT_TRUE(times.freeCount);
   EXPECT_TRUE(times.noDecoder);
}

TEST_F(Every, LengthsOfElements) {
   EXPECT_EQ(type("Small").doc, "An element\none octet");
   EXPECT_EQ(type("Padded").standard->fields[0]->bits, 8u);
   EXPECT_EQ(type("Inner").bounds.values, (std::vector<uint64_t>{1, 3, 5}));
   EXPECT_EQ(type("Inner").bounds.high, 5u);
   EXPECT_EQ(type("BitCounted").cls, Class::LB);
   EXPECT_EQ(lengthBits(type("BitCounted")), 7u);
   EXPECT_EQ(lengthBits(type("Short")), 4u);
   EXPECT_TRUE(type("Short").fields[0]->beside);
   EXPECT_TRUE(type("Whole").custom && type("Whole").aligned);
   EXPECT_FALSE(type("Whole").bounds.high);
}

TEST_F(Every, SimpleKinds) {
   EXPECT_EQ(field("flag").kind, Kind::Flag);
   EXPECT_EQ(field("number").bounds.high, 20u);
   EXPECT_EQ(field("number").init, 3u);
   EXPECT_EQ(field("octet3").kind, Kind::Group);
   EXPECT_TRUE(field("octet3").optional);
   EXPECT_EQ(field("octet3").doc, "the third");
   EXPECT_EQ(field("fixed").count, 4u);
   EXPECT_TRUE(field("spare").guarded);
   EXPECT_EQ(field("own").storage.capacity, 16u);
   EXPECT_EQ(field("longer").bits, 16u);
   EXPECT_EQ(field("longer").storage.capacity, 50u);
   EXPECT_EQ(field("nothing", "Led").kind, Kind::Null);
}

TEST_F(Every, WireGroups) {
   EXPECT_EQ(field("count").kind, Kind::Frame);
   EXPECT_EQ(field("count").bounds.low, 1u);
   EXPECT_EQ(field("parts").storage.capacity, 5u);
   EXPECT_TRUE(field("last").storage.heap);
   std::vector<const Field*> groups;
   eachField(type("Whole").fields, [&](const Field& one) {
      if (one.kind == Kind::Since) groups.push_back(&one);
      EXPECT_EQ(one.skip, one.kind == Kind::Chain);
      EXPECT_EQ(one.bounds.high == 9u, one.kind == Kind::Bare);
      EXPECT_TRUE(one.kind != Kind::Swap || one.fields.size() == 2);
   });
   ASSERT_EQ(groups.size(), 1u);
   EXPECT_EQ(groups[0]->group, 1);
   const Program whole = lower(type("Whole")), returning = lower(type("Returning"));
   EXPECT_EQ(std::ranges::find(whole.steps, Op::Since, &Step::op)->needs, 3u);
   EXPECT_TRUE(returning.steps[0].returns);
   EXPECT_EQ(returning.steps[0].needs, 0u);
   EXPECT_TRUE(field("length2").aside && !field("length2").counted);
   EXPECT_EQ(field("size").counted, &field("data"));
}

TEST_F(Every, Repetitions) {
   EXPECT_EQ(field("entries").entry->kind, Kind::Sized);
   EXPECT_EQ(field("entries").entry->storage.capacity, 1u);
   EXPECT_TRUE(field("entries").storage.heap);
   EXPECT_EQ(field("list").bits, 8u);
   EXPECT_TRUE(field("list").tail);
   EXPECT_EQ(field("many", "Led").entries, Entries::Flags);
}

TEST_F(Every, Choices) {
   const Field& content = field("content");
   ASSERT_EQ(content.arms.size(), 4u);
   EXPECT_EQ(content.selector, Selector::Field);
   EXPECT_EQ(content.arms[1].values.size(), 2u);
   EXPECT_EQ(content.arms[2].values[0].high, 6u);
   EXPECT_EQ(content.arms[2].field->kind, Kind::Null);
   EXPECT_TRUE(content.arms[3].isElse);
   EXPECT_EQ(field("other", "Led").selector, Selector::Bits);
   EXPECT_EQ(field("other", "Led").arms[1].values[0].low, 2u);
   EXPECT_EQ(field("plain", "Led").selector, Selector::Record);
   EXPECT_EQ(field("opt", "Led").lead, Lead::Bit);
   EXPECT_FALSE(field("opt", "Led").truncatable);
}

TEST_F(Every, Messages) {
   const Type& hello = type("Hello");
   EXPECT_TRUE(hello.tailstop);
   EXPECT_EQ(field("type", "Hello").ieiBits, 0u);
   const Field& quick = field("quick", "Hello");
   EXPECT_EQ(quick.iei, 9u);
   EXPECT_EQ(quick.ieiBits, 4u);
   EXPECT_TRUE(quick.optional);
   EXPECT_EQ(quick.group, 0);
   EXPECT_TRUE(field("mark", "Hello").present);
   EXPECT_EQ(field("name", "Hello").iei, 0x41u);
   EXPECT_EQ(field("name", "Hello").group, 1);
   EXPECT_EQ(field("extra", "Hello").cls, Class::LVE);
   EXPECT_EQ(type("Bye").kind, TypeKind::OneElement);
   EXPECT_EQ(type("Done").kind, TypeKind::Empty);
   EXPECT_TRUE(type("Twice").twins && type("Twice").shifts);
   const Type& pdu = type("Pdu");
   ASSERT_EQ(pdu.table.size(), 3u);
   EXPECT_EQ(pdu.table[0].record.type, &hello);
   EXPECT_TRUE(pdu.table[1].record.name.empty());
   EXPECT_TRUE(pdu.table[2].inlineValue);
}

// The way of a name, as fields from the outermost record inwards.
std::string way(const Expr& expr) {
   std::string result;
   for (const Field* one : expr.path)
      result += (result.empty() ? "" : ".") + (one->name.empty() ? "?" : one->name);
   return result;
}

TEST(Expressions, Ways) {
   const struct {
      const char* fields;
      const char* owner; // field whose argument is looked at
      const char* want;
   } cases[] = {
         {"a 8, b octets(a) heap", "b", "a"},
         {"n 8 = octets ( a 8, b octets(n + 0) heap )", "b", ""},
         {"g { a 8 }, b octets(g.a) heap", "b", "g.a"},
         {"g { a 8, b octets(a) heap }", "g.b", "g.a"},
         {"a 8, g { b octets(a) heap }", "g.b", "a"},
         {"a 8, g { a 8, b octets(a) heap }", "g.b", "g.a"},
         {"h Head, b octets(h.size) heap", "b", "h.size"},
         {"h AlsoHead, b octets(h.size) heap", "b", "h.size"},
         {"a 8, c choice by a { 1 x { y 8, b octets(y) heap } }", "c.x.b", "c.x.y"},
         {"a 8, c choice by a { 1 x { b octets(a) heap } }", "c.x.b", "a"},
         {"choice unsent { x { a 8 } }, b octets(x.a) heap", "b", "?.x.a"},
         {"swap ( b octets(a) heap, a 8 )", "b", "a"},
         {"ext ( a 7 ), b octets(a) heap", "b", "a"},
   };
   for (auto& one : cases) {
      Described all(
            {std::string(
                   "module M\nelement Head V { size 8 }\ntype AlsoHead Head\nelement X V but custom { ") +
             one.fields + " }\n"});
      ASSERT_FALSE(all.diagnostics.failed()) << one.fields << '\n' << all.diagnostics.render();
      const Field* owner = all.field("X", one.owner);
      ASSERT_TRUE(owner && owner->argument) << one.fields;
      const Expr& expr = *owner->argument;
      if (*one.want)
         EXPECT_EQ(way(expr), one.want) << one.fields;
      else
         EXPECT_EQ(way(*expr.left), "n") << one.fields;
   }
}

TEST(Expressions, Binding) {
   Described all({"module M\nelement X V { a 8, b? if (a = 1 + 2 * 3 and (a > 4) * 2 < 5) 8 }\n"});
   ASSERT_FALSE(all.diagnostics.failed()) << all.diagnostics.render();
   const Expr& top = *all.field("X", "b")->when;
   ASSERT_EQ(top.op, Expr::Op::And);
   ASSERT_EQ(top.right->op, Expr::Op::Lt);
   EXPECT_EQ(top.right->left->op, Expr::Op::Mul);
   EXPECT_EQ(top.right->left->left->op, Expr::Op::Gt);
   const Expr& equal = *top.left;
   ASSERT_EQ(equal.op, Expr::Op::Eq);
   ASSERT_EQ(equal.right->op, Expr::Op::Add);
   EXPECT_EQ(equal.right->right->op, Expr::Op::Mul);
}

TEST(Names, ModulesInOrderAndByPrefix) {
   const char* a =
         "module A uses A_B, C\nelement Own V { x 8 }\nelement X V {\n one Own\n two Both\n three C_Both\n"
         "four A_B_Only\n five A_Own }\n";
   const char* ab = "module A_B\nelement Both V { b 8 }\nelement Only V { b 8 }\n";
   const char* c = "module C\nelement Both V { c 8 }\nelement Own V { c 8 }\n";
   Described all({a, ab, c});
   ASSERT_FALSE(all.diagnostics.failed()) << all.diagnostics.render();
   const struct {
      const char* field;
      const char* record;
   } cases[] = {
         {"one", "A_Own"}, {"two", "A_B_Both"}, {"three", "C_Both"}, {"four", "A_B_Only"}, {"five", "A_Own"}};
   for (auto& one : cases)
      EXPECT_EQ(recordName(*all.field("X", one.field)->type.type), one.record) << one.field;
}

TEST(Names, NestedTypes) {
   Described all({"module M\nelement A V { x choice unsent { y A_b, z A_own } }\nelement A_b V { x A_b_c }\n"
                  "element A_b_c V { x 8 }\nelement A_own V but ownsample { x 8 }\nelement A_d V { x 8 }\n"
                  "element C_d V { x A_d }\n"});
   EXPECT_FALSE(all.type("A")->nested);
   EXPECT_TRUE(all.type("A_b")->nested);
   EXPECT_TRUE(all.type("A_b_c")->nested);
   EXPECT_FALSE(all.type("A_d")->nested) << "A does not use it";
   EXPECT_FALSE(all.type("C_d")->nested);
   EXPECT_FALSE(hasSample(*all.type("A_b_c")));
   EXPECT_TRUE(hasSample(*all.type("A_own")));
   EXPECT_TRUE(hasSample(*all.type("A_d")));
}

TEST(Names, InC) {
   const struct {
      const char* name;
      const char* c;
      const char* print;
   } cases[] = {{"mcc-mnc", "mcc_mnc", "mcc_mnc"}, {"default", "default_", "default"},
                {"x1-y", "x1_y", "x1_y"},          {"and", "and_", "and"},
                {"value", "value", "value"},       {"class", "class_", "class"}};
   for (auto& one : cases) {
      EXPECT_EQ(cName(one.name), one.c);
      EXPECT_EQ(printName(one.name), one.print);
   }
   Described all({"module M\nenum Msg-Type 2 { not-so 1 }\nelement X V { int? 8 }\n"});
   const Type& type = *all.type("Msg-Type");
   EXPECT_EQ(recordName(type), "M_Msg_Type");
   EXPECT_EQ(enumeratorName(type, type.rows[0]), "M_Msg_Type_not_so");
   EXPECT_EQ(encoderName(type), "NASEnc_M_Msg_Type");
   EXPECT_EQ(presenceName(*all.field("X", "int")), "intPresent");
   EXPECT_EQ(groupName(3), "group3Present");
}

TEST(Own, DescriptionsPass) {
   Described all(ownDescriptions());
   EXPECT_FALSE(all.diagnostics.failed()) << all.diagnostics.render();
   ASSERT_TRUE(all.type("UENetworkCapability"));
   EXPECT_GE(all.model.find("TS24301IE")->types.size(), 114u);
}

// The form that the standards have, over one record: what it says of each field, and where that lies.
TEST(Reader, StandardForms) {
   const Described all({"module M file M\n"
                        "element X LV [1..7] standard [0..9] { a 8 }\n"
                        "element Y LV standard LV-E {\n"
                        " a 8 default\n b 8 [1..3] standard [0..2]\n c 16 standard?\n"
                        " e? 8 standard\n d LV octets standard? octets(rest) inline 255\n}\n"
                        "message Z order 12 11 {\n 11 x X\n 12 y Y default\n 12 w X standard\n}\n"});
   ASSERT_FALSE(all.diagnostics.failed()) << all.diagnostics.render();
   EXPECT_TRUE(all.type("X")->widens);
   EXPECT_EQ(all.type("X")->standard->bounds.high, 9u);
   EXPECT_EQ(all.type("X")->bounds.high, 7u);
   const Type& y = *all.type("Y");
   EXPECT_EQ(y.cls, Class::LV);
   EXPECT_EQ(y.fields.size(), 4u);
   EXPECT_EQ(y.standard->cls, Class::LVE);
   EXPECT_TRUE(departs(y));
   ASSERT_EQ(y.standard->fields.size(), 4u);
   EXPECT_EQ(y.standard->fields[0]->bounds.high, 2u);
   EXPECT_TRUE(y.standard->fields[1]->mayMiss);
   EXPECT_TRUE(y.standard->fields[2]->appended);
   EXPECT_EQ(y.standard->fields[3]->kind, Kind::Fill);
   EXPECT_EQ(appendedFields(y).size(), 3u); // c and d by bits that they are absent
   const Type& z = *all.type("Z")->standard;
   ASSERT_EQ(z.fields.size(), 2u);
   EXPECT_EQ(z.fields[0]->name, "w");
   EXPECT_EQ(z.fields[1]->name, "x");
}

} // namespace
} // namespace l3c
