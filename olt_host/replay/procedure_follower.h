/// What recorded frames say about the procedures they belong to.
#ifndef OLT_HOST_REPLAY_PROCEDURE_FOLLOWER_H
#define OLT_HOST_REPLAY_PROCEDURE_FOLLOWER_H

#include <array>
#include <map>
#include <vector>

#include "olt_host/omci/frame.h"

namespace olt_host {

/// A bring-up as its requests tell it: a MIB reset, in the next transaction the MIB upload, and everything
/// behind until the transactions no longer ascend or another MIB reset comes.
struct BringUp {
    unsigned int first_line = 0;
    unsigned int last_line = 0;
    std::uint16_t first_tid = 0;
    std::uint16_t last_tid = 0;
    unsigned int absent = 0; ///< transactions between the first and the last that were not recorded
    std::array<unsigned int, kOmciTypes> requests{};
    unsigned int answers = 0;
    unsigned int next_sequence = 0; ///< behind the last upload next request
    bool in_sequence = true;        ///< the upload next requests counted up from 0
};

/// Upload next answers in transactions that follow each other.
struct UploadRun {
    unsigned int first_line = 0;
    unsigned int last_line = 0;
    unsigned int rows = 0;
    std::uint16_t last_tid = 0;
    unsigned int announced = 0; ///< rows that the MIB upload answer before it promised; 0: there was none
};

struct ProcedureTotals {
    /// Adds those of another ONU, in the order in which they began.
    void Add(const ProcedureTotals& other);

    std::vector<BringUp> bring_ups;
    std::vector<UploadRun> uploads; ///< those of more than one row
    unsigned int answered = 0;      ///< requests with their answer
    unsigned int unanswered = 0;    ///< requests that want an answer, without
    unsigned int unasked = 0;       ///< answers without a request
};

/// Fed with the frames of one ONU in the order in which they were recorded; works on what is there, with
/// requests or answers missing.
class ProcedureFollower {
public:
    void Observe(const OmciFrame& frame, unsigned int line);
    /// No more frames come. @return what they were.
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

    bool is_open = false; ///< a bring-up is being followed
    BringUp current;
    UploadRun run;
    std::map<std::uint16_t, Request> pending;
    ProcedureTotals totals;
};

} // namespace olt_host

#endif
