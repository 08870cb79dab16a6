# Makes the compiler and the linker build in what ends the program when memory is misused, instead of letting
# the misuse go on. tests/hardening.py reads the built program and tells whether all of it is there.
include(CheckCXXCompilerFlag)
include(CheckPIESupported)

# Loaded at another address each time.
check_pie_supported(OUTPUT_VARIABLE pie_output LANGUAGES CXX)
if(NOT CMAKE_CXX_LINK_PIE_SUPPORTED)
  message(WARNING "The program cannot be position independent: ${pie_output}")
endif()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# Overwritten return addresses, stacks that grow over their guard page, jumps into the middle of a function.
foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection=full)
  string(MAKE_C_IDENTIFIER "HAS${flag}" known)
  check_cxx_compiler_flag(${flag} ${known})
  if(${known})
    add_compile_options($<$<COMPILE_LANGUAGE:CXX>:${flag}>)
  endif()
endforeach()

# The C library checks the sizes that the compiler knows. Without optimisation it knows none, and the sanitizers,
# which are built that way, check more. Distributions define the macro themselves, with another value.
add_compile_options("$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:SHELL:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3>")
# Indices and iterators of the standard containers.
add_compile_definitions(_GLIBCXX_ASSERTIONS)

# What the dynamic linker fills in is filled in at the start and cannot be written after; no code on the stack.
add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
