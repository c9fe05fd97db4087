#include "Platforms/Linux/MenuBar/TrayItemState.hpp"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusServer>
#include <QDBusSignature>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <gtest/gtest.h>

#include <optional>

namespace {

using Linux::IconPixmap;
using Linux::plainText;
using Linux::TrayItemState;
using Linux::trayItemState;
using Linux::TrayItemStatus;
using Linux::TrayPicture;

constexpr auto longest = TrayItemState::longestText;

struct ToolTip {
    QString icon;
    QList<IconPixmap> pixmaps;
    QString title;
    QString text;
};

QDBusArgument& operator<<(QDBusArgument& argument, const ToolTip& toolTip) {
    argument.beginStructure();
    argument << toolTip.icon << toolTip.pixmaps << toolTip.title << toolTip.text;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, ToolTip& toolTip) {
    argument.beginStructure();
    argument >> toolTip.icon >> toolTip.pixmaps >> toolTip.title >> toolTip.text;
    argument.endStructure();
    return argument;
}

} // namespace

Q_DECLARE_METATYPE(ToolTip)

namespace {

/// Counts what the toolkit has to complain about.
class Complaints {
public:
    Complaints() {
        count = 0;
        before_ = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& text) {
            count += type == QtDebugMsg || type == QtInfoMsg ? 0 : 1;
            std::fprintf(stderr, "%s\n", qPrintable(text));
        });
    }
    ~Complaints() { qInstallMessageHandler(before_); }
    Complaints(const Complaints&) = delete;
    Complaints& operator=(const Complaints&) = delete;

    inline static int count = 0;

private:
    QtMessageHandler before_;
};

/// A connection of this process with itself, without a bus: what is sent arrives as an item's properties do.
class Wire : public QDBusVirtualObject {
public:
    Wire() {
        qDBusRegisterMetaType<IconPixmap>();
        qDBusRegisterMetaType<QList<IconPixmap>>();
        qDBusRegisterMetaType<ToolTip>();
        QObject::connect(&server_, &QDBusServer::newConnection, this,
                         [this](const QDBusConnection& connection) {
                             peer_ = connection;
                             peer_->registerVirtualObject("/", this);
                         });
        client_ = QDBusConnection::connectToPeer(server_.address(), "wire");
    }
    ~Wire() override {
        if (peer_) { // what is still on its way must not find this object
            peer_->unregisterObject("/");
            QDBusConnection::disconnectFromPeer(peer_->name());
        }
        QDBusConnection::disconnectFromPeer("wire");
    }
    Wire(const Wire&) = delete;
    Wire& operator=(const Wire&) = delete;

    /// The properties as they arrive; none if they do not.
    std::optional<QVariantMap> sent(const QVariantMap& properties) {
        arrived_.reset();
        QDBusMessage message = QDBusMessage::createMethodCall({}, "/", "org.example.Wire", "Take");
        message << QVariant(properties);
        const QDeadlineTimer deadline(5000);
        const auto waitFor = [&](const auto& what) {
            while (!what && !deadline.hasExpired()) {
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
            }
        };
        waitFor(peer_); // once the other end has its object, a call is sent once
        client_.send(message);
        waitFor(arrived_);
        return arrived_;
    }

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection&) override {
        arrived_ = qdbus_cast<QVariantMap>(message.arguments().value(0));
        return true;
    }

private:
    int argumentCount_ = 1;
    char name_[5] = "wire";
    char* arguments_[2] = {name_, nullptr};
    QCoreApplication application_{argumentCount_, arguments_};
    QDBusServer server_;
    QDBusConnection client_{"wire"};
    std::optional<QDBusConnection> peer_; // the other end
    std::optional<QVariantMap> arrived_;
};

IconPixmap square(int side, char value = '\x7f') {
    return {side, side, QByteArray(static_cast<qsizetype>(side) * side * 4, value)};
}

QVariant pixmaps(const QList<IconPixmap>& list) {
    return QVariant::fromValue(list);
}

