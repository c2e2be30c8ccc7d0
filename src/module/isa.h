// Instruction-set levels and the per-level namespace.
//
// Fast kernels are compiled once per level from the same source. Every inline
// function a fast translation unit may emit lives in the inline namespace
// rk::RK_ISA_NS (isa_ref for code built once, isa_avx2 for the AVX2 copy, ...),
// so copies built for different levels never share a symbol. Types shared across
// levels (row arguments, the kernel table) stay in plain rk.
#pragma once

#ifndef RK_ISA
#define RK_ISA ref
#endif

#define RK_CAT_(a, b) a##b
#define RK_CAT(a, b) RK_CAT_(a, b)
#define RK_ISA_NS RK_CAT(isa_, RK_ISA)

#define RK_NS_BEGIN \
  namespace rk {    \
  inline namespace RK_ISA_NS {
#define RK_NS_END \
  }               \
  }

// Tells GCC's vectoriser that a loop's iterations do not depend on each other
// through memory (clang decides by itself; forcing it fails in sanitized builds).
#if defined(__GNUC__) && !defined(__clang__)
#define RK_IVDEP _Pragma("GCC ivdep")
#else
#define RK_IVDEP
#endif

namespace rk {

// Levels a process can run at. kRef runs every row through the reference walk;
// the others use the fast kernels built for that instruction set where a row
// allows it.
enum class Level : int { kRef = 0, kBase, kSse2, kAvx2, kAvx512, kNeon, kCount };

const char *LevelName(Level level);

}  // namespace rk
