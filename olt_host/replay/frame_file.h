/// Files of recorded frames.
#ifndef OLT_HOST_REPLAY_FRAME_FILE_H
#define OLT_HOST_REPLAY_FRAME_FILE_H

#include <istream>
#include <string>

namespace olt_host {

/// One frame a line in hexadecimal digits; blanks around it, and what follows a tab or a #, are not part of
/// it. Empty lines are passed over.
class FrameFile {
public:
    explicit FrameFile(std::istream& from) : in(from) {}

    /// Goes to the next frame. @return false when there is none, or the file cannot be read on.
    bool Next();

    /// The number of its line, from 1.
    unsigned int Line() const { return line; }
    bool IsHexadecimal() const { return is_hexadecimal; }
    /// Its bytes; none when it is not hexadecimal.
    const std::string& Bytes() const { return bytes; }

private:
    std::istream& in;
    unsigned int line = 0;
    bool is_hexadecimal = false;
    std::string bytes;
};

} // namespace olt_host

#endif
