# One contract suite, run on every port; support/port_fixture_<port>.cpp runs its bodies.
file(GLOB contract_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/platform_contract_*_test.cpp)

function(onu_mng_contract_test port fixture)
  onu_mng_test(platform_contract_${port}_test PORT ${port} SOURCES ${contract_sources} ${fixture} TIMEOUT 600)
endfunction()
onu_mng_contract_test(posix support/port_fixture_posix.cpp)
onu_mng_contract_test(sim support/port_fixture_sim.cpp)

# A port outside the tree that this build was told to use; on Linux the fixture of posix serves it too.
if(TARGET onu_mng_platform_own)
  if(EXISTS "${ONU_MNG_PLATFORM}/port_fixture.cpp")
    onu_mng_contract_test(own "${ONU_MNG_PLATFORM}/port_fixture.cpp")
  else()
    onu_mng_contract_test(own support/port_fixture_posix.cpp)
  endif()
else()
  # The start for such a port compiles and leaves nothing of the seam out.
  add_subdirectory(${PROJECT_SOURCE_DIR}/onu_mng_platform/template ${CMAKE_BINARY_DIR}/onu_mng_platform/template)
  onu_mng_test(platform_template_test PORT own SOURCES platform_template_test.cpp)
endif()
