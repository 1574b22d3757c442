# SPDX-License-Identifier: MIT
# What every target of this project is compiled with. An INTERFACE target keeps it off the installed ones.
add_library(knotwork_settings INTERFACE)
target_compile_features(knotwork_settings INTERFACE cxx_std_17)
# Without this, code built for a CPU with fused multiply-add rounds differently from code built without.
target_compile_options(knotwork_settings INTERFACE -ffp-contract=off)
# A loop of a few instructions that straddles a cache line of the instruction stream can take twice its time.
target_compile_options(knotwork_settings INTERFACE -falign-loops=32)
target_compile_options(knotwork_settings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
# GCC makes statics of inline functions and templates, the standard library's own among them, one object for the whole
# process, and the loader then keeps the library for good: a plug-in has to go when its host lets go of it.
include(CheckCXXCompilerFlag)
check_cxx_compiler_flag(-fno-gnu-unique KNOTWORK_HAS_NO_GNU_UNIQUE)
if(KNOTWORK_HAS_NO_GNU_UNIQUE)
    target_compile_options(knotwork_settings INTERFACE -fno-gnu-unique)
endif()
if(KNOTWORK_WARNINGS_AS_ERRORS)
    target_compile_options(knotwork_settings INTERFACE -Werror)
endif()
if(KNOTWORK_SANITIZER)
    target_compile_options(knotwork_settings INTERFACE
        -fsanitize=${KNOTWORK_SANITIZER} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(knotwork_settings INTERFACE -fsanitize=${KNOTWORK_SANITIZER})
    # GCC 12 takes parts of <regex> for uninitialised once they are instrumented.
    target_compile_options(knotwork_settings INTERFACE
        $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()
if(KNOTWORK_COVERAGE)
    target_compile_options(knotwork_settings INTERFACE --coverage)
    target_link_options(knotwork_settings INTERFACE --coverage)
endif()
if(KNOTWORK_BUILD_FUZZERS)
    target_compile_options(knotwork_settings INTERFACE -fsanitize=fuzzer-no-link)
endif()
