# Release builds get the hardening a Debian package gets from dpkg-buildflags:
# fortified C library calls, a stack protector, and relocations made read-only
# and bound at start. Only on ELF platforms and only with flags the compiler
# and linker take: the WebAssembly and MinGW builds are left as they are, and
# the sanitizers, the fuzzers and coverage (built at -O0) replace the same calls
# or need no optimisation, which fortify requires.
if(WIN32 OR APPLE OR EMSCRIPTEN OR ORVX_SANITIZE OR ORVX_TSAN OR ORVX_FUZZ OR ORVX_COVERAGE)
  return()
endif()

include(CheckCXXCompilerFlag)
include(CheckLinkerFlag)

# -U first: a compiler that defines its own level would otherwise warn of a
# redefinition, which -Werror makes an error.
check_cxx_compiler_flag("-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -O2" ORVX_HAS_FORTIFY)
if(ORVX_HAS_FORTIFY)
  add_compile_options("$<$<CONFIG:Release>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
endif()
check_cxx_compiler_flag(-fstack-protector-strong ORVX_HAS_STACK_PROTECTOR_STRONG)
if(ORVX_HAS_STACK_PROTECTOR_STRONG)
  add_compile_options($<$<CONFIG:Release>:-fstack-protector-strong>)
endif()
check_linker_flag(CXX "-Wl,-z,relro,-z,now" ORVX_HAS_RELRO_NOW)
if(ORVX_HAS_RELRO_NOW)
  add_link_options("$<$<CONFIG:Release>:-Wl,-z,relro;-Wl,-z,now>")
endif()
