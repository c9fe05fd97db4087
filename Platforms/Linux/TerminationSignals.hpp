#pragma once

#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace Linux {

/// Turns the signals that end a session (TERM, INT, HUP) and USR1 ("come forward") into calls on the main
/// thread. One at a time in a process; needs a QCoreApplication.
class TerminationSignals {
public:
    /// Keeps a "come forward" waiting until an object is there to hear it; its default would end the process.
    static void holdComeForward();

    TerminationSignals(std::function<void()> terminate, std::function<void()> comeForward);
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;
    ~TerminationSignals();

private:
    void arrived();

    std::function<void()> terminate_;
    std::function<void()> comeForward_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace Linux
