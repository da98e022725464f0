onu_mng_test(platform_posix_test PORT posix SOURCES platform_posix_test.cpp platform_posix_limits_test.cpp
             support/port_fixture_posix.cpp TIMEOUT 300)
