# The command line.
add_library(cli_test_commands STATIC cli_test_commands.cpp cli_oracle.cpp)
target_link_libraries(cli_test_commands PUBLIC onu_mng_lib)
onu_mng_warnings(cli_test_commands)

onu_mng_test(cli_random_test PORT posix TIMEOUT 300 SOURCES cli_random_test.cpp LIBRARIES cli_test_commands)

onu_mng_test(cli_transcript_test PORT posix SOURCES cli_transcript_test.cpp LIBRARIES cli_test_commands)
target_compile_definitions(cli_transcript_test PRIVATE ONU_MNG_GOLDEN_DIR="${CMAKE_CURRENT_SOURCE_DIR}/golden")

onu_mng_test(cli_execute_test PORT posix SOURCES cli_execute_test.cpp)
onu_mng_test(cli_filter_test PORT posix SOURCES cli_filter_test.cpp)
onu_mng_test(cli_memory_test PORT posix SOURCES cli_memory_test.cpp)
onu_mng_test(cli_server_test PORT posix SOURCES cli_server_test.cpp)
