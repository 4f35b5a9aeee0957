/**
 * @file dissector.h
 * An independent dissector, tshark, as a second opinion on messages that this library encodes.
 *
 * The messages of one PDU go into one capture, and tshark is asked once for all of them: what type does it
 * see in each, and what has it to say against it.
 */
#ifndef QUORVA_TESTS_SUPPORT_DISSECTOR_H
#define QUORVA_TESTS_SUPPORT_DISSECTOR_H

#include "quorva/reflect.h"
#include "quorva/rt3gppNasSec.h"
#include "quorva/rtxDiag.h"
#include "tests/support/context.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace quorva::test {

/** An element of a message's optional part, with its identifier. */
struct OptionalElement {
   std::string name;
   size_t begin, end; ///< Its octets.
};

/** A field of a message. */
struct TracedField {
   std::string path; ///< Below the message.
   size_t bitOffset, bitCount;
   bool extension; ///< The bit ahead of a field, under its name.
};

/** A message to be dissected. */
struct DissectorInput {
   std::string name; ///< The union member.
   unsigned type;    ///< The message type.
   Octets octets;
   std::vector<OptionalElement> elements;
   std::vector<TracedField> fields;
   std::map<std::string, std::string> types; ///< Of what is in the PDU, by paths.
   std::map<std::string, uint64_t> numbers;  ///< As decoded, by paths.

   /** The message without some of its elements. */
   DissectorInput without(const std::vector<std::string>& names) const {
      DissectorInput rest{name, type, {}, {}, {}, {}, {}};
      const uint8_t* at = octets.data();
      for (const OptionalElement& element : elements) {
         if (std::find(names.begin(), names.end(), element.name) == names.end()) continue;
         rest.octets.insert(rest.octets.end(), at, octets.data() + element.begin);
         at = octets.data() + element.end;
      }
      rest.octets.insert(rest.octets.end(), at, octets.data() + octets.size());
      return rest;
   }
};

/** Mode in which samples are made and read. */
inline uint32_t modeOfSamples = 0;

/** Fills in the optional elements and the fields of a message, from the bit trace of a decoder of its PDU. */
template <class Decode>
void traceFields(DissectorInput& input, Decode decode) {
   TestContext context;
   rtxCtxtSetFlag(context, modeOfSamples);
   if (input.name == "DetachRequest") rtxCtxtSetFlag(context, RTX_CTXT_UPLINK); // as it is encoded
   context.decode(input.octets);
   EXPECT_EQ(rtx3gppSecInitialize(context), 0);
   RtxDiagBitFieldList trace;
   EXPECT_EQ(rtxDiagBitFieldListInit(context, &trace), 0);
   context->bitFields = &trace;
   decode(context); // a wrong MAC among others is no matter here
   context->bitFields = nullptr;

   std::vector<OptionalElement>& elements = input.elements;
   std::string message; // the path of the outermost message
   for (const RtxSListNode* node = trace.fieldList.head; node != nullptr; node = node->next) {
      const auto* field = static_cast<const RtxDiagBitField*>(node->data);
      const std::string path = field->elemName == nullptr ? "" : field->elemName;
      if (message.empty() && path.find("obj_") != std::string::npos)
         message = path.substr(0, path.find('.', path.find("obj_")));
      if (message.empty()) continue;
      if (path.starts_with("restOctets.")) { // behind the message
         if (!elements.empty()) elements.back().end = field->bitOffset / 8;
         break;
      }
      if (path == message && std::string(field->nameSuffix).find("IEI") != std::string::npos) {
         if (!elements.empty()) elements.back().end = field->bitOffset / 8;
         elements.push_back({"", field->bitOffset / 8, input.octets.size()});
      } else if (!elements.empty() && elements.back().name.empty() && path.size() > message.size()) {
         elements.back().name =
               path.substr(message.size() + 1, path.find('.', message.size() + 1) - message.size() - 1);
      }
      const char* suffix = field->nameSuffix == nullptr ? "" : field->nameSuffix;
      if (path.size() > message.size() && field->bitCount > 0)
         input.fields.push_back({path.substr(message.size() + 1), field->bitOffset, field->bitCount,
                                 std::strcmp(suffix, "ext bit") == 0});
   }
}

