# A real C program drives the C interface.
add_executable(c_caller c_api/c_caller.c)
target_link_libraries(c_caller PRIVATE onu_mng_lib onu_mng_platform_posix)
set_target_properties(c_caller PROPERTIES LINKER_LANGUAGE CXX)
onu_mng_warnings(c_caller)
add_test(NAME c_caller COMMAND c_caller)
set_tests_properties(c_caller PROPERTIES TIMEOUT 60)
