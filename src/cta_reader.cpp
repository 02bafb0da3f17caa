// Reader of the modern CTA-861 data blocks (see include/cta_reader.h). Each
// extension's data blocks are walked once; every block is recorded with its
// payload, and a table from tag / extended tag to one small reader fills the
// block's part of cta_info_t. Every reader takes the payload without its
// header as a span and checks its length before each read.
#include "cta_reader.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <span>

#include "bits.h"
#include "edid_layout.h"

namespace {

using namespace edc::layout;
using bytes = std::span<const uint8_t>;

// Where the extensions sit: byte 0x7E of the base block counts them; each is
// one 128-byte block (VESA E-EDID 1.3 section 3.10).
constexpr uint32_t kMaxEdidBlocks = 4;

// Data block header (CTA-861-H section 7.4): bits 7-5 tag, bits 4-0 length.
constexpr unsigned kTagHigh = 7, kTagLow = 5, kLengthHigh = 4, kLengthLow = 0;

// Vendor blocks: the first three payload bytes are the OUI, least
// significant byte first (CTA-861-H section 7.5.4); in the vendor video and
// audio blocks they follow the extended tag.
constexpr size_t kOuiSize = 3;

// HDMI Forum VSDB (HDMI 2.1 section 10.3.2): after the OUI, or after the
// extended tag 0x79 and two reserved bytes of the HF-SCDB, the same fields.
constexpr size_t kHfFields = 3;
constexpr size_t kHfVersion = 0;
constexpr size_t kHfTmdsRate = 1;  // x 5 MHz
constexpr uint32_t kHfTmdsUnitMhz = 5;
constexpr size_t kHfFlags = 2;  // SCDC_Present .. 3D_OSD_Disparity
constexpr size_t kHfFrlDeepColor = 3;
constexpr size_t kHfFeatures = 4;  // HDMI 2.1: QMS .. FAPA_start_location
constexpr size_t kHfVrrMin = 5;    // bits 7-6 VRRmax bits 9-8, bits 5-0 VRRmin
constexpr size_t kHfVrrMaxLow = 6;
constexpr size_t kHfDsc = 7;
constexpr size_t kHfDscRates = 8;  // bits 7-4 DSC_Max_FRL_Rate, 3-0 DSC_MaxSlices
constexpr size_t kHfDscChunk = 9;  // bits 5-0 DSC_TotalChunkKBytes

// HDR static metadata (CTA-861-H section 7.5.13), after the extended tag:
// byte 0 EOTFs, byte 1 descriptor types, then up to three luminance codes.
constexpr size_t kHdrEotfs = 0, kHdrDescriptors = 1, kHdrMaxLuminance = 2, kHdrMaxFrameAverage = 3,
                 kHdrMinLuminance = 4;
constexpr double kLuminanceBase = 50.0, kLuminanceStep = 32.0;

// HDR dynamic metadata (section 7.5.14): descriptors of one length byte,
// a two-byte type (little-endian), then the support bytes (bits 3-0 version).
constexpr size_t kDynamicHeader = 3;

// Colorimetry (section 7.5.5): two bytes after the extended tag.
constexpr unsigned kMetadataHigh = 3;

// Room configuration (section 7.5.15), after the extended tag.
constexpr size_t kRoomFlags = 0, kRoomSpeakers = 1, kRoomMax = 4, kRoomDisplay = 7;

// Short audio descriptor (section 7.5.2): 3 bytes.
constexpr uint32_t kAudioDsd = 9, kAudioEac3 = 10, kAudioDtsHd = 11, kAudioMat = 12;
constexpr uint32_t kExtMpeg4HeAac = 4, kExtMpeg4HeAacV2 = 5, kExtMpeg4AacLc = 6,
                   kExtMpegSurroundHeAac = 8, kExtMpegSurroundAacLc = 10, kExtMpegH = 11,
                   kExtAc4 = 12, kExtLpcm3d = 13;

// SVD codes (section 7.5.1): 1-64 and 129-192 carry VIC 1-64 (bit 7 native),
// 65-127 and 193-255 are VICs themselves; 0 and 128 are reserved.
constexpr uint8_t svd_vic(uint8_t code) {
  return code > 128 && code <= 192 ? static_cast<uint8_t>(code & 0x7F) : code;
}

template <size_t N>
void push(uint8_t (&array)[N], uint32_t *count, uint8_t value) {
  if (*count < N) array[*count] = value;
  if (*count < N) ++*count;
}

double max_luminance(uint8_t cv) {
  return kLuminanceBase * std::pow(2.0, cv / kLuminanceStep);
}

// ---------------------------------------------------------------------------
// One reader per block kind; p is the payload after the header byte.

void read_video(bytes p, cta_info_t *info) {
  for (uint8_t code : p) push(info->svd_vics, &info->svd_count, svd_vic(code));
}

void read_sad(bytes d, cta_sad_t *sad) {
  sad->format = static_cast<uint8_t>(edc::bit_range(d[0], 6, 3));
  sad->channels = static_cast<uint8_t>(edc::bit_range(d[0], 2, 0) + 1);
  sad->rates = static_cast<uint8_t>(edc::bit_range(d[1], 6, 0));
  const uint8_t b3 = d[2];
  sad->byte3 = b3;
  const uint32_t format = sad->format;
  if (format == kAudioLpcm) sad->bit_depths = static_cast<uint8_t>(edc::bit_range(b3, 2, 0));
  if (format >= kAudioFirstBitRate && format <= kAudioLastBitRate)
    sad->max_bit_rate_khz = static_cast<uint16_t>(b3 * kAudioBitRateUnitKhz);
  if (format >= kAudioDsd && format <= kAudioWmaPro) sad->value = b3;
  if (format == kAudioEac3) {
    sad->joc = edc::has_bit(b3, 0);
    sad->joc_acmod28 = edc::has_bit(b3, 1);
  }
  if (format == kAudioMat) sad->mat_atmos = edc::has_bit(b3, 0);
  if (format == kAudioDtsHd) sad->dtsx = edc::has_bit(b3, 1);
  if (format != kAudioExtension) return;
  const uint32_t type = edc::bit_range(b3, 7, 3);
  sad->extension_type = static_cast<uint8_t>(type);
  switch (type) {
    case kExtMpeg4HeAac:
    case kExtMpeg4HeAacV2:
    case kExtMpeg4AacLc:
    case kExtMpegSurroundHeAac:
    case kExtMpegSurroundAacLc:
      sad->frame_960 = edc::has_bit(b3, 1);
      sad->frame_1024 = edc::has_bit(b3, 2);
      sad->mps_l =
          (type == kExtMpegSurroundHeAac || type == kExtMpegSurroundAacLc) && edc::has_bit(b3, 0);
      break;
    case kExtMpegH:
      sad->mpegh_level = static_cast<uint8_t>(edc::bit_range(b3, 2, 0));
      break;
    case kExtAc4:
      sad->ac4_flags = static_cast<uint8_t>(edc::bit_range(b3, 2, 0));
      break;
    case kExtLpcm3d:
      // byte 1 bit 7 is the channel count's bit 4 (up to 32 channels)
      sad->channels = static_cast<uint8_t>(
          ((edc::bit_range(d[0], 7, 7) << 3 | edc::bit_range(d[0], 2, 0)) + 1));
      sad->bit_depths = static_cast<uint8_t>(edc::bit_range(b3, 2, 0));
      break;
    default:
      break;
  }
}

void read_audio(bytes p, cta_info_t *info) {
  for (size_t at = 0; at + kSadSize <= p.size(); at += kSadSize) {
    if (info->sad_count >= CTA_MAX_SADS) return;
    read_sad(p.subspan(at, kSadSize), &info->sads[info->sad_count++]);
  }
}

uint32_t speaker_mask(bytes p) {
  uint32_t mask = 0;
  for (size_t i = 0; i < p.size() && i < 3; ++i) mask |= static_cast<uint32_t>(p[i]) << (8 * i);
  return mask;
}

void read_speaker(bytes p, cta_info_t *info) {
  info->speaker.present = true;
  info->speaker.speakers = speaker_mask(p);
}

// The HDMI Forum block's one-bit flags: field byte, bit, record member.
struct hf_flag {
  size_t byte;
  unsigned bit;
  bool cta_hf_vsdb_t::*member;
};
constexpr hf_flag kHfFlagBits[] = {
    {kHfFlags, 7, &cta_hf_vsdb_t::scdc_present},
    {kHfFlags, 6, &cta_hf_vsdb_t::rr_capable},
    {kHfFlags, 5, &cta_hf_vsdb_t::cable_status},
    {kHfFlags, 4, &cta_hf_vsdb_t::ccbpci},
    {kHfFlags, 3, &cta_hf_vsdb_t::lte_340mcsc_scramble},
    {kHfFlags, 2, &cta_hf_vsdb_t::independent_view},
    {kHfFlags, 1, &cta_hf_vsdb_t::dual_view},
    {kHfFlags, 0, &cta_hf_vsdb_t::osd_disparity_3d},
    {kHfFrlDeepColor, 3, &cta_hf_vsdb_t::uhd_vic},
    {kHfFrlDeepColor, 2, &cta_hf_vsdb_t::dc_48bit_420},
    {kHfFrlDeepColor, 1, &cta_hf_vsdb_t::dc_36bit_420},
    {kHfFrlDeepColor, 0, &cta_hf_vsdb_t::dc_30bit_420},
    {kHfFeatures, 7, &cta_hf_vsdb_t::qms_tfr_max},
    {kHfFeatures, 6, &cta_hf_vsdb_t::qms},
    {kHfFeatures, 5, &cta_hf_vsdb_t::m_delta},
    {kHfFeatures, 4, &cta_hf_vsdb_t::cinema_vrr},
    {kHfFeatures, 3, &cta_hf_vsdb_t::cnm_vrr},
    {kHfFeatures, 2, &cta_hf_vsdb_t::fva},
    {kHfFeatures, 1, &cta_hf_vsdb_t::allm},
    {kHfFeatures, 0, &cta_hf_vsdb_t::fapa_start_location},
    {kHfDsc, 7, &cta_hf_vsdb_t::dsc_1p2},
    {kHfDsc, 6, &cta_hf_vsdb_t::dsc_native_420},
    {kHfDsc, 5, &cta_hf_vsdb_t::fapa_end_extended},
    {kHfDsc, 3, &cta_hf_vsdb_t::dsc_all_bpp},
    {kHfDsc, 2, &cta_hf_vsdb_t::dsc_16bpc},
    {kHfDsc, 1, &cta_hf_vsdb_t::dsc_12bpc},
    {kHfDsc, 0, &cta_hf_vsdb_t::dsc_10bpc},
};

void read_hf_fields(bytes s, bool from_scdb, cta_info_t *info) {
  cta_hf_vsdb_t *hf = &info->hf_vsdb;
  if (hf->present || s.size() <= kHfFlags) return;  // the first one counts
  hf->present = true;
  hf->from_scdb = from_scdb;
  hf->version = s[kHfVersion];
  hf->max_tmds_character_rate_mhz = static_cast<uint16_t>(s[kHfTmdsRate] * kHfTmdsUnitMhz);
  for (const hf_flag &flag : kHfFlagBits)
    if (flag.byte < s.size()) hf->*flag.member = edc::has_bit(s[flag.byte], flag.bit);
  if (s.size() <= kHfFrlDeepColor) return;
  hf->max_frl_rate = static_cast<uint8_t>(edc::bit_range(s[kHfFrlDeepColor], 7, 4));
  hf->has_byte8 = s.size() > kHfFeatures;
  if (s.size() <= kHfVrrMaxLow) return;
  hf->has_vrr = true;
  hf->vrr_min = static_cast<uint8_t>(edc::bit_range(s[kHfVrrMin], 5, 0));
  hf->vrr_max = static_cast<uint16_t>(edc::bit_range(s[kHfVrrMin], 7, 6) << 8 | s[kHfVrrMaxLow]);
  if (s.size() <= kHfDscRates) return;
  hf->has_dsc = true;
  hf->dsc_max_frl_rate = static_cast<uint8_t>(edc::bit_range(s[kHfDscRates], 7, 4));
  hf->dsc_max_slices = static_cast<uint8_t>(edc::bit_range(s[kHfDscRates], 3, 0));
  if (s.size() <= kHfDscChunk) return;
  hf->has_dsc_chunk = true;
  hf->dsc_total_chunk_kbytes = static_cast<uint8_t>(edc::bit_range(s[kHfDscChunk], 5, 0));
}

void read_hf_scdb(bytes e, cta_info_t *info) {
  // e starts after the extended tag: two reserved bytes, then the fields
  if (e.size() > kHfFields - 1) read_hf_fields(e.subspan(kHfFields - 1), true, info);
}

void read_video_capability(bytes e, cta_info_t *info) {
  if (e.empty()) return;
  cta_video_capability_t *v = &info->video_capability;
  v->present = true;
  v->qy = edc::has_bit(e[0], 7);
  v->qs = edc::has_bit(e[0], 6);
  v->s_pt = static_cast<uint8_t>(edc::bit_range(e[0], 5, 4));
  v->s_it = static_cast<uint8_t>(edc::bit_range(e[0], 3, 2));
  v->s_ce = static_cast<uint8_t>(edc::bit_range(e[0], 1, 0));
}

void read_colorimetry(bytes e, cta_info_t *info) {
  if (e.size() < 2) return;
  info->colorimetry.present = true;
  info->colorimetry.flags = static_cast<uint16_t>(e[0] | (edc::bit_range(e[1], 7, 4) << 12));
  info->colorimetry.metadata = static_cast<uint8_t>(edc::bit_range(e[1], kMetadataHigh, 0));
}

void read_hdr_static(bytes e, cta_info_t *info) {
  if (e.size() <= kHdrDescriptors) return;
  cta_hdr_static_t *h = &info->hdr_static;
  h->present = true;
  h->eotfs = static_cast<uint8_t>(edc::bit_range(e[kHdrEotfs], 5, 0));
  h->descriptors = e[kHdrDescriptors];
  h->has_max_luminance = e.size() > kHdrMaxLuminance;
  h->has_max_frame_average = e.size() > kHdrMaxFrameAverage;
  h->has_min_luminance = e.size() > kHdrMinLuminance;
  if (h->has_max_luminance) {
    h->max_luminance_cv = e[kHdrMaxLuminance];
    h->max_luminance = max_luminance(h->max_luminance_cv);
  }
  if (h->has_max_frame_average) {
    h->max_frame_average_cv = e[kHdrMaxFrameAverage];
    h->max_frame_average = max_luminance(h->max_frame_average_cv);
  }
  if (h->has_min_luminance) {
    h->min_luminance_cv = e[kHdrMinLuminance];
    const double ratio = h->min_luminance_cv / 255.0;
    h->min_luminance = h->max_luminance * ratio * ratio / 100.0;
  }
}

void read_hdr_dynamic(bytes e, cta_info_t *info) {
  size_t at = 0;
  while (at < e.size() && info->hdr_dynamic_count < CTA_MAX_HDR_DYNAMIC) {
    const size_t length = e[at];  // bytes after the length byte
    if (length < 2 || at + 1 + length > e.size()) return;
    cta_hdr_dynamic_t *d = &info->hdr_dynamic[info->hdr_dynamic_count++];
    d->type = static_cast<uint16_t>(e[at + 1] | e[at + 2] << 8);
    d->has_version = length >= kDynamicHeader;
    if (d->has_version)
      d->version = static_cast<uint8_t>(edc::bit_range(e[at + kDynamicHeader], 3, 0));
    at += 1 + length;
  }
}

void read_ycbcr420_video(bytes e, cta_info_t *info) {
  for (uint8_t code : e) push(info->ycbcr420_vics, &info->ycbcr420_count, svd_vic(code));
}

// The map's bit n marks the extension's n-th SVD; the SVDs of an extension
// start at first_svd in info->svd_vics. An empty map marks them all.
void read_ycbcr420_map(bytes e, uint32_t first_svd, cta_info_t *info) {
  info->has_ycbcr420_map = true;
  const uint32_t svds = std::min<uint32_t>(info->svd_count, CTA_MAX_SVDS) - first_svd;
  for (uint32_t n = 0; n < svds; ++n) {
    const bool marked = e.empty() || (n / 8 < e.size() && edc::has_bit(e[n / 8], n % 8));
    if (marked)
      push(info->ycbcr420_map_vics, &info->ycbcr420_map_count, info->svd_vics[first_svd + n]);
  }
}

void read_room(bytes e, cta_info_t *info) {
  if (e.size() <= kRoomSpeakers + 2) return;
  cta_room_t *r = &info->room;
  r->present = true;
  r->display = edc::has_bit(e[kRoomFlags], 7);
  r->speaker_count_valid = edc::has_bit(e[kRoomFlags], 6);
  r->sld = edc::has_bit(e[kRoomFlags], 5);
  if (r->speaker_count_valid)
    r->speaker_count = static_cast<uint8_t>(edc::bit_range(e[kRoomFlags], 4, 0) + 1);
  r->speakers = speaker_mask(e.subspan(kRoomSpeakers, 3));
  r->has_dimensions = e.size() >= kRoomMax + 3;
  if (r->has_dimensions) {
    r->max_x = e[kRoomMax];
    r->max_y = e[kRoomMax + 1];
    r->max_z = e[kRoomMax + 2];
  }
  r->has_display_position = e.size() >= kRoomDisplay + 3;
  if (r->has_display_position) {
    r->display_x = e[kRoomDisplay];
    r->display_y = e[kRoomDisplay + 1];
    r->display_z = e[kRoomDisplay + 2];
  }
}

// ---------------------------------------------------------------------------
// The walk

uint32_t oui_at(bytes p) {
  return static_cast<uint32_t>(p[0] | p[1] << 8 | p[2] << 16);
}

// Reads one complete block's payload p (the extended tag first, when tag 7).
void read_block(const cta_block_t &block, bytes p, cta_info_t *info) {
  switch (block.tag) {
    case CTA_TAG_AUDIO:
      return read_audio(p, info);
    case CTA_TAG_VIDEO:
      return read_video(p, info);
    case CTA_TAG_SPEAKER:
      return read_speaker(p, info);
    case CTA_TAG_VENDOR:
      if (block.has_oui && block.oui == CTA_OUI_HDMI_FORUM)
        read_hf_fields(p.subspan(kHfFields), false, info);
      return;
    case CTA_TAG_EXTENDED:
      break;
    default:
      return;
  }
  if (p.empty()) return;
  const bytes e = p.subspan(1);
  switch (block.extended_tag) {
    case CTA_EXT_VIDEO_CAPABILITY:
      return read_video_capability(e, info);
    case CTA_EXT_COLORIMETRY:
      return read_colorimetry(e, info);
    case CTA_EXT_HDR_STATIC:
      return read_hdr_static(e, info);
    case CTA_EXT_HDR_DYNAMIC:
      return read_hdr_dynamic(e, info);
    case CTA_EXT_YCBCR420_VIDEO:
      return read_ycbcr420_video(e, info);
    case CTA_EXT_ROOM_CONFIGURATION:
      return read_room(e, info);
    case CTA_EXT_HF_SCDB:
      return read_hf_scdb(e, info);
    default:
      return;
  }
}

bool is_vendor(uint8_t tag, uint8_t extended_tag) {
  return tag == CTA_TAG_VENDOR ||
         (tag == CTA_TAG_EXTENDED &&
          (extended_tag == CTA_EXT_VENDOR_VIDEO || extended_tag == CTA_EXT_VENDOR_AUDIO));
}

void read_extension(bytes ext, uint8_t index, cta_info_t *info) {
  const uint8_t slot = info->extensions_read++;
  info->extension_revision[slot] = ext[kCeaRevision];
  info->dtd_offset[slot] = ext[kCeaDtdOffset];
  // data blocks run from byte 4 to d; a d outside 4..127 leaves none
  size_t end = ext[kCeaDtdOffset];
  if (end < kCeaDataBlocks || end > kChecksum) end = kCeaDataBlocks;
  const uint32_t first_svd = std::min<uint32_t>(info->svd_count, CTA_MAX_SVDS);
  bytes map;  // the extension's 4:2:0 capability map, resolved once its SVDs are known
  bool has_map = false;
  for (size_t at = kCeaDataBlocks; at < end;) {
    const uint8_t header = ext[at];
    const size_t length = edc::bit_range(header, kLengthHigh, kLengthLow);
    const size_t available = std::min(length, end - at - 1);
    const bytes p = ext.subspan(at + 1, available);
    cta_block_t block{};
    block.extension = index;
    block.offset = static_cast<uint8_t>(at);
    block.tag = static_cast<uint8_t>(edc::bit_range(header, kTagHigh, kTagLow));
    block.length = static_cast<uint8_t>(length);
    block.truncated = available < length;
    if (block.tag == CTA_TAG_EXTENDED && !p.empty()) block.extended_tag = p[0];
    const size_t oui_at_byte = block.tag == CTA_TAG_EXTENDED ? 1 : 0;
    if (is_vendor(block.tag, block.extended_tag) && p.size() >= oui_at_byte + kOuiSize) {
      block.has_oui = true;
      block.oui = oui_at(p.subspan(oui_at_byte));
    }
    block.payload_size = static_cast<uint8_t>(available);
    std::copy(p.begin(), p.end(), block.payload);
    const bool is_map = block.tag == CTA_TAG_EXTENDED && block.extended_tag == CTA_EXT_YCBCR420_MAP;
    if (!block.truncated && is_map) {
      map = p.subspan(1);
      has_map = true;
    } else if (!block.truncated) {
      read_block(block, p, info);
    }
    if (info->block_count < CTA_MAX_BLOCKS) info->blocks[info->block_count] = block;
    ++info->block_count;
    at += 1 + length;
  }
  if (has_map) read_ycbcr420_map(map, first_svd, info);
}

}  // namespace

extern "C" uint8_t cta_read_edid(const uint8_t *bytes_in, uint32_t size, cta_info_t *info) {
  if (info == nullptr) return 0;
  memset(info, 0, sizeof *info);
  if (bytes_in == nullptr) return 0;
  const bytes edid(bytes_in, size);
  const uint32_t blocks = std::min<uint32_t>(size / kBlockSize, kMaxEdidBlocks);
  for (uint32_t b = 1; b < blocks; ++b) {
    const bytes ext = edid.subspan(b * kBlockSize, kBlockSize);
    if (ext[kCeaTag] == kCeaExtensionTag) read_extension(ext, static_cast<uint8_t>(b), info);
  }
  return info->extensions_read > 0 ? 1 : 0;
}
