# Instruction-set levels the fast kernels are built for, per target architecture.
# RK_LEVELS lists tokens; RK_LEVEL_ENUM_<token> names the rk::Level value and
# RK_LEVEL_FLAGS_<token> the compiler flags of that level's copy.
set(RK_LEVELS "")
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$" AND CMAKE_SIZEOF_VOID_P EQUAL 8)
  set(RK_LEVELS base avx2 avx512)
  set(RK_LEVEL_ENUM_base kBase)
  set(RK_LEVEL_FLAGS_base "")
  set(RK_LEVEL_ENUM_avx2 kAvx2)
  set(RK_LEVEL_FLAGS_avx2 -mavx2 -mfma -mbmi -mbmi2)
  set(RK_LEVEL_ENUM_avx512 kAvx512)
  set(RK_LEVEL_FLAGS_avx512 -mavx512f -mavx512bw -mavx512vl -mavx512dq -mavx2 -mfma -mbmi -mbmi2
                            -mprefer-vector-width=512)
  if(WIN32)
    # 64-bit Windows keeps the stack 16-byte aligned only: the assembler turns the
    # aligned moves of 32- and 64-byte spills into unaligned ones.
    list(APPEND RK_LEVEL_FLAGS_avx2 -Wa,-muse-unaligned-vector-move)
    list(APPEND RK_LEVEL_FLAGS_avx512 -Wa,-muse-unaligned-vector-move)
  endif()
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(i.86|x86|X86)$" OR
       (CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$" AND CMAKE_SIZEOF_VOID_P EQUAL 4))
  set(RK_LEVELS base sse2)
  set(RK_LEVEL_ENUM_base kBase)
  # Without a vector unit GCC 12 still vectorises loops, in 32-bit general registers, and
  # gets a loop of byte products wrong there (a lane's carry reaches its neighbour): the
  # baseline runs its loops one element at a time.
  set(RK_LEVEL_FLAGS_base -fno-tree-vectorize)
  set(RK_LEVEL_ENUM_sse2 kSse2)
  set(RK_LEVEL_FLAGS_sse2 -msse2)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64|ARM64)$")
  set(RK_LEVELS neon)
  set(RK_LEVEL_ENUM_neon kNeon)
  set(RK_LEVEL_FLAGS_neon "")
else()
  set(RK_LEVELS base)
  set(RK_LEVEL_ENUM_base kBase)
  set(RK_LEVEL_FLAGS_base "")
endif()
# Fast kernels are plain loops left to the vectoriser.
set(RK_FAST_FLAGS -O3)