TEST(TrayItemState, HasDefaultsForWhatIsMissing) {
    EXPECT_EQ(trayItemState({}), TrayItemState());
    EXPECT_EQ(TrayItemState().status, TrayItemStatus::active);
    EXPECT_FALSE(TrayItemState().itemIsMenu);
}

TEST(TrayItemState, ReadsPlainValues) {
    const TrayItemState state = trayItemState({
        {"Id", "copyq"},
        {"Title", "CopyQ"},
        {"Status", "Passive"},
        {"IconName", "copyq-normal"},
        {"AttentionIconName", "copyq-busy"},
        {"OverlayIconName", "/usr/share/dot.png"},
        {"IconThemePath", "/opt/copyq/icons"},
        {"ToolTip", "Clipboard &amp; more"},
        {"XAyatanaLabel", "3 new"},
        {"Menu", QVariant::fromValue(QDBusObjectPath("/MenuBar"))},
        {"ItemIsMenu", true},
    });
    EXPECT_EQ(state.id, "copyq");
    EXPECT_EQ(state.title, "CopyQ");
    EXPECT_EQ(state.status, TrayItemStatus::passive);
    EXPECT_EQ(state.icon, (TrayPicture{"copyq-normal", {}}));
    EXPECT_EQ(state.attentionIcon, (TrayPicture{"copyq-busy", {}}));
    EXPECT_EQ(state.overlayIcon, (TrayPicture{"/usr/share/dot.png", {}}));
    EXPECT_EQ(state.iconThemePath, "/opt/copyq/icons");
    EXPECT_EQ(state.toolTip, "Clipboard & more");
    EXPECT_EQ(state.label, "3 new");
    EXPECT_EQ(state.menuPath, "/MenuBar");
    EXPECT_TRUE(state.itemIsMenu);
}

TEST(TrayItemState, S15_KnowsTheThreeStatesAndTakesOthersForActive) {
    const struct {
        const char* name;
        QVariant word;
        TrayItemStatus status;
    } rows[] = {
        {"passive", "Passive", TrayItemStatus::passive},
        {"active", "Active", TrayItemStatus::active},
        {"attention", "NeedsAttention", TrayItemStatus::needsAttention},
        {"unknown", "Sleeping", TrayItemStatus::active},
        {"empty", "", TrayItemStatus::active},
        {"number", 0, TrayItemStatus::active},
        {"nothing", {}, TrayItemStatus::active},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(trayItemState({{"Status", row.word}}).status, row.status);
    }
}

