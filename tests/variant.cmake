onu_mng_test(variant_test PORT posix SOURCES variant_value_test.cpp variant_text_test.cpp variant_buffer_test.cpp)
onu_mng_test(variant_faults_test PORT sim SOURCES variant_faults_test.cpp LIBRARIES onu_mng_platform_sim_new)
onu_mng_test(clock_test PORT sim SOURCES clock_test.cpp)
