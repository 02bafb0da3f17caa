/*
 * The modern composition profile: an opt-in stage after compose_edid that
 * offers what an HDMI 2.0 device with HDR carries of a television's EDID
 * (4K at 50/60 Hz, the HDMI Forum VSDB, YCbCr 4:2:0, HDR static metadata,
 * BT.2020 colorimetry, vendor HDR blocks) and makes the result pass
 * `edid-decode --check`.
 *
 * With the profile off (modern.enabled = 0, the default) compose_edid_profile
 * is exactly compose_edid: not one byte differs.
 *
 * With it on, compose_edid composes as always and the profile then rebuilds
 * the 256 bytes in these steps (CTA-861-H, HDMI 2.0b, VESA E-EDID 1.3):
 *
 * 1. Effective TMDS character rate R (MHz): the device's max_tmds_rate,
 *    limited to 340 without SCDC; the lower of that and the television's
 *    HDMI Forum rate (its Max_TMDS_Character_Rate, or 340 when it gives 0).
 *    A television without an HDMI Forum block gets at most 340.
 * 2. Video. The composed video block's VICs, each once (first occurrence
 *    kept). Then the device's vic_priority_list in its order: a VIC the
 *    television declares in its video blocks whose pixel clock is at most R
 *    is appended (the full route), with a bit in the 4:2:0 capability map
 *    when both sides also do it as YCbCr 4:2:0; otherwise, when both sides
 *    do it as 4:2:0 and half its pixel clock is at most R, it goes into a
 *    YCbCr 4:2:0 video block (4:2:0 only, not in the video block). "Both
 *    sides do 4:2:0" means: the television has an HDMI Forum block and lists
 *    the VIC in its 4:2:0 video block or capability map, the device has
 *    ycbcr420, and the format's pixel clock is 590 MHz or more (HDMI 2.0
 *    defines 4:2:0 for the 4K 50/60 Hz formats). Then the CTA equivalent of
 *    every HDMI VIC of the composed HDMI VSDB (95, 94, 93, 98) not yet listed.
 *    A VIC whose horizontal rate exceeds 255 kHz (the range-limits field) is
 *    not offered. The video block holds at most 31: appended formats go
 *    first, lowest priority first, then HDMI VICs whose equivalents cannot
 *    be listed; 3D entries of the HDMI VSDB follow their formats.
 * 3. HDMI VSDB as composed, its Max_TMDS_Clock capped at 340 MHz.
 * 4. HDMI Forum VSDB (tag 3, OUI C4-5D-D8, 7 payload bytes) right after it,
 *    only when the television has one: version 1; Max_TMDS_Character_Rate
 *    R / 5 when R > 340, else 0; SCDC_Present when R > 340; UHD_VIC when the
 *    HDMI VSDB lists HDMI VICs and the video block their CTA equivalents;
 *    DC_48/36/30bit_420 the television's AND the device's, only when a 4:2:0
 *    format is offered; everything else (HDMI 2.1 fields included) 0.
 * 5. Colorimetry block: the composed block's xvYCC bits, plus the television's
 *    flags AND the device's colorimetry; metadata bits MD0-MD3 0; no block
 *    when nothing is left.
 * 6. HDR static metadata block, when the television has one and the
 *    transfer functions (television AND device; SDR, PQ, HLG) include PQ or
 *    HLG: those transfer functions, static metadata type 1 when both sides
 *    have it, and the television's luminance bytes as it gives them.
 * 7. Video capability block: QS from rgb_quantization_selectable; QY, S_PT,
 *    S_IT and S_CE the television's (QY 0 and the behaviours 0 when it has
 *    no such block); then an S_IT or S_CE of 0 ("not supported") or an S_IT
 *    contradicting the extension's underscan bit becomes 3 (both over- and
 *    underscan), and an S_PT equal to both becomes 0.
 * 8. YCbCr 4:2:0 video block and capability map (the map built from the
 *    final video block order, as long as its last set bit needs; no map
 *    when no bit is set).
 * 9. With vendor_hdr and PQ offered: the television's Dolby Vision and HDR10+
 *    vendor-specific video blocks, copied whole.
 * 10. Audio block as composed; where the television has the same format,
 *    the bits CTA-861-H defines in the third byte are the television's:
 *    E-AC-3 bits 1-0 (Joint Object Coding, with ACMOD 28), DTS-HD bit 1
 *    (DTS:X), MAT bits 1-0 (TrueHD with Atmos, hash calculation not
 *    required).
 * 11. Base block: the range-limits descriptor widened to cover every timing
 *    offered (established, standard, detailed, every VIC); every detailed
 *    timing's image size set to the screen size; sRGB claimed only when the
 *    chromaticity codes are sRGB's exactly (655, 338, 307, 614, 154, 61, 320,
 *    337 in 1/1024); 640x480 at 60 Hz among the established timings; the
 *    extension count at byte 0x7E and a product name descriptor (the
 *    manufacturer ID when the configuration has no monitor_name) in a slot
 *    the composer left without a descriptor. The
 *    extension: one native detailed timing (byte 3 bits 3-0 = 1, the base
 *    block's preferred timing, which is the first video descriptor's
 *    format), no native bit in the video descriptors, the basic-audio bit
 *    set with an audio block.
 * 12. Room: blocks in the order speaker, video, audio, HDMI VSDB, HDMI Forum
 *    VSDB, colorimetry, HDR static metadata, video capability, 4:2:0 video,
 *    4:2:0 map, Dolby Vision, HDR10+, then the extension's detailed timing and
 *    serial descriptor. When they do not fit in the extension, these go, one
 *    at a time, each with a trace line, until they fit: the extension's
 *    640x480 detailed timing (VIC 1 and the established timing keep it); the
 *    appended VICs (video block or 4:2:0 block), lowest priority first, but
 *    never an HDMI VIC's equivalent; the HDR10+ block; the Dolby Vision
 *    block; the HDR static metadata block; the colorimetry block; the
 *    extension's last descriptor (the serial number). A block is never cut.
 *
 * The physical address moves with the HDMI VSDB; cfg->spa_offset receives
 * its new offset.
 */
