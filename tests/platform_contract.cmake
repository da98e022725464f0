# One contract suite, run on every port.
file(GLOB contract_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/platform_contract_*_test.cpp)
foreach(port posix sim)
  if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/support/port_fixture_${port}.cpp)
    onu_mng_test(platform_contract_${port}_test PORT ${port} SOURCES ${contract_sources} support/port_fixture_${port}.cpp
                 TIMEOUT 600)
  endif()
endforeach()