/** What the dissector saw. */
struct Dissection {
   std::vector<unsigned> types;         ///< Message types, outer first.
   std::map<std::string, size_t> notes; ///< Its remarks, and how often each is made.
};

/** True if tshark can be run. */
inline bool haveDissector() {
   return std::system("command -v tshark >/dev/null 2>&1") == 0; // NOLINT(cert-env33-c)
}

/** Fills in the types and numbers that are in a PDU. */
inline void noteRecord(DissectorInput& input, RtxContext* ctxt, const QuorvaType& type, const void* pdu) {
   const auto note = [](void* user, const QuorvaItem* item) {
      auto& into = *static_cast<DissectorInput*>(user);
      if (item->type != nullptr) into.types[item->path] = item->type->name;
      if (item->kind == QUORVA_FLAG || item->kind == QUORVA_NUMBER || item->kind == QUORVA_ENUM)
         into.numbers[item->path] = item->number;
      return 0;
   };
   const QuorvaVisitor visitor = {note, note, nullptr, &input};
   EXPECT_EQ(quorvaVisit(ctxt, &type, pdu, &visitor), 0);
}

/**
 * Has all messages dissected.
 * @param dissector tshark's name of the dissector: "nas-eps".
 * @param format    Its options for the form of the text that is returned.
 */
inline std::string runDissector(const std::vector<Octets>& messages, const std::string& dissector,
                                const std::string& format) {
   namespace fs = std::filesystem;
   const fs::path path = fs::temp_directory_path() / ("quorva-" + std::to_string(getpid()) + ".pcap");
   {
      std::ofstream file(path, std::ios::binary);
      const auto word = [&file](uint32_t value) {
         file.write(reinterpret_cast<const char*>(&value), sizeof value); // the reader sees the byte order
      };
      const uint32_t kUserLinkType = 147;
      for (const uint32_t value : {0xA1B2C3D4u, 0x00040002u, 0u, 0u, 65535u, kUserLinkType}) word(value);
      for (const Octets& octets : messages) {
         const auto size = static_cast<uint32_t>(octets.size());
         for (const uint32_t value : {0u, 0u, size, size}) word(value);
         file.write(reinterpret_cast<const char*>(octets.data()), size);
      }
   }
   const std::string command = "tshark -r '" + path.string() + "' -o 'uat:user_dlts:\"User 0 (DLT=147)\",\"" +
                               dissector + "\",\"0\",\"\",\"0\",\"\"' " + format + " 2>/dev/null";
   std::string output;
   if (FILE* pipe = popen(command.c_str(), "r")) {
      char part[4096];
      for (size_t count; (count = fread(part, 1, sizeof part, pipe)) > 0;) output.append(part, count);
      pclose(pipe);
   }
   fs::remove(path);
   return output;
}

/** Their types, by the names of its fields that hold a message type, and its remarks. */
inline std::vector<Dissection> dissect(const std::vector<DissectorInput>& inputs,
                                       const std::string& dissector,
                                       const std::vector<std::string>& typeFields) {
   std::string format = "-T fields -E 'separator=|' -E 'aggregator=^' -e _ws.expert.message";
   for (const std::string& field : typeFields) format += " -e " + field;
   std::vector<Octets> messages;
   for (const DissectorInput& input : inputs) messages.push_back(input.octets);
   const std::string output = runDissector(messages, dissector, format);

   std::vector<Dissection> dissections;
   std::istringstream lines(output);
   for (std::string line; std::getline(lines, line);) {
      Dissection one;
      std::istringstream columns(line);
      std::string column, value;
      std::getline(columns, column, '|');
      for (std::istringstream values(column); std::getline(values, value, '^');) ++one.notes[value];
      while (std::getline(columns, column, '|'))
         for (std::istringstream values(column); std::getline(values, value, '^');)
            one.types.push_back(static_cast<unsigned>(std::strtoul(value.c_str(), nullptr, 0)));
      dissections.push_back(std::move(one));
   }
   EXPECT_EQ(dissections.size(), inputs.size()) << output;
   dissections.resize(inputs.size());
   return dissections;
}

