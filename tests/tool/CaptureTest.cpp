// quorva decode on captures: each carrier, what is cut or in fragments, keys.

#include "tool/captures.h"
#include "tool/program.h"

#include "quorva/registry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>

using namespace quorva_test;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

static const Bytes kIdentity = bytes("075501");     // Identity Request of EPS
static const Bytes kIdentity5G = bytes("7e005b01"); // and of 5GS
static const Bytes kDetach =
      bytes("0745090bf600f110000101 1a984cf8"); // it has another form in each direction

// Bearer items: identity, quality of service (with bit rates or not), tunnel, message.
static const Bytes kQos = bytes("00093c"), kTunnel = bytes("0f80c000020300000001");
static const Bytes kQosWithRates = bytes("40013c 080100 0005 800102030405 0007");
static const Bytes kTransfer = open(bytes("000000"));

static Bytes gsmtapFrame(bool uplink, const Bytes& message) {
   return ethernet(ipv4(17, udp(gsmtap(18, uplink, 0, message))));
}

static Bytes s1apFrame(size_t procedure, const std::vector<Bytes>& fields) {
   return ethernet(ipv4(132, sctp(18, applicationPdu(procedure, fields))));
}

static Bytes ngapFrame(size_t procedure, const std::vector<Bytes>& fields) {
   return ethernet(ipv4(132, sctp(60, applicationPdu(procedure, fields))));
}

static Bytes um(size_t channel, bool uplink, const char* hex) {
   return ethernet(ipv4(17, udp(gsmtap(1, uplink, channel, bytes(hex)))));
}

static Bytes exported(const std::string& tags, const Bytes& data) {
   return bytes(tags) + bytes("00000000") + data;
}

struct Carried {
   size_t linkType;
   Bytes frame;
   Bytes message;
   std::string head; // of its line behind the time
};
static const std::string kDown = "downlink  192.0.2.1 > 192.0.2.2  ", kUp = "uplink  192.0.2.1 > 192.0.2.2  ";

