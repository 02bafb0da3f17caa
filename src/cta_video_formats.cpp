// The CTA-861 video format table and its look-ups.
#include "cta_video_formats.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace {

// Row shorthand, so that a row reads as one line of the standard's table.
enum scan : uint8_t { P, I, I_EVEN };  // I: fields offset by half a line; I_EVEN: not
enum polarity : uint8_t { Neg, Pos };
constexpr cta_picture_aspect_t A4x3 = CTA_ASPECT_4_3;
constexpr cta_picture_aspect_t A16x9 = CTA_ASPECT_16_9;
constexpr cta_picture_aspect_t A64x27 = CTA_ASPECT_64_27;
constexpr cta_picture_aspect_t A256x135 = CTA_ASPECT_256_135;

// A row: the VIC, its active picture, scan and aspect, the pixel clock, then
// the horizontal and vertical front porch, sync and back porch (one field's
// for an interlaced format) and the sync polarities. The totals and the field
// rate follow from these.
constexpr cta_video_format_t row(uint8_t vic, uint16_t h_active, uint16_t v_active, scan s,
                                 cta_picture_aspect_t aspect, uint32_t pixel_clock_khz,
                                 uint16_t h_front, uint16_t h_sync, uint16_t h_back,
                                 uint16_t v_front, uint16_t v_sync, uint16_t v_back, polarity h_pol,
                                 polarity v_pol) {
  cta_video_format_t f{};
  f.vic = vic;
  f.h_active = h_active;
  f.v_active = v_active;
  f.interlaced = s != P;
  f.aspect = aspect;
  f.pixel_clock_khz = pixel_clock_khz;
  f.h_front = h_front;
  f.h_sync = h_sync;
  f.h_back = h_back;
  f.h_total = static_cast<uint16_t>(h_active + h_front + h_sync + h_back);
  f.v_front = v_front;
  f.v_sync = v_sync;
  f.v_back = v_back;
  const uint32_t blanking = v_front + v_sync + v_back;
  f.v_total = static_cast<uint16_t>(s == P ? v_active + blanking
                                           : v_active + 2 * blanking + (s == I ? 1 : 0));
  f.h_sync_positive = h_pol == Pos;
  f.v_sync_positive = v_pol == Pos;
  // Fields a second in millihertz, rounded to the nearest: the clock in
  // millihertz (twice that for two fields a frame) over the frame's pixels.
  const uint64_t clock = uint64_t{pixel_clock_khz} * 1000000 * (f.interlaced ? 2 : 1);
  const uint64_t frame = uint64_t{f.h_total} * f.v_total;
  f.field_rate_mhz = static_cast<uint32_t>((clock + frame / 2) / frame);
  return f;
}

