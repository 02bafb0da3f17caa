/* Reader of the CTA-861 data blocks that televisions declare beyond an HDMI
 * 1.4b sink: the HDMI Forum blocks, HDR metadata, colorimetry, video
 * capability, YCbCr 4:2:0, speaker and room configuration, the third byte of
 * every short audio descriptor, and every vendor or other block with its
 * payload. It stands beside the decoder of edid_decode_encode.h and fills one
 * plain record: fixed-size arrays with counts, no allocation. */
#ifndef EDIDCOMPOSER_CTA_READER_H
#define EDIDCOMPOSER_CTA_READER_H

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define CTA_MAX_EXTENSIONS 3 /* an EDID of at most four blocks */
#define CTA_MAX_PAYLOAD 31   /* a data block's payload, its header byte aside */
#define CTA_MAX_BLOCKS                                                       \
  96 /* one-byte blocks could fill 3 x 123 bytes; more are counted, not kept \
      */
#define CTA_MAX_SVDS 96
#define CTA_MAX_SADS 32
#define CTA_MAX_HDR_DYNAMIC 8

/* Data block tags (CTA-861-H table 54) and extended tags (table 55). */
enum {
  CTA_TAG_AUDIO = 1,
  CTA_TAG_VIDEO = 2,
  CTA_TAG_VENDOR = 3,
  CTA_TAG_SPEAKER = 4,
  CTA_TAG_EXTENDED = 7,
  CTA_EXT_VIDEO_CAPABILITY = 0,
  CTA_EXT_VENDOR_VIDEO = 1,
  CTA_EXT_COLORIMETRY = 5,
  CTA_EXT_HDR_STATIC = 6,
  CTA_EXT_HDR_DYNAMIC = 7,
  CTA_EXT_YCBCR420_VIDEO = 14,
  CTA_EXT_YCBCR420_MAP = 15,
  CTA_EXT_VENDOR_AUDIO = 17,
  CTA_EXT_ROOM_CONFIGURATION = 19,
  CTA_EXT_HF_SCDB = 121
};

/* Vendor OUIs, as numbers (the bytes of the block are little-endian). */
#define CTA_OUI_HDMI 0x000C03u
#define CTA_OUI_HDMI_FORUM 0xC45DD8u
#define CTA_OUI_DOLBY 0x00D046u
#define CTA_OUI_HDR10_PLUS 0x90848Bu

/* One data block, in the order of the extension. */
typedef struct {
  uint8_t extension;    /* 1..3: the EDID block holding it */
  uint8_t offset;       /* of its header byte in that block */
  uint8_t tag;          /* bits 7-5 of the header byte */
  uint8_t extended_tag; /* first payload byte when tag is 7, else 0 */
  uint8_t length;       /* payload length from the header byte (0..31) */
  bool truncated;       /* the payload runs past the detailed-timing offset or the block */
  bool has_oui;         /* a vendor block (tag 3, extended tag 1 or 17) with its three OUI bytes */
  uint32_t oui;
  uint8_t payload_size; /* bytes copied: the payload within bounds */
  uint8_t payload[CTA_MAX_PAYLOAD];
} cta_block_t;

/* HDMI Forum VSDB (tag 3, OUI C4-5D-D8) or HF-SCDB (extended tag 121). */
typedef struct {
  bool present;
  bool from_scdb;
  uint8_t version;
  uint16_t max_tmds_character_rate_mhz; /* 0: not indicated (340 MHz or less) */
  bool scdc_present, rr_capable, cable_status, ccbpci, lte_340mcsc_scramble;
  bool independent_view, dual_view, osd_disparity_3d;
  uint8_t max_frl_rate; /* code 0..15 */
  bool uhd_vic, dc_48bit_420, dc_36bit_420, dc_30bit_420;
  bool has_byte8; /* HDMI 2.1 fields below exist in the block */
  bool qms_tfr_max, qms, m_delta, qms_tfr_min, cinema_vrr, cnm_vrr, fva, allm, fapa_start_location;
  bool has_vrr;
  uint8_t vrr_min;  /* Hz */
  uint16_t vrr_max; /* Hz, 0: not indicated */
  bool has_dsc;
  bool dsc_1p2, dsc_native_420, fapa_end_extended, dsc_all_bpp, dsc_16bpc, dsc_12bpc, dsc_10bpc;
  uint8_t dsc_max_frl_rate; /* code 0..15 */
  uint8_t dsc_max_slices;   /* code 0..15 */
  bool has_dsc_chunk;
  uint8_t dsc_total_chunk_kbytes; /* code: (code + 1) KiB */
} cta_hf_vsdb_t;