/** Octets that a sample holds anywhere, where the dissector looks into what the library keeps as octets. */
struct Meaningful {
   const char* arbitrary;
   const char* sensible; ///< As many octets.
   const char* what;
};

inline void replaceArbitrary(std::vector<DissectorInput>& inputs, const std::vector<Meaningful>& table) {
   for (DissectorInput& input : inputs) {
      for (const Meaningful& row : table) {
         const Octets from = octetsFromHex(row.arbitrary), to = octetsFromHex(row.sensible);
         for (auto at = input.octets.begin();
              (at = std::search(at, input.octets.end(), from.begin(), from.end())) != input.octets.end();)
            at = std::copy(to.begin(), to.end(), at);
      }
   }
}

/** A remark that is no fault of the library. */
struct Objection {
   std::string message;
   std::vector<std::string> elements; ///< Where it is made; none: in the mandatory part.
   std::string note;                  ///< How it begins.
};

/** The known remarks of a section of tests/vectors/objections.txt, which has the reasons too. */
inline std::vector<Objection> objectionsOf(const std::string& section) {
   std::vector<Objection> objections;
   std::ifstream file(QUORVA_TEST_DATA "/vectors/objections.txt");
   bool inside = false;
   for (std::string line; std::getline(file, line);) {
      if (!line.empty() && line[0] == '[') {
         const std::string own = modeOfSamples == 0 ? " default]" : " standard]";
         inside = line == "[" + section + "]" || line == "[" + section + own;
      }
      const size_t colon = line.find(':'), bar = line.find(" | ");
      if (!inside || bar == std::string::npos || line[0] == '#') continue;
      Objection objection{line.substr(2, colon - 2), {}, line.substr(bar + 3)};
      std::istringstream elements(line.substr(colon + 1, bar - colon - 1));
      for (std::string element; elements >> element;) objection.elements.push_back(element);
      objections.push_back(objection);
   }
   return objections;
}

/**
 * Has the messages dissected and compares: the message type, and that nothing is said against a message but
 * what the table has. Without the elements that the table names nothing may be said any more but what is said
 * of the mandatory part alone, and not more often, so that a remark at one place does not cover the others.
 * Not all of the table has to come up, as a later dissector may know more.
 */
inline void compareDissections(const std::vector<DissectorInput>& inputs, const std::string& dissector,
                               const std::vector<std::string>& typeFields,
                               const std::vector<Objection>& objections) {
   std::vector<DissectorInput> all; // each as it is, without the elements of the table, without any
   for (const DissectorInput& input : inputs) {
      std::vector<std::string> elements, optional;
      for (const Objection& objection : objections)
         if (objection.message == input.name)
            elements.insert(elements.end(), objection.elements.begin(), objection.elements.end());
      for (const OptionalElement& element : input.elements) optional.push_back(element.name);
      for (const std::string& element : elements)
         EXPECT_TRUE(std::find(optional.begin(), optional.end(), element) != optional.end())
               << input.name << " has no " << element;
      all.push_back(input);
      all.push_back(input.without(elements));
      all.push_back(input.without(optional));
   }
   const std::vector<Dissection> dissections = dissect(all, dissector, typeFields);
   for (size_t i = 0; i < all.size(); ++i) {
      const DissectorInput& input = all[i];
      const Dissection& seen = dissections[i];
      const Dissection& mandatory = dissections[i - i % 3 + 2];
      const bool whole = i % 3 == 0;
      const std::string where =
            input.name + (whole ? " " : " without its objections ") + hexFromOctets(input.octets);
      for (const auto& entry : seen.notes) {
         const auto& note = entry.first;
         const auto times = entry.second;
         const auto there = mandatory.notes.find(note);
         const bool known =
               std::any_of(objections.begin(), objections.end(), [&](const Objection& objection) {
                  return input.name == objection.message && note.starts_with(objection.note) &&
                         (objection.elements.empty()
                                ? there != mandatory.notes.end() && times <= there->second
                                : whole);
               });
         EXPECT_TRUE(known) << where << ": " << note << ", times " << times;
      }
      if (!seen.notes.empty() && seen.notes.begin()->first.find("Unknown Message Type") == 0)
         continue; // by the table
      EXPECT_TRUE(!seen.types.empty() && seen.types[0] == input.type)
            << where << " is taken for " << (seen.types.empty() ? 0 : seen.types[0]);
   }
}

