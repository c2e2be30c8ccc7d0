// The Windows DLL as a caller sees it: loaded with LoadLibrary (its load hook must
// succeed), its export table read from the PE image, and every export called once
// through GetProcAddress with arguments that draw nothing. On 32-bit x86 each call
// goes through an assembly caller that measures the stack: a __stdcall export
// removes 4 bytes for each argument of its prototype in rkpix.h, a __cdecl one none.
#include <gtest/gtest.h>

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <cstring>
#include <set>
#include <string>
#include <type_traits>

#include "rkpix.h"
#include "rkpix_export_names.h"

#if defined(__i386__)
// Pushes args[n-1] .. args[0], calls fn, and returns how many of the pushed bytes
// are still on the stack when fn returns (ESP taken before the pushes and after the
// call). The callee-saved registers it relies on must survive the call.
extern "C" uint32_t rkt_stack_call(const void *fn, const uint32_t *args, uint32_t n);
asm(R"(
  .text
  .globl _rkt_stack_call
_rkt_stack_call:
  pushl %ebp
  movl %esp, %ebp
  pushl %ebx
  pushl %esi
  pushl %edi
  movl 12(%ebp), %esi
  movl 16(%ebp), %ecx
  movl %esp, %edi
1:
  testl %ecx, %ecx
  jz 2f
  pushl -4(%esi,%ecx,4)
  decl %ecx
  jmp 1b
2:
  call *8(%ebp)
  movl %edi, %eax
  subl %esp, %eax
  movl %edi, %esp
  popl %edi
  popl %esi
  popl %ebx
  popl %ebp
  ret
)");
#endif

namespace {

// The argument count of a prototype, from its type.
template <class R, class... A>
constexpr uint32_t ArgCount(R(RKPIX_CALL *)(A...)) {
  return sizeof...(A);
}

// Arguments that make any export return without drawing: small valid surfaces
// asked for zero sizes, empty rectangles, conversions of 0 elements.
struct Harmless {
  static constexpr uint8_t kFill = 0x5A;
  uint8_t pixels[256], array[256];
  RkSurface surface{0, 4, 4, 16, 0, pixels};
  RkRect rect{0, 0, 0, 0};
  Harmless() {
    std::memset(pixels, kFill, sizeof pixels);
    std::memset(array, kFill, sizeof array);
  }
  template <class T>
  T Get() {
    if constexpr (std::is_same_v<T, const RkSurface *>) {
      return &surface;
    } else if constexpr (std::is_same_v<T, const RkRect *>) {
      return &rect;
    } else if constexpr (std::is_pointer_v<T>) {
      return array;
    } else {
      static_assert(std::is_integral_v<T> && sizeof(T) == 4, "an argument type to cover");
      return 0;
    }
  }
  bool Untouched() const {
    for (uint8_t b : pixels)
      if (b != kFill) return false;
    for (uint8_t b : array)
      if (b != kFill) return false;
    return true;
  }
};

template <class T>
uint32_t Word(T v) {
  if constexpr (std::is_pointer_v<T>) {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(v));
  } else {
    return static_cast<uint32_t>(v);
  }
}

// Calls the export at `addr` as typed by its prototype; returns the bytes the callee
// removed from the stack (measured on 32-bit x86; x86-64 has no callee-pops
// convention, so 0 there).
template <class R, class... A>
uint32_t CallHarmless(R(RKPIX_CALL *)(A...), FARPROC addr, Harmless &h) {
#if defined(__i386__)
  const uint32_t args[] = {Word(h.Get<A>())..., 0};
  const uint32_t left = rkt_stack_call(reinterpret_cast<const void *>(addr), args, sizeof...(A));
  return 4 * sizeof...(A) - left;
#else
  using Fn = R(RKPIX_CALL *)(A...);
  reinterpret_cast<Fn>(reinterpret_cast<void *>(addr))(h.Get<A>()...);
  return 0;
#endif
}

