// The descriptions against tables typed from the standards by hand, without a look at the descriptions:
// tests/vectors/tables-*.txt and values-*.txt, whose heads tell their form.
#include "tests/compiler/described.h"

#include <functional>
#include <gtest/gtest.h>

namespace l3c {
namespace {

using Row = std::vector<std::string>;

std::string trimmed(const std::string& text) {
   const size_t first = text.find_first_not_of(' ');
   return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

Row split(const std::string& line, char by) {
   Row row;
   std::istringstream in(line);
   for (std::string column; std::getline(in, column, by);) row.push_back(trimmed(column));
   return row;
}

// The lines of a file that say something.
std::vector<std::string> linesOf(const std::string& name) {
   std::ifstream file(std::string(QUORVA_TEST_DATA) + "/vectors/" + name);
   EXPECT_TRUE(file) << name;
   std::vector<std::string> lines;
   for (std::string line; std::getline(file, line);)
      if (!trimmed(line).empty() && line[0] != '#') lines.push_back(line);
   return lines;
}

const Described& own() {
   static const Described all(ownDescriptions());
   return all;
}

// Whether a documentation line names this clause, and no longer one: 9.9.3.1 is not in "9.9.3.12".
bool names(const std::string& doc, const std::string& clause) {
   const auto part = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; };
   for (size_t at = doc.find(clause); at != std::string::npos; at = doc.find(clause, at + 1)) {
      const size_t end = at + clause.size();
      const bool goesOn = end < doc.size() &&
                          (part(doc[end]) || (doc[end] == '.' && end + 1 < doc.size() && part(doc[end + 1])));
      if ((at == 0 || (!part(doc[at - 1]) && doc[at - 1] != '.')) && !goesOn) return true;
   }
   return false;
}

// --- Messages

struct Message {
   std::string clause, name;
   std::map<std::string, std::string> head; // pd, type, direction, record
   std::vector<Row> rows;
};

enum Column { Iei, Name, Reference, Presence, Format, Length, Member, Here };

struct Tables {
   std::string standard, module;
   std::vector<Message> messages;
   std::multimap<std::string, std::string> same; // a clause, and those elsewhere that it refers to

