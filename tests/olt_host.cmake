# The example host, on real tasks and on the simulated board; the examples.
set(OMCI_FRAMES_FILE "${PROJECT_SOURCE_DIR}/../shared/data/omci_frames.tsv" CACHE FILEPATH
    "Recorded OMCI frames that some tests run on; they are skipped where it is missing")

function(olt_host_test name port)
  onu_mng_test(${name} PORT ${port} SOURCES ${name}.cpp LIBRARIES olt_host_core TIMEOUT 300)
  target_compile_definitions(${name} PRIVATE OMCI_FRAMES_FILE="${OMCI_FRAMES_FILE}")
endfunction()

# A program with arguments: what it prints, and for the host how it ends.
function(program_test name program)
  cmake_parse_arguments(PARSE_ARGV 2 arg "" "PRINTS" "ARGUMENTS")
  add_test(NAME ${name} COMMAND ${program} ${arg_ARGUMENTS})
  set_tests_properties(${name} PROPERTIES TIMEOUT 60 PASS_REGULAR_EXPRESSION "${arg_PRINTS}")
endfunction()

if(TARGET olt_host_core)
  olt_host_test(omci_frame_test posix)
  olt_host_test(omci_simulated_onu_test posix)
  olt_host_test(sim_olt_host_test sim)
endif()