// The bytes an export of `args` arguments must remove: all of them with __stdcall.
constexpr uint32_t CalleeRemoves([[maybe_unused]] uint32_t args) {
#if defined(__i386__) && !defined(RKPIX_CDECL)
  return 4 * args;
#else
  return 0;
#endif
}

class Dll : public ::testing::Test {
 protected:
  void SetUp() override {
    module_ = LoadLibraryA("rkpix.dll");
    ASSERT_NE(module_, nullptr) << "LoadLibrary failed: " << GetLastError();
  }
  void TearDown() override {
    if (module_) {
      EXPECT_TRUE(FreeLibrary(module_));
    }
  }
  HMODULE module_ = nullptr;
};

// Every name in the PE export directory, with its address.
std::vector<std::pair<std::string, const void *>> ExportTable(HMODULE module) {
  auto *base = reinterpret_cast<const uint8_t *>(module);
  auto *dos = reinterpret_cast<const IMAGE_DOS_HEADER *>(base);
  EXPECT_EQ(dos->e_magic, IMAGE_DOS_SIGNATURE);
  auto *nt = reinterpret_cast<const IMAGE_NT_HEADERS *>(base + dos->e_lfanew);
  EXPECT_EQ(nt->Signature, IMAGE_NT_SIGNATURE);
  const IMAGE_DATA_DIRECTORY &dir = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
  auto *exp = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY *>(base + dir.VirtualAddress);
  auto *names = reinterpret_cast<const DWORD *>(base + exp->AddressOfNames);
  auto *ordinals = reinterpret_cast<const WORD *>(base + exp->AddressOfNameOrdinals);
  auto *functions = reinterpret_cast<const DWORD *>(base + exp->AddressOfFunctions);
  // Every exported address has a name (nothing exported by ordinal only).
  EXPECT_EQ(exp->NumberOfFunctions, exp->NumberOfNames);
  std::vector<std::pair<std::string, const void *>> out;
  for (DWORD i = 0; i < exp->NumberOfNames; ++i) {
    out.emplace_back(reinterpret_cast<const char *>(base + names[i]),
                     base + functions[ordinals[i]]);
  }
  return out;
}

TEST_F(Dll, ExportsExactlyThePlainNamesOfTheHeader) {
  std::set<std::string> wanted;
#define RKT_WANT(name) wanted.insert(#name);
  RKPIX_EXPORT_NAMES(RKT_WANT)
#undef RKT_WANT
  EXPECT_EQ(wanted.size(), 112u);
  std::set<std::string> seen;
  for (const auto &[name, addr] : ExportTable(module_)) {
    EXPECT_TRUE(seen.insert(name).second) << name << " exported twice";
    EXPECT_EQ(name.find('@'), std::string::npos) << name << " is decorated";
    EXPECT_FALSE(name.empty() || name[0] == '_') << name << " is decorated";
    EXPECT_TRUE(wanted.count(name)) << name << " is not a library function";
    EXPECT_EQ(reinterpret_cast<const void *>(GetProcAddress(module_, name.c_str())), addr) << name;
  }
  EXPECT_EQ(seen, wanted);
}

TEST_F(Dll, EveryExportTakesItsPrototypesArguments) {
  int checked = 0;
#define RKT_CALL(name)                                                               \
  {                                                                                  \
    FARPROC addr = GetProcAddress(module_, #name);                                   \
    ASSERT_NE(addr, nullptr) << #name;                                               \
    constexpr uint32_t n = ArgCount(static_cast<decltype(&name)>(nullptr));          \
    Harmless h;                                                                      \
    uint32_t removed = CallHarmless(static_cast<decltype(&name)>(nullptr), addr, h); \
    EXPECT_EQ(removed, CalleeRemoves(n)) << #name << ", " << n << " args";           \
    EXPECT_TRUE(h.Untouched()) << #name << " drew on a call that asks for nothing";  \
    ++checked;                                                                       \
  }
  RKPIX_EXPORT_NAMES(RKT_CALL)
#undef RKT_CALL
  EXPECT_EQ(checked, 112);
}

}  // namespace
