// Byte access for reference walks.
//
// A reference walk reads and writes each surface through an accessor, so the same
// walk serves two cases: RawMem when every access of the call stays inside the
// surfaces' own memory (decided once a call), GuardMem when some access can leave
// it. GuardMem drops each written byte and reads 0 for each byte outside the
// surface's own memory.
#pragma once

#include <cstdint>
#include <cstring>

#include "module/isa.h"

RK_NS_BEGIN

// p + off as plain address arithmetic: offsets come from caller arguments and may
// point anywhere, so they are never formed with pointer arithmetic.
inline uint8_t *AddrAdd(uint8_t *p, intptr_t off) {
  return reinterpret_cast<uint8_t *>(reinterpret_cast<uintptr_t>(p) + static_cast<uintptr_t>(off));
}
inline const uint8_t *AddrAdd(const uint8_t *p, intptr_t off) {
  return reinterpret_cast<const uint8_t *>(reinterpret_cast<uintptr_t>(p) +
                                           static_cast<uintptr_t>(off));
}

// Little-endian loads and stores of any alignment.
inline uint16_t Load16(const uint8_t *p) { return static_cast<uint16_t>(p[0] | p[1] << 8); }
inline uint32_t Load24(const uint8_t *p) {
  return static_cast<uint32_t>(p[0] | p[1] << 8 | p[2] << 16);
}
inline uint32_t Load32(const uint8_t *p) {
  return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 |
         static_cast<uint32_t>(p[2]) << 16 | static_cast<uint32_t>(p[3]) << 24;
}
inline void Store16(uint8_t *p, uint32_t v) {
  p[0] = static_cast<uint8_t>(v);
  p[1] = static_cast<uint8_t>(v >> 8);
}
inline void Store24(uint8_t *p, uint32_t v) {
  p[0] = static_cast<uint8_t>(v);
  p[1] = static_cast<uint8_t>(v >> 8);
  p[2] = static_cast<uint8_t>(v >> 16);
}
inline void Store32(uint8_t *p, uint32_t v) {
  p[0] = static_cast<uint8_t>(v);
  p[1] = static_cast<uint8_t>(v >> 8);
  p[2] = static_cast<uint8_t>(v >> 16);
  p[3] = static_cast<uint8_t>(v >> 24);
}

// Unchecked access: the call was shown to stay inside its surfaces.
struct RawMem {
  uint8_t Ld8(const uint8_t *p) const { return *p; }
  uint32_t Ld16(const uint8_t *p) const { return Load16(p); }
  uint32_t Ld24(const uint8_t *p) const { return Load24(p); }
  uint32_t Ld32(const uint8_t *p) const { return Load32(p); }
  void St8(uint8_t *p, uint32_t v) const { *p = static_cast<uint8_t>(v); }
  void St16(uint8_t *p, uint32_t v) const { Store16(p, v); }
  void St24(uint8_t *p, uint32_t v) const { Store24(p, v); }
  void St32(uint8_t *p, uint32_t v) const { Store32(p, v); }
};

// Checked access: bytes outside [base + lo, base + hi) read as 0 and are not written.
struct GuardMem {
  uintptr_t base = 0;
  int64_t lo = 0, hi = 0;

  bool Owns(const uint8_t *p) const {
    auto off = static_cast<int64_t>(static_cast<intptr_t>(reinterpret_cast<uintptr_t>(p) - base));
    return off >= lo && off < hi;
  }
  uint8_t Ld8(const uint8_t *p) const { return Owns(p) ? *p : 0; }
  uint32_t Ld16(const uint8_t *p) const { return LdN(p, 2); }
  uint32_t Ld24(const uint8_t *p) const { return LdN(p, 3); }
  uint32_t Ld32(const uint8_t *p) const { return LdN(p, 4); }
  void St8(uint8_t *p, uint32_t v) const {
    if (Owns(p)) *p = static_cast<uint8_t>(v);
  }
  void St16(uint8_t *p, uint32_t v) const { StN(p, v, 2); }
  void St24(uint8_t *p, uint32_t v) const { StN(p, v, 3); }
  void St32(uint8_t *p, uint32_t v) const { StN(p, v, 4); }

 private:
  uint32_t LdN(const uint8_t *p, int n) const {
    uint32_t v = 0;
    for (int i = 0; i < n; ++i) v |= static_cast<uint32_t>(Ld8(AddrAdd(p, i))) << (8 * i);
    return v;
  }
  void StN(uint8_t *p, uint32_t v, int n) const {
    for (int i = 0; i < n; ++i) St8(AddrAdd(p, i), v >> (8 * i));
  }
};

RK_NS_END