static std::vector<Carried> everyCarrier() {
   const Bytes tap = udp(gsmtap(18, false, 0, kIdentity));
   const Bytes dtap = bytes("051801");
   return {
         {147, kIdentity, kIdentity, "-  -  USER0"},
         {162, kIdentity5G, kIdentity5G, "-  -  USER15"},
         {252, exported("000c00086e61732d65707300", kIdentity), kIdentity, "-  -  exported NAS-EPS"},
         {252,
          exported("000c00086e61732d35677300 001400040a000001 001500040a000002 0023000400000001",
                   kIdentity5G),
          kIdentity5G, "downlink  10.0.0.1 > 10.0.0.2  exported NAS-5GS"},
         {252,
          exported("000e0009736374702e7070690000200004000000 3c",
                   applicationPdu(4, {field(38, open(kIdentity5G))})),
          kIdentity5G, "downlink  -  NGAP"},
         {1, ethernet(ipv4(17, tap)), kIdentity, kDown + "GSMTAP LTE NAS"},
         {1, ethernet(ipv4(17, tap), "81000005 0800"), kIdentity, kDown + "GSMTAP LTE NAS"},
         {1, ethernet(ipv6(17, tap), "88a80005 81000006 86dd"), kIdentity,
          "downlink  2001:db8::1 > 2001:db8::2  GSMTAP LTE NAS"},
         {1, ethernet(ipv6(0, bytes("1100010400000000") + tap), "86dd"), kIdentity,
          "downlink  2001:db8::1 > 2001:db8::2  GSMTAP LTE NAS"},
         {113, bytes("0000000100060200000000010000 0800") + ipv4(17, tap), kIdentity,
          kDown + "GSMTAP LTE NAS"},
         {276, bytes("0800 0000 00000001 0001 00 06 0200000000010000") + ipv4(17, tap), kIdentity,
          kDown + "GSMTAP LTE NAS"},
         {0, bytes("02000000") + ipv4(17, tap), kIdentity, kDown + "GSMTAP LTE NAS"},
         {101, ipv4(17, tap), kIdentity, kDown + "GSMTAP LTE NAS"},
         {229, ipv6(17, tap), kIdentity, "downlink  2001:db8::1 > 2001:db8::2  GSMTAP LTE NAS"},
         {1, gsmtapFrame(true, kDetach), kDetach, kUp + "GSMTAP LTE NAS"},
         {1, gsmtapFrame(false, kDetach), kDetach, kDown + "GSMTAP LTE NAS"},
         {1, ethernet(ipv4(17, udp(gsmtap(2, true, 0, dtap)))), dtap, kUp + "GSMTAP Abis"},
         // SDCCH/8: information frames, that on the slow channel of a short message.
         {1, ethernet(ipv4(17, udp(gsmtap(1, false, 8, bytes("03000d0518012b2b"))))), dtap,
          kDown + "GSMTAP Um SDCCH/8"},
         {1, ethernet(ipv4(17, udp(gsmtap(1, true, 0x88, bytes("00000d000919042b2b"))))), bytes("1904"),
          kUp + "GSMTAP Um SDCCH/8"},
         // Radio resources: a block with rest octets, dedicated channels both ways, the slow channel, short
         // headers.
         {1, um(1, false, "49061babcd00f1101234490300656500790000392b2b2b"),
          bytes("49061babcd00f1101234490300656500790000392b2b2b"), kDown + "GSMTAP Um BCCH"},
         {1, um(8, true, "013f3106270003505886041a3254762b2b"), bytes("06270003505886041a325476"),
          kUp + "GSMTAP Um SDCCH/8"},
         {1, um(9, false, "03030d062d012b2b"), bytes("062d01"), kDown + "GSMTAP Um FACCH/F"},
         {1, um(0x88, false, "050003032d061eabcd00f110123465ff2b2b2b2b2b2b2b"),
          bytes("2d061eabcd00f110123465ff2b2b2b2b2b2b2b"), kDown + "GSMTAP Um SDCCH/8"},
         {1, um(0x88, true, "0500010349061527a7019639aa22d301316940b0904142"),
          bytes("061527a7019639aa22d301316940b0904142"), kUp + "GSMTAP Um SDCCH/8"},
         {1, um(0x88, true, "050010080000000000000000000000000000000000002b"),
          bytes("10080000000000000000000000000000000000002b"), kUp + "GSMTAP Um SDCCH/8"},
         {1, s1apFrame(12, {field(8, bytes("0001")), field(26, open(kDetach))}), kDetach, kUp + "S1AP"},
         {248, sctp(18u << 24, applicationPdu(11, {field(26, open(kDetach))})), kDetach, "downlink  -  S1AP"},
         // Without a payload number, by the port; in a chunk of RFC 8260; behind so much that lengths are in
         // fragments.
         {1, ethernet(ipv4(132, sctp(0, applicationPdu(16, {field(26, open(kDetach))})))), kDetach,
          kDown + "S1AP"},
         {1,
          ethernet(ipv4(132, bytes("8e3c8e3c0000000000000000 40030023 00000001 00000000 00000000 00000012") +
                                   applicationPdu(11, {field(26, open(kIdentity))}) + bytes("00"))),
          kIdentity, kDown + "S1AP"},
         {1, s1apFrame(11, {field(999, Bytes(40000, 'x')), field(26, open(kIdentity))}), kIdentity,
          kDown + "S1AP"},
         {1,
          s1apFrame(9, {field(24, bytes("00") +
                                        field(52, bytes("45") + kQosWithRates + kTunnel + open(kIdentity)))}),
          kIdentity, kDown + "S1AP"},
         {1,
          s1apFrame(5, {field(16, bytes("00") + field(17, bytes("0a") + kQos + kTunnel + open(kIdentity)))}),
          kIdentity, kDown + "S1AP"},
         {1, s1apFrame(6, {field(30, bytes("00") + field(36, bytes("0a") + kQos + open(kIdentity)))}),
          kIdentity, kDown + "S1AP"},
         {1, ngapFrame(46, {field(85, bytes("0001")), field(38, open(kIdentity5G))}), kIdentity5G,
          kUp + "NGAP"},
         {1,
          ngapFrame(14, {field(71, bytes("00 4001") + open(kIdentity5G) + bytes("4020 000001") + kTransfer)}),
          kIdentity5G, kDown + "NGAP"},
         {1, ngapFrame(29, {field(74, bytes("00 4001") + open(kIdentity5G) + bytes("0020") + kTransfer)}),
          kIdentity5G, kDown + "NGAP"},
         {1, ngapFrame(26, {field(64, bytes("00 4001") + open(kIdentity5G) + kTransfer)}), kIdentity5G,
          kDown + "NGAP"},
   };
}

TEST(Capture, EveryCarrierEndsInTheSameText) {
   const Folder folder;
   for (const Carried& each : everyCarrier()) {
      const std::string file = folder.write("x.pcap", capture(each.linkType, {each.frame}));
      const std::string message = quorva::test::hexFromOctets({each.message.begin(), each.message.end()});
      const std::string head = "frame 1  2023-11-14T22:13:20.000000Z  " + each.head + "\n";
      const Result bare = run(std::string("decode ") +
                              (head.find("uplink") != std::string::npos ? "--uplink " : "") + message);
      const Result result = run("decode " + file);
      EXPECT_EQ(result.text, head + bare.text);
      EXPECT_EQ(result.code, bare.code) << head;
   }
}

