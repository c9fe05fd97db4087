#pragma once

#include "Tests/Desktop/TrayDouble.hpp"

#include <QColor>
#include <QDBusServiceWatcher>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace Desktop {

class TrayMenuDouble;
class TrayProgram;

/// What an item answers when it is asked for everything: a picture of one plain colour, and no menu.
QVariantMap trayProperties(const QString& id, QColor colour);

/// A picture of one plain colour, as IconPixmap carries it.
QVariant plainPicture(QColor colour, int side = 32);

/// The value of a property that names an object, such as Menu.
QVariant objectPath(const QString& path);

/// The value of ToolTip.
QVariant trayToolTip(const QString& title, const QString& text);

/// One icon of a program, played by the test. Tells by no signal unless it is asked to.
class TrayItemDouble : public QDBusVirtualObject {
    Q_OBJECT
public:
    struct Manners {
        bool knowsActivate = true;                 // otherwise it answers that there is no such method
        bool answers = true;                       // otherwise whoever asks for its properties waits for ever
        std::chrono::milliseconds answersAfter{0}; // how long it takes over them
    };

    TrayItemDouble(TrayProgram& program, QString path, QVariantMap properties, Manners manners);
    ~TrayItemDouble() override; // the object goes, the program stays

    const QString& path() const { return path_; }

    /// Changes one property and tells it with this signal ("NewIcon"); an invalid value takes it away.
    void change(const QString& property, const QVariant& value, const QString& signal);
    void setStatus(const QString& status); // NewStatus carries its value
    void tell(const QString& signal, const QVariantList& arguments = {});

    /// Tells of a new picture so many times a second; 0 ends it. Each time it is asked, the picture is
    /// another one of these two.
    void flicker(int timesASecond, QColor one = Qt::white, QColor other = Qt::black);

    /// The calls it got, such as "Activate 640 14" and "Scroll 120 vertical".
    const QStringList& calls() const { return calls_; }
    qsizetype count(const QString& method) const; // of those

    int questions() const { return questions_; } // how often it was asked for its properties

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    void answerLater(const QDBusMessage& reply);
    void flickerOn();

    TrayProgram& program_;
    const QString path_;
    QVariantMap properties_;
    const Manners manners_;
    QStringList calls_;
    int questions_ = 0;

    QTimer flickering_;
    int timesASecond_ = 0;
    std::chrono::steady_clock::time_point flickeringSince_;
    qint64 flickered_ = 0;
    QVariant flickers_[2];
};

/// A program with icons in the tray, played by the test on a connection of its own to the session bus.
/// Destroying it is a program that dies: the connection closes, and nothing is taken back.
class TrayProgram : public QObject {
    Q_OBJECT
public:
    /// Most toolkits register when the tray's name gets an owner after it had none, and only then. Some
    /// programs register once in their life.
    enum class Registers { wheneverATrayComes, once, byHand };

    explicit TrayProgram(Registers registers = Registers::wheneverATrayComes);
    ~TrayProgram() override;

    QDBusConnection& bus() { return bus_; }
    QString name() const { return bus_.baseService(); } // ":1.42"

    /// A well-known name beside its own; and giving it up.
    bool takeName(const QString& name);
    void dropName(const QString& name);

    /// A new icon, registered as `argument`: where that is empty, as the program's own name for the usual
    /// path, else as the bare path.
    TrayItemDouble& add(QVariantMap properties, const QString& path = "/StatusNotifierItem",
                        const QString& argument = {}, TrayItemDouble::Manners manners = {});

    /// An icon that nobody registers: for another program to do so, or for a test by hand.
    TrayItemDouble& addQuietly(QVariantMap properties, const QString& path = "/StatusNotifierItem",
                               TrayItemDouble::Manners manners = {});

    TrayMenuDouble& addMenu(const QString& path = "/Menu");

    /// Registers this text and waits for the answer: empty where it was accepted, else the error's name.
    QString registerAs(const QString& argument);

    /// How often the program has registered, all its icons counted.
    int registrations() const { return registrations_; }

private:
    void registerAll();

    QDBusConnection bus_;
    const Registers registers_;
    int registrations_ = 0;
    QStringList arguments_;
    QDBusServiceWatcher watcher_;
    std::vector<std::unique_ptr<TrayItemDouble>> items_;
    std::vector<std::unique_ptr<TrayMenuDouble>> menus_;
};

/// An entry of a program's menu, with its properties as com.canonical.dbusmenu names them.
struct TrayMenuDoubleEntry {
    int id = 0;
    QVariantMap properties;
    std::vector<TrayMenuDoubleEntry> children{};
    bool isFilledWhenOpened = false; // the children are only there once it was about to be shown
};

/// A program's menu (com.canonical.dbusmenu), played by the test.
class TrayMenuDouble : public QDBusVirtualObject {
    Q_OBJECT
public:
    TrayMenuDouble(TrayProgram& program, QString path);
    ~TrayMenuDouble() override;

    /// Some programs do not know AboutToShow.
    void setKnowsAboutToShow(bool knows) { knowsAboutToShow_ = knows; }
    void setAnswers(bool answers) { answers_ = answers; }

    /// The top level; told by LayoutUpdated once somebody may have read the menu.
    void setEntries(std::vector<TrayMenuDoubleEntry> entries);

    /// Changes one property of an entry and tells it.
    void change(int id, const QString& property, const QVariant& value);

    /// What happened to entries, such as "opened 0", "clicked 3", "closed 0".
    const QStringList& events() const { return events_; }

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    TrayMenuDoubleEntry* find(int id);

    TrayProgram& program_;
    const QString path_;
    TrayMenuDoubleEntry root_;
    uint revision_ = 1;
    bool knowsAboutToShow_ = true;
    bool answers_ = true;
    QStringList events_;
};

} // namespace Desktop