// CTA-861-I, table "Video Format Timings" (the detailed timing of every VIC),
// in VIC order: VICs 1 to 127, then 193 to 219.
// clang-format off
constexpr cta_video_format_t kFormats[] = {
    // VIC, H x V active, scan, aspect, pixel clock (kHz);
    // H front, sync, back; V front, sync, back; H and V sync polarity
    row(  1,   640,  480, P, A4x3,       25175,   16,  96,   48, 10, 2,  33, Neg, Neg),
    row(  2,   720,  480, P, A4x3,       27000,   16,  62,   60,  9, 6,  30, Neg, Neg),
    row(  3,   720,  480, P, A16x9,      27000,   16,  62,   60,  9, 6,  30, Neg, Neg),
    row(  4,  1280,  720, P, A16x9,      74250,  110,  40,  220,  5, 5,  20, Pos, Pos),
    row(  5,  1920, 1080, I, A16x9,      74250,   88,  44,  148,  2, 5,  15, Pos, Pos),
    row(  6,  1440,  480, I, A4x3,       27000,   38, 124,  114,  4, 3,  15, Neg, Neg),
    row(  7,  1440,  480, I, A16x9,      27000,   38, 124,  114,  4, 3,  15, Neg, Neg),
    row(  8,  1440,  240, P, A4x3,       27000,   38, 124,  114,  4, 3,  15, Neg, Neg),
    row(  9,  1440,  240, P, A16x9,      27000,   38, 124,  114,  4, 3,  15, Neg, Neg),
    row( 10,  2880,  480, I, A4x3,       54000,   76, 248,  228,  4, 3,  15, Neg, Neg),
    row( 11,  2880,  480, I, A16x9,      54000,   76, 248,  228,  4, 3,  15, Neg, Neg),
    row( 12,  2880,  240, P, A4x3,       54000,   76, 248,  228,  4, 3,  15, Neg, Neg),
    row( 13,  2880,  240, P, A16x9,      54000,   76, 248,  228,  4, 3,  15, Neg, Neg),
    row( 14,  1440,  480, P, A4x3,       54000,   32, 124,  120,  9, 6,  30, Neg, Neg),
    row( 15,  1440,  480, P, A16x9,      54000,   32, 124,  120,  9, 6,  30, Neg, Neg),
    row( 16,  1920, 1080, P, A16x9,     148500,   88,  44,  148,  4, 5,  36, Pos, Pos),
    row( 17,   720,  576, P, A4x3,       27000,   12,  64,   68,  5, 5,  39, Neg, Neg),
    row( 18,   720,  576, P, A16x9,      27000,   12,  64,   68,  5, 5,  39, Neg, Neg),
    row( 19,  1280,  720, P, A16x9,      74250,  440,  40,  220,  5, 5,  20, Pos, Pos),
    row( 20,  1920, 1080, I, A16x9,      74250,  528,  44,  148,  2, 5,  15, Pos, Pos),
    row( 21,  1440,  576, I, A4x3,       27000,   24, 126,  138,  2, 3,  19, Neg, Neg),
    row( 22,  1440,  576, I, A16x9,      27000,   24, 126,  138,  2, 3,  19, Neg, Neg),
    row( 23,  1440,  288, P, A4x3,       27000,   24, 126,  138,  2, 3,  19, Neg, Neg),
    row( 24,  1440,  288, P, A16x9,      27000,   24, 126,  138,  2, 3,  19, Neg, Neg),
    row( 25,  2880,  576, I, A4x3,       54000,   48, 252,  276,  2, 3,  19, Neg, Neg),
    row( 26,  2880,  576, I, A16x9,      54000,   48, 252,  276,  2, 3,  19, Neg, Neg),
    row( 27,  2880,  288, P, A4x3,       54000,   48, 252,  276,  2, 3,  19, Neg, Neg),
    row( 28,  2880,  288, P, A16x9,      54000,   48, 252,  276,  2, 3,  19, Neg, Neg),
    row( 29,  1440,  576, P, A4x3,       54000,   24, 128,  136,  5, 5,  39, Neg, Neg),
    row( 30,  1440,  576, P, A16x9,      54000,   24, 128,  136,  5, 5,  39, Neg, Neg),
    row( 31,  1920, 1080, P, A16x9,     148500,  528,  44,  148,  4, 5,  36, Pos, Pos),
    row( 32,  1920, 1080, P, A16x9,      74250,  638,  44,  148,  4, 5,  36, Pos, Pos),
    row( 33,  1920, 1080, P, A16x9,      74250,  528,  44,  148,  4, 5,  36, Pos, Pos),
    row( 34,  1920, 1080, P, A16x9,      74250,   88,  44,  148,  4, 5,  36, Pos, Pos),
    row( 35,  2880,  480, P, A4x3,      108000,   64, 248,  240,  9, 6,  30, Neg, Neg),
    row( 36,  2880,  480, P, A16x9,     108000,   64, 248,  240,  9, 6,  30, Neg, Neg),
    row( 37,  2880,  576, P, A4x3,      108000,   48, 256,  272,  5, 5,  39, Neg, Neg),
    row( 38,  2880,  576, P, A16x9,     108000,   48, 256,  272,  5, 5,  39, Neg, Neg),
    row( 39,  1920, 1080, I_EVEN, A16x9, 72000,   32, 168,  184, 23, 5,  57, Pos, Neg),
    row( 40,  1920, 1080, I, A16x9,     148500,  528,  44,  148,  2, 5,  15, Pos, Pos),
    row( 41,  1280,  720, P, A16x9,     148500,  440,  40,  220,  5, 5,  20, Pos, Pos),
    row( 42,   720,  576, P, A4x3,       54000,   12,  64,   68,  5, 5,  39, Neg, Neg),
    row( 43,   720,  576, P, A16x9,      54000,   12,  64,   68,  5, 5,  39, Neg, Neg),
    row( 44,  1440,  576, I, A4x3,       54000,   24, 126,  138,  2, 3,  19, Neg, Neg),
    row( 45,  1440,  576, I, A16x9,      54000,   24, 126,  138,  2, 3,  19, Neg, Neg),
    row( 46,  1920, 1080, I, A16x9,     148500,   88,  44,  148,  2, 5,  15, Pos, Pos),
    row( 47,  1280,  720, P, A16x9,     148500,  110,  40,  220,  5, 5,  20, Pos, Pos),
    row( 48,   720,  480, P, A4x3,       54000,   16,  62,   60,  9, 6,  30, Neg, Neg),
    row( 49,   720,  480, P, A16x9,      54000,   16,  62,   60,  9, 6,  30, Neg, Neg),
    row( 50,  1440,  480, I, A4x3,       54000,   38, 124,  114,  4, 3,  15, Neg, Neg),
    row( 51,  1440,  480, I, A16x9,      54000,   38, 124,  114,  4, 3,  15, Neg, Neg),
    row( 52,   720,  576, P, A4x3,      108000,   12,  64,   68,  5, 5,  39, Neg, Neg),
    row( 53,   720,  576, P, A16x9,     108000,   12,  64,   68,  5, 5,  39, Neg, Neg),
    row( 54,  1440,  576, I, A4x3,      108000,   24, 126,  138,  2, 3,  19, Neg, Neg),
    row( 55,  1440,  576, I, A16x9,     108000,   24, 126,  138,  2, 3,  19, Neg, Neg),
    row( 56,   720,  480, P, A4x3,      108000,   16,  62,   60,  9, 6,  30, Neg, Neg),
    row( 57,   720,  480, P, A16x9,     108000,   16,  62,   60,  9, 6,  30, Neg, Neg),
    row( 58,  1440,  480, I, A4x3,      108000,   38, 124,  114,  4, 3,  15, Neg, Neg),
    row( 59,  1440,  480, I, A16x9,     108000,   38, 124,  114,  4, 3,  15, Neg, Neg),
    row( 60,  1280,  720, P, A16x9,      59400, 1760,  40,  220,  5, 5,  20, Pos, Pos),
    row( 61,  1280,  720, P, A16x9,      74250, 2420,  40,  220,  5, 5,  20, Pos, Pos),
    row( 62,  1280,  720, P, A16x9,      74250, 1760,  40,  220,  5, 5,  20, Pos, Pos),
    row( 63,  1920, 1080, P, A16x9,     297000,   88,  44,  148,  4, 5,  36, Pos, Pos),
    row( 64,  1920, 1080, P, A16x9,     297000,  528,  44,  148,  4, 5,  36, Pos, Pos),
    row( 65,  1280,  720, P, A64x27,     59400, 1760,  40,  220,  5, 5,  20, Pos, Pos),
    row( 66,  1280,  720, P, A64x27,     74250, 2420,  40,  220,  5, 5,  20, Pos, Pos),
    row( 67,  1280,  720, P, A64x27,     74250, 1760,  40,  220,  5, 5,  20, Pos, Pos),
    row( 68,  1280,  720, P, A64x27,     74250,  440,  40,  220,  5, 5,  20, Pos, Pos),
    row( 69,  1280,  720, P, A64x27,     74250,  110,  40,  220,  5, 5,  20, Pos, Pos),
    row( 70,  1280,  720, P, A64x27,    148500,  440,  40,  220,  5, 5,  20, Pos, Pos),
    row( 71,  1280,  720, P, A64x27,    148500,  110,  40,  220,  5, 5,  20, Pos, Pos),
    row( 72,  1920, 1080, P, A64x27,     74250,  638,  44,  148,  4, 5,  36, Pos, Pos),
    row( 73,  1920, 1080, P, A64x27,     74250,  528,  44,  148,  4, 5,  36, Pos, Pos),
    row( 74,  1920, 1080, P, A64x27,     74250,   88,  44,  148,  4, 5,  36, Pos, Pos),
    row( 75,  1920, 1080, P, A64x27,    148500,  528,  44,  148,  4, 5,  36, Pos, Pos),
    row( 76,  1920, 1080, P, A64x27,    148500,   88,  44,  148,  4, 5,  36, Pos, Pos),
    row( 77,  1920, 1080, P, A64x27,    297000,  528,  44,  148,  4, 5,  36, Pos, Pos),
    row( 78,  1920, 1080, P, A64x27,    297000,   88,  44,  148,  4, 5,  36, Pos, Pos),
    row( 79,  1680,  720, P, A64x27,     59400, 1360,  40,  220,  5, 5,  20, Pos, Pos),
    row( 80,  1680,  720, P, A64x27,     59400, 1228,  40,  220,  5, 5,  20, Pos, Pos),
    row( 81,  1680,  720, P, A64x27,     59400,  700,  40,  220,  5, 5,  20, Pos, Pos),
    row( 82,  1680,  720, P, A64x27,     82500,  260,  40,  220,  5, 5,  20, Pos, Pos),
    row( 83,  1680,  720, P, A64x27,     99000,  260,  40,  220,  5, 5,  20, Pos, Pos),
    row( 84,  1680,  720, P, A64x27,    165000,   60,  40,  220,  5, 5,  95, Pos, Pos),
    row( 85,  1680,  720, P, A64x27,    198000,   60,  40,  220,  5, 5,  95, Pos, Pos),
    row( 86,  2560, 1080, P, A64x27,     99000,  998,  44,  148,  4, 5,  11, Pos, Pos),
    row( 87,  2560, 1080, P, A64x27,     90000,  448,  44,  148,  4, 5,  36, Pos, Pos),
    row( 88,  2560, 1080, P, A64x27,    118800,  768,  44,  148,  4, 5,  36, Pos, Pos),
    row( 89,  2560, 1080, P, A64x27,    185625,  548,  44,  148,  4, 5,  36, Pos, Pos),
    row( 90,  2560, 1080, P, A64x27,    198000,  248,  44,  148,  4, 5,  11, Pos, Pos),
    row( 91,  2560, 1080, P, A64x27,    371250,  218,  44,  148,  4, 5, 161, Pos, Pos),
    row( 92,  2560, 1080, P, A64x27,    495000,  548,  44,  148,  4, 5, 161, Pos, Pos),
    row( 93,  3840, 2160, P, A16x9,     297000, 1276,  88,  296,  8, 10, 72, Pos, Pos),
    row( 94,  3840, 2160, P, A16x9,     297000, 1056,  88,  296,  8, 10, 72, Pos, Pos),
    row( 95,  3840, 2160, P, A16x9,     297000,  176,  88,  296,  8, 10, 72, Pos, Pos),
    row( 96,  3840, 2160, P, A16x9,     594000, 1056,  88,  296,  8, 10, 72, Pos, Pos),
    row( 97,  3840, 2160, P, A16x9,     594000,  176,  88,  296,  8, 10, 72, Pos, Pos),
    row( 98,  4096, 2160, P, A256x135,  297000, 1020,  88,  296,  8, 10, 72, Pos, Pos),
    row( 99,  4096, 2160, P, A256x135,  297000,  968,  88,  128,  8, 10, 72, Pos, Pos),
    row(100,  4096, 2160, P, A256x135,  297000,   88,  88,  128,  8, 10, 72, Pos, Pos),
    row(101,  4096, 2160, P, A256x135,  594000,  968,  88,  128,  8, 10, 72, Pos, Pos),
    row(102,  4096, 2160, P, A256x135,  594000,   88,  88,  128,  8, 10, 72, Pos, Pos),
    row(103,  3840, 2160, P, A64x27,    297000, 1276,  88,  296,  8, 10, 72, Pos, Pos),
    row(104,  3840, 2160, P, A64x27,    297000, 1056,  88,  296,  8, 10, 72, Pos, Pos),
    row(105,  3840, 2160, P, A64x27,    297000,  176,  88,  296,  8, 10, 72, Pos, Pos),
    row(106,  3840, 2160, P, A64x27,    594000, 1056,  88,  296,  8, 10, 72, Pos, Pos),
    row(107,  3840, 2160, P, A64x27,    594000,  176,  88,  296,  8, 10, 72, Pos, Pos),
    row(108,  1280,  720, P, A16x9,      90000,  960,  40,  220,  5, 5,  20, Pos, Pos),
    row(109,  1280,  720, P, A64x27,     90000,  960,  40,  220,  5, 5,  20, Pos, Pos),
    row(110,  1680,  720, P, A64x27,     99000,  810,  40,  220,  5, 5,  20, Pos, Pos),
    row(111,  1920, 1080, P, A16x9,     148500,  638,  44,  148,  4, 5,  36, Pos, Pos),
    row(112,  1920, 1080, P, A64x27,    148500,  638,  44,  148,  4, 5,  36, Pos, Pos),
    row(113,  2560, 1080, P, A64x27,    198000,  998,  44,  148,  4, 5,  11, Pos, Pos),
    row(114,  3840, 2160, P, A16x9,     594000, 1276,  88,  296,  8, 10, 72, Pos, Pos),
    row(115,  4096, 2160, P, A256x135,  594000, 1020,  88,  296,  8, 10, 72, Pos, Pos),
    row(116,  3840, 2160, P, A64x27,    594000, 1276,  88,  296,  8, 10, 72, Pos, Pos),
    row(117,  3840, 2160, P, A16x9,    1188000, 1056,  88,  296,  8, 10, 72, Pos, Pos),
    row(118,  3840, 2160, P, A16x9,    1188000,  176,  88,  296,  8, 10, 72, Pos, Pos),
    row(119,  3840, 2160, P, A64x27,   1188000, 1056,  88,  296,  8, 10, 72, Pos, Pos),
    row(120,  3840, 2160, P, A64x27,   1188000,  176,  88,  296,  8, 10, 72, Pos, Pos),
    row(121,  5120, 2160, P, A64x27,    396000, 1996,  88,  296,  8, 10, 22, Pos, Pos),
    row(122,  5120, 2160, P, A64x27,    396000, 1696,  88,  296,  8, 10, 22, Pos, Pos),
    row(123,  5120, 2160, P, A64x27,    396000,  664,  88,  128,  8, 10, 22, Pos, Pos),
    row(124,  5120, 2160, P, A64x27,    742500,  746,  88,  296,  8, 10, 297, Pos, Pos),
    row(125,  5120, 2160, P, A64x27,    742500, 1096,  88,  296,  8, 10, 72, Pos, Pos),
    row(126,  5120, 2160, P, A64x27,    742500,  164,  88,  128,  8, 10, 72, Pos, Pos),
    row(127,  5120, 2160, P, A64x27,   1485000, 1096,  88,  296,  8, 10, 72, Pos, Pos),
    row(193,  5120, 2160, P, A64x27,   1485000,  164,  88,  128,  8, 10, 72, Pos, Pos),
    row(194,  7680, 4320, P, A16x9,    1188000, 2552, 176,  592, 16, 20, 144, Pos, Pos),
    row(195,  7680, 4320, P, A16x9,    1188000, 2352, 176,  592, 16, 20,  44, Pos, Pos),
    row(196,  7680, 4320, P, A16x9,    1188000,  552, 176,  592, 16, 20,  44, Pos, Pos),
    row(197,  7680, 4320, P, A16x9,    2376000, 2552, 176,  592, 16, 20, 144, Pos, Pos),
    row(198,  7680, 4320, P, A16x9,    2376000, 2352, 176,  592, 16, 20,  44, Pos, Pos),
    row(199,  7680, 4320, P, A16x9,    2376000,  552, 176,  592, 16, 20,  44, Pos, Pos),
    row(200,  7680, 4320, P, A16x9,    4752000, 2112, 176,  592, 16, 20, 144, Pos, Pos),
    row(201,  7680, 4320, P, A16x9,    4752000,  352, 176,  592, 16, 20, 144, Pos, Pos),
    row(202,  7680, 4320, P, A64x27,   1188000, 2552, 176,  592, 16, 20, 144, Pos, Pos),
    row(203,  7680, 4320, P, A64x27,   1188000, 2352, 176,  592, 16, 20,  44, Pos, Pos),
    row(204,  7680, 4320, P, A64x27,   1188000,  552, 176,  592, 16, 20,  44, Pos, Pos),
    row(205,  7680, 4320, P, A64x27,   2376000, 2552, 176,  592, 16, 20, 144, Pos, Pos),
    row(206,  7680, 4320, P, A64x27,   2376000, 2352, 176,  592, 16, 20,  44, Pos, Pos),
    row(207,  7680, 4320, P, A64x27,   2376000,  552, 176,  592, 16, 20,  44, Pos, Pos),
    row(208,  7680, 4320, P, A64x27,   4752000, 2112, 176,  592, 16, 20, 144, Pos, Pos),
    row(209,  7680, 4320, P, A64x27,   4752000,  352, 176,  592, 16, 20, 144, Pos, Pos),
    row(210, 10240, 4320, P, A64x27,   1485000, 1492, 176,  592, 16, 20, 594, Pos, Pos),
    row(211, 10240, 4320, P, A64x27,   1485000, 2492, 176,  592, 16, 20,  44, Pos, Pos),
    row(212, 10240, 4320, P, A64x27,   1485000,  288, 176,  296, 16, 20, 144, Pos, Pos),
    row(213, 10240, 4320, P, A64x27,   2970000, 1492, 176,  592, 16, 20, 594, Pos, Pos),
    row(214, 10240, 4320, P, A64x27,   2970000, 2492, 176,  592, 16, 20,  44, Pos, Pos),
    row(215, 10240, 4320, P, A64x27,   2970000,  288, 176,  296, 16, 20, 144, Pos, Pos),
    row(216, 10240, 4320, P, A64x27,   5940000, 2192, 176,  592, 16, 20, 144, Pos, Pos),
    row(217, 10240, 4320, P, A64x27,   5940000,  288, 176,  296, 16, 20, 144, Pos, Pos),
    row(218,  4096, 2160, P, A256x135, 1188000,  800,  88,  296,  8, 10, 72, Pos, Pos),
    row(219,  4096, 2160, P, A256x135, 1188000,   88,  88,  128,  8, 10, 72, Pos, Pos),
};
// clang-format on

