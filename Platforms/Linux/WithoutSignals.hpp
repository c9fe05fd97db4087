#pragma once

#include <signal.h>

namespace Linux {

/// Threads that are started meanwhile get no signals: those are the main thread's, and a broken pipe ends
/// nothing.
class WithoutSignals {
public:
    WithoutSignals() {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    WithoutSignals(const WithoutSignals&) = delete;
    WithoutSignals& operator=(const WithoutSignals&) = delete;
    ~WithoutSignals() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_{};
};

} // namespace Linux