// The same frames, a capture a link type, hold the same messages for an independent dissector.
TEST(Capture, ADissectorFindsTheMessagesToo) {
   if (std::system("tshark --version >/dev/null 2>&1") != 0) GTEST_SKIP() << "tshark is not installed";
   const Folder folder;
   std::map<size_t, std::vector<Bytes>> frames;
   // It does not look behind short headers of the data link.
   for (const Carried& each : everyCarrier())
      if (each.message[0] != 0x10) frames[each.linkType].push_back(each.frame);
   for (const auto& [linkType, each] : frames) {
      const std::string file = folder.write("x.pcap", capture(linkType, each));
      const std::string command =
            "tshark -o 'uat:user_dlts:\"User 0 (DLT=147)\",\"nas-eps\",\"0\",\"\",\"0\",\"\"' "
            "-o 'uat:user_dlts:\"User 15 (DLT=162)\",\"nas-5gs\",\"0\",\"\",\"0\",\"\"' "
            "-Y 'nas-eps || nas-5gs || gsm_a.dtap || gsm_a.ccch || gsm_a.sacch' -r " +
            file + " 2>/dev/null >" + folder.file("found");
      EXPECT_EQ(std::system(command.c_str()), 0);
      const std::string found = Folder::read(folder.file("found"));
      EXPECT_EQ(static_cast<size_t>(std::count(found.begin(), found.end(), '\n')), each.size())
            << "link type " << linkType << '\n'
            << found;
   }
}

// The same capture as pcapng.
static Bytes captureNg(size_t linkType, const std::vector<Bytes>& frames, size_t secondLink = 0) {
   const auto block = [](size_t type, const Bytes& body) {
      const Bytes length = number(4, 12 + body.size());
      return number(4, type) + length + body + length;
   };
   Bytes file = block(0x0A0D0D0A, bytes("1a2b3c4d00010000ffffffffffffffff"));
   file += block(1, number(2, linkType) + bytes("000000040000"));
   if (secondLink != 0) file += block(1, number(2, secondLink) + bytes("000000040000"));
   for (const Bytes& frame : frames)
      file += block(6, bytes("00000000 00060a24 181e4000") + number(4, frame.size()) +
                             number(4, frame.size()) + frame + Bytes(-frame.size() & 3, '\0'));
   return file;
}

TEST(Capture, CutAnywhereItEndsWithALine) {
   const Folder folder;
   const std::vector<Bytes> frames = {kIdentity, kIdentity5G};
   const Bytes whole = captureNg(147, frames);
   EXPECT_EQ(run("decode --quiet " + folder.write("ng", whole)).text,
             "status: RTX_OK (0)\nstatus: RTX_OK (0)\n");
   const struct {
      Bytes octets;
      std::vector<size_t> borders; // where a cut leaves a whole capture with a frame
   } cases[] = {{capture(147, frames), {24 + 16 + 3}}, {whole, {28 + 20 + 36}}};
   for (const auto& each : cases) {
      for (size_t length = 0; length < each.octets.size(); ++length) {
         const Result result = run("decode --quiet " + folder.write("cut", each.octets.substr(0, length)));
         if (std::count(each.borders.begin(), each.borders.end(), length) != 0) {
            EXPECT_EQ(result.code, 0) << length;
            continue;
         }
         EXPECT_EQ(result.code, 1) << length;
         EXPECT_THAT(result.text, HasSubstr("quorva: ")) << length;
         const bool within = length > each.borders[0];
         EXPECT_EQ(result.text.find("breaks off behind frame 1: ") != std::string::npos, within) << length;
         EXPECT_THAT(result.text, EndsWith("\n")) << length;
      }
   }
}

