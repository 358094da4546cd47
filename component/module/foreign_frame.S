# The frame behind which code of others is called, see foreign_call.h: a function of the platform's
# calling convention whose language-specific handler is ours, as no compiler of C++ for MinGW
# writes one.
#
#     std::uint64_t TavloCallBehindFrame(void (*body)(void*), void* context)
#
# It gives 0 when body returned. The handler, TavloFrameHandler in foreign_call.cpp, may let the
# stack unwind to TavloFrameEnd, with the value to return in rax. Exceptions that it leaves alone
# pass through: there is nothing here to clean up.

    .text
    .globl  TavloCallBehindFrame
    .def    TavloCallBehindFrame; .scl 2; .type 32; .endef
    .seh_proc TavloCallBehindFrame
TavloCallBehindFrame:
    subq    $40, %rsp
    .seh_stackalloc 40
    .seh_endprologue
    movq    %rcx, %rax
    movq    %rdx, %rcx
    call    *%rax
    xorl    %eax, %eax
    .globl  TavloFrameEnd
TavloFrameEnd:
    addq    $40, %rsp
    ret
    .seh_handler TavloFrameHandler, @except
    .seh_endproc
