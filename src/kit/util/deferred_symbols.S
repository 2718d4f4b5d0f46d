/* Stand-ins for the functions of the deferred libraries (deferred_symbols.inc), x86-64 SysV.
 *
 * Each function NAME gets three pieces:
 *   NAME                      a jump through its slot: what every caller reaches;
 *   vorno_deferred_NAME       its descriptor: the slot, then its name and its library's soname;
 *   vorno_deferred_first_NAME where the slot points until the first call.
 * The first call saves the argument registers, asks vornoResolveDeferred (deferred_libraries.cc)
 * to load the library and write the real address into the slot, restores the registers and
 * jumps there, so the real function sees exactly the call its caller made. Later calls cost one
 * indirect jump. */

#define SONAME_STRING(id) vorno_soname_##id

    .section .rodata.vorno_deferred, "a"
vorno_soname_avcodec:     .asciz VORNO_SONAME_avcodec
vorno_soname_avformat:    .asciz VORNO_SONAME_avformat
vorno_soname_avutil:      .asciz VORNO_SONAME_avutil
vorno_soname_swscale:     .asciz VORNO_SONAME_swscale
vorno_soname_heif:        .asciz VORNO_SONAME_heif
vorno_soname_poppler_glib: .asciz VORNO_SONAME_poppler_glib
vorno_soname_rsvg:        .asciz VORNO_SONAME_rsvg
vorno_soname_jpeg:        .asciz VORNO_SONAME_jpeg
vorno_soname_webp:        .asciz VORNO_SONAME_webp
vorno_soname_tiff:        .asciz VORNO_SONAME_tiff
vorno_soname_plist:       .asciz VORNO_SONAME_plist
vorno_soname_cairo:       .asciz VORNO_SONAME_cairo
vorno_soname_pangocairo:  .asciz VORNO_SONAME_pangocairo
vorno_soname_pango:       .asciz VORNO_SONAME_pango
vorno_soname_pangoft2:    .asciz VORNO_SONAME_pangoft2
vorno_soname_harfbuzz:    .asciz VORNO_SONAME_harfbuzz
vorno_soname_fontconfig:  .asciz VORNO_SONAME_fontconfig
vorno_soname_glib:        .asciz VORNO_SONAME_glib
vorno_soname_gobject:     .asciz VORNO_SONAME_gobject

#define DEFERRED(library, name)                         \
    .section .rodata.vorno_deferred, "a";               \
vorno_deferred_name_##name: .asciz #name;               \
    .section .data.rel.vorno_deferred, "aw";            \
    .p2align 3;                                         \
vorno_deferred_##name:                                  \
    .quad vorno_deferred_first_##name;                  \
    .quad vorno_deferred_name_##name;                   \
    .quad SONAME_STRING(library);                       \
    .text;                                              \
    .globl name;                                        \
    .type name, @function;                              \
name:                                                   \
    jmp *vorno_deferred_##name(%rip);                   \
    .size name, . - name;                               \
vorno_deferred_first_##name:                            \
    lea vorno_deferred_##name(%rip), %r11;              \
    jmp vorno_deferred_resolve;

/* r11 holds the descriptor: it is a scratch register that no call passes arguments in. */
    .text
    .p2align 4
vorno_deferred_resolve:
    push %rbp
    mov %rsp, %rbp
    sub $192, %rsp                /* the stack stays 16-byte aligned for the call */
    mov %rdi, 0(%rsp)
    mov %rsi, 8(%rsp)
    mov %rdx, 16(%rsp)
    mov %rcx, 24(%rsp)
    mov %r8, 32(%rsp)
    mov %r9, 40(%rsp)
    mov %rax, 48(%rsp)            /* a variadic call's count of vector registers */
    movaps %xmm0, 64(%rsp)
    movaps %xmm1, 80(%rsp)
    movaps %xmm2, 96(%rsp)
    movaps %xmm3, 112(%rsp)
    movaps %xmm4, 128(%rsp)
    movaps %xmm5, 144(%rsp)
    movaps %xmm6, 160(%rsp)
    movaps %xmm7, 176(%rsp)
    mov %r11, %rdi
    call vornoResolveDeferred
    mov %rax, %r11
    mov 0(%rsp), %rdi
    mov 8(%rsp), %rsi
    mov 16(%rsp), %rdx
    mov 24(%rsp), %rcx
    mov 32(%rsp), %r8
    mov 40(%rsp), %r9
    mov 48(%rsp), %rax
    movaps 64(%rsp), %xmm0
    movaps 80(%rsp), %xmm1
    movaps 96(%rsp), %xmm2
    movaps 112(%rsp), %xmm3
    movaps 128(%rsp), %xmm4
    movaps 144(%rsp), %xmm5
    movaps 160(%rsp), %xmm6
    movaps 176(%rsp), %xmm7
    leave
    jmp *%r11

#include "kit/util/deferred_symbols.inc"

    .section .note.GNU-stack, "", @progbits
