# The installed package, and the answer to a build that chooses no port.
add_test(NAME package COMMAND ${CMAKE_COMMAND} -DBUILD=${PROJECT_BINARY_DIR} -DSOURCE=${CMAKE_CURRENT_SOURCE_DIR}/package
                              -DWORK=${CMAKE_CURRENT_BINARY_DIR}/package -DCOMPILER=${CMAKE_CXX_COMPILER}
                              -DFLAGS=${CMAKE_CXX_FLAGS} -P ${CMAKE_CURRENT_SOURCE_DIR}/checks/package.cmake)
set_tests_properties(package PROPERTIES TIMEOUT 120)

add_test(NAME no_platform_chosen COMMAND ${CMAKE_COMMAND} -S ${PROJECT_SOURCE_DIR} -G Ninja -DONU_MNG_BUILD_TESTS=OFF
                                         -B ${CMAKE_CURRENT_BINARY_DIR}/no_platform)
set_tests_properties(no_platform_chosen PROPERTIES PASS_REGULAR_EXPRESSION "No platform chosen" TIMEOUT 60)
