/*
 * The CTA-861 video formats: every VIC that CTA-861-I defines (1 to 127 and
 * 193 to 219) with its active picture, scan, field rate, picture aspect,
 * pixel clock and complete timing, and the four HDMI VICs of HDMI 1.4b with
 * the VICs that carry the same formats.
 *
 * The library's VIC table of utility.h (convert_vic_to_dtd,
 * short_video_timing_string, ...) is a separate, older table of VICs 1 to 64;
 * this one neither replaces nor changes it.
 */
#ifndef EDIDCOMPOSER_CTA_VIDEO_FORMATS_H
#define EDIDCOMPOSER_CTA_VIDEO_FORMATS_H

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Picture aspect ratio of a format. */
typedef enum {
  CTA_ASPECT_4_3 = 0,
  CTA_ASPECT_16_9 = 1,
  CTA_ASPECT_64_27 = 2,
  CTA_ASPECT_256_135 = 3
} cta_picture_aspect_t;

/*
 * One video format. Widths and heights count the pixels and lines the link
 * carries (the pixel-repeated formats count 1440 or 2880 pixels).
 *
 * v_active is the frame's active lines (1080 for 1920x1080i). For an
 * interlaced format v_front, v_sync and v_back are one field's, and v_total
 * is the frame's: twice a field's lines, plus one where the fields are
 * offset by half a line (every interlaced format but VIC 39).
 *
 * field_rate_mhz is the field rate (the frame rate of a progressive format)
 * at pixel_clock_khz, in millihertz rounded to the nearest. The formats with
 * an integer rate of 24, 30, 48, 60, 120 or 240 Hz also run at 1000/1001 of
 * it (59.94 Hz, a pixel clock 1000/1001 as fast); pixel_clock_khz is the
 * clock the standard lists first (25175 for VIC 1, 27000 for VIC 2, 74250
 * for VIC 4), and so field_rate_mhz is 59940 for VIC 2 and 60000 for VIC 4.
 */
typedef struct {
  uint8_t vic;
  uint16_t h_active, v_active;
  bool interlaced;
  uint32_t field_rate_mhz;
  cta_picture_aspect_t aspect;
  uint32_t pixel_clock_khz;
  uint16_t h_front, h_sync, h_back, h_total;
  uint16_t v_front, v_sync, v_back, v_total;
  bool h_sync_positive, v_sync_positive;
} cta_video_format_t;

/* Room for the longest name, "10240x4320p120 64:27", with its terminator. */
#define CTA_VIDEO_FORMAT_NAME_SIZE 24

/* The format of a VIC; NULL when the VIC is not defined (0, 128 to 192, 220
 * and above). */
const cta_video_format_t *cta_video_format_find(uint32_t vic);

/* The VIC of the format an HDMI VIC (1 to 4) names: 95, 94, 93, 98; 0 for
 * any other number. */
uint32_t cta_hdmi_vic_to_vic(uint32_t hdmi_vic);

/*
 * Writes the short name of a VIC's format, "3840x2160p60 16:9" (width x
 * height, p or i, the field rate rounded to whole hertz, the aspect) into
 * text, cut to text_size bytes and always terminated when text_size > 0.
 * Returns the length of the whole name, as snprintf does (text may be NULL
 * when text_size is 0); for an undefined VIC writes "" and returns 0.
 */
int32_t cta_video_format_name(uint32_t vic, char *text, uint32_t text_size);

#ifdef __cplusplus
}
#endif

#endif
