# The framework on real tasks.
onu_mng_test(aggregate_test PORT posix SOURCES aggregate_test.cpp)
onu_mng_test(module_mgr_test PORT posix SOURCES module_mgr_test.cpp)
onu_mng_test(system_test PORT posix SOURCES system_test.cpp)
onu_mng_test(onu_identity_test PORT posix SOURCES onu_identity_test.cpp)
onu_mng_test(state_machine_test PORT posix SOURCES state_machine_test.cpp)
onu_mng_test(trace_registry_test PORT posix SOURCES trace_registry_test.cpp)