#ifndef EDIDCOMPOSER_COMPOSE_PROFILE_H
#define EDIDCOMPOSER_COMPOSE_PROFILE_H

#include <stdbool.h>
#include <stdint.h>

#include "edid_composer.h"

#ifdef __cplusplus
extern "C" {
#endif

#define COMPOSE_PROFILE_MAX_VICS 32

/* The device's capabilities, from the configuration keys modern.*. */
typedef struct {
  bool enabled;                  /* modern.enabled */
  uint16_t max_tmds_rate_mhz;    /* modern.max_tmds_rate, 0..600, default 340 */
  bool scdc;                     /* modern.scdc: the device's receiver has SCDC */
  bool ycbcr420;                 /* modern.ycbcr420: it carries YCbCr 4:2:0 */
  bool dc_30bit_420;             /* modern.dc_30bit_420 */
  bool dc_36bit_420;             /* modern.dc_36bit_420 */
  bool dc_48bit_420;             /* modern.dc_48bit_420 */
  uint8_t vic_count;             /* modern.vic_priority_list: VICs 65..219, in order */
  uint8_t vics[COMPOSE_PROFILE_MAX_VICS];
  uint8_t eotfs;                 /* modern.hdr_eotfs: CTA_EOTF_SDR, _PQ, _HLG */
  bool static_metadata_type1;    /* modern.hdr_static_metadata_type1 */
  uint16_t colorimetry;          /* modern.colorimetry: CTA_COLORIMETRY_* */
  bool vendor_hdr;               /* modern.vendor_hdr: pass Dolby Vision, HDR10+ */
  bool rgb_quantization_selectable; /* modern.rgb_quantization_selectable, default 1 */
} compose_profile_t;

/* The profile's defaults: off, 340 MHz, no SCDC, no 4:2:0, no VIC, no HDR,
 * no colorimetry, no vendor blocks, RGB quantization selectable. */
void compose_profile_defaults(compose_profile_t *profile);

/* Reads the modern.* keys of the platform configuration into profile (the
 * defaults for keys that are missing; a value out of range or a word not
 * known is skipped or clamped with a warning). Returns false only for a NULL
 * profile. */
bool compose_profile_read(compose_profile_t *profile);

/* compose_edid, then, when the profile is enabled, the profile's steps.
 * profile may be NULL: it is then read from the configuration. */
bool compose_edid_profile(const uint8_t *edid_block, int32_t edid_bytes, uint8_t *new_edid_block,
                          uint32_t new_size, composer_cfg_t *cfg,
                          const compose_profile_t *profile);

/* The profile's steps alone, on a 256-byte EDID that compose_edid wrote
 * (new_edid), for the television's EDID (edid_block, edid_bytes; may be NULL
 * or 0). spa_offset, when not NULL, receives the physical address offset.
 * Returns false, leaving new_edid as it was, when new_edid is not such an
 * EDID. */
bool compose_profile_apply(const uint8_t *edid_block, uint32_t edid_bytes, uint8_t *new_edid,
                           const compose_profile_t *profile, uint8_t *spa_offset);

#ifdef __cplusplus
}
#endif

#endif /* EDIDCOMPOSER_COMPOSE_PROFILE_H */