// Frames with something that looks like a message, but is not to be had; and those with nothing.
TEST(Capture, ReportsWhatItCanNotRead) {
   const Folder folder;
   const Bytes pdu = applicationPdu(11, {field(26, open(kIdentity))});
   const Bytes tap = udp(gsmtap(18, false, 0, kIdentity));
   const struct {
      Bytes frame;
      const char* line; // null: it is passed over
   } cases[] = {
         {ethernet(ipv4(132, sctp(18, pdu), 0x2000)),
          "IP fragment, offset 0: fragments are not put together"},
         {ethernet(ipv4(132, kIdentity, 0x0010)), "IP fragment, offset 128: fragments are not put together"},
         {ethernet(ipv4(17, tap, 0x2000)), "IP fragment, offset 0"},
         {ethernet(ipv4(17, kIdentity, 0x0010)), nullptr}, // of any datagram
         {ethernet(ipv6(44, bytes("8400000100000001") + sctp(18, pdu)), "86dd"), "IP fragment, offset 0"},
         {ethernet(ipv4(132, sctp(18, pdu, 2))), "SCTP fragment: fragments are not put together"},
         {ethernet(ipv4(132, sctp(18, pdu, 1))), "SCTP fragment"},
         {ethernet(ipv4(132, sctp(46, pdu))), nullptr}, // Diameter
         {ethernet(ipv4(132, sctp(18, pdu))).substr(0, 70), "cut short when it was captured: "},
         {ethernet(ipv4(17, tap)).substr(0, 60), "cut short when it was captured: 26 of 27 octets"},
         {ethernet(ipv4(132, sctp(18, pdu.substr(0, 9)))), "S1AP: its elements don't end within the PDU"},
         {ethernet(ipv4(132, sctp(18, bytes("2000") + pdu.substr(2)))), nullptr}, // an answer
         {um(8, false, "03020f0518012b2b"), nullptr}, // a segment, the next but one to it
         {um(8, false, "0306090519012b2b"), "LAPDm segment: one ahead of it is missing"},
         {um(2, false, "0303012b2b"), nullptr},     // a fill frame
         {um(0x88, true, "000000000000"), nullptr}, // a block of zeros
         {um(8, false, "0361010627"), nullptr},     // an acknowledgement without a message
         {um(3, true, "00"), nullptr},              // a random access burst
   };
   std::vector<Bytes> frames;
   for (const auto& each : cases) frames.push_back(each.frame);
   const Result result = run("decode --summary " + folder.write("x", capture(1, frames)));
   EXPECT_EQ(result.code, 1);
   for (size_t i = 0; i < frames.size(); ++i) {
      const std::string frame = "frame " + std::to_string(i + 1) + "(:|  )[^\n]*";
      const std::string line = cases[i].line == nullptr ? "" : cases[i].line;
      EXPECT_THAT(result.text,
                  testing::Conditional(cases[i].line == nullptr, Not(testing::ContainsRegex(frame)),
                                       testing::ContainsRegex(frame + line)));
   }
}

TEST(Capture, RefusesWithALine) {
   const Folder folder;
   const std::vector<Bytes> one = {kIdentity};
   const struct {
      Bytes octets;
      const char* line;
   } cases[] = {{bytes("1f8b0800000000000003"), "compressed; try: gzip -dc"},
                {captureNg(147, {kIdentity}, 148),
                 "standard input: can't be read as a capture: an interface has a type 148 different"},
                {capture(105, one), "no carrier of messages is known on link type 105 (IEEE802_11)"},
                {capture(1, one), "no message"},
                {bytes("a1b2c3d400630004") + Bytes(16, '\0'), "can't be read as a capture: "}};
   for (const auto& each : cases) {
      const Result result = run("decode < " + folder.write("x", each.octets));
      EXPECT_EQ(result.code, 1);
      EXPECT_THAT(result.text, HasSubstr(each.line));
   }
}

TEST(Capture, ShowsTheFramesAskedFor) {
   const Folder folder;
   const std::string file = folder.write("x", capture(148, std::vector<Bytes>(9, kIdentity5G)));
   const struct {
      const char* ranges;
      const char* frames;
   } cases[] = {{"3", "3"}, {"2-3", "23"}, {"-2", "12"}, {"8-", "89"}, {"1,4-5,9", "1459"}, {"10-", ""}};
   for (const auto& each : cases) {
      const Result result = run(std::string("decode --summary --frames ") + each.ranges + " " + file);
      std::string frames;
      for (size_t at = 0; (at = result.text.find("frame ", at)) != std::string::npos; ++at)
         frames += result.text[at + 6];
      EXPECT_EQ(frames, each.frames);
      EXPECT_EQ(result.code, frames.empty() ? 1 : 0);
   }
   for (const char* ranges : {"0", "3-2", "x", "1,", "-", "1-2-3"})
      EXPECT_EQ(run(std::string("decode --frames ") + ranges + " " + file).code, 2) << ranges;
   EXPECT_EQ(run("decode --summary --frames 5 " + file).text,
             "frame 5  2023-11-14T22:13:21.000000Z  -  -  USER1  IdentityRequest5G\n");
}