/** The known fields of a section of tests/vectors/meanings.txt, and what the dissector calls them. */
struct Meaning {
   std::string message, field, name;
};

inline std::vector<Meaning> meaningsOf(const std::string& section) {
   std::vector<Meaning> meanings;
   std::ifstream file(QUORVA_TEST_DATA "/vectors/meanings.txt");
   bool inside = false;
   for (std::string line; std::getline(file, line);) {
      if (!line.empty() && line[0] == '[') inside = line == "[" + section + "]";
      std::istringstream words(line);
      Meaning meaning;
      if (inside && words >> meaning.message >> meaning.field >> meaning.name) meanings.push_back(meaning);
   }
   return meanings;
}

/** What the dissector says of a message, with the place. */
struct ShownField {
   std::string name, shown, text; ///< The value alone, and as a reader sees it.
   size_t bitOffset, bitEnd;
};
struct Shown {
   std::vector<ShownField> fields;
   std::vector<std::string> remarks;
};

inline std::vector<Shown> shownIn(const std::vector<DissectorInput>& inputs, const std::string& dissector) {
   std::vector<Octets> messages;
   for (const DissectorInput& input : inputs) messages.push_back(input.octets);
   std::vector<Shown> all;
   std::istringstream lines(runDissector(messages, dissector, "-T pdml"));
   for (std::string line; std::getline(lines, line);) {
      const auto attribute = [&line](const char* name) {
         const size_t at = line.find(std::string(" ") + name + "=\"");
         if (at == std::string::npos) return std::string();
         const size_t begin = line.find('"', at) + 1;
         return line.substr(begin, line.find('"', begin) - begin);
      };
      if (line.find("<packet>") != std::string::npos) all.emplace_back();
      if (all.empty() || line.find("<field ") == std::string::npos) continue;
      const std::string name = attribute("name");
      if (name == "_ws.expert.message") all.back().remarks.push_back(attribute("show"));
      const std::string position = attribute("pos"), size = attribute("size"), text = attribute("showname");
      if (position.empty() || size.empty()) continue;
      const size_t begin = 8 * std::stoul(position);
      ShownField field{name, attribute("show"), text, begin, begin + 8 * std::stoul(size)};
      // "..01 .... = " are its bits.
      size_t bits = 0, first = SIZE_MAX, last = 0;
      const size_t equals = text.find(" = ");
      if (equals != std::string::npos && text.find_first_not_of(".01 ") >= equals) {
         for (const char ch : text.substr(0, equals)) {
            if (ch == '0' || ch == '1') first = std::min(first, bits), last = bits + 1;
            bits += ch != ' ';
         }
         if (first != SIZE_MAX) field.bitEnd = begin + last, field.bitOffset = begin + first;
      }
      all.back().fields.push_back(std::move(field));
   }
   EXPECT_EQ(all.size(), messages.size());
   all.resize(messages.size());
   return all;
}

/**
 * Turns the last bit of each field of the table; the dissector must show something else under the field's
 * name. Another version may call some by another name.
 */
