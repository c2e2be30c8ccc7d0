// Per-pixel arithmetic that only the channel members use: the factors taken from a
// channel element, the key tests, and the formulas no level member shares.
#pragma once

#include <cstdint>

#include "brightness/arith.h"
#include "module/isa.h"

RK_NS_BEGIN

// A channel element as the factor of the 16/15-bit members: c >> 3 over 32.
constexpr uint32_t ChannelScale16(uint32_t c) { return c >> 3; }
// The pair of the masked 16/15-bit Light members takes the left element's low 13 bits.
constexpr uint32_t PairScale16(uint32_t c) { return (c & 0x1FFF) >> 3; }

// Whether a source pixel is the key: the whole 16-bit word at depths 16 and 15, the
// three colour bytes at depths 24 and 32.
template <int Bpp>
constexpr bool IsKey(uint32_t px, uint32_t key) {
  if constexpr (Bpp == 2) return (px & 0xFFFF) == (key & 0xFFFF);
  return (px & kColourBytes) == (key & kColourBytes);
}

// The per-pixel formulas with a channel element c as the factor.
template <class F>
constexpr uint32_t LightChanPixel(uint32_t p, uint32_t c) {
  return LightPixel<F>(p, ChannelScale16(c));
}
template <class F>
constexpr uint32_t DarkleChanPixel(uint32_t p, uint32_t c) {
  return DarkleLane<F>(p, ChannelScale16(c));
}
// Bytes 0..2 of a 24/32-bit pixel (the fourth byte comes out 0): a lone pixel
// saturates with c unsigned, a pixel of a pair takes c as a signed 16-bit factor.
constexpr uint32_t LightChanLone(uint32_t px, uint32_t c) {
  return Bytes3(px, [c](uint32_t v) { return SatByte(v, c); });
}
constexpr uint32_t LightChanPair(uint32_t px, uint32_t c) {
  return Bytes3(px, [c](uint32_t v) { return SatBytePair(v, c); });
}
// The same two byte formulas in 16-bit steps, as vector lanes hold them: with t the
// 24-bit product v x c, the byte saturates when t >> 16 is above 0, or for a pixel of a
// pair with c >= 0x8000 (the factor c - 65536) above v; otherwise it is bits 8..15 of t.
constexpr uint32_t LightChanByte16(uint32_t v, uint32_t c, bool pair) {
  auto v16 = static_cast<uint16_t>(v), c16 = static_cast<uint16_t>(c);
  auto lo = static_cast<uint16_t>(v16 * c16);
  auto hi = static_cast<uint16_t>((uint32_t{v16} * c16) >> 16);
  uint16_t from = (pair && c >= 0x8000) ? static_cast<uint16_t>(v) : 0;
  return hi > from ? 255 : lo >> 8;
}
// Every byte truncated, 3 or 4 of them.
constexpr uint32_t DarkleChan3(uint32_t px, uint32_t c) {
  return Bytes3(px, [c](uint32_t v) { return DarkleByte(v, c); });
}
constexpr uint32_t DarkleChan4(uint32_t px, uint32_t c) {
  return Bytes4(px, [c](uint32_t v) { return DarkleByte(v, c); });
}

// Bytes 0 and 2 of a 3-byte value exchanged.
constexpr uint32_t Reverse3(uint32_t v) {
  return (v & 0xFF) << 16 | (v & 0xFF00) | (v >> 16 & 0xFF);
}

// RkDarkleWithChannel24, byte `off` of a row's pairs: only bytes 0, 2 and 4 of each
// 6-byte pair carry a result (the left pixel's bytes 0 and 2, the right pixel's byte
// 1); the odd bytes are written as 0.
constexpr uint32_t DarkleChan24PairByte(uint32_t v, uint32_t c, int64_t off) {
  return (off & 1) ? 0 : DarkleByte(v, c);
}
// The same for pixel `col` of the row.
constexpr uint32_t DarkleChan24PairPixel(uint32_t px, uint32_t c, int64_t col) {
  uint32_t out = 0;
  for (int j = 0; j < 3; ++j)
    out |= DarkleChan24PairByte(px >> (8 * j) & 0xFF, c, 3 * col + j) << (8 * j);
  return out;
}

// RkMaskDarkleWithChannel16, a pair of two non-key pixels (left pixel in the low half
// of w), one factor for both: A holds the left pixel's red and blue and the right
// pixel's green; B, from the word shifted right by 5, adds bits that belong to no
// field of the formula. The stored pair is A | B.
constexpr uint32_t MaskDarkleChan16Pair(uint32_t w, uint32_t k) {
  uint32_t a = (((w & 0x07E0F81Fu) * k) >> 5) & 0x07E0F81Fu;
  uint32_t b = (((w >> 5) & 0x07C0F83Fu) * k) & 0x07C0F83Fu;
  return a | b;
}

RK_NS_END
