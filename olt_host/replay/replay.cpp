#include "olt_host/replay/replay.h"

#include <atomic>
#include <map>
#include <memory>

#include "olt_host/omci/text.h"
#include "olt_host/replay/frame_file.h"
#include "olt_host/replay/procedure_follower.h"
#include "olt_host/replay/report.h"
#include "olt_host/services/mib_upload_service.h"
#include "olt_host/services/notification_service.h"
#include "olt_host/services/provisioning_service.h"
#include "olt_host/services/service_rack.h"
#include "onu_mng_lib/onu_mng_module_cinterface.h"

namespace olt_host {

namespace {

constexpr OnuKey kOnu{1, 1}; ///< the ONU that all frames are attributed to
constexpr unsigned int kQueueLength = 256;
constexpr unsigned int kFramesAtATime = 64; ///< less than `kQueueLength`, so no queue overflows
constexpr unsigned int kPatienceSeconds = 10;
constexpr unsigned int kSupervisionSeconds = 30;
constexpr int kUnreadableStatus = 2;

class NoLink : public OmciLink {
public:
    void Send(OnuKey, const OmciFrame&) override {}
};

/// Takes the frames that no other service claims.
class UnclaimedService : public OmciService {
public:
    explicit UnclaimedService(const ServiceGround& service_ground)
        : OmciService(kUnclaimedModule, "Unclaimed", service_ground) {}
    ~UnclaimedService() override { EndTask(); }

private:
    bool Claims(const OmciFrame&) const override { return true; }
    bool Wants(const OnuStatus&) const override { return false; }
    void OnBegin(OnuStatus&) override {}
    void OnEnd(Procedure&) override {}
};

class Player {
public:
    Player(const std::string& file_path, const ReplayOptions& replay_options, std::ostream& to,
           std::ostream& errors_to)
        : path(file_path), options(replay_options), out(to), err(errors_to) {}

    bool Start();
    void Play(FrameFile& file);
    void Print(const char* unit) const { PrintReplay(out, path, unit, counts, procedures, rack.Services()); }
    bool LostFrames() const { return counts.lost > 0; }

private:
    void Take(const FrameFile& file);
    void Report(unsigned int line, const char* fault);
    void Play(OmciFrame& frame, const FrameFile& file);
    void Send(OmciFrame& frame);
    void Drain();

    const std::string path;
    const ReplayOptions options;
    std::ostream& out;
    std::ostream& err;
    const std::atomic<Tick> now{0};
    WorkFlags work_queued{};
    NoLink link;
    OnuTable table{1, 1};
    std::vector<OmciChannel> channels{1};
    ServiceRack rack;                                   ///< after the members that the services use
    std::map<std::string, ProcedureFollower> followers; ///< by `FrameFile::Conversation`
    ProcedureTotals procedures;
    ReplayCounts counts;
};

bool Player::Start() {
    const unsigned int no_procedures = 0;
    const ServiceGround ground{table,        channels,      link,      now,      work_queued,
                               kQueueLength, no_procedures, {1, 1, 1}, {1, 1, 1}};
    return rack.Initialise(1, 1, kSupervisionSeconds) &&
           rack.Add(std::make_unique<MibUploadService>(ground, 0)) &&
           rack.Add(std::make_unique<ProvisioningService>(ground)) &&
           rack.Add(std::make_unique<NotificationService>(ground)) &&
           rack.Add(std::make_unique<UnclaimedService>(ground)) && rack.Start();
}

void Player::Play(FrameFile& file) {
    while (file.Next())
        Take(file);
    Drain();
    for (auto& [conversation, follower] : followers)
        procedures.Add(follower.Finish());
}

void Player::Take(const FrameFile& file) {
    if (file.Held() == FrameFile::Content::kNotOmci) {
        ++counts.not_omci;
        return;
    }
    if (file.Held() == FrameFile::Content::kNotHexadecimal) {
        ++counts.not_hexadecimal;
        return Report(file.Number(), "not hexadecimal");
    }
    OmciFrame frame;
    const FrameRules rules{false, options.check_mic};
    const FrameFault fault = OmciFrame::Parse(file.Bytes().data(), file.Bytes().size(), rules, frame);
    ++counts.faults[static_cast<unsigned int>(fault)];
    if (fault == FrameFault::kNone) {
        Play(frame, file);
    } else if (fault != FrameFault::kExtended) {
        Report(file.Number(), FaultName(fault));
    } else if (options.verbose) {
        out << file.Number() << ": extended format\n";
    }
}

void Player::Report(unsigned int line, const char* fault) {
    err << path << ':' << line << ": " << fault << '\n';
}

void Player::Play(OmciFrame& frame, const FrameFile& file) {
    ++counts.types[static_cast<unsigned int>(frame.Kind())][static_cast<unsigned int>(frame.Type())];
    if (options.verbose) out << file.Number() << ": " << Describe(frame) << '\n';
    followers[file.Conversation()].Observe(frame, file.Number());
    if (frame.Kind() != FrameKind::kRequest) Send(frame);
}

void Player::Send(OmciFrame& frame) {
    if (onu_mng_module_send_msg(kHostModule, kMsgFrame, kOnu.pon_no, kOnu.onu_id, frame.At(1),
                                OmciFrame::kSizeWithoutTrailer) != ONU_MNG_OK)
        ++counts.lost;
    if (++counts.sent % kFramesAtATime == 0) Drain();
}

/// Waits until the services have handled all queued frames.
void Player::Drain() {
    for (OmciService* service : rack.Services())
        if (!service->Drain(kPatienceSeconds)) ++counts.lost;
}

int Unreadable(const std::string& path, const std::string& why, std::ostream& err) {
    err << "olt_host: " << path << ": " << why << '\n';
    return kUnreadableStatus;
}

} // namespace

int Replay(const std::string& path, const ReplayOptions& options, std::ostream& out, std::ostream& err) {
    std::string fault;
    const auto file = FrameFile::Open(path, fault);
    if (file == nullptr) return Unreadable(path, fault, err);
    Player player(path, options, out, err);
    if (!player.Start()) {
        err << "olt_host: the services could not be started\n";
        return 1;
    }
    player.Play(*file);
    player.Print(file->Unit());
    if (!file->Fault().empty()) return Unreadable(path, file->Fault(), err);
    return player.LostFrames() ? 1 : 0;
}

} // namespace olt_host
