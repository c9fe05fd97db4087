#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QRect>
#include <QString>

#include <functional>
#include <memory>

class QDBusMessage;

namespace Linux {

/// The menu of another program's item, shown by us: asked for afresh at each opening, never waited for.
/// Choices go back to the program. Main thread only.
class TrayMenu : public QObject {
    Q_OBJECT
public:
    static constexpr int timeLimit = 3000;      // milliseconds for each answer
    static constexpr int openingPatience = 300; // milliseconds for the program to get its menu ready
    static constexpr int refreshInterval = 33;  // milliseconds; changes in between are taken in together

    /// `service` as the item was registered; `path` of the com.canonical.dbusmenu object.
    TrayMenu(QString service, QString path, QDBusConnection bus = QDBusConnection::sessionBus());
    ~TrayMenu() override; // closes it and calls nobody

    /// Shows the menu below `anchor` (the item on the screen, in the toolkit's coordinates) as soon as the
    /// program has told it. A second call while it is being asked for or is open closes it. `failed` is
    /// called where no menu comes.
    void open(const QRect& anchor, std::function<void()> failed);
    void close();
    bool isOpen() const; // and on the screen

    /// Called when it was closed, by a choice or otherwise, also while it was still being asked for: each
    /// opening ends either with this or with its `failed`.
    void onClosed(std::function<void()> closed) { closed_ = std::move(closed); }

private:
    class Opening;

    // Known to the toolkit by name: that is how the bus delivers signals.
    Q_SLOT void layoutUpdated(const QDBusMessage& message);
    Q_SLOT void itemsPropertiesUpdated(const QDBusMessage& message);

    void follow();
    void end();

    const QString service_;
    const QString path_;
    QDBusConnection bus_;
    std::function<void()> closed_;
    std::unique_ptr<Opening> opening_; // null while closed
};

} // namespace Linux
