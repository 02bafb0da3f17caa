#include "cta_view.h"

#include <cstdarg>
#include <cstdio>
#include <string_view>

#include "cta_video_formats.h"

namespace edc_tool {

namespace {

// The last VIC of the library's own video format table.
constexpr uint32_t kLibraryTableLastVic = 64;

struct BitName {
  uint32_t mask;
  const char *name;
};

constexpr BitName kEotfs[] = {
    {CTA_EOTF_SDR, "SDR"},          {CTA_EOTF_HDR, "HDR (traditional gamma)"},
    {CTA_EOTF_PQ, "SMPTE ST 2084"}, {CTA_EOTF_HLG, "HLG"},
    {0x10, "EOTF bit 4"},           {0x20, "EOTF bit 5"}};
constexpr BitName kColorimetry[] = {{CTA_COLORIMETRY_XVYCC601, "xvYCC601"},
                                    {CTA_COLORIMETRY_XVYCC709, "xvYCC709"},
                                    {CTA_COLORIMETRY_SYCC601, "sYCC601"},
                                    {CTA_COLORIMETRY_OPYCC601, "opYCC601"},
                                    {CTA_COLORIMETRY_OPRGB, "opRGB"},
                                    {CTA_COLORIMETRY_BT2020CYCC, "BT2020cYCC"},
                                    {CTA_COLORIMETRY_BT2020YCC, "BT2020YCC"},
                                    {CTA_COLORIMETRY_BT2020RGB, "BT2020RGB"},
                                    {0x1000, "bit 12"},
                                    {0x2000, "bit 13"},
                                    {CTA_COLORIMETRY_ICTCP, "ICtCp"},
                                    {CTA_COLORIMETRY_ST2113RGB, "ST2113RGB"}};
constexpr BitName kSpeakers[] = {{CTA_SPEAKER_FL_FR, "FL/FR"},
                                 {CTA_SPEAKER_LFE1, "LFE1"},
                                 {CTA_SPEAKER_FC, "FC"},
                                 {CTA_SPEAKER_BL_BR, "BL/BR"},
                                 {CTA_SPEAKER_BC, "BC"},
                                 {CTA_SPEAKER_FLC_FRC, "FLc/FRc"},
                                 {CTA_SPEAKER_RLC_RRC, "RLC/RRC"},
                                 {CTA_SPEAKER_FLW_FRW, "FLw/FRw"},
                                 {CTA_SPEAKER_TPFL_TPFR, "TpFL/TpFR"},
                                 {CTA_SPEAKER_TPC, "TpC"},
                                 {CTA_SPEAKER_TPFC, "TpFC"},
                                 {CTA_SPEAKER_LS_RS, "LS/RS"},
                                 {CTA_SPEAKER_LFE2, "LFE2"},
                                 {CTA_SPEAKER_TPBC, "TpBC"},
                                 {CTA_SPEAKER_SIL_SIR, "SiL/SiR"},
                                 {CTA_SPEAKER_TPSIL_TPSIR, "TpSiL/TpSiR"},
                                 {CTA_SPEAKER_TPBL_TPBR, "TpBL/TpBR"},
                                 {CTA_SPEAKER_BTFC, "BtFC"},
                                 {CTA_SPEAKER_BTFL_BTFR, "BtFL/BtFR"},
                                 {CTA_SPEAKER_TPLS_TPRS, "TpLS/TpRS"},
                                 {CTA_SPEAKER_LSD_RSD, "LSd/RSd"}};

const char *const kScan[] = {"no data / not supported", "overscanned", "underscanned",
                             "over- and underscan"};
const char *const kAudioFormats[] = {
    "reserved 0", "LPCM",          "AC-3",   "MPEG-1", "MP3", "MPEG-2", "AAC LC",  "DTS",
    "ATRAC",      "One Bit Audio", "E-AC-3", "DTS-HD", "MAT", "DST",    "WMA Pro", "extension"};
const char *ExtensionName(uint8_t type) {
  switch (type) {
    case 4:
      return "MPEG-4 HE AAC";
    case 5:
      return "MPEG-4 HE AAC v2";
    case 6:
      return "MPEG-4 AAC LC";
    case 7:
      return "DRA";
    case 8:
      return "MPEG-4 HE AAC + MPEG Surround";
    case 10:
      return "MPEG-4 AAC LC + MPEG Surround";
    case 11:
      return "MPEG-H 3D Audio";
    case 12:
      return "AC-4";
    case 13:
      return "LPCM 3D";
    default:
      return "extension type";
  }
}

// Appends a word to a list of words, separated.
void Append(std::string &text, std::string_view word, const char *separator = " ") {
  if (!text.empty()) text += separator;
  text += word;
}

template <size_t N>
std::string Names(const BitName (&table)[N], uint32_t mask) {
  std::string text;
  for (const BitName &bit : table)
    if ((mask & bit.mask) != 0) Append(text, bit.name);
  return text.empty() ? "none" : text;
}

std::string Format(const char *format, ...) __attribute__((format(printf, 1, 2)));
std::string Format(const char *format, ...) {
  char text[256];
  va_list args;
  va_start(args, format);
  vsnprintf(text, sizeof text, format, args);
  va_end(args);
  return text;
}

std::string Vics(const uint8_t *vics, uint32_t count) {
  std::string text;
  for (uint32_t i = 0; i < count; ++i) Append(text, std::to_string(vics[i]));
  return text.empty() ? "none" : text;
}

// "0f 03 00 30": written digit by digit, as a payload dump of every block of
// every EDID of a JSON Lines run is where the time goes.
std::string Hex(const uint8_t *bytes, size_t size) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(size * 3);
  for (size_t i = 0; i < size; ++i) {
    if (i != 0) text += ' ';
    text += kDigits[bytes[i] >> 4];
    text += kDigits[bytes[i] & 0xF];
  }
  return text;
}

std::string Oui(uint32_t oui) {
  std::string text = Format("%02X-%02X-%02X", oui >> 16, (oui >> 8) & 0xFF, oui & 0xFF);
  switch (oui) {
    case CTA_OUI_HDMI:
      return text + " (HDMI)";
    case CTA_OUI_HDMI_FORUM:
      return text + " (HDMI Forum)";
    case CTA_OUI_DOLBY:
      return text + " (Dolby)";
    case CTA_OUI_HDR10_PLUS:
      return text + " (HDR10+)";
    default:
      return text;
  }
}

void AddHfVsdb(const cta_hf_vsdb_t &hf, std::vector<CtaField> &rows) {
  if (!hf.present) return;
  const auto add = [&](const char *name, std::string value) { rows.emplace_back(name, value); };
  add("HDMI Forum block",
      Format("%s, version %u", hf.from_scdb ? "HF-SCDB" : "HF-VSDB", hf.version));
  add("Max_TMDS_Character_Rate", hf.max_tmds_character_rate_mhz
                                     ? std::to_string(hf.max_tmds_character_rate_mhz) + " MHz"
                                     : "not indicated");
  const std::pair<bool, const char *> flags[] = {{hf.scdc_present, "SCDC_Present"},
                                                 {hf.rr_capable, "RR_Capable"},
                                                 {hf.cable_status, "CABLE_STATUS"},
                                                 {hf.ccbpci, "CCBPCI"},
                                                 {hf.lte_340mcsc_scramble, "LTE_340Mcsc_Scramble"},
                                                 {hf.independent_view, "Independent_view"},
                                                 {hf.dual_view, "Dual_View"},
                                                 {hf.osd_disparity_3d, "3D_OSD_Disparity"},
                                                 {hf.uhd_vic, "UHD_VIC"},
                                                 {hf.dc_48bit_420, "DC_48bit_420"},
                                                 {hf.dc_36bit_420, "DC_36bit_420"},
                                                 {hf.dc_30bit_420, "DC_30bit_420"},
                                                 {hf.qms_tfr_max, "QMS_TFRmax"},
                                                 {hf.qms, "QMS"},
                                                 {hf.m_delta, "M_delta"},
                                                 {hf.cinema_vrr, "CinemaVRR"},
                                                 {hf.cnm_vrr, "CNMVRR"},
                                                 {hf.fva, "FVA"},
                                                 {hf.allm, "ALLM"},
                                                 {hf.fapa_start_location, "FAPA_start_location"},
                                                 {hf.dsc_1p2, "DSC_1p2"},
                                                 {hf.dsc_native_420, "DSC_Native_420"},
                                                 {hf.fapa_end_extended, "FAPA_End_Extended"},
                                                 {hf.dsc_all_bpp, "DSC_All_bpp"},
                                                 {hf.dsc_16bpc, "DSC_16bpc"},
                                                 {hf.dsc_12bpc, "DSC_12bpc"},
                                                 {hf.dsc_10bpc, "DSC_10bpc"}};
  std::string set;
  for (const auto &[on, name] : flags)
    if (on) Append(set, name);
  add("HDMI Forum flags", set.empty() ? "none" : set);
  add("Max_FRL_Rate", std::to_string(hf.max_frl_rate));
  if (hf.has_vrr) add("VRRmin / VRRmax", Format("%u / %u Hz", hf.vrr_min, hf.vrr_max));
  if (hf.has_dsc) {
    add("DSC_Max_FRL_Rate", std::to_string(hf.dsc_max_frl_rate));
    add("DSC_Max_Slices", std::to_string(hf.dsc_max_slices));
  }
  if (hf.has_dsc_chunk) add("DSC_TotalChunkKBytes", std::to_string(hf.dsc_total_chunk_kbytes));
}

void AddHdr(const cta_info_t &info, std::vector<CtaField> &rows) {
  const cta_hdr_static_t &h = info.hdr_static;
  if (h.present) {
    rows.emplace_back("HDR EOTFs", Names(kEotfs, h.eotfs));
    rows.emplace_back("HDR static metadata types",
                      (h.descriptors & 1)
                          ? std::string(h.descriptors & ~1 ? "1 and others" : "1")
                          : Format("0x%02x", h.descriptors));
    const auto luminance = [&](const char *name, bool has, uint8_t cv, double cd) {
      rows.emplace_back(name, has ? Format("%u (%.3f cd/m^2)", cv, cd) : "not given");
    };
    luminance("HDR max luminance", h.has_max_luminance, h.max_luminance_cv, h.max_luminance);
    luminance("HDR max frame-average luminance", h.has_max_frame_average, h.max_frame_average_cv,
              h.max_frame_average);
    luminance("HDR min luminance", h.has_min_luminance, h.min_luminance_cv, h.min_luminance);
  }
  std::string dynamic;
  for (uint32_t i = 0; i < info.hdr_dynamic_count; ++i) {
    const cta_hdr_dynamic_t &d = info.hdr_dynamic[i];
    dynamic += (i ? ", " : "") + Format("type %u", d.type) +
               (d.has_version ? Format(" version %u", d.version) : "");
  }
  if (!dynamic.empty()) rows.emplace_back("HDR dynamic metadata", dynamic);
}

void AddColour(const cta_info_t &info, std::vector<CtaField> &rows) {
  if (info.colorimetry.present) {
    rows.emplace_back("colorimetry", Names(kColorimetry, info.colorimetry.flags));
    std::string md;
    for (unsigned n = 0; n < 4; ++n)
      if (info.colorimetry.metadata & (1u << n))
        md += (md.empty() ? "MD" : " MD") + std::to_string(n);
    rows.emplace_back("colorimetry metadata", md.empty() ? "none" : md);
  }
  const cta_video_capability_t &v = info.video_capability;
  if (v.present)
    rows.emplace_back("video capability",
                      Format("QY %s, QS %s, PT %s, IT %s, CE %s", v.qy ? "yes" : "no",
                             v.qs ? "yes" : "no", kScan[v.s_pt], kScan[v.s_it], kScan[v.s_ce]));
  if (info.ycbcr420_count)
    rows.emplace_back("YCbCr 4:2:0 only VICs", Vics(info.ycbcr420_vics, info.ycbcr420_count));
  if (info.has_ycbcr420_map)
    rows.emplace_back("YCbCr 4:2:0 also VICs",
                      Vics(info.ycbcr420_map_vics, info.ycbcr420_map_count));
}

void AddAudio(const cta_info_t &info, std::vector<CtaField> &rows) {
  if (info.speaker.present)
    rows.emplace_back("speaker allocation", Names(kSpeakers, info.speaker.speakers));
  const cta_room_t &r = info.room;
  if (r.present) {
    std::string room = r.speaker_count_valid ? std::to_string(r.speaker_count) + " speakers: " : "";
    room += Names(kSpeakers, r.speakers);
    if (r.has_dimensions) room += Format(", room %u x %u x %u dm", r.max_x, r.max_y, r.max_z);
    if (r.display && r.has_display_position)
      room += Format(", display at %u/%u/%u", r.display_x, r.display_y, r.display_z);
    rows.emplace_back("room configuration", room);
  }
  for (uint32_t i = 0; i < info.sad_count; ++i) {
    const cta_sad_t &s = info.sads[i];
    std::string name = s.format == 15 ? ExtensionName(s.extension_type) : kAudioFormats[s.format];
    std::string value = std::to_string(s.channels) + " ch, rates 0x" + Hex(&s.rates, 1) +
                        ", byte 3 0x" + Hex(&s.byte3, 1);
    if (s.bit_depths) value += Format(", depths 0x%x", s.bit_depths);
    if (s.max_bit_rate_khz) value += ", max " + std::to_string(s.max_bit_rate_khz) + " kb/s";
    if (s.joc) value += ", JOC";
    if (s.joc_acmod28) value += ", JOC ACMOD 28";
    if (s.mat_atmos) value += ", MAT (Atmos)";
    if (s.dtsx) value += ", DTS:X";
    if (s.frame_960) value += ", 960 frame";
    if (s.frame_1024) value += ", 1024 frame";
    if (s.mps_l) value += ", MPS_L";
    rows.emplace_back("audio " + name, value);
  }
}

std::string BlockName(const cta_block_t &b) {
  if (b.has_oui) return "block vendor " + Oui(b.oui);
  std::string name = "block tag " + std::to_string(b.tag);
  if (b.tag == CTA_TAG_EXTENDED) name += " extended " + std::to_string(b.extended_tag);
  return name;
}

void AddBlocks(const cta_info_t &info, bool payloads, std::vector<CtaField> &rows) {
  const uint32_t kept = info.block_count < CTA_MAX_BLOCKS ? info.block_count : CTA_MAX_BLOCKS;
  if (!payloads) {  // "tag 2, vendor 00-0C-03 (HDMI), tag 7 extended 6"
    std::string names;
    for (uint32_t i = 0; i < kept; ++i)
      names += (i ? ", " : "") + BlockName(info.blocks[i]).substr(std::string("block ").size());
    rows.emplace_back("data blocks", names.empty() ? "none" : names);
    return;
  }
  for (uint32_t i = 0; i < kept; ++i) {
    const cta_block_t &b = info.blocks[i];
    const std::string name = BlockName(b);
    std::string value = "extension " + std::to_string(b.extension) + " at " +
                        std::to_string(b.offset) + ", " + std::to_string(b.length) + " bytes";
    if (b.truncated) value += " (truncated)";
    if (b.payload_size) value += ": " + Hex(b.payload, b.payload_size);
    rows.emplace_back(name, value);
  }
  if (info.block_count > kept)
    rows.emplace_back("blocks not kept", std::to_string(info.block_count - kept));
}

// The video formats that the library's own table (VICs 1 to 64) does not
// name, each with its format from the CTA-861 table.
void AddFormatsBeyond64(const cta_info_t &info, std::vector<CtaField> &rows) {
  std::string formats;
  for (uint32_t i = 0; i < info.svd_count && i < CTA_MAX_SVDS; ++i) {
    const uint32_t vic = info.svd_vics[i];
    if (vic <= kLibraryTableLastVic) continue;
    char name[48];
    cta_video_format_name(vic, name, sizeof name);
    Append(formats, std::to_string(vic) + " " + (name[0] != '\0' ? name : "undefined"), ", ");
  }
  if (!formats.empty()) rows.emplace_back("video formats beyond VIC 64", formats);
}

}  // namespace

