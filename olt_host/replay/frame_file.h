/// Files of recorded frames.
#ifndef OLT_HOST_REPLAY_FRAME_FILE_H
#define OLT_HOST_REPLAY_FRAME_FILE_H

#include <memory>
#include <string>

namespace olt_host {

/// Reads the frames of a file in order. There are two kinds of files:
///
/// - Text with one frame a line in hexadecimal digits. Surrounding blanks, empty lines, and anything after a
///   tab or a # are ignored. Only the first 8,192 characters of a line are used.
/// - A capture in the pcap or pcapng format: OMCI in Ethernet frames of type 0x88B5, with or without VLAN
///   tags.
class FrameFile {
public:
    virtual ~FrameFile() = default;

    /// Opens a file of either kind. The first bytes decide which kind it is. Throws std::bad_alloc.
    /// @return null if the file cannot be read, with the reason in `fault`.
    static std::unique_ptr<FrameFile> Open(const std::string& path, std::string& fault);

    /// Goes to the next frame. @return false at the end and on a read error (`Fault`).
    virtual bool Next() = 0;

    /// Returns the unit of `Number`: "lines" or "frames".
    virtual const char* Unit() const = 0;
    /// Returns the number of the current line or Ethernet frame, from 1.
    unsigned int Number() const { return number; }

    enum class Content { kFrame, kNotHexadecimal, kNotOmci };
    Content Held() const { return content; }
    /// Returns the bytes of the frame, not yet checked (`OmciFrame::Parse`); empty for other content.
    const std::string& Bytes() const { return bytes; }
    /// Identifies the ONU that a frame belongs to, by the Ethernet addresses; empty in text files.
    const std::string& Conversation() const { return conversation; }
    /// Returns the read error that ended the file early; empty if there was none.
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