/* HDR static metadata (extended tag 6). */
#define CTA_EOTF_SDR 0x01u /* traditional gamma, SDR luminance range */
#define CTA_EOTF_HDR 0x02u /* traditional gamma, HDR luminance range */
#define CTA_EOTF_PQ 0x04u  /* SMPTE ST 2084 */
#define CTA_EOTF_HLG 0x08u /* hybrid log-gamma */
typedef struct {
  bool present;
  uint8_t eotfs;       /* CTA_EOTF_* and the reserved bits 5-4 */
  uint8_t descriptors; /* bit 0: static metadata type 1 */
  bool has_max_luminance, has_max_frame_average, has_min_luminance;
  uint8_t max_luminance_cv, max_frame_average_cv, min_luminance_cv;
  double max_luminance, max_frame_average, min_luminance; /* cd/m^2 */
} cta_hdr_static_t;

/* HDR dynamic metadata (extended tag 7): one entry per metadata type. */
typedef struct {
  uint16_t type;
  uint8_t version; /* bits 3-0 of the first support byte; 0 when absent */
  bool has_version;
} cta_hdr_dynamic_t;

/* Colorimetry (extended tag 5): first byte, bits 7-0 */
#define CTA_COLORIMETRY_XVYCC601 0x0001u
#define CTA_COLORIMETRY_XVYCC709 0x0002u
#define CTA_COLORIMETRY_SYCC601 0x0004u
#define CTA_COLORIMETRY_OPYCC601 0x0008u
#define CTA_COLORIMETRY_OPRGB 0x0010u
#define CTA_COLORIMETRY_BT2020CYCC 0x0020u
#define CTA_COLORIMETRY_BT2020YCC 0x0040u
#define CTA_COLORIMETRY_BT2020RGB 0x0080u
/* second byte, bits 7-4 (bits 3-0 are MD3-MD0); CTA-861-G named bit 7 DCI-P3 */
#define CTA_COLORIMETRY_ICTCP 0x4000u
#define CTA_COLORIMETRY_ST2113RGB 0x8000u
typedef struct {
  bool present;
  uint16_t flags;   /* first byte in bits 7-0, second byte's bits 7-4 in 15-12 */
  uint8_t metadata; /* MD3-MD0 */
} cta_colorimetry_t;

/* Video capability (extended tag 0). */
typedef struct {
  bool present;
  bool qy, qs;
  uint8_t s_pt, s_it, s_ce; /* 0 no data / not supported, 1 overscan, 2 underscan, 3 both */
} cta_video_capability_t;

/* Speaker allocation (tag 4) and the room configuration's mask: byte 1 in
 * bits 7-0, byte 2 in 15-8, byte 3 in 23-16. */
#define CTA_SPEAKER_FL_FR 0x000001u
#define CTA_SPEAKER_LFE1 0x000002u
#define CTA_SPEAKER_FC 0x000004u
#define CTA_SPEAKER_BL_BR 0x000008u
#define CTA_SPEAKER_BC 0x000010u
#define CTA_SPEAKER_FLC_FRC 0x000020u
#define CTA_SPEAKER_RLC_RRC 0x000040u
#define CTA_SPEAKER_FLW_FRW 0x000080u
#define CTA_SPEAKER_TPFL_TPFR 0x000100u
#define CTA_SPEAKER_TPC 0x000200u
#define CTA_SPEAKER_TPFC 0x000400u
#define CTA_SPEAKER_LS_RS 0x000800u
#define CTA_SPEAKER_LFE2 0x001000u
#define CTA_SPEAKER_TPBC 0x002000u
#define CTA_SPEAKER_SIL_SIR 0x004000u
#define CTA_SPEAKER_TPSIL_TPSIR 0x008000u
#define CTA_SPEAKER_TPBL_TPBR 0x010000u
#define CTA_SPEAKER_BTFC 0x020000u
#define CTA_SPEAKER_BTFL_BTFR 0x040000u
#define CTA_SPEAKER_TPLS_TPRS 0x080000u
#define CTA_SPEAKER_LSD_RSD 0x100000u
typedef struct {
  bool present;
  uint32_t speakers;
} cta_speaker_t;

