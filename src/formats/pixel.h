// The colour formats' field layouts and the intensity formats' read-back rules,
// shared by every family.
#pragma once

#include <algorithm>
#include <cstdint>

#include "module/isa.h"

RK_NS_BEGIN

// 16-bit colour formats. Red is the high field, blue the low one. kPair is the
// mask of the 32-bit word that holds red and blue in its low half and green moved
// up by 16 bits, the form the single-pixel steps compute in.
struct Color16 {
  static constexpr uint32_t kR = 0xF800, kG = 0x07E0, kB = 0x001F;
  static constexpr int kRShift = 11, kGShift = 5;
  static constexpr uint32_t kRMax = 31, kGMax = 63, kBMax = 31;
  static constexpr uint32_t kPair = 0x07E0F81F;
};
struct Color15 {
  static constexpr uint32_t kR = 0x7C00, kG = 0x03E0, kB = 0x001F;
  static constexpr int kRShift = 10, kGShift = 5;
  static constexpr uint32_t kRMax = 31, kGMax = 31, kBMax = 31;
  static constexpr uint32_t kPair = 0x03E07C1F;
};

template <class F>
constexpr uint32_t RedOf(uint32_t p) {
  return (p & F::kR) >> F::kRShift;
}
template <class F>
constexpr uint32_t GreenOf(uint32_t p) {
  return (p & F::kG) >> F::kGShift;
}
template <class F>
constexpr uint32_t BlueOf(uint32_t p) {
  return p & F::kB;
}
// Packs fields that are already within range.
template <class F>
constexpr uint32_t PackRgb(uint32_t r, uint32_t g, uint32_t b) {
  return r << F::kRShift | g << F::kGShift | b;
}

// Byte formats: Color24 is B, G, R; Color32 is B, G, R and a fourth byte. As a
// 32-bit word R is bits 23..16, G 15..8, B 7..0.
constexpr uint32_t kColourBytes = 0xFFFFFF;
constexpr uint32_t ByteB(uint32_t w) { return w & 0xFF; }
constexpr uint32_t ByteG(uint32_t w) { return w >> 8 & 0xFF; }
constexpr uint32_t ByteR(uint32_t w) { return w >> 16 & 0xFF; }
// The colour word of three bytes (each 0..255); the fourth byte is 0.
constexpr uint32_t Bgr(uint32_t b, uint32_t g, uint32_t r) { return b | g << 8 | r << 16; }

// Bytes (0..255) packed into 16-bit words by truncation, red in the high field.
constexpr uint32_t Pack565(uint32_t r, uint32_t g, uint32_t b) {
  return (r & 0xF8) << 8 | (g >> 2) << 5 | b >> 3;
}
constexpr uint32_t Pack555(uint32_t r, uint32_t g, uint32_t b) {
  return (r & 0xF8) << 7 | (g >> 3) << 5 | b >> 3;
}

// The grey level of a Color24/32 word: (77 R + 150 G + 29 B) >> 8, the luminance
// weights over 256 (the sum is at most 65280). R and B are weighed in one product:
// (B + R x 2^16) x (77 + 29 x 2^16) holds 29 B + 77 R in bits 31..16, as 77 B stays
// below 2^16.
constexpr uint32_t GreyOfBytes(uint32_t w) {
  uint32_t rb = (w & 0x00FF00FF) * (77 | 29 << 16) >> 16;
  return static_cast<uint16_t>(rb + 150 * ByteG(w)) >> 8;
}

// Intensity read-back.
constexpr uint32_t ReadTrans(uint32_t e) { return e & 0xFF; }
// Light and RGBLight32 elements of 255 or more read as 255.
constexpr uint32_t ReadLight(uint32_t e) { return std::min<uint32_t>(e & 0xFFFF, 255); }
constexpr uint32_t ReadRGBLight32(uint32_t e) { return std::min<uint32_t>(e & 0xFFFF, 255); }
// RGBLight16: 1023 or more reads as 31; 32..1022 wrap modulo 32.
constexpr uint32_t ReadRGBLight16(uint32_t e) { return (e & 0xFFFF) >= 1023 ? 31 : (e & 31); }
// RGBLight16 element as a colour byte with the high bit set: 0..31 give 0x80..0x83,
// 1023 and more fill the low seven bits.
constexpr uint32_t RGBLight16HighByte(uint32_t e) {
  e &= 0xFFFF;
  return ((e < 1023 ? e | 0x400 : e | 0x3FF) >> 3) & 0xFF;
}

RK_NS_END
