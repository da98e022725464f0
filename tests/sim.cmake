# The simulated board, and the library on it.
onu_mng_test(sim_board_test PORT sim SOURCES sim_board_test.cpp LIBRARIES onu_mng_platform_sim_new)
onu_mng_test(sim_timing_test PORT sim SOURCES sim_timing_test.cpp)
onu_mng_test(sim_interleaving_test PORT sim SOURCES sim_interleaving_test.cpp TIMEOUT 300)
onu_mng_test(sim_sweep_test PORT sim SOURCES sim_sweep_test.cpp LIBRARIES onu_mng_platform_sim_new TIMEOUT 300)

add_executable(service_on_sim ${PROJECT_SOURCE_DIR}/examples/service_on_sim.cpp)
target_link_libraries(service_on_sim PRIVATE onu_mng_lib onu_mng_platform_sim)
onu_mng_warnings(service_on_sim)
add_test(NAME service_on_sim COMMAND service_on_sim)
set_tests_properties(service_on_sim PROPERTIES TIMEOUT 120)

# A program that knows nothing of the board, on it.
add_executable(reboot_service_on_sim ${PROJECT_SOURCE_DIR}/examples/reboot_service.cpp)
target_link_libraries(reboot_service_on_sim PRIVATE onu_mng_lib onu_mng_platform_sim_main)
onu_mng_warnings(reboot_service_on_sim)
add_test(NAME reboot_service_on_sim COMMAND reboot_service_on_sim)
set_tests_properties(reboot_service_on_sim PROPERTIES TIMEOUT 60)
add_test(NAME simulation_page COMMAND ${CMAKE_COMMAND} -DDOC=${PROJECT_SOURCE_DIR}/docs/simulation.md
                                      -DPROGRAM=${PROJECT_SOURCE_DIR}/examples/service_on_sim.cpp
                                      -P ${CMAKE_CURRENT_LIST_DIR}/checks/doc_example.cmake)
