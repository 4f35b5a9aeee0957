// What a GSM cell says of itself: reads its system information from GSMTAP in a capture (classic, Ethernet),
// or from lines of hexadecimal digits with a block each, and prints cell, neighbours and access parameters.
#include <quorva/quorva.hpp>
#include <quorva/rtxPcapFile.h>
#include <quorva/TS44018Misc.h>
#include <quorva/TS44018Msg.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

// A list of channels, by the function that decodes it from its element.
template <class Element>
static int showChannels(const char* what, RtxContext* ctxt, const Element& element,
                        int (*decode)(RtxContext*, const Element*, uint16_t**, uint16_t*)) {
   uint16_t* channels = nullptr;
   uint16_t count = 0;
   const int status = decode(ctxt, &element, &channels, &count);
   if (status < 0) return status;
   std::sort(channels, channels + count);
   std::printf("%s:", what);
   for (uint16_t i = 0; i < count; ++i) std::printf(" %u", channels[i]);
   std::printf("\n");
   return 0;
}

// System information type 3 (TS 44.018, 9.1.35): which cell it is, and who may come how.
static void showCell(const TS44018Msg_SystemInformationType3& cell) {
   static const unsigned retransmissions[] = {1, 2, 4, 7}; // TS 44.018, 10.5.2.29
   const auto& [plmn, lac] = cell.locationAreaIdentification;
   const auto& access = cell.rachControlParameters;
   std::printf("cell: identity %u, location area %s-%s-%u\n", cell.cellIdentity, plmn.mcc, plmn.mnc, lac);
   std::printf("access: %s, %d dBm, %u retransmissions, re-establishment %s, classes barred 0x%04x\n",
               access.cell_bar_access ? "barred" : "open",
               cell.cellSelectionParameters.rxlev_access_min - 110, retransmissions[access.max_retrans & 3],
               access.re ? "not allowed" : "allowed", access.acc);
}

// A block of 23 octets with its pseudo length; others than system information are passed over.
static int showBlock(quorva::Context& ctxt, quorva::Octets block) {
   ctxt.reset(); // ends the records of the block before
   const auto pdu = ctxt.decode<TS44018Msg_L2_PSEUDO_LEN_PDU>(block);
   if (!pdu) return pdu.status();
   const auto& message = pdu->data.u;
   switch (pdu->msgType) {
   case 0x19:
      return showChannels("channels", ctxt, message.obj_SystemInformationType1->cellChannelDescription,
                          TS44018IE_Cell_Channel_Description_decodeARFCN);
   case 0x02:
   case 0x1A:
      return showChannels("neighbours", ctxt,
                          pdu->msgType == 0x02
                                ? message.obj_SystemInformationType2bis->extendedBCCHFrequencyList
                                : message.obj_SystemInformationType2->bcchFrequencyList,
                          TS44018IE_Neighbour_Cell_Description_decodeARFCN);
   case 0x03:
      return showChannels("neighbours of other bands", ctxt,
                          message.obj_SystemInformationType2ter->extendedBCCHFrequencyList,
                          TS44018IE_Neighbour_Cell_Description_2_decodeARFCN);
   case 0x1B: showCell(*message.obj_SystemInformationType3); return 0;
   default: return 0;
   }
}

// Where the block of the broadcast channel begins in a frame of Ethernet, IPv4, UDP and GSMTAP; 0 in others.
static size_t broadcastIn(const uint8_t* frame, size_t size) {
   const size_t udp = size < 34 ? 0 : 14 + 4 * size_t(frame[14] & 15), tap = udp + 8;
   if (size < 34 || size < tap + 16 || frame[12] != 8 || frame[13] != 0 || frame[23] != 17) return 0;
   const size_t block = tap + 4 * size_t(frame[tap + 1]);
   const bool broadcast = frame[tap + 2] == 1 && frame[tap + 12] == 1; // Um, BCCH
   return broadcast && (frame[udp + 2] << 8 | frame[udp + 3]) == 4729 && block < size ? block : 0;
}

static int readCapture(quorva::Context& ctxt, std::vector<uint8_t>& octets) {
   quorva::Context context; // for the headers of the capture
   RtxContext& file = *context;
   RtxPcapHdr header;
   RtxPcapRecHdr packet;
   uint8_t swap = 0;
   rtxCtxtSetBufPtr(&file, octets.data(), octets.size());
   int status = rtxDecPcapHdr(&file, &header, &swap), failure = 0; // of a block, which the others follow
   while (status == 0 && file.bufByteIndex < octets.size()) {
      status = rtxDecPcapRecHdr(&file, &packet, swap);
      if (status < 0 || packet.incl_len > octets.size() - file.bufByteIndex) break; // it was cut
      const uint8_t* const frame = octets.data() + file.bufByteIndex;
      if (const size_t at = broadcastIn(frame, packet.incl_len); at > 0)
         failure = std::min(failure, showBlock(ctxt, {frame + at, packet.incl_len - at}));
      file.bufByteIndex += packet.incl_len;
   }
   return std::min(status, failure);
}

int main(int argc, char** argv) {
   std::ifstream in(argc > 1 ? argv[1] : "/dev/stdin", std::ios::binary);
   std::vector<uint8_t> octets{std::istreambuf_iterator<char>(in), {}};
   quorva::Context ctxt;
   if (octets.empty()) return 2;
   const bool isCapture = octets[0] == 0xA1 || octets[0] == 0xD4;
   int status = isCapture ? readCapture(ctxt, octets) : 0;
   std::istringstream lines(std::string(octets.begin(), octets.end()));
   for (std::string line; !isCapture && lines >> line;) {
      std::vector<uint8_t> block;
      for (size_t i = 0; i + 1 < line.size(); i += 2)
         block.push_back(uint8_t(std::strtoul(line.substr(i, 2).c_str(), nullptr, 16)));
      status = std::min(status, showBlock(ctxt, block));
   }
   if (status < 0) std::fprintf(stderr, "status %d\n", status);
   return status < 0;
}
