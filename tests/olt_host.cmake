# The example host, on real tasks and on the simulated board; the examples.
set(OMCI_FRAMES_FILE "${PROJECT_SOURCE_DIR}/../shared/data/omci_frames.tsv" CACHE FILEPATH
    "Recorded OMCI frames that some tests run on; they are skipped where it is missing")

function(olt_host_test name port)
  onu_mng_test(${name} PORT ${port} SOURCES ${name}.cpp LIBRARIES olt_host_core TIMEOUT 300)
  target_compile_definitions(${name} PRIVATE OMCI_FRAMES_FILE="${OMCI_FRAMES_FILE}"
                                             ONU_MNG_GOLDEN_DIR="${CMAKE_CURRENT_SOURCE_DIR}/golden")
endfunction()

# A program that ends with a status and prints a text: program_test(NAME STATUS TEXT PROGRAM ARGUMENTS...)
function(program_test name status text program)
  add_test(NAME ${name}
    COMMAND sh -c "out=$(\"$0\" \"$@\" 2>&1); s=$?; echo \"$out\"; test $s -eq ${status} && echo \"$out\" | grep -q '${text}'"
            $<TARGET_FILE:${program}> ${ARGN})
  set_tests_properties(${name} PROPERTIES TIMEOUT 120)
endfunction()

if(TARGET olt_host_core)
  olt_host_test(omci_frame_test posix)
  olt_host_test(omci_simulated_onu_test posix)
  olt_host_test(olt_host_replay_test posix)
  olt_host_test(olt_host_services_test sim)
  olt_host_test(olt_host_commands_test sim)
  olt_host_test(sim_olt_host_test sim)

  # The same program where minutes take no time.
  add_executable(olt_host_on_sim $<TARGET_OBJECTS:olt_host_main> ${PROJECT_SOURCE_DIR}/olt_host/operators_none.cpp)
  target_link_libraries(olt_host_on_sim PRIVATE olt_host_core onu_mng_lib onu_mng_platform_sim_main)
  program_test(olt_host_mute_onu 1 "^  2   1  failed: no answer .* 1       2 " olt_host_on_sim --mute 2/1)
  program_test(olt_host_gives_up_waiting 1 "^8 ONUs: 1 uploading, 7 in sync; " olt_host_on_sim --mute 2/1 --limit 3)
  program_test(olt_host_bad_line 0 "^256 ONUs: 256 in sync; "
               olt_host_on_sim --pons 2 --onus 128 --loss 3 --corrupt 1 --duplicate 10 --delay 10 --link 60
               --attempts 0 --limit 3600)
  program_test(olt_host_short_queues 0 "^256 ONUs: 256 in sync; .* [1-9][0-9]* sent again"
               olt_host_on_sim --pons 2 --onus 128 --queue 16 --attempts 0)
endif()
if(TARGET olt_host AND ONU_MNG_PLATFORM STREQUAL "posix")
  program_test(olt_host_demo 0 "^8 ONUs: 8 in sync; " olt_host)
  program_test(olt_host_traces 0 " 4 1: (PON:2, ONU:4)Alloc state for pon_no 2 onu_id 4 succeeded" olt_host -vv)
  program_test(olt_host_4096_onus 0 "^4096 ONUs: 4096 in sync; " olt_host --pons 32 --onus 128)
  program_test(olt_host_busy_line 0 "^256 ONUs: 256 in sync; "
               olt_host --pons 4 --onus 64 --duplicate 20 --link 1 --audit 1 --attempts 0 -v)
  # Operators at their terminals: what they see depends on every part from the keys to the handlers.
  add_test(NAME olt_host_session COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/olt_host_session.sh $<TARGET_FILE:olt_host>
                                         $<TARGET_FILE:olt_cli>)
  set_tests_properties(olt_host_session PROPERTIES TIMEOUT 120 SKIP_RETURN_CODE 77)
  program_test(olt_host_help 0 "replay FILE" olt_host --help)
  program_test(olt_host_wrong_number 2 "pons: Value 99 not in range 1 to 64" olt_host --pons 99)
  program_test(olt_host_wrong_onu 2 "there is no ONU 3/1" olt_host --mute 1/1,3/1)
  program_test(olt_host_no_file 2 "none: No such file" olt_host --replay none)
  program_test(smallest_module 0 "ONU 1/5 says hello" smallest_module)
  program_test(reboot_service 0 "ONU 1/6: refused" reboot_service)
endif()
