# The layers include only downwards; each header compiles alone and twice, the C interface as C99 too.

add_test(NAME include_rules COMMAND ${CMAKE_COMMAND} -DROOT=${PROJECT_SOURCE_DIR}
                                    -P ${CMAKE_CURRENT_SOURCE_DIR}/checks/include_rules.cmake)

if(NOT ONU_MNG_CHECK_HEADERS)
  return()
endif()

file(GLOB cxx_headers RELATIVE ${PROJECT_SOURCE_DIR} CONFIGURE_DEPENDS
     ${PROJECT_SOURCE_DIR}/onu_mng_lib/*.h ${PROJECT_SOURCE_DIR}/onu_mng_lib/onu_mng_common/*.h
     ${PROJECT_SOURCE_DIR}/onu_mng_platform/*.h ${PROJECT_SOURCE_DIR}/onu_mng_platform/*/*.h
     ${PROJECT_SOURCE_DIR}/onu_mng_platform/posix/console/*.h
     ${PROJECT_SOURCE_DIR}/olt_host/*.h)
file(GLOB c_headers RELATIVE ${PROJECT_SOURCE_DIR} CONFIGURE_DEPENDS
     ${PROJECT_SOURCE_DIR}/onu_mng_lib/*_cinterface.h ${PROJECT_SOURCE_DIR}/onu_mng_lib/onu_mng_system*.h
     ${PROJECT_SOURCE_DIR}/onu_mng_lib/onu_mng_common/result.h ${PROJECT_SOURCE_DIR}/onu_mng_platform/*.h)

function(onu_mng_header_units language extension)
  foreach(header IN LISTS ARGN)
    string(MAKE_C_IDENTIFIER ${header} stem)
    set(unit ${CMAKE_CURRENT_BINARY_DIR}/headers/${stem}.${extension})
    file(CONFIGURE OUTPUT ${unit} CONTENT "#include \"@header@\"\n#include \"@header@\"\nextern int unit_${stem};\n" @ONLY)
    target_sources(headers_alone_${language} PRIVATE ${unit})
  endforeach()
endfunction()

foreach(language IN ITEMS c cxx)
  add_library(headers_alone_${language} OBJECT)
  target_link_libraries(headers_alone_${language} PRIVATE onu_mng_platform_seam)
  onu_mng_warnings(headers_alone_${language})
endforeach()
onu_mng_header_units(cxx cpp ${cxx_headers})
onu_mng_header_units(c c ${c_headers})
