#include "Benchmarks/RunLoop.hpp"

#include "Benchmarks/Measure.hpp"

#include <QCoreApplication>
#include <QTimer>

namespace Bench {

bool runUntil(const std::function<bool()>& isDone, double seconds) {
    const Nanoseconds deadline = now() + static_cast<Nanoseconds>(seconds * 1e9);
    QTimer wake;
    wake.setTimerType(Qt::PreciseTimer);
    wake.start(1);
    while (!isDone()) {
        if (now() > deadline) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

void runFor(double seconds) {
    runUntil([] { return false; }, seconds);
}

} // namespace Bench