/* Room configuration (extended tag 19). */
typedef struct {
  bool present;
  bool display;             /* byte 1 bit 7: the display location fields are valid */
  bool speaker_count_valid; /* bit 6 */
  bool sld;                 /* bit 5: speaker location descriptors follow */
  uint8_t speaker_count;    /* bits 4-0 + 1, when valid */
  uint32_t speakers;        /* bytes 2-4, as cta_speaker_t */
  bool has_dimensions;
  uint8_t max_x, max_y, max_z; /* bytes 5-7, decimetres */
  bool has_display_position;
  uint8_t display_x, display_y, display_z; /* bytes 8-10 */
} cta_room_t;

/* Short audio descriptor (tag 1), with its third byte decoded per format. */
typedef struct {
  uint8_t format;            /* audio format code 1..15 */
  uint8_t extension_type;    /* when format is 15, bits 7-3 of the third byte */
  uint8_t channels;          /* bits 2-0 + 1 (MPEG-H/AC-4/LPCM 3D: bit 7 and bits 2-0) */
  uint8_t rates;             /* bits 6-0: 32, 44.1, 48, 88.2, 96, 176.4, 192 kHz */
  uint8_t byte3;             /* the third byte as given */
  uint8_t bit_depths;        /* LPCM and LPCM 3D: bit 0 16, bit 1 20, bit 2 24 bit */
  uint16_t max_bit_rate_khz; /* AC-3 .. ATRAC: byte x 8 kHz */
  uint8_t value;             /* One Bit Audio .. WMA Pro: the format-dependent value (profile) */
  bool joc, joc_acmod28;     /* E-AC-3: Joint Object Coding, and with ACMOD 28 */
  bool mat_atmos;            /* MAT: bit 0, decodes Atmos (MAT 2.0) beyond TrueHD */
  bool dtsx;                 /* DTS-HD: bit 1, DTS:X */
  bool frame_960, frame_1024, mps_l; /* MPEG-4 AAC family: bits 1, 2 and 0 */
  uint8_t mpegh_level;               /* MPEG-H 3D audio: bits 2-0 of the third byte */
  uint8_t ac4_flags;                 /* AC-4: bits 2-0 */
} cta_sad_t;

typedef struct {
  uint8_t extensions_read; /* CTA extensions found (tag 0x02) */
  uint8_t extension_revision[CTA_MAX_EXTENSIONS];
  uint8_t dtd_offset[CTA_MAX_EXTENSIONS];
  uint32_t block_count; /* every block seen; the first CTA_MAX_BLOCKS are kept */
  cta_block_t blocks[CTA_MAX_BLOCKS];
  uint32_t svd_count;
  uint8_t svd_vics[CTA_MAX_SVDS]; /* the VICs of the video blocks in order; native bit dropped */
  cta_hf_vsdb_t hf_vsdb;
  cta_hdr_static_t hdr_static;
  uint32_t hdr_dynamic_count;
  cta_hdr_dynamic_t hdr_dynamic[CTA_MAX_HDR_DYNAMIC];
  cta_colorimetry_t colorimetry;
  cta_video_capability_t video_capability;
  uint32_t ycbcr420_count; /* VICs of the YCbCr 4:2:0 video blocks */
  uint8_t ycbcr420_vics[CTA_MAX_SVDS];
  bool has_ycbcr420_map;
  uint32_t ycbcr420_map_count; /* SVD VICs that the 4:2:0 capability map marks */
  uint8_t ycbcr420_map_vics[CTA_MAX_SVDS];
  cta_speaker_t speaker;
  cta_room_t room;
  uint32_t sad_count;
  cta_sad_t sads[CTA_MAX_SADS];
} cta_info_t;

/* Reads every CTA extension of an EDID of 2 to 4 blocks (at most size bytes;
 * reads past none) into info, which it first clears. Returns 1 when at least
 * one CTA extension was read, 0 otherwise (also for NULL arguments). */
uint8_t cta_read_edid(const uint8_t *bytes, uint32_t size, cta_info_t *info);

#ifdef __cplusplus
}
#endif

#endif /* EDIDCOMPOSER_CTA_READER_H */