TEST(Capture, ALinkIsWhatTheOptionSays) {
   const Folder folder;
   // A message of TS 24.008 without its neighbours' octets could be one of EPS.
   const std::string file = folder.write("x", capture(150, {kIdentity, bytes("051801")}));
   EXPECT_EQ(run("decode --summary --link 147=5gs,150=24008 " + file).text,
             "frame 1  2023-11-14T22:13:20.000000Z  -  -  USER3  TS24008Msg_PDU  RTX_E_BAD_CHOICE (-9)\n"
             "frame 2  2023-11-14T22:13:20.250000Z  -  -  USER3  IdentityRequest\n");
   for (const char* link : {"150", "146=eps", "150=nonsense", "150=eps,,"})
      EXPECT_EQ(run(std::string("decode --link ") + link + " " + file).code, 2) << link;
}

// Chunks in a packet, and bearers in a list.
TEST(Capture, FindsAllMessagesOfAFrame) {
   const Folder folder;
   const auto bearer = [](const Bytes& message) {
      return field(17, bytes("0a") + kQos + kTunnel + open(message));
   };
   const Bytes setup =
         applicationPdu(5, {field(16, bytes("01") + bearer(kIdentity) + bearer(bytes("0746")))});
   const Bytes acknowledgement = bytes("03000010 00000001 00001000 00000000");
   const Bytes packet = sctp(18, setup).insert(12, acknowledgement) +
                        sctp(18, applicationPdu(13, {field(26, open(kDetach))})).substr(12);
   EXPECT_EQ(run("decode --summary " + folder.write("x", capture(248, {packet}))).text,
             "frame 1  2023-11-14T22:13:20.000000Z  downlink  -  S1AP  IdentReq\n"
             "frame 1  2023-11-14T22:13:20.000000Z  downlink  -  S1AP  DetachAccept\n"
             "frame 1  2023-11-14T22:13:20.000000Z  uplink  -  S1AP  DetachRequest\n");
}

// Nanoseconds where a capture has them; both octet orders.
TEST(Capture, ReadsNanoseconds) {
   const Folder folder;
   Bytes file = capture(147, {kIdentity});
   file.replace(0, 4, bytes("a1b23c4d"));
   file.replace(28, 4, number(4, 123456789));
   EXPECT_THAT(run("decode " + folder.write("x", file)).text,
               StartsWith("frame 1  2023-11-14T22:13:20.123456789Z  "));
}

// All captured messages whose keys are known, of several terminals, in one capture: keys are found by the
// codes, COUNT by the sequence numbers in each direction.
static const auto kVectors = quorva::test::loadVectors(QUORVA_TEST_DATA "/vectors/nas-security.txt");

struct SecuredCapture {
   Bytes file;
   std::vector<const quorva::test::Vector*> vectors; // of its frames
   std::string keys;                                 // of all of them
   std::map<std::string, std::string> names;         // of their subscribers, by key
};

static SecuredCapture securedCapture() {
   SecuredCapture secured;
   std::vector<Bytes> frames;
   for (const auto& vector : kVectors) {
      // Names in UCS-2 don't decode, whatever the message came in.
      if (!vector.has("integrity-key") ||
          vector.name.find("configuration-update-command") != std::string::npos)
         continue;
      const std::string key = vector.fact("integrity-key");
      const auto [name, isNew] = secured.names.emplace(key, "sim" + std::to_string(secured.names.size()));
      if (isNew)
         secured.keys += name->second + " eia2=" + key + " eea2=" + vector.fact("cipher-key") + "  # found\n";
      const bool uplink = vector.number("direction") == 0, fiveG = vector.fact("family") == "5gs";
      const Bytes message(vector.octets.begin(), vector.octets.end());
      frames.push_back(fiveG ? ngapFrame(uplink ? 46 : 4, {field(85, number(2, secured.names.size())),
                                                           field(38, open(message))})
                             : s1apFrame(uplink ? 13 : 11, {field(26, open(message))}));
      secured.vectors.push_back(&vector);
   }
   secured.file = capture(1, frames);
   return secured;
}

static std::vector<std::string> linesOf(const std::string& text) {
   std::vector<std::string> lines;
   std::istringstream in(text);
   for (std::string line; std::getline(in, line);) lines.push_back(line);
   return lines;
}

