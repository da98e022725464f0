/// The three files that every program has.
#ifndef OLT_HOST_OPERATORS_STANDARD_FILES_H
#define OLT_HOST_OPERATORS_STANDARD_FILES_H

#include <fcntl.h>
#include <unistd.h>

namespace olt_host {

/// Opens those of standard input, output and error that are closed. Otherwise the next socket would take the
/// place, and what is printed would go there. First thing in main().
inline void OpenStandardFiles() {
    int file = 0;
    while (file >= 0 && file <= STDERR_FILENO)
        file = open("/dev/null", O_RDWR);
    if (file >= 0) close(file);
}

} // namespace olt_host

#endif
