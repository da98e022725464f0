/// Files of recorded frames.
#ifndef OLT_HOST_REPLAY_FRAME_FILE_H
#define OLT_HOST_REPLAY_FRAME_FILE_H

#include <memory>
#include <string>

namespace olt_host {

/// The frames of a file, one after the other:
///
/// - text: one frame a line in hexadecimal digits; blanks around it, and what follows a tab or a #, are not
///   part of it, and empty lines are passed over. Only the first 8,192 characters of a line are looked at;
/// - a capture in the pcap or pcapng format: OMCI in Ethernet frames of type 0x88B5, with or without VLAN tags.
class FrameFile {
public:
    virtual ~FrameFile() = default;

    /// Opens a file of any of these kinds, told apart by their first bytes. Throws std::bad_alloc.
    /// @return null when it cannot be read, with the reason in `fault`.
    static std::unique_ptr<FrameFile> Open(const std::string& path, std::string& fault);

    /// Goes to the next frame. @return false when there is none, or the file cannot be read on (`Fault`).
    virtual bool Next() = 0;

    /// What `Number` counts: "lines" or "frames".
    virtual const char* Unit() const = 0;
    /// The number of the frame's line, or of its Ethernet frame, from 1.
    unsigned int Number() const { return number; }

    enum class Content { kFrame, kNotHexadecimal, kNotOmci };
    Content Held() const { return content; }
    /// The bytes of a frame, in which `OmciFrame::Parse` may find faults; none of any other content.
    const std::string& Bytes() const { return bytes; }
    /// Tells the frames of one ONU from those of others; empty in text.
    const std::string& Conversation() const { return conversation; }
    /// Why the file could not be read to its end; empty when it was.
    const std::string& Fault() const { return fault; }

protected:
    FrameFile() = default;

    unsigned int number = 0;
    Content content = Content::kFrame;
    std::string bytes;
    std::string conversation;
    std::string fault;
};

} // namespace olt_host

#endif
