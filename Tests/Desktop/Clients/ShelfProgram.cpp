// A program with a floating panel that takes drops of files and lets them be dragged off:
//
//     shelf_program X Y [closes-on-enter | closes-on-move | closes-on-drop | closes-on-press] [drags FILE]
//
// X and Y: of the panel's lower left corner, y upwards. FILE: a list of files, which a drag off the panel
// carries. Says "shown", what its content hears ("enter", "leave", "drop", its bytes and their hash, "own
// drop"), "pressed", "dragging", "dragged" and what came of it, "closed", and for how many milliseconds its
// main loop "stood still" whenever that was long. SIGUSR1 closes the panel, or opens a new one.

#include "Platforms/Linux/Shelf/X11FloatingPanels.hpp"
#include "Platforms/Qt/QtFloatingPanels.hpp"

#include <QApplication>
#include <QCryptographicHash>
#include <QDrag>
#include <QDropEvent>
#include <QElapsedTimer>
#include <QFile>
#include <QMimeData>
#include <QPainter>
#include <QSocketNotifier>
#include <QTimer>
#include <sys/signalfd.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace {

constexpr auto uriList = "text/uri-list";

void say(const QString& line) {
    std::puts(line.toUtf8().constData());
    std::fflush(stdout);
}

/// Bytes as they are, which the toolkit would take for URLs of its own.
class RawList : public QMimeData {
public:
    explicit RawList(QByteArray bytes)
        : bytes_(std::move(bytes)) {}

    QStringList formats() const override { return {uriList}; }
    bool hasFormat(const QString& format) const override { return format == uriList; }

protected:
    QVariant retrieveData(const QString& format, QMetaType) const override {
        return format == uriList ? QVariant(bytes_) : QVariant();
    }

private:
    QByteArray bytes_;
};

class Content : public QWidget {
public:
    Content(QByteArray dragged, std::function<void(const char*)> happened, QWidget* parent)
        : QWidget(parent)
        , dragged_(std::move(dragged))
        , happened_(std::move(happened)) {
        setAcceptDrops(true);
    }

protected:
    void paintEvent(QPaintEvent*) override { QPainter(this).fillRect(rect(), Qt::darkCyan); }

    void dragEnterEvent(QDragEnterEvent* event) override {
        say("enter");
        event->setAccepted(event->mimeData()->hasFormat(uriList));
        happened_("enter");
    }

    void dragMoveEvent(QDragMoveEvent* event) override {
        event->accept();
        happened_("move");
    }

    void dragLeaveEvent(QDragLeaveEvent*) override { say("leave"); }

    void dropEvent(QDropEvent* event) override {
        const QByteArray bytes = event->mimeData()->data(uriList);
        const QByteArray hash = QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex();
        say(QString("%1drop %2 %3").arg(event->source() ? "own " : "").arg(bytes.size()).arg(QString(hash)));
        event->acceptProposedAction();
        happened_("drop");
    }

    void mousePressEvent(QMouseEvent* event) override {
        say("pressed");
        start_ = event->pos();
        happened_("press");
    }

    void mouseMoveEvent(QMouseEvent* event) override {
        if (dragged_.isEmpty() ||
            (event->pos() - start_).manhattanLength() < QApplication::startDragDistance()) {
            return;
        }
        auto* drag = new QDrag(this);
        drag->setMimeData(new RawList(dragged_));
        say("dragging");
        const Qt::DropAction action = drag->exec(Qt::CopyAction);
        say(QString("dragged %1").arg(static_cast<int>(action)));
    }

private:
    QByteArray dragged_;
    std::function<void(const char*)> happened_;
    QPoint start_;
};

/// Notices when the main loop stands still, and not when the whole machine does: a second thread beats too.
class Watch {
public:
    Watch() {
        QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { beat(); });
        timer_.setTimerType(Qt::PreciseTimer);
        timer_.start(beatLength);
        clock_.start();
    }
    ~Watch() {
        isOver_ = true;
        thread_.join();
    }

private:
    static constexpr int beatLength = 5; // milliseconds
    // Longer than a busy machine keeps a program waiting, and shorter than the toolkit waits for another one.
    static constexpr qint64 longest = 2000; // milliseconds

    void beat() {
        const qint64 gap = clock_.restart();
        const int others = beats_.exchange(0);
        if (gap > longest && others * beatLength * 2 > gap) {
            say(QString("stood still for %1 ms").arg(gap));
        }
    }

    QTimer timer_;
    QElapsedTimer clock_;
    std::atomic<int> beats_ = 0;
    std::atomic<bool> isOver_ = false;
    std::thread thread_{[this] {
        while (!isOver_) {
            std::this_thread::sleep_for(std::chrono::milliseconds(beatLength));
            ++beats_;
        }
    }};
};

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

int signals() {
    sigset_t all;
    ::sigemptyset(&all);
    ::sigaddset(&all, SIGUSR1);
    ::sigaddset(&all, SIGTERM);
    ::sigprocmask(SIG_BLOCK, &all, nullptr);
    return ::signalfd(-1, &all, SFD_CLOEXEC);
}

} // namespace

int main(int argumentCount, char** arguments) {
    const int signalled = signals(); // before there are threads
    QApplication application(argumentCount, arguments);
    QApplication::setQuitOnLastWindowClosed(false);
    const QStringList words = QApplication::arguments();
    const ZorbelKit::Point origin{words.value(1).toDouble(), words.value(2).toDouble()};
    const qsizetype drags = words.indexOf("drags");
    const QByteArray dragged = drags > 0 ? contentOf(words.value(drags + 1)) : QByteArray();

    QtPlatform::QtFloatingPanels panels(Linux::prepareFloatingPanel);
    std::unique_ptr<ZorbelKit::FloatingPanel> panel;
    const auto close = [&] {
        panel.reset();
        say("closed");
    };
    const ZorbelKit::AnyView content([&](QWidget* parent) -> QWidget* {
        return new Content(
            dragged,
            [&](const char* event) {
                if (panel && words.contains(QString("closes-on-%1").arg(event))) {
                    close();
                }
            },
            parent);
    });
    const auto open = [&] {
        panel = panels.make({.title = "A shelf", .size = {340, 128}, .canBecomeKey = true}, content);
        panel->setOrigin(origin);
        panel->orderFrontRegardless();
        say("shown");
    };
    QSocketNotifier notifier(signalled, QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [&] {
        signalfd_siginfo heard{};
        if (::read(signalled, &heard, sizeof heard) != sizeof heard) {
            return;
        }
        if (heard.ssi_signo == SIGTERM) {
            QCoreApplication::quit();
        } else {
            panel ? close() : open();
        }
    });
    open();
    std::unique_ptr<Watch> watch;
    QTimer::singleShot(200, &application, [&] { watch = std::make_unique<Watch>(); }); // it starts up slowly
    const int status = QApplication::exec();
    panel.reset();
    return status;
}
