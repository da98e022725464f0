# Checks which files may include which: cmake -DROOT=... -P include_rules.cmake
#
# Arrows point down only: olt_host -> onu_mng_lib -> onu_mng_common -> the seam <- ports.

set(violations "")

# Every #include below `folder` must match one of the patterns that follow.
function(check folder)
  file(GLOB_RECURSE files ${ROOT}/${folder}/*.h ${ROOT}/${folder}/*.cpp)
  if(NOT files)
    message(FATAL_ERROR "nothing to check in ${folder}")
  endif()
  foreach(file IN LISTS files)
    file(STRINGS ${file} lines REGEX "^[ \t]*#[ \t]*include")
    foreach(line IN LISTS lines)
      string(REGEX REPLACE "^[ \t]*#[ \t]*include[ \t]*" "" included "${line}")
      set(allowed FALSE)
      foreach(pattern IN LISTS ARGN)
        if(included MATCHES "^${pattern}")
          set(allowed TRUE)
        endif()
      endforeach()
      if(NOT allowed)
        string(APPEND violations "  ${file}: ${included}\n")
      endif()
    endforeach()
  endforeach()
  set(violations "${violations}" PARENT_SCOPE)
endfunction()

# The C++17 standard library, and <time.h> for clock_gettime() and nanosleep().
set(standard "<[a-z_0-9]+>" "<time\\.h>")
set(seam "\"onu_mng_platform/(bep|mpu|ulog|cli|cutil|printf_format)\\.h\"")
# What the framework asks of the layer above it: its log module, and whether an ONU is traced.
set(questions "\"onu_mng_lib/onu_mng_(system_reg_interface|log_cinterface)\\.h\"")

check(onu_mng_lib/onu_mng_common ${standard} "${seam}" "\"onu_mng_lib/onu_mng_common/" "${questions}")
check(onu_mng_lib ${standard} "${seam}" "\"onu_mng_lib/")
check(onu_mng_platform "<" "\"onu_mng_platform/")
check(onu_mng_platform/posix "<" "\"onu_mng_platform/(posix|common)/" "${seam}")
check(onu_mng_platform/sim "<" "\"onu_mng_platform/(sim|common)/" "${seam}")
check(onu_mng_platform/common "<" "\"onu_mng_platform/common/" "${seam}")

if(violations)
  message(FATAL_ERROR "includes against the layers:\n${violations}")
endif()
