/**
 * @file dissector.h
 * An independent dissector, tshark, as a second opinion on messages that this library encodes.
 *
 * The messages of one PDU go into one capture, and tshark is asked once for all of them: what type does it
 * see in each, and what has it to say against it.
 */
#ifndef QUORVA_TESTS_SUPPORT_DISSECTOR_H
#define QUORVA_TESTS_SUPPORT_DISSECTOR_H

#include "quorva/rt3gppNasSec.h"
#include "quorva/rtxDiag.h"
#include "tests/support/context.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
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
};

/** A message to be dissected. */
struct DissectorInput {
   std::string name; ///< The union member.
   unsigned type;    ///< The message type.
   Octets octets;
   std::vector<OptionalElement> elements;
   std::vector<TracedField> fields;

   /** The message without some of its elements. */
   DissectorInput without(const std::vector<std::string>& names) const {
      DissectorInput rest{name, type, {}, {}, {}};
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
      if (path.size() > message.size() && field->bitCount > 0)
         input.fields.push_back({path.substr(message.size() + 1), field->bitOffset, field->bitCount});
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

/** Encodes samples of all messages of one PDU. Its name is that of its type. */
template <class Pdu>
class MessageSamples {
public:
   using Prepare = void (*)(RtxContext* ctxt, Pdu& pdu);

   /** `prepare` completes what goes ahead of the message; the type and the discriminator are set by then. */
   MessageSamples(int (*init)(Pdu*), int (*encode)(RtxContext*, Pdu*), int (*decode)(RtxContext*, Pdu*),
                  Prepare prepare)
         : init_(init), encode_(encode), decode_(decode), prepare_(prepare) {}

   /** A message whose record goes by pointer. */
   template <class Record>
   void add(const char* name, void (*set)(RtxContext*, Pdu*, Record*), Record* (*sample)(RtxContext*)) {
      one(name, [set, sample](RtxContext* ctxt, Pdu* pdu) { set(ctxt, pdu, sample(ctxt)); });
   }

   /** A message that is one value. */
   template <class Record>
   void add(const char* name, void (*set)(RtxContext*, Pdu*, Record), Record* (*sample)(RtxContext*)) {
      one(name, [set, sample](RtxContext* ctxt, Pdu* pdu) { set(ctxt, pdu, *sample(ctxt)); });
   }

   /** A message of its header alone. */
   void add(const char* name, void (*set)(RtxContext*, Pdu*)) { one(name, set); }

   std::vector<DissectorInput> inputs;

private:
   template <class Set>
   void one(const char* name, Set set) {
      TestContext context;
      rtxCtxtSetFlag(context, modeOfSamples);
      Pdu pdu;
      init_(&pdu);
      set(context, &pdu);
      prepare_(context, pdu);
      context.encode(4096);
      EXPECT_GE(encode_(context, &pdu), 0) << name;
      inputs.push_back({name, pdu.msgType, octetsFromHex(context.written()), {}, {}});
      traceFields(inputs.back(), [this](RtxContext* ctxt) {
         Pdu again;
         init_(&again);
         decode_(ctxt, &again);
      });
   }

   int (*init_)(Pdu*);
   int (*encode_)(RtxContext*, Pdu*);
   int (*decode_)(RtxContext*, Pdu*);
   Prepare prepare_;
};

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

/** What the dissector shows of its fields, by their names. */
using ShownFields = std::map<std::string, std::string>;

inline std::vector<ShownFields> fieldsShown(const std::vector<Octets>& messages,
                                            const std::string& dissector) {
   std::vector<ShownFields> all;
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
      const std::string shown = attribute("showname");
      all.back()[attribute("name")] += (shown.empty() ? attribute("show") : shown) + '\n';
   }
   EXPECT_EQ(all.size(), messages.size());
   all.resize(messages.size());
   return all;
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

/**
 * Turns the last bit of each field of the table; the dissector must show something else under the field's
 * name. Another version may call some by another name.
 */
inline void compareMeanings(const std::vector<DissectorInput>& inputs, const std::string& dissector,
                            const std::vector<Meaning>& meanings) {
   std::vector<Octets> messages;
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
      messages.push_back(input->without(others).octets);
      messages.push_back(turned.without(others).octets);
   }
   const std::vector<ShownFields> shown = fieldsShown(messages, dissector);
   size_t unknown = 0;
   for (size_t i = 0; i < meanings.size(); ++i) {
      const auto before = shown[2 * i].find(meanings[i].name),
                 after = shown[2 * i + 1].find(meanings[i].name);
      if (before == shown[2 * i].end() && after == shown[2 * i + 1].end())
         ++unknown;
      else
         EXPECT_TRUE(before == shown[2 * i].end() || after == shown[2 * i + 1].end() ||
                     before->second != after->second)
               << meanings[i].message << ' ' << meanings[i].field << " isn't " << meanings[i].name;
   }
   EXPECT_LE(unknown, meanings.size() / 10);
}

} // namespace quorva::test

#endif
