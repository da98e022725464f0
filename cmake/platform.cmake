# Only an executable chooses its port. For the executables of this tree ONU_MNG_PLATFORM names it.
set(ONU_MNG_PLATFORM "" CACHE STRING "Port that olt_host and the examples run on: posix, sim, or a port's directory")
set_property(CACHE ONU_MNG_PLATFORM PROPERTY STRINGS posix sim)

# Makes onu_mng::platform the chosen port.
function(onu_mng_choose_platform)
  if(ONU_MNG_PLATFORM STREQUAL "posix")
    add_library(onu_mng::platform ALIAS onu_mng_platform_posix)
  elseif(ONU_MNG_PLATFORM STREQUAL "sim")
    add_library(onu_mng::platform ALIAS onu_mng_platform_sim_main)
  elseif(IS_DIRECTORY "${ONU_MNG_PLATFORM}")
    add_subdirectory("${ONU_MNG_PLATFORM}" "${CMAKE_BINARY_DIR}/onu_mng_platform/own")
    if(NOT TARGET onu_mng_platform_own)
      message(FATAL_ERROR "The port in ${ONU_MNG_PLATFORM} defines no target onu_mng_platform_own.")
    endif()
    add_library(onu_mng::platform ALIAS onu_mng_platform_own)
  else()
    message(FATAL_ERROR
      "No platform chosen (ONU_MNG_PLATFORM is \"${ONU_MNG_PLATFORM}\"). Choose one with -DONU_MNG_PLATFORM=...:\n"
      "  posix   Linux: real tasks, real time\n"
      "  sim     the simulated board: one task at a time, virtual time\n"
      "  DIR     a port of your own; see docs/porting.md\n"
      "or build the library alone with -DONU_MNG_BUILD_HOST=OFF.")
  endif()
endfunction()