TEST(Capture, KeysOfAFileAreFoundByTheCodes) {
   const Folder folder;
   const SecuredCapture secured = securedCapture();
   const std::string file = folder.write("x", secured.file);
   // Somebody else's keys stand first.
   const std::string keys =
         folder.write("keys", "other nia2=00112233445566778899aabbccddeeff count=9\n\n" + secured.keys);
   const Result result = run("decode --summary --keys " + keys + " " + file);
   const auto lines = linesOf(result.text);
   ASSERT_EQ(lines.size(), secured.vectors.size()) << result.text;
   EXPECT_GT(lines.size(), 20u);
   EXPECT_EQ(result.code, 0) << result.text;
   for (size_t i = 0; i < lines.size(); ++i) {
      const auto& vector = *secured.vectors[i];
      EXPECT_THAT(lines[i], HasSubstr("  MAC right, COUNT " + std::to_string(vector.number("count")) +
                                      ", keys of " + secured.names.at(vector.fact("integrity-key"))));
   }
   // Frames that are not shown count as well, and of one terminal the keys are found once.
   EXPECT_EQ(run("decode --summary --frames 5- --keys " + keys + " " + file).text,
             result.text.substr(result.text.find("frame 5 ")));

   // The text is that of the plain message; what is null-ciphered is told so.
   const auto bodyOf = [](const std::string& text) {
      return text.substr(std::min(text.find("\n   msgType ="), text.size()));
   };
   for (size_t i = 0; i < secured.vectors.size(); ++i) {
      const auto& vector = *secured.vectors[i];
      if (!vector.has("plain")) continue;
      const std::string direction = vector.number("direction") == 0 ? "--uplink " : "";
      const Result one = run("decode --frames " + std::to_string(i + 1) + " --keys " + keys + " " + file);
      EXPECT_EQ(bodyOf(one.text), bodyOf(run("decode " + direction + vector.fact("plain")).text))
            << vector.name;
      const bool null =
            (vector.octets[vector.octets[0] == 0x7E ? 1 : 0] >> (vector.octets[0] == 0x7E ? 0 : 4) & 1) == 0;
      EXPECT_EQ(one.text.find("null-ciphered\n") != std::string::npos,
                null && vector.number("cipher-algorithm") == 0)
            << one.text;
   }
}

// One ciphered message, one by the null algorithm, an open one: without a key, with some, with wrong ones.
TEST(Capture, TellsHowTheSecurityStands) {
   const Folder folder;
   const auto find = [](const std::string& name) {
      for (const auto& vector : kVectors)
         if (vector.name == name) return &vector;
      throw std::out_of_range(name);
   };
   const auto* ciphered = find("sec-eps-detach-request-2-eea2");
   const auto* null = find("sec-eps-detach-request-1");
   const auto* fiveG = find("sec-5gs-registration-complete-1-eea2");
   std::vector<Bytes> frames;
   for (const auto* each : {ciphered, null, fiveG})
      frames.push_back(each == fiveG
                             ? ngapFrame(46, {field(38, open({each->octets.begin(), each->octets.end()}))})
                             : s1apFrame(13, {field(26, open({each->octets.begin(), each->octets.end()}))}));
   const std::string file = folder.write("x", capture(1, frames));
   const std::string eia = " --eia2 " + null->fact("integrity-key"),
                     eea = " --eea2 " + null->fact("cipher-key");
   const std::string wrong = " --eia2 00112233445566778899aabbccddeeff";
   const struct {
      std::string options;
      const char* lines[3]; // what stands behind the carrier
   } cases[] = {
         {"",
          {"protected  RTX_E_NO_SECURITY (-71)  MAC not checked, ciphered: opened by --eea2 KEY or --keys "
           "FILE, by --eea0 if with the null algorithm",
           "DetachRequest  MAC not checked, taken as null-ciphered",
           "protected  RTX_E_NO_SECURITY (-71)  MAC not checked, ciphered: opened by --nea2 KEY or --keys "
           "FILE, by --nea0 if with the null algorithm"}},
         {eia,
          {"protected  RTX_E_NO_SECURITY (-71)  MAC right, COUNT 3, ciphered: ",
           "DetachRequest  MAC right, COUNT 3, taken as null-ciphered",
           "RTX_E_NO_SECURITY (-71)  MAC wrong"}},
         {eea,
          {"DetachRequest  MAC not checked, COUNT 3",
           "DetachRequest  MAC not checked, COUNT 3, taken as null-", "BAD"}},
         {eia + eea,
          {"DetachRequest  MAC right, COUNT 3", "DetachRequest  MAC right, COUNT 3, taken as null-ciphered",
           "MAC wrong"}},
         {eia + " --eea0", {"MAC right, COUNT 3", "DetachRequest  MAC right, COUNT 3", "RTX_E_"}},
         {wrong + eea,
          {"DetachRequest  RTX_E_MAC_MISMATCH (-70)  MAC wrong, COUNT 3",
           "DetachRequest  RTX_E_MAC_MISMATCH (-70)  MAC wrong, COUNT 3, taken as null-ciphered",
           "MAC wrong"}},
   };
   for (const auto& each : cases) {
      const Result result = run("decode --summary" + each.options + " " + file);
      const auto lines = linesOf(result.text);
      ASSERT_EQ(lines.size(), 3u) << result.text;
      for (size_t i = 0; i < 3; ++i) EXPECT_THAT(lines[i], HasSubstr(each.lines[i])) << each.options;
      EXPECT_EQ(result.code, 1) << each.options;
   }
   // Below the head line in the text; nothing of a wrong code there.
   EXPECT_THAT(run("decode --frames 2 " + file).text,
               testing::MatchesRegex(
                     "frame 2  [^\n]*  S1AP\n   MAC not checked, taken as null-ciphered\nPDU \\{\n(.|\n)*"));
   EXPECT_EQ(run("decode --quiet " + file).text,
             "status: RTX_E_NO_SECURITY (-71)\nstatus: RTX_OK (0)\nstatus: RTX_E_NO_SECURITY (-71)\n");
}

