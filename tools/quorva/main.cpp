// quorva: decodes messages and shows what the library knows.

#include "tools/quorva/capture/carriers.h"
#include "tools/quorva/cdr.h"
#include "tools/quorva/decode.h"
#include "tools/quorva/encode.h"
#include "tools/quorva/radio.h"
#include "tools/quorva/session.h"
#include "tools/quorva/statusName.h"

#include "quorva/registry.h"

#include <CLI/CLI.hpp>
#include <fnmatch.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <limits>
#include <sstream>
#include <stdexcept>

namespace quorva::tool {

enum ExitCode { kGood = 0, kFailed = 1, kUsage = 2 };

// Names of types, one a line: those that match a pattern of the shell, or that contain a plain word.
static int listTypes(const std::string& pattern) {
   const bool plain = pattern.find_first_of("*?[") == std::string::npos;
   const std::string shellPattern = plain ? "*" + pattern + "*" : pattern;
   size_t count = 0;
   const QuorvaType* types = quorvaTypes(&count);
   size_t found = 0;
   for (size_t i = 0; i < count; ++i) {
      if (fnmatch(shellPattern.c_str(), types[i].name, FNM_CASEFOLD) != 0) continue;
      std::puts(types[i].name);
      ++found;
   }
   if (found > 0) return kGood;
   std::fprintf(stderr, "quorva: no type matches '%s'\n", pattern.c_str());
   return kFailed;
}

static const QuorvaType* knownType(const std::string& name) {
   const QuorvaType* type = quorvaFindType(name.c_str());
   if (type == nullptr) std::fprintf(stderr, "quorva: '%s' is no type; see: quorva types\n", name.c_str());
   return type;
}

// A sample's octets, unless it has no encoder, and its text.
static int showSample(const std::string& name) {
   const QuorvaType* type = knownType(name);
   if (type == nullptr) return kFailed;
   if (type->sample == nullptr || type->print == nullptr) {
      std::fprintf(stderr, "quorva: %s has no sample\n", name.c_str());
      return kFailed;
   }
   Session session;
   RtxContext* ctxt = session.ctxt();
   rtxCtxtClearFlag(ctxt, RTX_CTXT_STANDARD); // samples are of the default mode
   void* value = type->sample(ctxt);
   if (value == nullptr) throw std::bad_alloc();
   int status = RTX_OK;
   if (type->encode != nullptr) {
      rtxCtxtSetBufPtr(ctxt, nullptr, 0);
      status = type->encode(ctxt, value);
      if (status >= 0) {
         const size_t bits = rtxCtxtGetBitOffset(ctxt);
         std::printf("%s\n", hexText(ctxt->bufData, (bits + 7) / 8).c_str());
      } else {
         std::fprintf(stderr, "quorva: %s does not encode: %s\n", name.c_str(), statusName(status).c_str());
      }
   }
   type->print(ctxt, printName(*type).c_str(), value);
   const std::string text = session.takeText();
   std::fputs((isRadio(*type) ? withChannels(text) : text).c_str(), stdout);
   return status < 0 ? kFailed : kGood;
}

static int explainType(const std::string& name) {
   const QuorvaType* type = knownType(name);
   if (type == nullptr) return kFailed;
   if (const char* figure = quorvaExplain(name.c_str())) std::fputs(figure, stdout);
   return kGood;
}

struct Protocol {
   const char* name;
   const char* type; // or the radio channel
   const char* description;
};

static constexpr Protocol kProtocols[] = {{"eps", "TS24301Msg_PDU", "EPS NAS, TS 24.301"},
                                          {"5gs", "TS24501Msg_PDU", "5GS NAS, TS 24.501"},
                                          {"24008", "TS24008Msg_PDU", "MM, CC, GMM and SM, TS 24.008"},
                                          {"sms", "TS24011Msg_CP_PDU", "SMS control protocol, TS 24.011"},
                                          {"bcch", "bcch", "System information of GSM, TS 44.018"},
                                          {"ccch", "ccch", "Paging and assignments of GSM, TS 44.018"},
                                          {"dcch", "dcch", "Dedicated channels of GSM: TS 44.018 and other"},
                                          {"sacch", "sacch", "Slow associated channels of GSM, TS 44.018"}};

// A type by its name, or a radio channel.
static bool isKnown(const std::string& name) {
   return isRadioChannel(name) || quorvaFindType(name.c_str()) != nullptr;
}

// "147=eps,148=5gs": link types with what their frames hold, a protocol or a type.
static std::map<int, std::string> linksFrom(const std::string& text) {
   std::map<int, std::string> links;
   std::istringstream words(text);
   for (std::string word; std::getline(words, word, ',');) {
      const size_t equals = word.find('=');
      const int link = equals == 3 ? std::atoi(word.c_str()) : 0;
      if (!capture::isUserLink(link))
         throw CLI::ValidationError("--link", "'" + word + "' is not 147=NAME to 162=NAME");
      const std::string name = word.substr(equals + 1);
      const auto* protocol = std::find_if(std::begin(kProtocols), std::end(kProtocols),
                                          [&](const Protocol& each) { return each.name == name; });
      links[link] = protocol != std::end(kProtocols) ? protocol->type : name;
      if (!isKnown(links[link]))
         throw CLI::ValidationError("--link", "'" + name + "' is no protocol that decode has, and no type");
   }
   return links;
}

static Key keyOption(const std::string& text) {
   std::string fault;
   const auto key = keyFromHex(text, fault);
   if (!key) throw CLI::ValidationError("key", fault);
   return *key;
}

// An option for a key of an algorithm, "ia" or "ea" with its number, in place of the others.
static void addKey(CLI::App& decode, std::vector<CLI::Option*>& others, const std::string& use,
                   const std::string& kind, uint8_t number, std::optional<Key>& key, uint8_t& algorithm) {
   const std::string name = kind + std::to_string(number);
   std::string upper = name;
   for (char& letter : upper) letter = static_cast<char>(std::toupper(letter));
   const auto take = [&key, &algorithm, number](const std::string& text) {
      key = keyOption(text);
      algorithm = number;
   };
   CLI::Option* option = decode.add_option_function<std::string>("--e" + name + ",--n" + name, take,
                                                                 use + " messages by 128-E" + upper +
                                                                       " (128-N" + upper + ") with this key")
                               ->type_name("KEY");
   for (CLI::Option* other : others) option->excludes(other);
   others.push_back(option);
}

// On radio channels the octets tell the type: who has none yet has to name it.
static void addProtocols(CLI::App& command, std::string& type, bool channels = true) {
   CLI::Option_group* protocol = command.add_option_group("Protocol", "at most one; without it as --auto");
   protocol->require_option(0, 1);
   protocol->add_flag("--auto")->description("Go by the protocol discriminator of each message");
   for (const Protocol& each : kProtocols) {
      if (isRadioChannel(each.type) && !channels) continue;
      protocol->add_flag_callback(
            std::string("--") + each.name, [&type, name = each.type] { type = name; }, each.description);
   }
   protocol->add_option("--type", type, "A type by its name, see: quorva types")
         ->type_name("NAME")
         ->check([](const std::string& name) { return std::string(name.empty() ? "'' is no type" : ""); });
}

static void addSecurity(CLI::App& command, SecurityOptions& security) {
   command.add_flag_callback("--default-mode", [] { Session::mode = 0; })
         ->description("Go by what the library does by default, where that departs from the standards");
   command
         .add_option_function<unsigned>(
               "--release", [](unsigned release) { Session::release = static_cast<uint16_t>(release); },
               "Capabilities of GSM and GPRS are of this release, 0 to 31; R99 is 3, the newest 0")
         ->check(CLI::Range(0, 31)) // not 99, which is no number but a year
         ->type_name("N");
   Keys& keys = security.keys;
   CLI::Option* uplink = command.add_flag("--uplink", security.uplink, "The messages come from the terminal");
   command.add_flag("--downlink")
         ->description("The messages come from the network (the default)")
         ->excludes(uplink);
   std::vector<CLI::Option*> integrityKeys,
         cipherKeys{command.add_flag("--eea0,--nea0", keys.nullCipher,
                                     "Ciphered messages are by the null algorithm")};
   for (uint8_t number = 1; number <= 3; ++number) {
      addKey(command, integrityKeys, "Verify", "ia", number, keys.integrityKey, keys.integrityAlgorithm);
      addKey(command, cipherKeys, "Decipher", "ea", number, keys.cipherKey, keys.cipherAlgorithm);
   }
   command
         .add_option_function<uint64_t>(
               "--count", [&](uint64_t count) { keys.count = static_cast<uint32_t>(count); },
               "NAS COUNT of the first protected message")
         ->check(CLI::Range(uint64_t{0}, uint64_t{std::numeric_limits<uint32_t>::max()}))
         ->type_name("N");
   command
         .add_option_function<unsigned>(
               "--bearer", [&](unsigned bearer) { keys.bearer = static_cast<uint8_t>(bearer); },
               "BEARER of the security, 0 to 31")
         ->check(CLI::Range(0, 31))
         ->type_name("N");
   command
         .add_option_function<std::vector<std::string>>(
               "--keys",
               [&](const std::vector<std::string>& files) {
                  std::string fault;
                  for (const std::string& file : files)
                     if (!readKeys(file, security.subscribers, fault)) throw std::runtime_error(fault);
               },
               "Keys of subscribers, a line each: NAME eia2=KEY eea2=KEY")
         ->type_name("FILE")
         ->allow_extra_args(false);
}

static void addRaw(CLI::App& command) {
   command.add_flag_callback("--raw", [] { Session::reading = 0; })
         ->description("Show texts octet by octet as they came, and numbers without their names");
}

// The one message that is given by an argument: octets, or a file.
static Message onlyMessage(const std::string& argument) {
   InputOptions input;
   input.arguments = {argument};
   Message only;
   size_t count = 0;
   readMessages(input, [&](const Message& message) {
      if (count++ == 0) only = message;
   });
   only.frame = nullptr;
   only.finding = nullptr;
   if (count != 1) only = {argument, 0, {}, count == 0 ? "no message" : "more than one message"};
   return only;
}

static int run(int argc, char** argv) {
   CLI::App app{"Decodes 3GPP Layer-3 messages and shows the types that it knows."};
   app.name("quorva");
   app.set_version_flag("--version", std::string(rtxGetLibInfo()));
   app.require_subcommand(1);

   DecodeOptions options;
   InputOptions input;
   CLI::App* decode = app.add_subcommand(
         "decode", "Decode messages from captures, dumps and hexadecimal text, and print them");
   decode->add_option(
               "input", input.arguments,
               "HEX, octets of a message; FILE, a capture, dumps with offsets, or one message a line, # "
               "begins a comment; - or nothing: standard input")
         ->type_name("HEX|FILE|-");
   decode->add_option("--binary", input.binaryFiles, "The octets of this file are a message; may be repeated")
         ->type_name("FILE")
         ->allow_extra_args(false);
   decode->add_option_function<std::string>(
               "--frames",
               [&](const std::string& text) {
                  if (!input.frames.parse(text))
                     throw CLI::ValidationError("--frames",
                                                "'" + text + "' is not like 12, 12-40, 100- or 1,5-7");
               },
               "Of a capture show these frames only")
         ->type_name("RANGES");
   decode->add_option_function<std::string>(
               "--link", [&](const std::string& text) { input.links = linksFrom(text); },
               "What frames of user link types hold, like 147=eps,148=5gs; without it each goes by its first "
               "octet")
         ->type_name("LINK=PROTOCOL,...");
   addProtocols(*decode, options.type);
   decode->add_flag("--status", options.status, "Show the status of good messages too");
   CLI::Option* quiet =
         decode->add_flag("--quiet", options.quiet, "Show nothing but the status of each message");
   CLI::Option* summary =
         decode->add_flag("--summary", options.summary, "Show a line a message")->excludes(quiet);
   decode->add_flag("--trace", options.trace, "List each message bit by bit")
         ->excludes(quiet)
         ->excludes(summary);
   decode->add_option("--html", options.htmlFile, "Write a page with the bits of the message")
         ->type_name("FILE");
   CLI::Option* json =
         decode->add_flag("--json", options.json, "Show an object a message, on a line of its own")
               ->excludes(quiet)
               ->excludes(summary);
   decode->add_option("--get", options.paths,
                      "Show the texts of these fields, a line a message with tabs between them; **.NAME "
                      "looks at any depth; "
                      "may be repeated")
         ->type_name("PATH")
         ->allow_extra_args(false)
         ->excludes(quiet)
         ->excludes(summary)
         ->excludes(json);
   decode->add_flag("--annotate", options.annotate, "Show octets with their meaning beside them")
         ->excludes(quiet)
         ->excludes(summary)
         ->excludes(json)
         ->excludes("--get");
   decode->add_option("--annotate-html", options.annotationFile,
                      "Write a page where octets and fields point at each other")
         ->type_name("FILE");
   decode->add_flag("--rp", options.openRP, "Open short messages: the user data of CP-DATA as RP message");
   addRaw(*decode);
   addSecurity(*decode, options.security);

   EncodeOptions encoding;
   CLI::App* encode = app.add_subcommand("encode", "Encode records from JSON, as decode --json writes them");
   encode->add_option("input", encoding.file, "FILE of JSON values; - or nothing: standard input")
         ->type_name("FILE|-");
   addProtocols(*encode, encoding.type, false);
   bool hex = false;
   CLI::Option* asHex =
         encode->add_flag("--hex", hex, "Write a line of hexadecimal digits a message (the default)");
   encode->add_flag("--binary", encoding.binary, "Write the octets themselves")->excludes(asHex);
   addSecurity(*encode, encoding.security);

   DecodeOptions compared;
   std::string sides[2];
   CLI::App* diff = app.add_subcommand("diff", "Show in which fields two messages differ");
   diff->add_option("first", sides[0], "HEX, octets of a message; FILE with one")
         ->required()
         ->type_name("HEX|FILE");
   diff->add_option("second", sides[1], "The other one")->required()->type_name("HEX|FILE");
   addProtocols(*diff, compared.type);
   addRaw(*diff);
   addSecurity(*diff, compared.security);

   std::string pattern = "*";
   CLI::App* types = app.add_subcommand("types", "List the types");
   types->add_option("pattern", pattern, "Shell pattern, or a part of the name")->type_name("PATTERN");
   std::string cdrFile;
   bool cdrOctets = false;
   CLI::App* cdr = app.add_subcommand("cdr", "List the records of a charging file, TS 32.297");
   cdr->add_option("file", cdrFile, "The file; - is standard input")->required()->type_name("FILE|-");
   cdr->add_flag("--octets", cdrOctets, "Show the octets of each record");
   std::string name;
   CLI::App* sample = app.add_subcommand("sample", "Show a sample value: its octets and its text");
   sample->add_option("type", name, "Name of the type")->required()->type_name("TYPE");
   addRaw(*sample);
   CLI::App* explain = app.add_subcommand("explain", "Draw a type as the octets on the wire");
   explain->add_option("type", name, "Name of the type")->required()->type_name("TYPE");
   std::string statusSought;
   CLI::App* status = app.add_subcommand("status", "Tell what a status means, and what to do");
   status->add_option("status", statusSought, "Its number or name; without it all are listed")
         ->type_name("N|NAME");

   try {
      app.parse(argc, argv);
   } catch (const CLI::ParseError& error) {
      return app.exit(error) == 0 ? kGood : kUsage;
   }
   if (types->parsed()) return listTypes(pattern);
   if (encode->parsed()) return encodeFile(encoding) ? kGood : kFailed;
   if (diff->parsed()) return showDifferences(compared, onlyMessage(sides[0]), onlyMessage(sides[1]));
   if (sample->parsed()) return showSample(name);
   if (cdr->parsed()) return listRecords(cdrFile, cdrOctets) ? kGood : kFailed;
   if (explain->parsed()) return explainType(name);
   if (status->parsed()) return showStatuses(statusSought) ? kGood : kFailed;
   if (!options.type.empty() && !isRadioChannel(options.type) && knownType(options.type) == nullptr)
      return kFailed;
   // To a file or a pipe in big pieces.
   if (isatty(STDOUT_FILENO) == 0) std::setvbuf(stdout, nullptr, _IOFBF, size_t{1} << 16);
   Decoding decoding(options);
   size_t count = 0;
   bool good = true;
   readMessages(input, [&](const Message& message) {
      count += message.wanted ? 1 : 0;
      good = decoding.decode(message) && good;
   });
   if (count > 0) return good ? kGood : kFailed;
   std::fputs("quorva: no message\n", stderr);
   return kFailed;
}

} // namespace quorva::tool

int main(int argc, char** argv) {
   try {
      const int code = quorva::tool::run(argc, argv);
      if (std::fflush(stdout) == 0) return code;
      std::fputs("quorva: can't write to standard output\n", stderr);
   } catch (const std::exception& error) {
      std::fprintf(stderr, "quorva: %s\n", error.what());
   }
   return quorva::tool::kFailed;
}
