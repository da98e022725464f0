# The operator's client. It speaks to the host over a socket, so it runs on Linux whatever port the host is on.
find_package(CLI11 REQUIRED)
add_subdirectory(${PROJECT_SOURCE_DIR}/onu_mng_platform/posix/console
                 ${PROJECT_BINARY_DIR}/onu_mng_platform/posix/console)

add_executable(olt_cli olt_cli.cpp)
target_link_libraries(olt_cli PRIVATE onu_mng_platform_posix_console CLI11::CLI11)
onu_mng_warnings(olt_cli)