// The algorithm that a Security Mode Command of the same connection selects.
TEST(Capture, ASecurityModeCommandTellsTheAlgorithm) {
   const Folder folder;
   const auto frame = [](size_t procedure, const char* terminal, const std::string& message) {
      return s1apFrame(procedure, {field(8, bytes(terminal)), field(26, open(bytes(message)))});
   };
   const auto command = [](const char* algorithms) {
      return "371111111100075d" + std::string(algorithms) + "0002e0e0";
   };
   const std::string ciphered = "272222222201 a1b2c3d4e5f6", null = "272222222201 0746";
   const struct {
      std::vector<Bytes> frames;
      const char* remark;
   } cases[] = {
         {{frame(11, "0001", command("02")), frame(13, "0001", null)},
          "DetachAccept  MAC not checked, null-ciphered\n"},
         {{frame(11, "0001", command("12")), frame(13, "0001", ciphered)},
          "MAC not checked, ciphered: opened by --eea1 KEY or --keys FILE\n"},
         {{frame(11, "0001", command("42")), frame(13, "0001", ciphered)},
          "MAC not checked, ciphered by EEA4, which the library does not have\n"},
         {{frame(11, "0001", command("22")), frame(13, "0001", ciphered)},
          "opened by --eea2 KEY or --keys FILE\n"},
         {{frame(11, "0001", command("12")), frame(13, "0002", ciphered)},
          "by --eea0 if with the null algorithm\n"},
         {{frame(11, "0001", command("12")), frame(13, "0001", null)},
          "DetachAccept  MAC not checked, taken as null-"},
   };
   for (const auto& each : cases)
      EXPECT_THAT(run("decode --summary --frames 2 " + folder.write("x", capture(1, each.frames))).text,
                  HasSubstr(each.remark));
}

// A capture that begins amid a connection, a message that was captured twice, one that is lost.
TEST(Capture, CountFollowsTheSequenceNumbersOfEachDirection) {
   const Folder folder;
   const auto* vector = &kVectors.front();
   for (const auto& each : kVectors)
      if (each.name == "sec-eps-detach-request-2-eea2") vector = &each;
   const Bytes message(vector->octets.begin(), vector->octets.end());
   const std::vector<Bytes> frames(2, s1apFrame(13, {field(26, open(message))}));
   const std::string file = folder.write("x", capture(1, frames));
   const std::string options = "decode --summary --eea2 " + vector->fact("cipher-key") + " ";
   // The code alone tells COUNT; without it a message of the same number is the same message.
   for (const char* count : {"", "--count 3 ", "--count 1 "}) {
      const Result result = run(options + count + file);
      EXPECT_EQ(result.code, 0) << result.text;
      EXPECT_THAT(result.text, testing::ContainsRegex("COUNT 3\n.*COUNT 3\n"));
   }
   EXPECT_THAT(run(options + "--count 260 " + file).text, HasSubstr("COUNT 259"));
   EXPECT_EQ(run(options + "--count 260 --eia2 " + vector->fact("integrity-key") + " " + file).code, 0);
}

// Keys of a file serve messages that are given by themselves as well.
TEST(Capture, KeysServeHexadecimalTextToo) {
   const Folder folder;
   const SecuredCapture secured = securedCapture();
   const auto& vector = *secured.vectors[0];
   const std::string message = quorva::test::hexFromOctets(vector.octets);
   const std::string uplink = vector.number("direction") == 0 ? "--uplink " : "";
   EXPECT_THAT(run("decode " + uplink + "--keys " + folder.write("keys", secured.keys) + " " + message).text,
               StartsWith("   MAC right, COUNT " + std::to_string(vector.number("count")) +
                          ", keys of sim0\nPDU {\n"));
   const std::string other =
         folder.write("keys", "eia2=00112233445566778899aabbccddeeff\neia2=" + std::string(32, '0'));
   EXPECT_THAT(run("decode " + uplink + "--keys " + other + " " + message).text,
               StartsWith("   MAC not checked: no keys given fit\nPDU {\n"));
}