inline void compareMeanings(const std::vector<DissectorInput>& inputs, const std::string& dissector,
                            const std::vector<Meaning>& meanings) {
   std::vector<DissectorInput> messages;
   for (const Meaning& meaning : meanings) {
      const auto input = std::find_if(inputs.begin(), inputs.end(),
                                      [&](const DissectorInput& one) { return one.name == meaning.message; });
      ASSERT_NE(input, inputs.end()) << meaning.message;
      const TracedField* field = nullptr;
      for (const TracedField& one : input->fields)
         if (one.path == meaning.field && (field == nullptr || one.bitCount > field->bitCount)) field = &one;
      ASSERT_NE(field, nullptr) << meaning.message << ' ' << meaning.field;
      const std::string own = meaning.field.substr(0, meaning.field.find('.'));
      std::vector<std::string> others;
      for (const OptionalElement& element : input->elements)
         if (element.name != own) others.push_back(element.name);
      const size_t bit = field->bitOffset + field->bitCount - 1;
      DissectorInput turned = *input;
      turned.octets[bit / 8] = static_cast<uint8_t>(turned.octets[bit / 8] ^ 0x80 >> bit % 8);
      messages.push_back(input->without(others));
      messages.push_back(turned.without(others));
   }
   const std::vector<Shown> shown = shownIn(messages, dissector);
   size_t unknown = 0;
   for (size_t i = 0; i < meanings.size(); ++i) {
      const auto valuesOf = [&](const Shown& all) {
         std::string values;
         for (const ShownField& field : all.fields)
            if (field.name == meanings[i].name)
               values += (field.text.empty() ? field.shown : field.text) + '\n';
         return values;
      };
      const std::string before = valuesOf(shown[2 * i]), after = valuesOf(shown[2 * i + 1]);
      unknown += before.empty() && after.empty();
      EXPECT_TRUE((before.empty() && after.empty()) || before != after)
            << meanings[i].message << ' ' << meanings[i].field << " isn't " << meanings[i].name;
   }
   EXPECT_LE(unknown, meanings.size() / 10);
}

/**
 * The names that the dissector has for fields, in any message: a field of a type is called so wherever the
 * type stands.
 */
class Meanings {
public:
   Meanings(const std::string& section, const std::set<std::string>& otherwise) : otherwise_(otherwise) {
      for (const Meaning& meaning : meaningsOf(section))
         names_[plain(meaning.message + '.' + meaning.field)].insert(meaning.name);
   }

   /** Takes the names over to the types in which the fields are in these messages. */
   void learn(const std::vector<DissectorInput>& inputs) {
      for (const DissectorInput& input : inputs)
         for (const TracedField& field : input.fields) {
            const std::string path = pathOf(input, field), type = inType(input, path);
            const auto names = names_.find(inMessage(path));
            if (names != names_.end() && !type.empty())
               names_[type].insert(names->second.begin(), names->second.end());
         }
   }

   /**
    * Has messages dissected. Nothing may be said against one but the remarks given, and where a field's name
    * is shown it has to be at the place of the field, with its value.
    */
   void compare(const std::vector<DissectorInput>& inputs, const std::string& dissector,
                const std::set<std::string>& remarks) {
      const std::vector<Shown> all = shownIn(inputs, dissector);
      for (size_t i = 0; i < inputs.size(); ++i) {
         const DissectorInput& input = inputs[i];
         const std::string octets = input.name + ' ' + hexFromOctets(input.octets);
         for (const std::string& remark : all[i].remarks)
            EXPECT_TRUE(std::any_of(remarks.begin(), remarks.end(),
                                    [&](const std::string& one) {
                                       return (input.name + ": " + remark).starts_with(one) ||
                                              ("*: " + remark).starts_with(one);
                                    }))
                  << octets << ": " << remark;
         for (const TracedField& field : input.fields) compareField(input, field, all[i], octets);
      }
   }

   size_t compared = 0; ///< Fields that were found at their places,
   size_t numbers = 0;  ///< and of these numbers that are the same.

private:
   void compareField(const DissectorInput& input, const TracedField& field, const Shown& shown,
                     const std::string& octets) {
      const std::string path = pathOf(input, field);
      auto names = names_.find(inMessage(path));
      if (names == names_.end()) names = names_.find(inType(input, path));
      if (names == names_.end() || field.extension) return;
      const std::string whole = plain(path);
      if (std::any_of(otherwise_.begin(), otherwise_.end(),
                      [&](const std::string& one) { return whole.ends_with(one); }))
         return;
      bool there = false, elsewhere = false;
      const auto number = input.numbers.find(path);
      for (const ShownField& one : shown.fields) {
         if (names->second.count(one.name) == 0) continue;
         const size_t end = field.bitOffset + field.bitCount;
         elsewhere = true;
         if (one.bitOffset >= end || one.bitEnd <= field.bitOffset) continue;
         there = true;
         char* rest = nullptr;
         const uint64_t value = std::strtoull(one.shown.c_str(), &rest, 0);
         if (number != input.numbers.end() && one.bitOffset == field.bitOffset && one.bitEnd == end &&
             *rest == 0) {
            ++numbers;
            EXPECT_EQ(value, number->second)
                  << octets << ": " << path << " is " << one.name << ' ' << one.shown;
         }
      }
      compared += there;
      EXPECT_TRUE(there || !elsewhere)
            << octets << ": " << path << " at bit " << field.bitOffset << " isn't " << *names->second.begin();
   }

