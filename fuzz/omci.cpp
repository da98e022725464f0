// OMCI frames read from any bytes and written again, alone and in Ethernet frames, and an ONU that is sent them.

#include <gtest/gtest.h>

#include "fuzz/input.h"
#include "olt_host/capture/ethernet.h"
#include "olt_host/omci/text.h"
#include "olt_host/onu/simulated_onu.h"
#include "tests/support/omci_frames.h"

namespace {

using namespace olt_host;

constexpr SerialNumber kSerial{'S', 'I', 'M', 'U', 1, 2, 3, 4};

void CheckWritten(OmciFrame frame) {
    frame.Seal();
    OmciFrame read;
    ASSERT_EQ(OmciFrame::Parse(frame.At(1), OmciFrame::kSize, kOnTheLine, read), FrameFault::kNone);
    ASSERT_EQ(Bytes(read), Bytes(frame));
    ASSERT_FALSE(Describe(read).empty());
    const EthernetFrame wrapped = WrapOmci({3, 7}, Direction::kUp, frame);
    const auto unwrapped = UnwrapOmci(std::string_view(wrapped.data(), wrapped.size()));
    ASSERT_TRUE(unwrapped);
    ASSERT_EQ(unwrapped->bytes, Bytes(frame));
    OmciFrame row;
    MibRow::Read(frame).Write(row);
    ASSERT_EQ(MibRow::Read(row), MibRow::Read(frame));
}

void Answer(SimulatedOnu& onu, const OmciFrame& request) {
    OmciFrame answer;
    if (!onu.Take(request, answer)) return;
    ASSERT_EQ(answer.Tid(), request.Tid());
    OmciFrame read;
    ASSERT_EQ(OmciFrame::Parse(answer.At(1), OmciFrame::kSize, kOnTheLine, read), FrameFault::kNone);
    ASSERT_EQ(read.Kind(), FrameKind::kAnswer);
}

} // namespace

void TryInput(FuzzInput& input) {
    SimulatedOnu onu(kSerial, 4);
    while (!input.IsOver()) {
        const FrameRules rules{input.Below(2) == 0, input.Below(2) == 0};
        const std::string bytes =
            input.Bytes(input.Below(2) == 0 ? OmciFrame::kSizeWithoutTrailer : OmciFrame::kSize);
        UnwrapOmci(bytes);
        OmciFrame frame;
        const FrameFault fault = OmciFrame::Parse(bytes.data(), bytes.size(), rules, frame);
        EXPECT_NE(std::string(FaultName(fault)), "");
        if (fault != FrameFault::kNone) continue;
        EXPECT_EQ(Bytes(frame).substr(0, bytes.size()), bytes);
        if (frame.Get<std::uint16_t>(43) == OmciFrame::kSizeWithoutTrailer) CheckWritten(frame);
        Answer(onu, frame);
    }
}