TEST(Capture, RefusesWrongKeys) {
   const Folder folder;
   const struct {
      const char* text;
      const char* line;
   } cases[] = {{"a eia2=0011\n", ":1: a key has 16 octets, not 2"},
                {"\n# none\na eia4=00112233445566778899aabbccddeeff",
                 ":3: 'eia4=00112233445566778899aabbccddeeff' is none of "},
                {"nea1=00112233445566778899aabbccddeeff nea3=00112233445566778899aabbccddeeff",
                 ":1: 'nea3' is a second key"},
                {"a count=x\n", ":1: 'count=x' is none of"},
                {"a bearer=32\n", ":1: 'bearer=32' is none of"},
                {"a b eea0\n", ":1: a second name, 'b'"},
                {"\x1b[2J eea0\n", ":1: a control character in a word"},
                {"", "can't be read, or empty"}};
   for (const auto& each : cases) {
      const Result result = run("decode --keys " + folder.write("keys", each.text) + " 7E005B01");
      EXPECT_EQ(result.code, 1);
      EXPECT_THAT(result.text, HasSubstr(each.line));
   }
}

// Segments of LAPDm, with frames of another direction and SAPI between them, and one that comes again.
TEST(Capture, PutsSegmentsTogether) {
   const Folder folder;
   const std::vector<Bytes> frames = {
         um(8, true, "013f01"),
         um(8, true, "01002b0616035359a6200b60142b2b"),
         um(8, false, "03000d060d002b2b"),
         um(8, true, "01002b0616035359a6200b60142b2b"),
         um(8, true, "0d00090904"),
         um(8, true, "01222504ef6503b8878d21002b"), // its number is 1
         um(8, true, "01222504ef6503b8878d21002b"),
         um(8, true, "0124090632"),
         um(8, true, "01260f063200"), // a new terminal's link begins within a message
         um(8, true, "013f01"),
         um(8, true, "01000d062900"),
   };
   const Result result = run("decode --summary " + folder.write("x", capture(1, frames)));
   std::string names;
   for (const std::string& line : linesOf(result.text))
      names += line.substr(6, line.find(' ', 6) - 6) + line.substr(line.rfind(' ')) + "\n";
   EXPECT_EQ(
         names,
         "3 ChannelRelease\n5 CP_ACK\n6 ClassmarkChange\n8 CipheringModeComplete\n11 AssignmentComplete\n");
   EXPECT_EQ(result.code, 0);
   const std::string message = "0616035359a6200b601404ef6503b8878d2100";
   EXPECT_THAT(run("decode --frames 6 " + folder.file("x")).text,
               EndsWith("\n" + run("decode --uplink " + message).text));
}

// A cell with a call: what it broadcasts, and lists of channels beside their octets.
TEST(Capture, ReadsTheExampleOfACell) {
   const std::string file = QUORVA_TEST_DATA "/../examples/cell.pcap";
   const auto frames = linesOf(run("decode --summary " + file).text);
   const char* const names[] = {
         "SystemInformationType1", "SystemInformationType2",    "SystemInformationType3",
         "SystemInformationType4", "SystemInformationType2ter", "SystemInformationType13",
         "PagingRequestType1",     "ImmediateAssignment",       "PagingResponse",
         "SystemInformationType5", "SystemInformationType5ter", "SystemInformationType6",
         "MeasurementReport",      "CipheringModeCommand",      "CipheringModeComplete",
         "ChannelRelease"};
   ASSERT_EQ(frames.size(), std::size(names));
   for (size_t i = 0; i < frames.size(); ++i) EXPECT_THAT(frames[i], EndsWith(std::string("  ") + names[i]));
   std::string channels;
   for (const std::string& line : linesOf(run("decode " + file).text))
      if (const size_t at = line.find("# channels "); at != std::string::npos)
         channels += line.substr(at) + "\n";
   EXPECT_EQ(channels, "# channels 42, 45, 48\n"
                       "# channels 18, 57, 87, 101\n"
                       "# channels 512, 600, 715\n"
                       "# channels 18, 57, 87, 101\n"
                       "# channels 512, 600, 715\n");
   EXPECT_THAT(run("decode " + file).text, Not(HasSubstr("left over"))); // padding is nothing that is left
}

TEST(Capture, ReadsTheExampleFromAPipeToo) {
   const std::string folder = QUORVA_TEST_DATA "/../examples/";
   const std::string command = "decode --summary --keys " + folder + "attach.keys ";
   const Result result = run(command + folder + "attach.pcapng");
   EXPECT_EQ(result.code, 0);
   EXPECT_EQ(run(command + "- < " + folder + "attach.pcapng").text, result.text);
}