TEST(TrayItemState, AMenuIsAPathThatIsOne) {
    const struct {
        const char* name;
        QVariant menu;
        const char* path;
    } rows[] = {
        {"path", QVariant::fromValue(QDBusObjectPath("/org/x/Menu")), "/org/x/Menu"},
        {"text", "/MenuBar", "/MenuBar"},
        {"none, as some say it", QVariant::fromValue(QDBusObjectPath("/")), ""},
        {"none, as others say it", QVariant::fromValue(QDBusObjectPath("/NO_DBUSMENU")), ""},
        {"empty", "", ""},
        {"no path", "MenuBar", ""},
        {"bad path", "/Menu Bar", ""},
        {"too long", "/" + QString(400, 'a'), ""},
        {"number", 5, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(trayItemState({{"Menu", row.menu}}).menuPath, row.path);
    }
}

TEST(TrayItemState, ValuesOfAnotherTypeCountAsMissing) {
    const QVariant rows[] = {
        QVariant(),
        5,
        -1.5,
        QByteArray("copyq"),
        QStringList{"copyq"},
        QVariantMap{{"copyq", 1}},
        QVariantList{"copyq"},
        QVariant::fromValue(QDBusVariant("copyq")),
        QVariant::fromValue(QDBusSignature("s")),
        QVariant::fromValue(QDBusArgument()),
    };
    const char* names[] = {"Id",
                           "Title",
                           "Status",
                           "IconName",
                           "IconPixmap",
                           "AttentionIconName",
                           "AttentionIconPixmap",
                           "OverlayIconName",
                           "ToolTip",
                           "Menu",
                           "ItemIsMenu",
                           "IconThemePath",
                           "XAyatanaLabel",
                           "OverlayIconPixmap"};
    const Complaints complaints;
    for (const QVariant& value : rows) {
        SCOPED_TRACE(value.typeName() ? value.typeName() : "nothing");
        QVariantMap properties;
        for (const char* name : names) {
            properties.insert(name, value);
        }
        EXPECT_EQ(trayItemState(properties), TrayItemState());
    }
    EXPECT_FALSE(trayItemState({{"ItemIsMenu", "true"}}).itemIsMenu);
    EXPECT_EQ(Complaints::count, 0);
}

TEST(TrayItemState, TextsAreCutAndNamesThatWouldBeAreDropped) {
    const QString endless(1'000'000, 'a');
    const TrayItemState state = trayItemState({{"Id", endless},
                                               {"Title", endless},
                                               {"IconName", endless},
                                               {"IconThemePath", "/" + endless},
                                               {"ToolTip", endless},
                                               {"XAyatanaLabel", endless}});
    EXPECT_EQ(state.id, QString(longest, 'a'));
    EXPECT_EQ(state.title, QString(longest, 'a'));
    EXPECT_EQ(state.toolTip, QString(longest, 'a'));
    EXPECT_EQ(state.label, QString(longest, 'a'));
    EXPECT_EQ(state.icon.name, "") << "a name that is cut is another name";
    EXPECT_EQ(state.iconThemePath, "");

    const QString pair = QString::fromUcs4(U"🫖");
    EXPECT_EQ(trayItemState({{"Id", QString(longest - 1, 'a') + pair}}).id, QString(longest - 1, 'a'));
    EXPECT_EQ(trayItemState({{"Id", QString(longest - 2, 'a') + pair}}).id.size(), longest);
}

TEST(TrayItemState, OneLineOfTheBarHasNoLineEnds) {
    const TrayItemState state = trayItemState({{"Title", " Tea\n\ttime "}, {"XAyatanaLabel", "4\r\n5"}});
    EXPECT_EQ(state.title, "Tea time");
    EXPECT_EQ(state.label, "4 5");
}

TEST(TrayItemState, AFolderOfIconsIsAnAbsolutePath) {
    EXPECT_EQ(trayItemState({{"IconThemePath", "icons"}}).iconThemePath, "");
    EXPECT_EQ(trayItemState({{"IconThemePath", "../icons"}}).iconThemePath, "");
    EXPECT_EQ(trayItemState({{"IconThemePath", "/icons"}}).iconThemePath, "/icons");
}

TEST(TrayItemState, ShowsTheAttentionPictureWhileOneIsNeededAndThere) {
    TrayItemState state;
    state.icon.name = "calm";
    EXPECT_EQ(state.picture().name, "calm");
    state.status = TrayItemStatus::needsAttention;
    EXPECT_EQ(state.picture().name, "calm") << "without a picture for it";
    state.attentionIcon.name = "alarm";
    EXPECT_EQ(state.picture().name, "alarm");
    state.attentionIcon = {{}, {square(1)}};
    EXPECT_EQ(state.picture(), state.attentionIcon);
    state.status = TrayItemStatus::active;
    EXPECT_EQ(state.picture().name, "calm");
}

TEST(TrayItemState, IsSpokenOfByTheMostTellingText) {
    TrayItemState state;
    EXPECT_EQ(state.spokenName(), "");
    state.id = "id";
    EXPECT_EQ(state.spokenName(), "id");
    state.title = "Title";
    EXPECT_EQ(state.spokenName(), "Title");
    state.toolTip = "Tip";
    EXPECT_EQ(state.spokenName(), "Tip");
}

TEST(TrayItemState, ReadsWhatArrivesOverTheBus) {
    Wire wire;
    const Complaints complaints;
    const auto arrived = wire.sent({
        {"Id", "copyq"},
        {"Status", "NeedsAttention"},
        {"Menu", QVariant::fromValue(QDBusObjectPath("/MenuBar"))},
        {"ItemIsMenu", false},
        {"IconName", ""},
        {"IconPixmap", pixmaps({square(16, 1), {0, 0, {}}, square(22, 2), {32, 32, "short"}})},
        {"AttentionIconPixmap", pixmaps({square(24, 3)})},
        {"OverlayIconPixmap", pixmaps({})},
        {"ToolTip", QVariant::fromValue(ToolTip{"tea", {square(8)}, "<b>Tea</b>", "3 min<br>left"})},
    });
    ASSERT_TRUE(arrived);
    const TrayItemState state = trayItemState(*arrived);
    EXPECT_EQ(state.id, "copyq");
    EXPECT_EQ(state.menuPath, "/MenuBar");
    EXPECT_EQ(state.icon.pixmaps, (QList<IconPixmap>{square(16, 1), square(22, 2)}))
        << "broken ones left out";
    EXPECT_EQ(state.picture().pixmaps, (QList<IconPixmap>{square(24, 3)}));
    EXPECT_TRUE(state.overlayIcon.isEmpty());
    EXPECT_EQ(state.toolTip, "Tea\n3 min\nleft");
    EXPECT_EQ(trayItemState(*arrived), state) << "reading does not use the answer up";
    EXPECT_EQ(Complaints::count, 0);
}

TEST(TrayItemState, ReadsATipOfTitleAndText) {
    const struct {
        const char* name;
        ToolTip toolTip;
        QString text;
    } rows[] = {
        {"nothing", {}, ""},
        {"title alone", {{}, {}, "Tea", {}}, "Tea"},
        {"text alone", {{}, {}, {}, "ready"}, "ready"},
        {"both", {{}, {}, "Tea", "ready"}, "Tea\nready"},
        {"the same twice", {{}, {}, "Tea", "Tea"}, "Tea"},
        {"too long",
         {{}, {}, QString(900, 'a'), QString(900, 'b')},
         QString(900, 'a') + "\n" + QString(99, 'b')},
    };
    Wire wire;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto arrived = wire.sent({{"ToolTip", QVariant::fromValue(row.toolTip)}});
        ASSERT_TRUE(arrived);
        EXPECT_EQ(trayItemState(*arrived).toolTip, row.text);
    }
}

