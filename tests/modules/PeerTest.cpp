// Rest octets and frequency elements as an independent decoder takes them.
#include "quorva/rtx3GPP.h"
#include "quorva/TS44018IE.h"
#include "quorva/TS44018Misc.h"
#include "support/context.h"

#include <bitset>
#include <gtest/gtest.h>
#include <random>

#ifdef QUORVA_OSMOGSM
extern "C" {
#include <osmocom/gsm/gsm48_ie.h>
#include <osmocom/gsm/gsm48_rest_octets.h>
}

using namespace quorva::test;

namespace {

class Peer : public testing::Test {
protected:
   static constexpr int kRounds = 1000;

   // Numbers of so many bits; flags are such of one.
   uint8_t any(unsigned bits) { return static_cast<uint8_t>(random_() & ((1u << bits) - 1)); }
   uint16_t anyWide(unsigned bits) { return static_cast<uint16_t>(random_() & ((1u << bits) - 1)); }
   bool flag() { return any(1) != 0; }

   // 20 octets as they come in a message: behind the structure padding.
   template <class Record>
   Octets encoded(int (*encode)(RtxContext*, Record*), Record& record) {
      TestContext context;
      context.encode(64);
      EXPECT_EQ(encode(context, &record), 0);
      Octets octets = octetsFromHex(context.written());
      octets.resize(std::max<size_t>(octets.size(), 20), 0x2B);
      return octets;
   }

   void fill(TS44018IE_Optional_Selection_Parameters& to) {
      to.m.selection_ParametersPresent = flag();
      to.selection_Parameters = {any(1), any(6), any(3), any(5)};
   }
   void fill(TS44018IE_Optional_Power_Offset& to) {
      to.m.power_OffsetPresent = flag();
      to.power_Offset = any(2);
   }

