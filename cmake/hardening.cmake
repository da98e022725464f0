# What a fault in memory can still do is kept small: a smashed stack and an overrun of a buffer of known size end the
# program, a large stack frame does not jump over the guard page, and no table that the program jumps through is writable or
# at a known address. The test "hardening" looks for all of it in the programs.
if(NOT ONU_MNG_HARDENING)
  return()
endif()

include(CheckCXXCompilerFlag)
foreach(flag IN ITEMS -fstack-protector-strong -fstack-clash-protection)
  string(MAKE_C_IDENTIFIER "ONU_MNG_HAS${flag}" has_flag)
  check_cxx_compiler_flag(${flag} ${has_flag})
  if(${has_flag})
    add_compile_options(${flag})
  endif()
endforeach()

# The C library checks nothing without optimisation.
set(optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
add_compile_options($<${optimised}:-U_FORTIFY_SOURCE> $<${optimised}:-D_FORTIFY_SOURCE=2>)

if(NOT CMAKE_POSITION_INDEPENDENT_CODE)
  add_compile_options($<$<NOT:$<STREQUAL:$<TARGET_PROPERTY:TYPE>,SHARED_LIBRARY>>:-fPIE>)
endif()
add_link_options($<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-pie> LINKER:-z,relro LINKER:-z,now)
