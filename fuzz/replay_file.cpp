// Files of recorded frames: hexadecimal lines, pcap, pcapng.

#include <gtest/gtest.h>

#include <map>
#include <sstream>

#include <sys/mman.h>
#include <unistd.h>

#include "fuzz/input.h"
#include "olt_host/omci/text.h"
#include "olt_host/replay/frame_file.h"
#include "olt_host/replay/procedure_follower.h"
#include "olt_host/replay/report.h"

namespace {

using namespace olt_host;

void Follow(FrameFile& file, ReplayCounts& counts, ProcedureTotals& totals) {
    std::map<std::string, ProcedureFollower> followers;
    for (unsigned int last = 0; file.Next(); last = file.Number()) {
        EXPECT_GT(file.Number(), last);
        OmciFrame frame;
        const FrameFault fault =
            OmciFrame::Parse(file.Bytes().data(), file.Bytes().size(), kInCaptures, frame);
        ++counts.faults[static_cast<unsigned int>(fault)];
        if (fault != FrameFault::kNone) continue;
        ++counts.types[static_cast<unsigned int>(frame.Kind())][static_cast<unsigned int>(frame.Type())];
        EXPECT_FALSE(Describe(frame).empty());
        followers[file.Conversation()].Observe(frame, file.Number());
    }
    for (auto& [conversation, follower] : followers)
        totals.Add(follower.Finish());
}

} // namespace

void TryInput(FuzzInput& input) {
    static const int memory = memfd_create("replay", MFD_CLOEXEC);
    const std::string path = "/proc/self/fd/" + std::to_string(memory);
    EXPECT_EQ(ftruncate(memory, 0), 0);
    const std::string bytes = input.Rest();
    EXPECT_EQ(pwrite(memory, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    std::string fault;
    const auto file = FrameFile::Open(path, fault);
    EXPECT_EQ(file == nullptr, !fault.empty());
    if (file == nullptr) return;
    ReplayCounts counts;
    ProcedureTotals totals;
    Follow(*file, counts, totals);
    std::ostringstream out;
    PrintReplay(out, "file", file->Unit(), counts, totals, {});
    EXPECT_FALSE(out.str().empty());
}