// The two runs of defined VICs and where each starts in the table.
struct vic_run {
  uint32_t first, last;
  size_t index;
};
constexpr vic_run kRuns[] = {{1, 127, 0}, {193, 219, 127}};

constexpr const cta_video_format_t *find(uint32_t vic) {
  for (const vic_run &run : kRuns)
    if (vic >= run.first && vic <= run.last) return &kFormats[run.index + (vic - run.first)];
  return nullptr;
}

// Every row sits where its VIC finds it.
constexpr bool rows_in_vic_order() {
  size_t rows = 0;
  for (const vic_run &run : kRuns)
    for (uint32_t vic = run.first; vic <= run.last; ++vic, ++rows)
      if (find(vic)->vic != vic) return false;
  return rows == std::size(kFormats);
}
static_assert(rows_in_vic_order());

// HDMI 1.4b, HDMI_VIC 1 to 4 (the 4K formats of the HDMI vendor block) and
// the VIC of the same format.
constexpr uint32_t kHdmiVicFormats[] = {95, 94, 93, 98};

constexpr const char *kAspectNames[] = {"4:3", "16:9", "64:27", "256:135"};

}  // namespace

extern "C" {

const cta_video_format_t *cta_video_format_find(uint32_t vic) {
  return find(vic);
}

uint32_t cta_hdmi_vic_to_vic(uint32_t hdmi_vic) {
  if (hdmi_vic == 0 || hdmi_vic > std::size(kHdmiVicFormats)) return 0;
  return kHdmiVicFormats[hdmi_vic - 1];
}

int32_t cta_video_format_name(uint32_t vic, char *text, uint32_t text_size) {
  const cta_video_format_t *f = find(vic);
  if (f == nullptr) {
    if (text != nullptr && text_size > 0) text[0] = '\0';
    return 0;
  }
  const unsigned hertz = (f->field_rate_mhz + 500) / 1000;
  return snprintf(text, text_size, "%ux%u%c%u %s", unsigned{f->h_active}, unsigned{f->v_active},
                  f->interlaced ? 'i' : 'p', hertz, kAspectNames[f->aspect]);
}

}  // extern "C"