   static std::string plain(std::string path) {
      std::string text;
      for (size_t at = 0; at < path.size(); ++at) {
         if (path.compare(at, 3, ".u.") == 0) at += 2;
         if (path.compare(at, 6, ".elem[") == 0) at += 5;
         if (path[at] == '[')
            at = path.find(']', at);
         else
            text += path[at] == '-' ? '_' : path[at];
      }
      return text;
   }
   // As visitors have it.
   static std::string pathOf(const DissectorInput& input, const TracedField& field) {
      std::string path = "data.obj_" + input.name + '.' + field.path;
      for (size_t at; (at = path.find(".u.")) != std::string::npos;) path.erase(at, 2);
      for (size_t at; (at = path.find(".elem[")) != std::string::npos;) path.erase(at, 5);
      std::replace(path.begin(), path.end(), '-', '_');
      return path;
   }
   static std::string inMessage(const std::string& path) {
      return plain(path.substr(path.rfind("obj_") + 4));
   }
   static std::string inType(const DissectorInput& input, const std::string& path) {
      for (size_t end = path.find_last_of(".["); end != std::string::npos;
           end = end == 0 ? end : path.find_last_of(".[", end - 1)) {
         const auto type = input.types.find(path.substr(0, end));
         if (type != input.types.end() && type->second.find("Msg_") == std::string::npos)
            return type->second + plain(path.substr(end));
         if (end == 0) break;
      }
      return {};
   }

   std::map<std::string, std::set<std::string>> names_;
   const std::set<std::string>& otherwise_;
};

/** What random messages of a protocol may have, by the section of tests/vectors/objections.txt. */
struct Freedom {
   std::set<std::string> fixed;   ///< Fields that stay as in the sample.
   std::set<std::string> kept;    ///< Choices and options that do.
   std::set<std::string> without; ///< Elements that the dissector objects to.
   std::set<std::string> remarks; ///< What it says against mandatory parts.
   /** Those of a message that are not to be there. */
   std::vector<std::string> elementsOf(const DissectorInput& input) const {
      std::vector<std::string> names;
      for (const OptionalElement& element : input.elements)
         if (without.count(input.name + '.' + element.name) != 0) names.push_back(element.name);
      return names;
   }

   std::set<std::string> otherwise; ///< Ends of paths of fields that it shows in another way.
};

inline Freedom freedomOf(const std::string& section) {
   Freedom freedom;
   for (const Objection& objection : objectionsOf(section)) {
      for (const std::string& element : objection.elements)
         freedom.without.insert(objection.message + '.' + element);
      if (objection.elements.empty()) freedom.remarks.insert(objection.message + ": " + objection.note);
   }
   std::ifstream file(QUORVA_TEST_DATA "/vectors/variations.txt");
   bool inside = false;
   for (std::string line; std::getline(file, line);) {
      if (!line.empty() && line[0] == '[') inside = line == "[" + section + "]" || line == "[all]";
      std::istringstream words(line);
      std::string kind, name;
      if (!inside || !(words >> kind) || kind[0] == '#') continue;
      if (kind == "remark" && words >> name) {
         std::string note;
         std::getline(words >> std::ws, note);
         freedom.remarks.insert(name + ": " + note);
      }
      std::set<std::string>& names = kind == "fixed"     ? freedom.fixed
                                     : kind == "kept"    ? freedom.kept
                                     : kind == "without" ? freedom.without
                                                         : freedom.otherwise;
      while (words >> name) names.insert(name);
   }
   return freedom;
}

} // namespace quorva::test

#endif
