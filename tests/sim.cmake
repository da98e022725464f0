# The simulated board, and the library on it.
onu_mng_test(sim_board_test PORT sim SOURCES sim_board_test.cpp LIBRARIES onu_mng_platform_sim_new)
onu_mng_test(sim_timing_test PORT sim SOURCES sim_timing_test.cpp)
onu_mng_test(sim_interleaving_test PORT sim SOURCES sim_interleaving_test.cpp TIMEOUT 300)
onu_mng_test(sim_sweep_test PORT sim SOURCES sim_sweep_test.cpp LIBRARIES onu_mng_platform_sim_new TIMEOUT 300)
