/// Batons, one for each thread: a thread runs only while it holds its baton.
#ifndef ONU_MNG_PLATFORM_SIM_BATON_H
#define ONU_MNG_PLATFORM_SIM_BATON_H

#include <cerrno>
#include <ctime>
#include <semaphore.h>

namespace onu_mng_platform {

/// One thread waits here for its turn.
class Baton {
public:
    Baton() { sem_init(&turn, 0, 0); }
    ~Baton() { sem_destroy(&turn); }
    Baton(const Baton&) = delete;
    Baton& operator=(const Baton&) = delete;

    void Give() { sem_post(&turn); }

    void Take() {
        while (sem_wait(&turn) != 0) {
        }
    }

    /// Returns false if the turn does not come within `seconds` of real time.
    bool TakeWithin(int seconds) {
        timespec deadline{};
        clock_gettime(CLOCK_REALTIME, &deadline);
        deadline.tv_sec += seconds;
        int result = -1;
        do
            result = sem_timedwait(&turn, &deadline);
        while (result != 0 && errno == EINTR);
        return result == 0;
    }

private:
    sem_t turn;
};

} // namespace onu_mng_platform

#endif