   explicit Tables(const std::string& file) {
      for (const std::string& line : linesOf(file)) {
         std::istringstream words(line);
         std::string word, clause;
         words >> word;
         if (word == "standard") {
            words >> module;
            std::getline(words, standard);
            standard = trimmed(standard);
         } else if (word == "same") {
            words >> clause;
            while (words >> word) same.emplace(clause, word);
         } else if (word == "message") {
            words >> clause;
            const size_t name = line.find(clause) + clause.size() + 1, end = line.find("  ", name);
            messages.push_back({clause, line.substr(name, end - name), {}, {}});
            words.clear(), words.str(line.substr(end));
            for (std::string key; words >> key >> word;) messages.back().head.emplace(key, word);
         } else {
            messages.back().rows.push_back(split(line, '|'));
            messages.back().rows.back().resize(Here + 1);
         }
      }
   }
};

// The elements of a message with the rows that `explain` gives for them.
struct Element {
   const Field* field;
   Row row;
};

void elementsOf(const std::vector<std::unique_ptr<Field>>& fields, std::vector<Element>& all) {
   for (auto& field : fields)
      if (field->onlyOnWire()) {
         const size_t first = all.size();
         elementsOf(field->fields, all);
         if (field->kind == Kind::Swap) std::swap(all[first], all[first + 1]);
      } else {
         all.push_back({field.get(), {}});
      }
}

std::vector<Element> elementsOf(const Type& message) {
   if (message.kind == TypeKind::OneElement && message.base.type->kind == TypeKind::Message)
      return elementsOf(*message.base.type);
   std::vector<Element> all;
   if (message.kind == TypeKind::Message)
      elementsOf(message.figure ? message.figure->fields : message.fields, all);
   std::istringstream lines(explain(message));
   std::string head, line;
   std::getline(lines, head);
   if (message.kind == TypeKind::OneElement) all.push_back({nullptr, {}});
   for (Element& element : all) {
      std::getline(lines, line);
      const auto column = [&](const char* from, const char* to) {
         const size_t at = std::min(head.find(from), line.size());
         return trimmed(
               line.substr(at, head.find(to) == std::string::npos ? std::string::npos : head.find(to) - at));
      };
      element.row = {column("IEI", "Element"),     column("Element", "Type"),  column("Type", "Presence"),
                     column("Presence", "Format"), column("Format", "Length"), column("Length", "Group")};
      if (element.row[0].empty()) element.row[0] = "-";
   }
   // Half an octet of nothing but spare bits is no row in the standards' tables. It is the upper one, with
   // the half octet of a row below.
   const auto half = [](const Element& e) { return e.row[5] == "1/2" && e.row[0] == "-"; };
   const auto spare = [&](const Element& e) { return half(e) && e.row[1].rfind("spare", 0) == 0; };
   bool lower = false;
   for (size_t i = 0; i < all.size(); ++i) {
      EXPECT_TRUE(!spare(all[i]) || (!lower && i + 1 < all.size() && half(all[i + 1]) && !spare(all[i + 1])));
      lower = half(all[i]) && !lower;
   }
   all.erase(std::remove_if(all.begin(), all.end(), spare), all.end());
   return all;
}

std::pair<double, double> range(const std::string& length) {
   if (length == "1/2") return {0.5, 0.5};
   const size_t dash = length.find('-');
   const double low = std::stod(length);
   if (dash == std::string::npos) return {low, low};
   return {low, length[dash + 1] == 'n' ? 1e9 : std::stod(length.substr(dash + 1))};
}

// What the last column says of a property: "length 2-n, format LV: why" has "2-n" for "length".
std::string departure(const Row& row, const std::string& property) {
   for (const std::string& part : split(row[Here].substr(0, row[Here].find(": ")), ','))
      if (part.rfind(property + ' ', 0) == 0) return part.substr(property.size() + 1);
   return "";
}

bool reasoned(const Row& row) {
   return row[Here].find(": ") != std::string::npos;
}

void compareClause(const Row& row, const Type& type, const Tables& tables) {
   const std::string own = departure(row, "clause"),
                     clause = row[Reference].substr(row[Reference].rfind(' ') + 1);
   std::vector<std::string> clauses{own.empty() ? clause : own};
   for (auto [at, end] = tables.same.equal_range(clause); at != end; ++at) clauses.push_back(at->second);
   EXPECT_TRUE(std::any_of(clauses.begin(), clauses.end(), [&](auto& one) { return names(type.doc, one); }))
         << type.name << " is: " << type.doc;
}

void compare(const Row& row, const Element& element, const Tables& tables) {
   const auto expected = [&](const std::string& property, const std::string& standard) {
      const std::string here = departure(row, property);
      return here.empty() ? standard : here;
   };
   EXPECT_EQ(element.row[0], row[Iei]);
   EXPECT_EQ(element.row[1], row[Member]);
   EXPECT_EQ(element.row[3], expected("presence", row[Presence] == "M" ? "M" : "O")); // "C": under conditions
   EXPECT_EQ(element.row[4], expected("format", row[Format]));
   EXPECT_EQ(element.row[5], expected("length", row[Length]));
   EXPECT_TRUE((departure(row, "format") + departure(row, "presence")).empty() || reasoned(row)) << "why?";
   const auto standard = range(row[Length]), here = range(element.row[5]);
   EXPECT_TRUE((here.first <= standard.first && here.second >= standard.second) || reasoned(row))
         << "why are lengths of the standard refused?";

   if (const Type* type = element.field ? element.field->type.type : nullptr)
      compareClause(row, *type, tables);
}

const Type* messageOf(const Tables& tables, const Message& message) {
   for (auto& type : own().model.find(tables.module)->types) {
      const bool one = names(type->doc, tables.standard + ", " + message.clause) ||
                       names(type->doc, "and " + message.clause);
      if ((type->kind == TypeKind::Message || type->kind == TypeKind::OneElement) && one) return type.get();
   }
   return nullptr;
}

class StandardTables : public testing::TestWithParam<const char*> {};

TEST_P(StandardTables, HaveTheElementsOfEachMessage) {
   const Tables tables(GetParam());
   for (const Message& message : tables.messages) {
      SCOPED_TRACE(message.clause + ' ' + message.name);
      std::vector<Row> rows;
      for (const Row& row : message.rows) {
         if (row[Member] != "-")
            rows.push_back(row);
         else
            EXPECT_TRUE(reasoned(row)) << "why is " << row[Name] << " missing?";
      }
      const Type* type = messageOf(tables, message);
      if (!type && rows.size() == 1 && rows[0][Member] == "value") {
         // A message that is one element, whose type stands in the PDU's table.
         const std::string& record = message.head.at("record");
         const Type* element = own().type(record.substr(record.find('_') + 1));
         ASSERT_NE(element, nullptr) << record;
         compareClause(rows[0], *element, tables);
         continue;
      }
      const std::vector<Element> elements = type ? elementsOf(*type) : std::vector<Element>();
      EXPECT_EQ(elements.size(), rows.size());
      for (size_t i = 0; i < std::min(rows.size(), elements.size()); ++i) {
         SCOPED_TRACE(rows[i][Name]);
         compare(rows[i], elements[i], tables);
      }
   }
}

// Each row of the PDUs' tables has a message of the standard, and the other way round.
TEST_P(StandardTables, HaveTheTypesOfAllMessages) {
   const Tables tables(GetParam());
   using Key = std::pair<uint64_t, uint64_t>;
   std::map<Key, std::string> known, typed;
   for (auto& type : own().model.find(tables.module)->types)
      if (type->kind == TypeKind::Pdu)
         for (const TableRow& row : type->table)
            known[{row.disc, row.msgType}] = row.record.name.empty() ? "-" : row.record.name;
   for (const Message& message : tables.messages) {
      const std::string& record = message.head.at("record");
      if (message.head.count("pd") == 0) continue; // not found by a table
      const Key key{std::stoull(message.head.at("pd")), std::stoull(message.head.at("type"))};
      if (record != "none:")
         typed[key] = record;
      else
         EXPECT_EQ(known.count(key), 0u) << message.name;
   }
   EXPECT_EQ(known, typed);
}

INSTANTIATE_TEST_SUITE_P(Files, StandardTables,
                         testing::Values("tables-5gs.txt", "tables-eps.txt", "tables-ts24008.txt",
                                         "tables-ts24011.txt"),
                         [](const auto& info) {
                            const std::string name = info.param;
                            const std::string stem = name.substr(7, name.find('.') - 7);
                            return stem == "5gs" ? std::string("FiveGS") : stem;
                         });

// --- Values

TEST(StandardValues, AreThoseOfTheEnumerations) {
   std::set<const Type*> left;
   for (auto& module : own().model.modules)
      for (auto& type : module->types)
         if (type->kind == TypeKind::Enum) left.insert(type.get());
   for (const std::string file : {"values-5gs.txt", "values-eps.txt", "values-ts24008.txt"}) {
      const Type* type = nullptr;
      std::map<uint64_t, std::string> typed;
      const auto close = [&] {
         if (!type) return;
         SCOPED_TRACE(type->name);
         std::map<uint64_t, std::string> known;
         for (const EnumRow& row : type->rows) known[row.value] = row.name;
         EXPECT_EQ(known, typed);
      };
      for (const std::string& line : linesOf(file)) {
         if (line.rfind("list ", 0) == 0) {
            close();
            typed.clear();
            std::istringstream words(line);
            std::string word, module, name, bits;
            words >> word >> name >> bits;
            module = name.substr(0, name.find('_'));
            const Module* owner = own().model.find(module);
            ASSERT_NE(owner, nullptr) << line;
            type = owner->find(name.substr(module.size() + 1));
            ASSERT_NE(type, nullptr) << line;
            EXPECT_EQ(std::to_string(type->bits), bits) << name;
            left.erase(type);
            continue;
         }
         const Row row = split(line, '|'); // number, name here, words of the standard, why none here
         ASSERT_GE(row.size(), 3u) << line;
         EXPECT_TRUE(row[1] != "-" || row.size() > 3 || row[2].find("eserved") == 1 ||
                     row[2].find("nused") == 1)
               << line;
         if (row[1] != "-") typed[std::stoull(row[0])] = row[1];
      }
      close();
   }
   for (const Type* missing : left) ADD_FAILURE() << missing->name << " has no list";
}

// --- Bounds and parts that may be missing

std::string text(const Bounds& bounds) {
   std::string text;
   for (const uint64_t value : bounds.values) text += (text.empty() ? "" : "/") + std::to_string(value);
   if (!text.empty()) return text;
   const std::string low = std::to_string(bounds.low.value_or(0));
   return bounds.low == bounds.high ? low : low + '-' + (bounds.high ? std::to_string(*bounds.high) : "n");
}

// What tests/vectors/bounds.txt tells, as the descriptions have it.
std::map<std::string, std::string> boundsOf(const Model& model) {
   std::map<std::string, std::string> all;
   for (auto& module : model.modules)
      for (auto& type : module->types) {
         if (type->kind == TypeKind::Message || type->kind == TypeKind::Pdu) continue;
         if (module->isCsn1()) continue; // whose grammar is the standard's
         const std::string name = module->name + '_' + type->name;
         if (!type->bounds.empty()) all[name] = text(type->bounds);
         const std::function<void(const Field&, std::string)> tell = [&](const Field& field,
                                                                         std::string way) {
            if (!field.name.empty()) way += '.' + field.name;
            if (field.optional)
               all[name + '?'] += (all[name + '?'].empty() ? "" : " ") + way.substr(name.size() + 1);
            if (!field.bounds.empty()) all[way] = text(field.bounds);
            for (auto& inner : field.fields) tell(*inner, way);
            for (const Arm& arm : field.arms)
               if (arm.field) tell(*arm.field, way);
         };
         for (auto& field : type->fields) tell(*field, name);
      }
   return all;
}

TEST(StandardBounds, AreThoseOfTheElements) {
   std::map<std::string, std::string> left = boundsOf(own().model);
   for (const std::string& line : linesOf("bounds.txt")) {
      SCOPED_TRACE(line);
      Row row = split(line, '|');
      row.resize(4);
      const auto& [what, here, standard, why] = std::tie(row[0], row[1], row[2], row[3]);
      EXPECT_EQ(left[what], here);
      left.erase(what);
      const bool other = why.rfind("other:", 0) == 0;
      if (what.back() == '?' || standard == "-") {
         EXPECT_TRUE(standard == "=" || !why.empty()) << "why?";
      } else if (here != standard) {
         const auto wide = range(here), asked = range(standard);
         EXPECT_TRUE(other || (!why.empty() && wide.first <= asked.first && wide.second >= asked.second))
               << "why?";
      }
   }
   for (auto& [what, here] : left) ADD_FAILURE() << what << " | " << here << " isn't told";
}

} // namespace
} // namespace l3c
