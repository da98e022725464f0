/// Recognises procedures in recorded frames.
#ifndef OLT_HOST_REPLAY_PROCEDURE_FOLLOWER_H
#define OLT_HOST_REPLAY_PROCEDURE_FOLLOWER_H

#include <array>
#include <map>
#include <vector>

#include "olt_host/omci/frame.h"

namespace olt_host {

/// A bring-up, recognised by its requests: a MIB reset, a MIB upload in the next transaction, and all
/// requests after that until the transaction ids stop ascending or another MIB reset follows.
struct BringUp {
    unsigned int first_line = 0;
    unsigned int last_line = 0;
    std::uint16_t first_tid = 0;
    std::uint16_t last_tid = 0;
    unsigned int absent = 0; ///< transactions between the first and the last that were not recorded
    std::array<unsigned int, kOmciTypes> requests{};
    unsigned int answers = 0;
    unsigned int next_sequence = 0; ///< sequence number expected after the last upload next request
    bool in_sequence = true;        ///< the upload next requests counted up from 0
};

/// MIB upload next answers in consecutive transactions.
struct UploadRun {
    unsigned int first_line = 0;
    unsigned int last_line = 0;
    unsigned int rows = 0;
    std::uint16_t last_tid = 0;
    unsigned int announced = 0; ///< rows announced in the MIB upload answer; 0: that answer is missing
};

struct ProcedureTotals {
    /// Adds the totals of another ONU. Procedures stay sorted by their first line.
    void Add(const ProcedureTotals& other);

    std::vector<BringUp> bring_ups;
    std::vector<UploadRun> uploads; ///< with more than one row each
    unsigned int answered = 0;      ///< requests with an answer
    unsigned int unanswered = 0;    ///< requests that want an answer and have none
    unsigned int unasked = 0;       ///< answers without a request
};

/// Follows the procedures of one ONU. It gets the ONU's frames in the order of the recording. Requests or
/// answers may be missing.
class ProcedureFollower {
public:
    void Observe(const OmciFrame& frame, unsigned int line);
    /// Ends the open procedures after the last frame. @return the totals.
    const ProcedureTotals& Finish();

private:
    struct Request {
        OmciType type;
        MeId me;
        bool in_bring_up;
    };

    void ObserveRequest(const OmciFrame& frame, unsigned int line);
    void ObserveAnswer(const OmciFrame& frame, unsigned int line);
    bool Extends(const OmciFrame& frame) const;
    void Extend(const OmciFrame& frame, unsigned int line);
    void EndBringUp();
    void EndUpload();

    bool is_open = false; ///< `current` is a bring-up that has not ended
    BringUp current;
    UploadRun run;
    std::map<std::uint16_t, Request> pending;
    ProcedureTotals totals;
};

} // namespace olt_host

#endif
