#include "Platforms/Linux/SingleInstance.hpp"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QVariantMap>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <charconv>
#include <csignal>
#include <cstdlib>
#include <string>
#include <utility>

namespace Linux {

namespace {

constexpr auto applicationInterface = "org.freedesktop.Application";
constexpr int patience = 3000; // milliseconds

std::string lockPath() {
    if (const char* runtime = std::getenv("XDG_RUNTIME_DIR"); runtime && *runtime) {
        return std::string(runtime) + "/zorbel.lock";
    }
    return "/tmp/zorbel-" + std::to_string(getuid()) + ".lock";
}

/// The process written into a lock file; 0 where there is none.
pid_t holder(int file) {
    char text[16] = {};
    const ssize_t length = pread(file, text, sizeof text, 0);
    pid_t process = 0;
    if (length > 0) {
        std::from_chars(text, text + length, process);
    }
    return process;
}

} // namespace

SingleInstance::SingleInstance(std::function<void()> activated)
    : activated_(std::move(activated)) {
}

SingleInstance::~SingleInstance() {
    if (lockFile_ >= 0) {
        close(lockFile_);
    }
}

SingleInstance::Outcome SingleInstance::claim() {
    return QDBusConnection::sessionBus().isConnected() ? claimOnBus() : claimFile();
}

SingleInstance::Outcome SingleInstance::claimOnBus() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.registerVirtualObject(applicationPath,
                              this); // before the name: whoever sees the name finds the object
    for (int attempt = 0; attempt < 2; ++attempt) {
        const auto reply =
            bus.interface()->registerService(applicationId, QDBusConnectionInterface::DontQueueService,
                                             QDBusConnectionInterface::DontAllowReplacement);
        if (reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered) {
            return Outcome::first;
        }
        QDBusMessage activate =
            QDBusMessage::createMethodCall(applicationId, applicationPath, applicationInterface, "Activate");
        activate << QVariantMap();
        activate.setAutoStartService(false);
        const QDBusMessage answer = bus.call(activate, QDBus::Block, patience);
        if (answer.type() == QDBusMessage::ReplyMessage) {
            return Outcome::alreadyRunning;
        }
        // The holder may have ended in between: its name is then free at the second attempt.
    }
    return Outcome::alreadyRunning;
}

SingleInstance::Outcome SingleInstance::claimFile() {
    lockFile_ = open(lockPath().c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (lockFile_ < 0) {
        return Outcome::first; // nowhere to ask: better two than none
    }
    if (flock(lockFile_, LOCK_EX | LOCK_NB) != 0) {
        if (const pid_t running = holder(lockFile_); running > 0) {
            kill(running, SIGUSR1);
        }
        return Outcome::alreadyRunning;
    }
    const std::string process = std::to_string(getpid());
    if (ftruncate(lockFile_, 0) == 0) {
        // A lock without a number still holds; only the second start cannot call us then.
        static_cast<void>(!pwrite(lockFile_, process.data(), process.size(), 0));
    }
    return Outcome::first;
}

QString SingleInstance::introspect(const QString&) const {
    return QStringLiteral(R"(<interface name="org.freedesktop.Application">
  <method name="Activate"><arg name="platform_data" type="a{sv}" direction="in"/></method>
  <method name="Open"><arg name="uris" type="as" direction="in"/><arg name="platform_data" type="a{sv}" direction="in"/></method>
  <method name="ActivateAction"><arg name="action_name" type="s" direction="in"/><arg name="parameter" type="av" direction="in"/><arg name="platform_data" type="a{sv}" direction="in"/></method>
</interface>)");
}

bool SingleInstance::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    const QString member = message.member();
    if (member != "Activate" && member != "Open" && member != "ActivateAction") {
        return false;
    }
    connection.send(message.createReply());
    activated_();
    return true;
}

void refuseStrayBus() {
    if (std::getenv("DBUS_SESSION_BUS_ADDRESS")) {
        return;
    }
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    struct stat socket {};
    if (runtime && stat((std::string(runtime) + "/bus").c_str(), &socket) == 0) {
        return; // the user's bus, where libraries look by themselves
    }
    setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);
}

} // namespace Linux
