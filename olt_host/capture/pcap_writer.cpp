#include "olt_host/capture/pcap_writer.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

#include <fcntl.h>
#include <pcap/pcap.h>
#include <sys/stat.h>
#include <unistd.h>

#include "olt_host/capture/pcap_format.h"

namespace olt_host {

namespace {

constexpr std::uint64_t kFileHeader = 24;
constexpr std::uint64_t kRecordHeader = 16;
constexpr int kLongestFrame = 65535;
constexpr std::int64_t kMicroseconds = 1000000;

/// Why a file must not be overwritten; empty if it may be.
std::string ObjectionTo(int descriptor) {
    struct stat there {};
    if (fstat(descriptor, &there) != 0) return std::strerror(errno);
    if (!S_ISREG(there.st_mode)) return "not a regular file";
    char start[kPcapMagicSize];
    const ssize_t got = pread(descriptor, start, sizeof start, 0);
    if (got < 0) return std::strerror(errno);
    const bool is_capture = got == sizeof start && IsPcap(start);
    return got == 0 || is_capture ? std::string() : "there is a file that is no capture";
}

} // namespace

struct PcapWriter::File {
    File() = default;
    ~File() {
        if (dumper != nullptr) pcap_dump_close(dumper); // closes the stream, too
        if (pcap != nullptr) pcap_close(pcap);
        if (descriptor >= 0) close(descriptor);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    int descriptor = -1; ///< a second one beside the stream's; truncates the file after the stream is closed
    pcap_t* pcap = nullptr;
    pcap_dumper_t* dumper = nullptr;
};

PcapWriter::PcapWriter() = default;

PcapWriter::~PcapWriter() {
    Close();
}

std::string PcapWriter::Open(const std::string& path) {
    auto opened = std::make_unique<File>();
    // O_NONBLOCK: opening a FIFO must not wait for its other end.
    opened->descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
    if (opened->descriptor < 0) return std::strerror(errno);
    if (std::string why = ObjectionTo(opened->descriptor); !why.empty()) return why;
    opened->pcap = pcap_open_dead(DLT_EN10MB, kLongestFrame);
    const int of_stream = fcntl(opened->descriptor, F_DUPFD_CLOEXEC, 0);
    std::FILE* const stream = of_stream < 0 ? nullptr : fdopen(of_stream, "w");
    if (stream == nullptr && of_stream >= 0) close(of_stream);
    if (opened->pcap == nullptr || stream == nullptr) return std::strerror(ENOMEM);
    if (ftruncate(opened->descriptor, 0) == 0) opened->dumper = pcap_dump_fopen(opened->pcap, stream);
    if (opened->dumper == nullptr) {
        const int error = errno;
        std::fclose(stream);
        return std::strerror(error);
    }
    Close();
    file = std::move(opened);
    fault.clear();
    frames = safe_frames = 0;
    size = safe_size = kFileHeader;
    return Flush() ? std::string() : fault;
}

bool PcapWriter::Write(std::int64_t time, const void* frame, std::size_t frame_size) {
    if (file == nullptr) return false;
    const std::uint64_t record_size = kRecordHeader + frame_size;
    if (size + record_size > kMostBytes) return Flush() && Fail("full");
    pcap_pkthdr header{};
    header.ts.tv_sec = static_cast<decltype(header.ts.tv_sec)>(time / kMicroseconds);
    header.ts.tv_usec = static_cast<decltype(header.ts.tv_usec)>(time % kMicroseconds);
    header.caplen = header.len = static_cast<bpf_u_int32>(frame_size);
    pcap_dump(reinterpret_cast<unsigned char*>(file->dumper), &header,
              static_cast<const unsigned char*>(frame));
    if (std::ferror(pcap_dump_file(file->dumper)) != 0) return Fail(std::strerror(errno));
    size += record_size;
    ++frames;
    return true;
}

bool PcapWriter::Flush() {
    if (file == nullptr) return false;
    if (pcap_dump_flush(file->dumper) != 0) return Fail(std::strerror(errno));
    safe_size = size;
    safe_frames = frames;
    return true;
}

/// Truncates the file after its last whole frame and closes it.
bool PcapWriter::Fail(std::string why) {
    fault = std::move(why);
    frames = safe_frames;
    const int descriptor = std::exchange(file->descriptor, -1);
    file = nullptr; // closing may write buffered data again, so truncate afterwards
    if (ftruncate(descriptor, static_cast<off_t>(safe_size)) != 0) fault += ", the last frame is cut";
    close(descriptor);
    return false;
}

void PcapWriter::Close() {
    if (Flush()) file = nullptr;
}

} // namespace olt_host
