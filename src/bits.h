// Bit-field helpers for the EDID byte formats. Decoders read fields with
// has_bit/bit_range; encoders write them with put_bit/put_bits, the inverse.
#pragma once

#include <cstdint>

namespace edc {

// Bit n of value.
constexpr bool has_bit(uint32_t value, unsigned n) {
  return ((value >> n) & 1u) != 0;
}

// Bits high..low of value, shifted down to bit 0.
constexpr uint32_t bit_range(uint32_t value, unsigned high, unsigned low) {
  return (value >> low) & ((1u << (high - low + 1)) - 1u);
}

// value (taken as a flag) placed at bit n.
constexpr uint8_t put_bit(uint32_t value, unsigned n) {
  return static_cast<uint8_t>((value != 0 ? 1u : 0u) << n);
}

// The low (high - low + 1) bits of value placed at bits high..low.
constexpr uint8_t put_bits(uint32_t value, unsigned high, unsigned low) {
  return static_cast<uint8_t>((value & ((1u << (high - low + 1)) - 1u)) << low);
}

static_assert(bit_range(0xA5, 7, 4) == 0xA && bit_range(0xA5, 3, 0) == 0x5);
static_assert(put_bits(0x1F, 4, 3) == 0x18 && put_bit(2, 7) == 0x80);

}  // namespace edc