TEST(TrayItemState, WhatArrivesPackedInAnotherWayCountsAsMissing) {
    const struct {
        const char* name;
        QVariant value;
    } rows[] = {
        {"one picture for a list", QVariant::fromValue(square(1))},
        {"numbers", QVariant::fromValue(QList<int>{1, 2, 3})},
        {"long numbers", QVariant::fromValue(QList<qlonglong>{1})},
        {"flags", QVariant::fromValue(QList<bool>{true})},
        {"nothing in a list", QVariantList{}},
        {"a map", QVariantMap{{"a", QVariant::fromValue(square(1))}}},
        {"a map in a map", QVariantMap{{"a", QVariantMap{{"b", QVariantList{1}}}}}},
        {"paths", QVariant::fromValue(QList<QDBusObjectPath>{QDBusObjectPath("/a")})},
        {"bytes", QByteArray(5000, 'x')},
    };
    Wire wire;
    const Complaints complaints;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        QVariantMap properties;
        for (const char* name : {"Id", "Title", "Status", "IconName", "IconPixmap", "ToolTip", "Menu",
                                 "ItemIsMenu", "IconThemePath", "XAyatanaLabel"}) {
            properties.insert(name, row.value);
        }
        const auto arrived = wire.sent(properties);
        ASSERT_TRUE(arrived);
        EXPECT_EQ(trayItemState(*arrived), TrayItemState());
    }
    const auto swapped = wire.sent({{"IconPixmap", QVariant::fromValue(ToolTip{{}, {square(2)}, "a", "b"})},
                                    {"ToolTip", pixmaps({square(2)})}});
    ASSERT_TRUE(swapped);
    EXPECT_EQ(trayItemState(*swapped), TrayItemState());
    EXPECT_EQ(Complaints::count, 0);
}

