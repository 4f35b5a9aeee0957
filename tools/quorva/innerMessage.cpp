#include "tools/quorva/innerMessage.h"

#include "tools/quorva/session.h"

#include "quorva/TS24011Msg.h"
#include "quorva/TS24301Msg.h"
#include "quorva/TS24501Msg.h"

namespace quorva::tool {

InnerMessage innerMessage(const QuorvaType& type, const void* value) {
   InnerMessage inner;
   const auto take = [&inner](const char* name, const uint8_t* octets, size_t count) {
      inner.type = name;
      inner.octets.assign(octets, octets + count);
   };
   const auto takeUserData = [&take](const TS24011Msg_CP_PDU& pdu) {
      if (pdu.data.t != 1) return;
      const auto& data = pdu.data.u.obj_CP_DATA->cpUserData;
      take("TS24011Msg_RP_PDU", data.data, data.numocts);
   };
   if (isType(type, "TS24011Msg_CP_PDU")) {
      takeUserData(*static_cast<const TS24011Msg_CP_PDU*>(value));
   } else if (isType(type, "TS24501Msg_PDU")) {
      // In those of TS 24.501, 8.2.10, 8.2.11 and 8.2.30, the codec has opened the control protocol.
      const auto* pdu = static_cast<const TS24501Msg_PDU*>(value);
      const auto takeFrom = [&takeUserData](const auto& message) {
         if (message.containerType == TS24501IE_PayloadContainerType_sms)
            takeUserData(message.container.u.sms.cpPdu);
      };
      if (pdu->protoDiscr != TS24501Msg_NAS5GProtoDiscr_mobMgmt5G) return inner;
      switch (pdu->msgType) {
      case 0x67: takeFrom(*pdu->data.u.obj_ULNASTrans5G); break;
      case 0x68: takeFrom(*pdu->data.u.obj_DLNASTrans5G); break;
      case 0x4F:
         if (pdu->data.u.obj_ControlPlaneServReq5G->m.containerPresent)
            takeFrom(*pdu->data.u.obj_ControlPlaneServReq5G);
         break;
      default: break;
      }
   } else if (isType(type, "TS24301Msg_PDU")) {
      // The transport messages of TS 24.301, 8.2.12 and 8.2.30, carry a message of the control protocol.
      const auto* pdu = static_cast<const TS24301Msg_PDU*>(value);
      const bool downlink = pdu->msgType == 0x62;
      if (pdu->protoDiscr == TS24007L3_ProtoDiscr_epsMobMgmt && (downlink || pdu->msgType == 0x63)) {
         const auto* container = downlink ? pdu->data.u.obj_DLNASTransport : pdu->data.u.obj_ULNASTransport;
         take("TS24011Msg_CP_PDU", container->data, container->numocts);
      }
   }
   return inner;
}

} // namespace quorva::tool