   static void expectCommon(const osmo_gsm48_si_ro_info& peer,
                            const TS44018IE_Optional_Selection_Parameters& selection,
                            const TS44018IE_Optional_Power_Offset& power, bool gprs,
                            const TS44018IE_GPRS_Indicator& indicator) {
      ASSERT_EQ(peer.selection_params.present, selection.m.selection_ParametersPresent);
      if (peer.selection_params.present) {
         EXPECT_EQ(peer.selection_params.cbq, selection.selection_Parameters.cbq);
         EXPECT_EQ(peer.selection_params.cell_resel_off, selection.selection_Parameters.cell_reselect_offset);
         EXPECT_EQ(peer.selection_params.temp_offs, selection.selection_Parameters.temporary_offset);
         EXPECT_EQ(peer.selection_params.penalty_time, selection.selection_Parameters.penalty_time);
      }
      ASSERT_EQ(peer.power_offset.present, power.m.power_OffsetPresent);
      if (peer.power_offset.present) {
         EXPECT_EQ(peer.power_offset.power_offset, power.power_Offset);
      }
      ASSERT_EQ(peer.gprs_ind.present, gprs);
      if (gprs) {
         EXPECT_EQ(peer.gprs_ind.ra_colour, indicator.ra_colour);
         EXPECT_EQ(peer.gprs_ind.si13_position, indicator.si13_position);
      }
   }

private:
   std::mt19937 random_{7};
};

TEST_F(Peer, ReadsRestOctetsOfSystemInformation3) {
   for (int round = 0; round < kRounds && !HasFailure(); ++round) {
      TS44018IE_SI3_Rest_Octets ours;
      asn1Init_TS44018IE_SI3_Rest_Octets(&ours);
      fill(ours.optional_Selection_Parameters);
      fill(ours.optional_Power_Offset);
      ours.system_Information_2ter_Indicator = any(1);
      ours.early_Classmark_Sending_Control = any(1);
      ours.scheduling_if_and_where.m.wherePresent = flag();
      ours.scheduling_if_and_where.where = any(3);
      ours.m.gprs_IndicatorPresent = flag();
      ours.gprs_Indicator = {any(3), any(1)};
      ours.a3G_Early_Classmark_Sending_Restriction = any(1);
      ours.m.si2quater_IndicatorPresent = flag();
      ours.si2quater_Indicator.si2quater_POSITION = any(1);
      ours.iu_Indicator.si13alt_POSITION = any(1);
      const Octets octets = encoded(NASEnc_TS44018IE_SI3_Rest_Octets, ours);
      osmo_gsm48_si_ro_info peer = {};
      osmo_gsm48_rest_octets_si3_decode(&peer, octets.data());
      SCOPED_TRACE(hexFromOctets(octets));
      expectCommon(peer, ours.optional_Selection_Parameters, ours.optional_Power_Offset,
                   ours.m.gprs_IndicatorPresent, ours.gprs_Indicator);
      EXPECT_EQ(peer.si2ter_indicator, ours.system_Information_2ter_Indicator == 1);
      EXPECT_EQ(peer.early_cm_ctrl, ours.early_Classmark_Sending_Control == 1);
      EXPECT_EQ(peer.scheduling.present, ours.scheduling_if_and_where.m.wherePresent);
      if (peer.scheduling.present) {
         EXPECT_EQ(peer.scheduling.where, ours.scheduling_if_and_where.where);
      }
      EXPECT_EQ(peer.early_cm_restrict_3g, ours.a3G_Early_Classmark_Sending_Restriction == 0); // L restricts
      EXPECT_EQ(peer.si2quater_indicator, ours.m.si2quater_IndicatorPresent == 1);
   }
}

// It stops ahead of the break indicator and part S.
TEST_F(Peer, ReadsRestOctetsOfSystemInformation4) {
   for (int round = 0; round < kRounds && !HasFailure(); ++round) {
      TS44018IE_SI4_Rest_Octets ours;
      asn1Init_TS44018IE_SI4_Rest_Octets(&ours);
      ours.m.si4_Rest_Octets_OPresent = ours.m.component_2Present = 1;
      auto& first = ours.si4_Rest_Octets_O;
      fill(first.optional_Selection_Parameters);
      fill(first.optional_Power_Offset);
      first.m.gprs_IndicatorPresent = flag();
      first.gprs_Indicator = {any(3), any(1)};
      ours.component_2.t = 1u + any(1);
      if (ours.component_2.t == 1) ours.component_2.u.break_Indicator = any(1);
      auto& second = ours.component_2.u.si4_Rest_Octets_S;
      if (ours.component_2.t == 2) {
         asn1Init_TS44018IE_SI4_Rest_Octets_S(&second);
         second.m.si4_LSA_ParametersPresent = flag();
         auto& lsa = second.si4_LSA_Parameters;
         lsa.prio_thr = any(3), lsa.lsa_offset = any(3);
         lsa.m.component_3Present = flag();
         lsa.component_3 = {anyWide(12), anyWide(12)};
         second.m.cell_IdentityPresent = flag();
         second.cell_Identity = anyWide(16);
      }
      const Octets octets = encoded(NASEnc_TS44018IE_SI4_Rest_Octets, ours);
      osmo_gsm48_si_ro_info peer = {};
      osmo_gsm48_rest_octets_si4_decode(&peer, octets.data(), 20);
      SCOPED_TRACE(hexFromOctets(octets));
      expectCommon(peer, first.optional_Selection_Parameters, first.optional_Power_Offset,
                   first.m.gprs_IndicatorPresent, first.gprs_Indicator);
   }
}

// It passes over the burst type, the PAN values and the extension, but reads what comes behind them.
TEST_F(Peer, ReadsRestOctetsOfSystemInformation13) {
   const uint32_t t3192[] = {500, 1000, 1500, 0, 80, 120, 160, 200};
   for (int round = 0; round < kRounds && !HasFailure(); ++round) {
      TS44018IE_SI13_Rest_Octets ours;
      asn1Init_TS44018IE_SI13_Rest_Octets(&ours);
      ours.m.component_1Present = 1;
      auto& all = ours.component_1;
      all.bcch_change_mark = any(3), all.si_change_field = any(4);
      all.component_4.t = 1;
      auto& cell = all.component_4.u.choice_1;
      cell.rac = any(8), cell.spgc_ccch_sup = any(1);
      cell.priority_access_thr = any(3), cell.network_control_order = any(2);
      auto& options = cell.gprs_Cell_Options;
      asn1Init_TS44060IE_GPRS_Cell_Options_IE(&options);
      options.nmo = static_cast<uint8_t>(any(6) % 3); // 3 is reserved
      options.t3168 = any(3), options.t3192 = any(3), options.drx_timer_max = any(3);
      options.access_burst_type = any(1), options.control_ack_type = any(1), options.bs_cv_max = any(4);
      options.m.component_8Present = flag();
      options.component_8 = {any(3), any(3), any(3)};
      options.m.component_9Present = flag();
      auto& extension = options.component_9.extension_Information;
      extension.m.component_1Present = extension.m.component_2Present = 1;
      auto& first = extension.component_1;
      first.m.component_1Present = flag();
      first.component_1 = {any(1), any(4)};
      first.pfc_feature_mode = any(1), first.dtm_support = any(1), first.bss_paging_coordination = any(1);
      extension.component_2 = {any(1), any(1)};
      auto& power = cell.gprs_Power_Control_Parameters;
      power = {any(4), any(5), any(5), any(1), any(4)};
      const Octets octets = encoded(NASEnc_TS44018IE_SI13_Rest_Octets, ours);
      osmo_gsm48_si13_info peer = {};
      SCOPED_TRACE(hexFromOctets(octets));
      ASSERT_GE(osmo_gsm48_rest_octets_si13_decode(&peer, octets.data()), 0);
      EXPECT_EQ(peer.bcch_change_mark, all.bcch_change_mark);
      EXPECT_EQ(peer.si_change_field, all.si_change_field);
      EXPECT_EQ(peer.rac, cell.rac);
      EXPECT_EQ(peer.spgc_ccch_sup, cell.spgc_ccch_sup);
      EXPECT_EQ(peer.prio_acc_thr, cell.priority_access_thr);
      EXPECT_EQ(peer.net_ctrl_ord, cell.network_control_order);
      EXPECT_EQ(peer.cell_opts.nmo, options.nmo);
      EXPECT_EQ(peer.cell_opts.t3168, (options.t3168 + 1u) * 500);
      EXPECT_EQ(peer.cell_opts.t3192, t3192[options.t3192]);
      EXPECT_EQ(peer.cell_opts.drx_timer_max,
                options.drx_timer_max == 0 ? 0u : 1u << (options.drx_timer_max - 1));
      EXPECT_EQ(peer.cell_opts.ctrl_ack_type_use_block, options.control_ack_type == 1);
      EXPECT_EQ(peer.cell_opts.bs_cv_max, options.bs_cv_max);
      EXPECT_EQ(peer.pwr_ctrl_pars.alpha, power.alpha);
      EXPECT_EQ(peer.pwr_ctrl_pars.t_avg_w, power.t_avg_w);
      EXPECT_EQ(peer.pwr_ctrl_pars.t_avg_t, power.t_avg_t);
      EXPECT_EQ(peer.pwr_ctrl_pars.pc_meas_chan, power.pc_meas_chan);
      EXPECT_EQ(peer.pwr_ctrl_pars.n_avg_i, power.n_avg_i);
   }
}

// And what it passes over it writes.
TEST_F(Peer, WritesRestOctetsOfSystemInformation13) {
   for (int round = 0; round < kRounds && !HasFailure(); ++round) {
      osmo_gsm48_si13_info peer = {};
      auto& options = peer.cell_opts;
      options.nmo = static_cast<osmo_gprs_nmo>(any(6) % 3);
      options.t3168 = (any(3) + 1u) * 500, options.t3192 = 500, options.bs_cv_max = any(4);
      options.ctrl_ack_type_use_block = flag();
      options.ext_info_present = any(1);
      options.ext_info = {any(1), any(1), any(4), any(1), any(1), any(1), flag()};
      peer.bcch_change_mark = any(3), peer.rac = any(8), peer.pwr_ctrl_pars.n_avg_i = any(4);
      Octets octets(20);
      ASSERT_GE(osmo_gsm48_rest_octets_si13_encode(octets.data(), &peer), 0);
      SCOPED_TRACE(hexFromOctets(octets));
      TestContext context;
      context.decode(octets);
      TS44018IE_SI13_Rest_Octets ours;
      asn1Init_TS44018IE_SI13_Rest_Octets(&ours);
      ASSERT_EQ(NASDec_TS44018IE_SI13_Rest_Octets(context, &ours), 0);
      ASSERT_EQ(ours.component_1.component_4.t, 1u);
      EXPECT_EQ(ours.component_1.bcch_change_mark, peer.bcch_change_mark);
      const auto& cell = ours.component_1.component_4.u.choice_1;
      EXPECT_EQ(cell.rac, peer.rac);
      EXPECT_EQ(cell.gprs_Power_Control_Parameters.n_avg_i, peer.pwr_ctrl_pars.n_avg_i);
      ASSERT_EQ(cell.gprs_Cell_Options.m.component_9Present, options.ext_info_present);
      if (!options.ext_info_present) continue;
      const auto& extension = cell.gprs_Cell_Options.component_9.extension_Information;
      EXPECT_EQ(extension.component_1.m.component_1Present, options.ext_info.egprs_supported);
      if (options.ext_info.egprs_supported) {
         const auto& egprs = extension.component_1.component_1;
         EXPECT_NE(egprs.egprs_packet_channel_request, options.ext_info.use_egprs_p_ch_req); // 0 is yes
         EXPECT_EQ(egprs.bep_period, options.ext_info.bep_period);
      }
      EXPECT_EQ(extension.component_1.pfc_feature_mode, options.ext_info.pfc_supported);
      EXPECT_EQ(extension.component_1.dtm_support, options.ext_info.dtm_supported);
      EXPECT_EQ(extension.component_1.bss_paging_coordination, options.ext_info.bss_paging_coordination);
      EXPECT_EQ(extension.component_2.ccn_active == 1, options.ext_info.ccn_active);
   }
}

using Set = std::bitset<1024>;

// A list in each format that holds it, in an element with anything in the bits that belong to others.
template <class Record>
void compareChannels(int (*decode)(RtxContext*, Record*), int (*init)(Record*),
                     int (*channels)(RtxContext*, const Record*, uint16_t**, uint16_t*), size_t size,
                     bool counted) {
   const char* const heads[] = {"00..", "10..0", "10..100", "10..101", "10..110", "10..111"};
   std::mt19937 random(11);
   size_t agreed = 0;
   for (unsigned round = 0; round < 3000; ++round) {
      const unsigned format = round % 6;
      Set set;
      const unsigned from = format == 0 ? 1 : random() % 1024, span = format == 0 ? 124 : 1u << random() % 11;
      for (size_t n = 1 + random() % (format == 0 ? 124 : size); n > 0; --n)
         set.set((from + random() % std::min(span, 1024u)) % 1024);
      std::vector<uint16_t> list;
      for (uint16_t i = 0; i < 1024; ++i)
         if (set[i]) list.push_back(i);
      uint16_t range = 0, orig = 0;
      rtx3GPPGetARFCNRange(list.data(), static_cast<uint16_t>(list.size()), &orig, &range);
      TestContext context;
      uint8_t* buffer[2] = {nullptr, nullptr};
      uint32_t bits = 0;
      if (rtx3GPPEncARFCN(context, list.data(), static_cast<uint16_t>(list.size()), format, range, orig,
                          buffer, 0, &bits) != 0)
         continue;
      std::string text;
      for (const char* at = heads[format]; *at != 0; ++at) text += *at == '.' ? "01"[random() % 2] : *at;
      if (format == 0) bits = 124;
      for (uint32_t i = 0; i < bits; ++i) text += "01"[buffer[0][i / 8] >> (7 - i % 8) & 1];
      if (text.size() > 8 * size) continue;
      text.resize(8 * size, '0');
      Octets octets;
      for (size_t i = 0; i < text.size(); i += 8)
         octets.push_back(static_cast<uint8_t>(std::bitset<8>(text, i, 8).to_ulong()));

      Octets input(octets);
      if (counted) input.insert(input.begin(), static_cast<uint8_t>(size));
      context.decode(input);
      Record record;
      init(&record);
      ASSERT_EQ(decode(context, &record), 0) << hexFromOctets(input);
      uint16_t *decoded = nullptr, count = 0;
      ASSERT_EQ(channels(context, &record, &decoded, &count), 0) << hexFromOctets(input);
      Set ours, theirs;
      for (size_t i = 0; i < count; ++i) ours.set(decoded[i]);
      gsm_sysinfo_freq frequencies[1024] = {};
      ASSERT_EQ(gsm48_decode_freq_list(frequencies, octets.data(), static_cast<uint8_t>(size), 0xCE, 1), 0);
      for (size_t i = 0; i < 1024; ++i) theirs[i] = (frequencies[i].mask & 1) != 0;
      ASSERT_TRUE(ours == set && theirs == set) << "format " << format << " " << hexFromOctets(octets);
      ++agreed;
   }
   EXPECT_GT(agreed, 1000u);
}

#define COMPARE_CHANNELS(TYPE, SIZE, COUNTED)                                                                \
   compareChannels<TYPE>(NASDec_##TYPE, asn1Init_##TYPE, TYPE##_decodeARFCN, SIZE, COUNTED)

TEST(PeerChannels, AreTheSameSet) {
   COMPARE_CHANNELS(TS44018IE_Cell_Channel_Description, 16, false);
   COMPARE_CHANNELS(TS44018IE_Neighbour_Cell_Description, 16, false);
   COMPARE_CHANNELS(TS44018IE_Extended_Measurement_Frequency_List, 16, false);
   COMPARE_CHANNELS(TS44018IE_Frequency_List, 16, true);
}

} // namespace
#endif
