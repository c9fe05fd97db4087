#include "Platforms/Qt/QtMainLoop.hpp"

#include <QCoreApplication>
#include <QDateTime>
#include <QThread>
#include <QThreadPool>
#include <QTimer>

#include <cmath>
#include <memory>
#include <utility>

namespace QtPlatform {

using ZorbelKit::Seconds;
using ZorbelKit::TimePoint;
using ZorbelKit::Token;

namespace {

constexpr Seconds coarseFrom{0.5};

Token start(Seconds interval, bool repeats, ZorbelKit::MainLoop::Task task) {
    // A timer stopped from its own tick is still on the stack: it is deleted when that tick is over.
    const std::shared_ptr<QTimer> timer(new QTimer, [](QTimer* stopped) {
        stopped->stop();
        stopped->deleteLater();
    });
    timer->setTimerType(interval >= coarseFrom ? Qt::CoarseTimer : Qt::PreciseTimer);
    timer->setSingleShot(!repeats);
    timer->setInterval(static_cast<int>(std::lround(interval.count() * 1000)));
    QObject::connect(timer.get(), &QTimer::timeout, timer.get(), [task = std::move(task)] {
        const auto held = task; // the task may drop the token, and with it this very closure
        held();
    });
    timer->start();
    return Token([timer] { timer->stop(); });
}

} // namespace

QtMainLoop::~QtMainLoop() {
    QThreadPool::globalInstance()->waitForDone();
}

Token QtMainLoop::every(Seconds interval, Task tick) {
    return start(interval, true, std::move(tick));
}

Token QtMainLoop::after(Seconds delay, Task task) {
    return start(delay, false, std::move(task));
}

void QtMainLoop::post(Task task) {
    QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(task), Qt::QueuedConnection);
}

void QtMainLoop::background(ZorbelKit::Priority priority, Task work) {
    QThreadPool::globalInstance()->start(std::move(work),
                                         priority == ZorbelKit::Priority::userInitiated ? 1 : 0);
}

bool QtMainLoop::isMainThread() const {
    return QThread::currentThread() == QCoreApplication::instance()->thread();
}

TimePoint QtClock::now() const {
    return std::chrono::time_point_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now());
}

TimePoint QtClock::startOfDay(TimePoint moment) const {
    using std::chrono::milliseconds;
    const auto since = std::chrono::floor<milliseconds>(moment.time_since_epoch()).count();
    const QDateTime midnight = QDateTime::fromMSecsSinceEpoch(since).date().startOfDay();
    return TimePoint(milliseconds(midnight.toMSecsSinceEpoch()));
}

} // namespace QtPlatform
