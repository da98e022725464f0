/// Replays recorded frames through the services.
#ifndef OLT_HOST_REPLAY_REPLAY_H
#define OLT_HOST_REPLAY_REPLAY_H

#include <ostream>
#include <string>

namespace olt_host {

struct ReplayOptions {
    bool check_mic = false; ///< refuse frames of 48 bytes with a wrong MIC
    bool verbose = false;   ///< print each frame
};

/// Reads the frames of a file (`FrameFile`), sends each answer and notification to the services through the
/// library, follows the procedures that the frames belong to, and prints the counts on `out`. A line that is
/// not a frame is reported on `err`, counted and skipped. After a read error the report covers the frames
/// read so far.
///
/// The services send nothing and begin no procedures. No `Host` may exist in the process at the same time.
/// @return 0; 1 if the services could not be started or lost a frame; 2 if the file cannot be read.
int Replay(const std::string& path, const ReplayOptions& options, std::ostream& out, std::ostream& err);

} // namespace olt_host

#endif
