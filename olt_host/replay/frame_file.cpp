#include "olt_host/replay/frame_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "olt_host/capture/ethernet.h"
#include "olt_host/capture/pcap_format.h"
#include "olt_host/capture/pcap_reader.h"
#include "onu_mng_lib/onu_mng_common/variant_util.h"
#include "onu_mng_platform/cutil.h"

namespace olt_host {

namespace {

struct CloseStream {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, CloseStream>;

/// Characters that are kept of a line; more than the longest frame needs.
constexpr std::size_t kMostOfLine = 8192;

class TextFile final : public FrameFile {
public:
    explicit TextFile(Stream from) : in(std::move(from)) {}

    bool Next() override {
        std::string text;
        do {
            if (!ReadLine(text)) return false;
            ++number;
            VariantUtil::Trim(text);
            text.erase(std::min(text.find_first_of("\t#"), text.size()));
            VariantUtil::Trim(text);
        } while (text.empty());
        bytes.assign(text.size() / 2, '\0');
        auto room = static_cast<unsigned int>(bytes.size());
        const bool is_hexadecimal = CUtil::CovertHexStringToBytes(text.c_str(), bytes.data(), &room) == 0;
        bytes.resize(is_hexadecimal ? room : 0);
        content = is_hexadecimal ? Content::kFrame : Content::kNotHexadecimal;
        return true;
    }
    const char* Unit() const override { return "lines"; }

private:
    bool ReadLine(std::string& text) {
        text.clear();
        int character = 0;
        while ((character = std::getc(in.get())) != EOF && character != '\n')
            if (text.size() < kMostOfLine) text.push_back(static_cast<char>(character));
        if (std::ferror(in.get()) != 0) fault = std::strerror(errno);
        return fault.empty() && (character != EOF || !text.empty());
    }

    const Stream in;
};

class CaptureFile final : public FrameFile {
public:
    std::string Open(Stream from) { return reader.Open(from.release()); }

    bool Next() override {
        if (!reader.Next()) {
            fault = reader.Fault();
            return false;
        }
        ++number;
        auto omci = UnwrapOmci(reader.Frame());
        content = omci ? Content::kFrame : Content::kNotOmci;
        bytes = omci ? omci->bytes : std::string_view();
        if (omci) conversation = std::move(omci->addresses);
        return true;
    }
    const char* Unit() const override { return "frames"; }

private:
    PcapReader reader;
};

/// Finds out whether a stream is a capture. Leaves the stream at its beginning.
/// @return an error message; empty on success.
std::string LookAt(std::FILE* stream, bool& is_capture) {
    char start[kPcapMagicSize] = {};
    errno = 0;
    const std::size_t got = std::fread(start, 1, sizeof start, stream);
    if (std::ferror(stream) != 0) return std::strerror(errno);
    is_capture = got == sizeof start && IsPcap(start);
    std::clearerr(stream);
    for (std::size_t back = got; back-- > 0;)
        if (std::ungetc(static_cast<unsigned char>(start[back]), stream) == EOF)
            return "cannot be read twice";
    return {};
}

} // namespace

std::unique_ptr<FrameFile> FrameFile::Open(const std::string& path, std::string& fault) {
    Stream stream(std::fopen(path.c_str(), "re"));
    bool is_capture = false;
    fault = stream == nullptr ? std::strerror(errno) : LookAt(stream.get(), is_capture);
    if (!fault.empty()) return nullptr;
    if (!is_capture) return std::make_unique<TextFile>(std::move(stream));
    auto capture = std::make_unique<CaptureFile>();
    fault = capture->Open(std::move(stream));
    if (!fault.empty()) return nullptr;
    return capture;
}

} // namespace olt_host
