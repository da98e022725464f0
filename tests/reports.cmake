# Reports and commands against transcripts.
onu_mng_test(report_test PORT posix SOURCES report_test.cpp)
onu_mng_test(cli_commands_test PORT sim SOURCES cli_commands_test.cpp LIBRARIES onu_mng_platform_sim_new)
foreach(suite report_test cli_commands_test)
  target_compile_definitions(${suite} PRIVATE ONU_MNG_GOLDEN_DIR="${CMAKE_CURRENT_LIST_DIR}/golden")
endforeach()
