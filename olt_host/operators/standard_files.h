/// Standard input, output and error.
#ifndef OLT_HOST_OPERATORS_STANDARD_FILES_H
#define OLT_HOST_OPERATORS_STANDARD_FILES_H

#include <fcntl.h>
#include <unistd.h>

namespace olt_host {

/// Opens /dev/null for each of standard input, output and error that is closed. Otherwise the next socket
/// would get that descriptor, and printed text would go into it. Call this first in main().
inline void OpenStandardFiles() {
    int file = 0;
    while (file >= 0 && file <= STDERR_FILENO)
        file = open("/dev/null", O_RDWR);
    if (file >= 0) close(file);
}

} // namespace olt_host

#endif