bool CtaRecord::modern() const {
  for (uint32_t i = 0; i < info.svd_count && i < CTA_MAX_SVDS; ++i)
    if (info.svd_vics[i] > kLibraryTableLastVic) return true;
  const uint32_t kept = info.block_count < CTA_MAX_BLOCKS ? info.block_count : CTA_MAX_BLOCKS;
  for (uint32_t i = 0; i < kept; ++i) {
    const cta_block_t &b = info.blocks[i];
    if (b.tag == CTA_TAG_EXTENDED || (b.has_oui && b.oui != CTA_OUI_HDMI)) return true;
  }
  return false;
}

CtaRecord ReadCta(const std::vector<uint8_t> &bytes) {
  CtaRecord record;
  record.read = cta_read_edid(bytes.data(), static_cast<uint32_t>(bytes.size()), &record.info) != 0;
  return record;
}

std::vector<CtaField> CtaFields(const cta_info_t &info, bool payloads) {
  std::vector<CtaField> rows;
  std::string extensions;
  for (uint32_t i = 0; i < info.extensions_read; ++i)
    Append(extensions, Format("revision %u, d=%u", info.extension_revision[i], info.dtd_offset[i]),
           ", ");
  rows.emplace_back("CTA extensions",
                    std::to_string(info.extensions_read) + " (" + extensions + ")");
  AddFormatsBeyond64(info, rows);
  AddHfVsdb(info.hf_vsdb, rows);
  AddHdr(info, rows);
  AddColour(info, rows);
  AddAudio(info, rows);
  AddBlocks(info, payloads, rows);
  return rows;
}

std::string CtaText(const cta_info_t &info) {
  std::string text = "CTA-861 blocks (modern reader):\n";
  for (const auto &[name, value] : CtaFields(info)) text += "  " + name + ": " + value + "\n";
  return text;
}

Json CtaJson(const cta_info_t &info) {
  Json fields = Json::array();
  for (const auto &[name, value] : CtaFields(info))
    fields.push_back({{"name", name}, {"value", value}});
  return fields;
}

Json DumpJson(const edid_t *record, const CtaRecord &cta) {
  if (record == nullptr && !cta.modern()) return nullptr;
  Json json = record != nullptr ? EdidJson(*record) : Json{{"decoded", false}};
  if (cta.modern()) json["cta"] = CtaJson(cta.info);
  return json;
}

}  // namespace edc_tool
