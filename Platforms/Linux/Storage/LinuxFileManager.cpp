#include "Platforms/Linux/Storage/LinuxFileManager.hpp"

#include "Platforms/Linux/Storage/TrashNames.hpp"
#include "ZorbelKit/Host/MainLoop.hpp"

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <atomic>
#include <chrono>
#include <string>
#include <utility>

namespace Linux {

namespace {

constexpr auto service = "org.freedesktop.FileManager1";
constexpr auto servicePath = "/org/freedesktop/FileManager1";
constexpr int timeLimit = 5'000; // milliseconds, in which a file manager has started and answered

std::string fileUrl(const std::filesystem::path& path) {
    return "file://" + percentEncoded(path.native());
}

void openFolder(const std::filesystem::path& folder) {
    QDesktopServices::openUrl(QUrl::fromEncoded(QByteArray::fromStdString(fileUrl(folder))));
}

} // namespace

/// The program may quit while thousands of items are on their way: it does not wait for all of them.
class LinuxFileManager::Ending {
public:
    explicit Ending(std::chrono::milliseconds patience)
        : patience_(patience) {}

    void begin() { end_ = (Clock::now() + patience_).time_since_epoch().count(); }
    bool isOver() const { return end_ != never && Clock::now().time_since_epoch().count() >= end_; }

private:
    using Clock = std::chrono::steady_clock;
    static constexpr Clock::rep never = 0;

    const std::chrono::milliseconds patience_;
    std::atomic<Clock::rep> end_ = never;
};

LinuxFileManager::LinuxFileManager(ZorbelKit::MainLoop& loop, Trash trash, std::chrono::milliseconds patience)
    : loop_(loop)
    , trash_(std::make_shared<const Trash>(std::move(trash)))
    , ending_(std::make_shared<Ending>(patience))
    , questions_(std::make_unique<QObject>()) {
}

LinuxFileManager::~LinuxFileManager() {
    ending_->begin();
}

void LinuxFileManager::recycle(std::vector<std::filesystem::path> paths,
                               std::function<void(std::vector<std::filesystem::path> moved)> done) {
    loop_.background(
        ZorbelKit::Priority::userInitiated,
        [trash = trash_, ending = ending_, paths = std::move(paths), done = std::move(done)]() mutable {
            std::erase_if(paths, [&](const auto& path) { return ending->isOver() || !trash->move(path); });
            done(std::move(paths));
        });
}

void LinuxFileManager::activateFileViewerSelecting(std::vector<std::filesystem::path> paths) {
    if (paths.empty()) {
        return;
    }
    const std::filesystem::path folder = paths.front().parent_path();
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        openFolder(folder);
        return;
    }
    QStringList urls;
    for (const auto& path : paths) {
        urls << QString::fromStdString(fileUrl(path));
    }
    const QString startupId; // the click that asks for it is not known here
    QDBusMessage question = QDBusMessage::createMethodCall(service, servicePath, service, "ShowItems");
    question << urls << startupId;
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(question, timeLimit), questions_.get());
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, questions_.get(),
                     [folder](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         if (finished->isError()) {
                             openFolder(folder);
                         }
                     });
}

} // namespace Linux
