# Hardening of release builds: checked functions of the C library, stack protection, control-flow protection
# if the processor supports it, and relocations that are read-only after the start. The flags precede those of
# a target, so a target can disable one. They are not combined with sanitizers, which have their own checks.

include(CheckCXXCompilerFlag)

option(OBVISTA_HARDENING "Harden release builds" ON)
if(OBVISTA_HARDENING AND NOT OBVISTA_SANITIZE)
    # Distributions predefine another level in their compilers or flags, hence the -U.
    string(APPEND CMAKE_CXX_FLAGS_RELEASE " -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2")
    foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection)
        string(MAKE_C_IDENTIFIER "OBVISTA_HAS_${flag}" known)
        check_cxx_compiler_flag(${flag} ${known})
        if(${known})
            string(APPEND CMAKE_CXX_FLAGS_RELEASE " ${flag}")
        endif()
    endforeach()
    add_link_options($<$<CONFIG:Release>:LINKER:-z,relro,-z,now>)
endif()
