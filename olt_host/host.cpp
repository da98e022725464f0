#include "olt_host/host.h"

#include <memory>

#include "olt_host/services/mib_upload_service.h"
#include "olt_host/services/notification_service.h"
#include "olt_host/services/provisioning_service.h"

namespace olt_host {

namespace {

constexpr unsigned int kTimeoutSeconds = 3;
constexpr unsigned int kSends = 3;
constexpr unsigned int kFirstPauseSeconds = 1;
constexpr unsigned int kLongestPauseSeconds = 16;
constexpr unsigned int kSilentSeconds = 5;
constexpr unsigned int kMsPerSecond = 1000;

Tick TicksOf(unsigned int seconds, const HostOptions& options) {
    return (Tick{seconds} * kMsPerSecond + options.tick_ms - 1) / options.tick_ms;
}

/// The time-out has one extra tick, because a request may be sent just before a tick. A state's time limit is
/// one second longer than all transmissions of its request.
RequestTimes TimesOf(const HostOptions& options) {
    const Tick timeout = TicksOf(kTimeoutSeconds, options) + 1;
    const Tick limit_ms = timeout * kSends * options.tick_ms + kMsPerSecond;
    return {timeout, kSends, static_cast<unsigned long>((limit_ms + kMsPerSecond - 1) / kMsPerSecond)};
}

RetryPolicy RetryOf(const HostOptions& options) {
    return {options.attempts, TicksOf(kFirstPauseSeconds, options), TicksOf(kLongestPauseSeconds, options)};
}

std::vector<WireTap*> TapsOf(Capture& capture, WireTap* other) {
    std::vector<WireTap*> taps = {&capture};
    if (other != nullptr) taps.push_back(other);
    return taps;
}

} // namespace

Host::Host(const HostOptions& host_options)
    : options(host_options), table(options.pons, options.onus), channels(table.Size()),
      fiber(table, now,
            {options.ports, options.queue, TicksOf(kSilentSeconds, options), options.seed,
             TapsOf(capture, options.tap)}),
      ticker(options.tick_ms, now, fiber, {kMibUploadModule, kProvisioningModule, kNotificationModule}) {}

Host::~Host() {
    ticker.Close();
    fiber.Close();
}

std::string Host::Start() {
    if (!rack.Initialise(options.pons, options.onus, options.supervision_s))
        return "the library could not be initialised";
    if (!AddServices()) return "the services could not be registered";
    if (!rack.Start()) return "the services could not be started";
    if (!fiber.Open()) return "the fiber could not be started";
    if (!ticker.Open()) return "the ticker could not be started";
    return {};
}

// The order matters, because the first service that claims a frame gets it: answers to a get of ONU data
// belong to the MIB upload, answers to any other get to the provisioning.
bool Host::AddServices() {
    const ServiceGround ground{table,
                               channels,
                               fiber,
                               now,
                               work_queued,
                               options.queue,
                               options.window,
                               TimesOf(options),
                               RetryOf(options),
                               options.chart};
    return rack.Add(std::make_unique<MibUploadService>(ground, TicksOf(options.audit_s, options))) &&
           rack.Add(std::make_unique<ProvisioningService>(ground)) &&
           rack.Add(std::make_unique<NotificationService>(ground));
}

unsigned int Host::Active() const {
    unsigned int active = 0;
    for (const OmciService* service : Services())
        active += service->Active();
    return active;
}

} // namespace olt_host
