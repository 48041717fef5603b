#include "platform/posix/guarded_copy.h"

#include <stdint.h>
#include <ucontext.h>

#if defined(__x86_64__) && defined(__linux__)

// bool cadserv_guarded_copy(void* rdi, const void* rsi, size_t rdx)
//
// rsi and rdx keep the source and its length for the whole routine, so that
// the handler can tell a fault on the source from one on the destination;
// rcx is the offset copied so far. Blocks of 16 bytes, then the last 16
// bytes again (overlapping) for the tail; under 16 bytes, byte by byte.
// Every instruction that can fault lies between the begin and end labels.
asm(R"(
    .text
    .p2align 4
    .globl cadserv_guarded_copy
    .hidden cadserv_guarded_copy
    .type cadserv_guarded_copy, @function
cadserv_guarded_copy:
    .cfi_startproc
    xorl %ecx, %ecx
    cmpq $16, %rdx
    jb 3f
    .globl cadserv_guarded_copy_begin
    .hidden cadserv_guarded_copy_begin
cadserv_guarded_copy_begin:
1:  leaq 16(%rcx), %rax
    cmpq %rdx, %rax
    ja 2f
    movdqu (%rsi,%rcx), %xmm0
    movdqu %xmm0, (%rdi,%rcx)
    movq %rax, %rcx
    jmp 1b
2:  cmpq %rdx, %rcx
    je 5f
    movdqu -16(%rsi,%rdx), %xmm0
    movdqu %xmm0, -16(%rdi,%rdx)
    jmp 5f
3:  testq %rdx, %rdx
    je 5f
4:  movzbl (%rsi,%rcx), %eax
    movb %al, (%rdi,%rcx)
    incq %rcx
    cmpq %rdx, %rcx
    jb 4b
    .globl cadserv_guarded_copy_end
    .hidden cadserv_guarded_copy_end
cadserv_guarded_copy_end:
5:  movl $1, %eax
    ret
    .globl cadserv_guarded_copy_fault
    .hidden cadserv_guarded_copy_fault
cadserv_guarded_copy_fault:
    xorl %eax, %eax
    ret
    .cfi_endproc
    .size cadserv_guarded_copy, .-cadserv_guarded_copy


// __m128i cadserv::platform::LoadBlockFromMappedView(const void* rdi,
//                                                    bool* rsi)
//
// Defined here under its C++ name. One load, which faults or not; the
// failure return sets *rsi (unless null) and gives zeros.
    .p2align 4
    .globl _ZN7cadserv8platform23LoadBlockFromMappedViewEPKvPb
    .hidden _ZN7cadserv8platform23LoadBlockFromMappedViewEPKvPb
    .type _ZN7cadserv8platform23LoadBlockFromMappedViewEPKvPb, @function
_ZN7cadserv8platform23LoadBlockFromMappedViewEPKvPb:
    .cfi_startproc
    .globl cadserv_block_load
    .hidden cadserv_block_load
cadserv_block_load:
    movdqu (%rdi), %xmm0
    ret
    .globl cadserv_block_load_fault
    .hidden cadserv_block_load_fault
cadserv_block_load_fault:
    testq %rsi, %rsi
    je 1f
    movb $1, (%rsi)
1:  pxor %xmm0, %xmm0
    ret
    .cfi_endproc
    .size _ZN7cadserv8platform23LoadBlockFromMappedViewEPKvPb, .-_ZN7cadserv8platform23LoadBlockFromMappedViewEPKvPb
)");

extern "C" {
bool cadserv_guarded_copy(void* destination, const void* source, size_t count);
extern const char cadserv_guarded_copy_begin[];
extern const char cadserv_guarded_copy_end[];
extern const char cadserv_guarded_copy_fault[];
extern const char cadserv_block_load[];
extern const char cadserv_block_load_fault[];
}

namespace cadserv::platform::posix {

bool GuardedCopy(void* destination, const void* source, size_t count) {
  return cadserv_guarded_copy(destination, source, count);
}

namespace {

uintptr_t Address(const void* pointer) {
  return reinterpret_cast<uintptr_t>(pointer);
}

}  // namespace

bool RedirectGuardedCopyFault(const void* faultAddress, void* signalContext) {
  if (signalContext == nullptr) return false;
  greg_t* registers = static_cast<ucontext_t*>(signalContext)->uc_mcontext.gregs;
  uintptr_t pc = static_cast<uintptr_t>(registers[REG_RIP]);
  uintptr_t address = Address(faultAddress);
  uintptr_t source, length;
  const char* resume;
  if (pc >= Address(cadserv_guarded_copy_begin) && pc < Address(cadserv_guarded_copy_end)) {
    source = static_cast<uintptr_t>(registers[REG_RSI]);
    length = static_cast<uintptr_t>(registers[REG_RDX]);
    resume = cadserv_guarded_copy_fault;
  } else if (pc == Address(cadserv_block_load)) {
    source = static_cast<uintptr_t>(registers[REG_RDI]);
    length = 16;
    resume = cadserv_block_load_fault;
  } else {
    return false;
  }
  if (address < source || address - source >= length) return false;
  registers[REG_RIP] = static_cast<greg_t>(Address(resume));
  return true;
}

}  // namespace cadserv::platform::posix

#else

namespace cadserv::platform::posix {

bool GuardedCopy(void*, const void*, size_t) {
  return false;
}

bool RedirectGuardedCopyFault(const void*, void*) {
  return false;
}

}  // namespace cadserv::platform::posix

#endif
