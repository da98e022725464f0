onu_mng_test(variant_test PORT posix SOURCES variant_value_test.cpp variant_text_test.cpp variant_buffer_test.cpp)