TEST(TrayItemState, KeepsNoMorePicturesThanAreOfUse) {
    Wire wire;
    QList<IconPixmap> many;
    for (int side = 1; side <= 100; ++side) {
        many.append(square(side));
    }
    const auto arrived = wire.sent(
        {{"IconPixmap", pixmaps(many)},
         {"AttentionIconPixmap", pixmaps({square(512), square(513), square(500), square(512), square(32)})}});
    ASSERT_TRUE(arrived);
    const TrayItemState state = trayItemState(*arrived);
    EXPECT_EQ(state.icon.pixmaps, many.first(TrayItemState::mostPixmaps));
    EXPECT_EQ(state.attentionIcon.pixmaps, (QList<IconPixmap>{square(512), square(500), square(32)}))
        << "what would be too much in all is left out, what is small enough is not";
}

TEST(PlainText, TakesMarkupOut) {
    const struct {
        const char* name;
        QString marked;
        QString plain;
    } rows[] = {
        {"empty", "", ""},
        {"plain", "Tea is ready", "Tea is ready"},
        {"tags", "<b>Tea</b> is <i class=\"x\">ready</i>", "Tea is ready"},
        {"entities", "&lt;b&gt; Tom &amp; Jerry&#39;s &quot;x&quot; &apos;y&apos; a&nbsp;b",
         "<b> Tom & Jerry's \"x\" 'y' a b"},
        {"resolved once", "&amp;lt;b&amp;gt;", "&lt;b&gt;"},
        {"numbers", "&#65;&#x42;&#X43;&#128578;", QString::fromUtf8("ABC🙂")},
        {"no entities", "a & b &; &nothing; &#; &#x; &#xZ; &#-1; & amp;",
         "a & b &; &nothing; &#; &#x; &#xZ; &#-1; & amp;"},
        {"numbers of no character", "&#0;&#xD800;&#x110000;&#99999999;", "&#0;&#xD800;&#x110000;&#99999999;"},
        {"an entity without end", "a &amp", "a &amp"},
        {"lines", "one<br>two<br/>three<BR />four<p>five</p>six", "one\ntwo\nthree\nfour\nfive\nsix"},
        {"line ends stay", "one\ntwo\r\n\n\nthree", "one\ntwo\nthree"},
        {"spaces in runs", "  one \t  two  ", "one two"},
        {"less than", "a < b, 3<4 and <", "a < b, 3<4 and <"},
        {"a tag without end", "Tea <b is", "Tea <b is"},
        {"tags without end after others", "<i>Tea</i> <b <b <b", "Tea <b <b <b"},
        {"a picture", "Tea<img src=\"http://x/y.png\"> <img src='file:///dev/zero'/>ready", "Tea ready"},
        {"a whole page", "<!DOCTYPE x><html><head><style>p { a > b }</style></head><body><p>Tea</p></body>",
         "Tea"},
        {"a style sheet", "<STYLE>x</i>y</style>Tea", "Tea"},
        {"a script without end", "Tea<script>while (1) {}", "Tea"},
        {"a comment", "Tea<!-- no --> time", "Tea time"},
        {"control characters", QString("a\x01\x1b") + "b&#7;c" + QChar(0x85) + "d", "abc d"},
        {"half a pair", QString("a") + QChar(0xD83D) + "b", QString::fromUtf8("a\uFFFDb")},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(plainText(row.marked).toStdString(), row.plain.toStdString());
    }
}

TEST(PlainText, IsShortAndSoonDone) {
    const QString rows[] = {QString(5'000'000, '<'),
                            QString("<b").repeated(2'000'000),
                            QString("&").repeated(5'000'000),
                            QString("<b>").repeated(1'000'000) + "x",
                            QString("<style>").repeated(5'000'000),
                            QString("a b ").repeated(1'000'000)};
    for (const QString& row : rows) {
        SCOPED_TRACE(row.left(8).toStdString());
        QElapsedTimer time;
        time.start();
        EXPECT_LE(plainText(row).size(), longest);
        EXPECT_LT(time.elapsed(), 500) << "milliseconds";
    }
    EXPECT_EQ(plainText(QString(longest - 1, 'a') + QString::fromUcs4(U"🫖")), QString(longest - 1, 'a'));
    EXPECT_EQ(plainText("<b></b>" + QString(longest + 5, 'a')), QString(longest, 'a'));
}

} // namespace
