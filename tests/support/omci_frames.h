/// OMCI frames for tests.
#ifndef ONU_MNG_TESTS_SUPPORT_OMCI_FRAMES_H
#define ONU_MNG_TESTS_SUPPORT_OMCI_FRAMES_H

#include <fstream>
#include <string>
#include <vector>

#include "olt_host/omci/frame.h"
#include "onu_mng_platform/cutil.h"

/// Converts hexadecimal text to bytes. "..." stands for as many zeros as are needed for `size` bytes.
inline std::string Bytes(std::string hex, std::size_t size = 0) {
    const std::size_t gap = hex.find("...");
    if (gap != std::string::npos) hex.replace(gap, 3, std::string(2 * size - (hex.size() - 3), '0'));
    std::string bytes(hex.size() / 2, '\0');
    auto room = static_cast<unsigned int>(bytes.size());
    return CUtil::CovertHexStringToBytes(hex.c_str(), bytes.data(), &room) == 0 ? bytes : std::string();
}

/// All 48 bytes of a frame.
inline std::string Bytes(const olt_host::OmciFrame& frame) {
    return std::string(frame.At(1), olt_host::OmciFrame::kSize);
}

/// A recorded frame: its bytes and its description in the recording.
struct RecordedFrame {
    std::string bytes;
    std::string description;
};

/// The frames of OMCI_FRAMES_FILE; empty if there is no such file.
inline std::vector<RecordedFrame> RecordedFrames() {
    std::vector<RecordedFrame> frames;
    std::ifstream file(OMCI_FRAMES_FILE);
    for (std::string line; std::getline(file, line);) {
        const std::size_t tab = line.find('\t');
        frames.push_back({Bytes(line.substr(0, tab)), line.substr(tab + 1, line.rfind('\t') - tab - 1)});
    }
    return frames;
}

#endif
