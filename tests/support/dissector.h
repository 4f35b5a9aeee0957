/**
 * @file dissector.h
 * An independent dissector, tshark, as a second opinion on messages that this library encodes.
 *
 * The messages of one PDU go into one capture, and tshark is asked once for all of them: what type does it
 * see in each, and what has it to say against it.
 */
#ifndef QUORVA_TESTS_SUPPORT_DISSECTOR_H
#define QUORVA_TESTS_SUPPORT_DISSECTOR_H

#include "tests/support/context.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace quorva::test {

/** A message to be dissected. */
struct DissectorInput {
   std::string name; ///< The union member.
   unsigned type;    ///< The message type.
   Octets octets;
};

/** What the dissector saw. */
struct Dissection {
   std::vector<unsigned> types;    ///< Message types, outer first.
   std::vector<std::string> notes; ///< Its remarks, each once.
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
   MessageSamples(int (*init)(Pdu*), int (*encode)(RtxContext*, Pdu*), Prepare prepare)
         : init_(init), encode_(encode), prepare_(prepare) {}

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
      Pdu pdu;
      init_(&pdu);
      set(context, &pdu);
      prepare_(context, pdu);
      context.encode(4096);
      EXPECT_GE(encode_(context, &pdu), 0) << name;
      inputs.push_back({name, pdu.msgType, octetsFromHex(context.written())});
   }

   int (*init_)(Pdu*);
   int (*encode_)(RtxContext*, Pdu*);
   Prepare prepare_;
};

/**
 * Has all messages dissected.
 * @param dissector  tshark's name of the dissector: "nas-eps".
 * @param typeFields Its fields that hold a message type.
 */
inline std::vector<Dissection> dissect(const std::vector<DissectorInput>& inputs,
                                       const std::string& dissector,
                                       const std::vector<std::string>& typeFields) {
   namespace fs = std::filesystem;
   const fs::path path = fs::temp_directory_path() / ("quorva-" + std::to_string(getpid()) + ".pcap");
   {
      std::ofstream file(path, std::ios::binary);
      const auto word = [&file](uint32_t value) {
         file.write(reinterpret_cast<const char*>(&value), sizeof value); // the reader sees the byte order
      };
      const uint32_t kUserLinkType = 147;
      for (const uint32_t value : {0xA1B2C3D4u, 0x00040002u, 0u, 0u, 65535u, kUserLinkType}) word(value);
      for (const DissectorInput& input : inputs) {
         const auto size = static_cast<uint32_t>(input.octets.size());
         for (const uint32_t value : {0u, 0u, size, size}) word(value);
         file.write(reinterpret_cast<const char*>(input.octets.data()), size);
      }
   }
   std::string command =
         "tshark -r '" + path.string() + "' -o 'uat:user_dlts:\"User 0 (DLT=147)\",\"" + dissector +
         "\",\"0\",\"\",\"0\",\"\"' -T fields -E 'separator=|' -E 'aggregator=^'" + " -e _ws.expert.message";
   for (const std::string& field : typeFields) command += " -e " + field;
   command += " 2>/dev/null";
   std::string output;
   if (FILE* pipe = popen(command.c_str(), "r")) {
      char part[4096];
      for (size_t count; (count = fread(part, 1, sizeof part, pipe)) > 0;) output.append(part, count);
      pclose(pipe);
   }
   fs::remove(path);

   std::vector<Dissection> dissections;
   std::istringstream lines(output);
   for (std::string line; std::getline(lines, line);) {
      Dissection one;
      std::istringstream columns(line);
      std::string column, value;
      std::getline(columns, column, '|');
      for (std::istringstream values(column); std::getline(values, value, '^');)
         if (std::find(one.notes.begin(), one.notes.end(), value) == one.notes.end())
            one.notes.push_back(value);
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
   std::string note; ///< How it begins.
};

/** The known remarks of a section of tests/vectors/objections.txt, which has the reasons too. */
inline std::vector<Objection> objectionsOf(const std::string& section) {
   std::vector<Objection> objections;
   std::ifstream file(QUORVA_TEST_DATA "/vectors/objections.txt");
   bool inside = false;
   for (std::string line; std::getline(file, line);) {
      if (!line.empty() && line[0] == '[') inside = line == "[" + section + "]";
      const size_t bar = line.find(" | ");
      if (!inside || bar == std::string::npos) continue;
      std::istringstream messages(line.substr(0, bar));
      for (std::string message; messages >> message;) objections.push_back({message, line.substr(bar + 3)});
   }
   return objections;
}

/**
 * Compares: the message type, and that nothing is said against a message but what the table has. Not all of
 * the table has to come up, as a later dissector may know more.
 */
inline void compareDissections(const std::vector<DissectorInput>& inputs,
                               const std::vector<Dissection>& dissections,
                               const std::vector<Objection>& objections) {
   for (size_t i = 0; i < inputs.size(); ++i) {
      const DissectorInput& input = inputs[i];
      const Dissection& seen = dissections[i];
      const std::string where = input.name + " " + hexFromOctets(input.octets);
      for (const std::string& note : seen.notes) {
         const bool known =
               std::any_of(objections.begin(), objections.end(), [&](const Objection& objection) {
                  return input.name == objection.message && note.starts_with(objection.note);
               });
         EXPECT_TRUE(known) << where << ": " << note;
      }
      if (!seen.notes.empty() && seen.notes[0].find("Unknown Message Type") == 0) continue; // by the table
      EXPECT_TRUE(!seen.types.empty() && seen.types[0] == input.type)
            << where << " is taken for " << (seen.types.empty() ? 0 : seen.types[0]);
   }
}

} // namespace quorva::test

#endif
