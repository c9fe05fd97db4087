#include "Platforms/Linux/MenuBar/TrayMenuLayout.hpp"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusServer>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QDeadlineTimer>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>

namespace {

using Linux::trayMenuChanges;
using Linux::trayMenuEntry;
using Linux::TrayMenuEntry;
using Linux::trayMenuLabel;
using Linux::trayMenuLayout;

constexpr auto patience = 10000; // milliseconds

/// Writes a value as it would travel.
using Write = std::function<void(QDBusArgument&)>;

QVariant written(const Write& write) {
    QDBusArgument argument;
    write(argument);
    return QVariant::fromValue(argument);
}

/// What ItemsPropertiesUpdated carries: (id, properties) and (id, names).
struct Change {
    int id = 0;
    QVariantMap properties;
};
struct Removal {
    int id = 0;
    QStringList names;
};

QDBusArgument& operator<<(QDBusArgument& argument, const Change& change) {
    argument.beginStructure();
    argument << change.id << change.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Change& change) {
    argument.beginStructure();
    argument >> change.id >> change.properties;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const Removal& removal) {
    argument.beginStructure();
    argument << removal.id << removal.names;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Removal& removal) {
    argument.beginStructure();
    argument >> removal.id >> removal.names;
    argument.endStructure();
    return argument;
}

/// Carries values over a real connection: only what has travelled can be read.
class Carrier : public QDBusVirtualObject {
public:
    Carrier()
        : application_(count_, arguments_)
        , server_("unix:path=" + folder_.filePath("bus")) {
        QObject::connect(&server_, &QDBusServer::newConnection, this, [this](QDBusConnection connection) {
            connection.registerVirtualObject("/", this);
            far_ = connection;
        });
        near_.emplace(QDBusConnection::connectToPeer(server_.address(), "carrier"));
        wait([this] { return far_.has_value(); });
    }

    ~Carrier() override {
        far_.reset();
        near_.reset();
        QDBusConnection::disconnectFromPeer("carrier");
    }

    QVariantList carry(const QVariantList& values) {
        received_.reset();
        QDBusMessage message = QDBusMessage::createMethodCall({}, "/", "org.example.Carrier", "Carry");
        message.setArguments(values);
        near_->send(message);
        wait([this] { return received_.has_value(); });
        return received_.value_or(QVariantList());
    }

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection&) override {
        received_ = message.arguments();
        return true;
    }

private:
    static void wait(const std::function<bool()>& isSo) {
        const QDeadlineTimer deadline(patience);
        while (!isSo() && !deadline.hasExpired()) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        }
    }

    int count_ = 1;
    char name_[6] = "tests";
    char* arguments_[2] = {name_, nullptr};
    QCoreApplication application_;
    QTemporaryDir folder_;
    QDBusServer server_;
    std::optional<QDBusConnection> near_;
    std::optional<QDBusConnection> far_;
    std::optional<QVariantList> received_;
};

void writeEntry(QDBusArgument& argument, int id, const QVariantMap& properties,
                const std::vector<Write>& children = {}) {
    argument.beginStructure();
    argument << id << properties;
    argument.beginArray(QMetaType::fromType<QDBusVariant>());
    for (const Write& child : children) {
        argument << QDBusVariant(written(child));
    }
    argument.endArray();
    argument.endStructure();
}

Write entry(int id, const QString& label, const std::vector<Write>& children = {}) {
    return [=](QDBusArgument& argument) { writeEntry(argument, id, {{"label", label}}, children); };
}

class TrayMenuLayout : public testing::Test {
protected:
    void SetUp() override {
        qDBusRegisterMetaType<QList<QStringList>>();
        qDBusRegisterMetaType<Change>();
        qDBusRegisterMetaType<QList<Change>>();
        qDBusRegisterMetaType<Removal>();
        qDBusRegisterMetaType<QList<Removal>>();
    }

    TrayMenuEntry carried(const Write& write) {
        const QVariant value = carrier_.carry({written(write)}).value(0);
        EXPECT_EQ(value.metaType(), QMetaType::fromType<QDBusArgument>());
        return trayMenuLayout(value.value<QDBusArgument>());
    }

    Carrier carrier_;
};

int countBelow(const TrayMenuEntry& entry) {
    int count = 0;
    for (const TrayMenuEntry& child : entry.children) {
        count += 1 + countBelow(child);
    }
    return count;
}

int depthBelow(const TrayMenuEntry& entry) {
    int depth = 0;
    for (const TrayMenuEntry& child : entry.children) {
        depth = std::max(depth, 1 + depthBelow(child));
    }
    return depth;
}

TEST(TrayMenuLabel, MarksAccessKeysTheToolkitsWay) {
    struct Row {
        const char* name;
        QString label;
        QString expected;
    };
    const Row rows[] = {
        {"empty", "", ""},
        {"plain", "Open", "Open"},
        {"access key", "_Open", "&Open"},
        {"access key within", "Save _as", "Save &as"},
        {"underscore", "a__b", "a_b"},
        {"ampersand", "this & that", "this && that"},
        {"only the first marks", "_a_b_c", "&abc"},
        {"underscore, then access key", "__a _b", "_a &b"},
        {"three", "___a", "_&a"},
        {"at the end", "Open_", "Open"},
        {"alone", "_", ""},
        {"before an ampersand", "_&a", "&&a"},
        {"before a space", "a_ b_c", "a b&c"},
        {"not Latin", "_Öffnen", "&Öffnen"},
        {"two lines", "one\ntwo\r\nthree", "one two  three"},
        {"controls",
         QString("a\tb\x07"
                 "c") +
             QChar(0) + QChar(0x85) + QChar(0x2028) + "d",
         "a b c   d"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(trayMenuLabel(row.label), row.expected);
    }
}

TEST(TrayMenuLabel, IsCutAtTheLimitAndNotWithinACharacter) {
    const qsizetype limit = Linux::longestTrayMenuLabel;
    EXPECT_EQ(trayMenuLabel(QString(limit, 'a')), QString(limit, 'a'));
    EXPECT_EQ(trayMenuLabel(QString(limit + 1, 'a')), QString(limit, 'a'));
    const QString cup = QString::fromUcs4(U"\U0001F375");
    EXPECT_EQ(trayMenuLabel(QString(limit - 1, 'a') + cup), QString(limit - 1, 'a'));
    EXPECT_EQ(trayMenuLabel(QString(limit - 2, 'a') + cup), QString(limit - 2, 'a') + cup);
    EXPECT_EQ(trayMenuLabel(QString(1000000, '&')).size(), 2 * limit);
}

TEST(TrayMenuEntry, WhatIsAbsentIsTheDefault) {
    EXPECT_EQ(trayMenuEntry(7, {}), (TrayMenuEntry{.id = 7,
                                                   .isSeparator = false,
                                                   .isEnabled = true,
                                                   .isVisible = true,
                                                   .label = {},
                                                   .iconName = {},
                                                   .iconData = {},
                                                   .toggle = TrayMenuEntry::Toggle::none,
                                                   .isChecked = false,
                                                   .hasSubmenu = false,
                                                   .shortcut = {},
                                                   .children = {}}));
}

TEST(TrayMenuEntry, ReadsEachProperty) {
    using Toggle = TrayMenuEntry::Toggle;
    EXPECT_TRUE(trayMenuEntry(1, {{"type", "separator"}}).isSeparator);
    EXPECT_FALSE(trayMenuEntry(1, {{"type", "standard"}}).isSeparator);
    EXPECT_EQ(trayMenuEntry(1, {{"label", "_A"}}).label, "&A");
    EXPECT_FALSE(trayMenuEntry(1, {{"enabled", false}}).isEnabled);
    EXPECT_FALSE(trayMenuEntry(1, {{"visible", false}}).isVisible);
    EXPECT_EQ(trayMenuEntry(1, {{"icon-name", "edit-copy"}}).iconName, "edit-copy");
    EXPECT_EQ(trayMenuEntry(1, {{"icon-data", QByteArray("png")}}).iconData, "png");
    EXPECT_EQ(trayMenuEntry(1, {{"toggle-type", "checkmark"}}).toggle, Toggle::checkmark);
    EXPECT_EQ(trayMenuEntry(1, {{"toggle-type", "radio"}}).toggle, Toggle::radio);
    EXPECT_EQ(trayMenuEntry(1, {{"toggle-type", "spin"}}).toggle, Toggle::none);
    EXPECT_TRUE(trayMenuEntry(1, {{"children-display", "submenu"}}).hasSubmenu);
    for (const int state : {-1, 0, 2, 77}) {
        EXPECT_FALSE(trayMenuEntry(1, {{"toggle-state", state}}).isChecked) << state;
    }
    EXPECT_TRUE(trayMenuEntry(1, {{"toggle-state", 1}}).isChecked);
}

TEST(TrayMenuEntry, APathIsNoIconName) {
    EXPECT_EQ(trayMenuEntry(1, {{"icon-name", "/dev/zero"}}).iconName, "");
    EXPECT_EQ(trayMenuEntry(1, {{"icon-name", "../../secret"}}).iconName, "");
    EXPECT_EQ(trayMenuEntry(1, {{"icon-name", QString(256, 'a')}}).iconName, "");
    EXPECT_EQ(trayMenuEntry(1, {{"icon-name", QString(255, 'a')}}).iconName.size(), 255);
}

TEST(TrayMenuEntry, AnIconIsBounded) {
    const qsizetype limit = Linux::largestTrayMenuIcon;
    EXPECT_EQ(trayMenuEntry(1, {{"icon-data", QByteArray(limit, 'x')}}).iconData.size(), limit);
    EXPECT_EQ(trayMenuEntry(1, {{"icon-data", QByteArray(limit + 1, 'x')}}).iconData, QByteArray());
}

TEST(TrayMenuEntry, AnotherTypeIsTheDefault) {
    const QVariant others[] = {QVariant(),
                               3.5,
                               QVariantMap{{"a", 1}},
                               QVariantList{1, "b"},
                               QStringList{"Control", "Q"},
                               QVariant::fromValue(QDBusVariant("submenu")),
                               QVariant::fromValue(QDBusObjectPath("/a")),
                               QVariant::fromValue(QDBusArgument()),
                               written([](QDBusArgument& argument) { argument << 1; })};
    for (const char* name : {"type", "label", "enabled", "visible", "icon-name", "icon-data", "toggle-type",
                             "toggle-state", "children-display", "shortcut", "disposition", "", "other"}) {
        for (const QVariant& other : others) {
            SCOPED_TRACE(std::string(name) + " " + (other.typeName() ? other.typeName() : "nothing"));
            EXPECT_EQ(trayMenuEntry(1, {{name, other}}), trayMenuEntry(1, {}));
        }
    }
}

TEST(TrayMenuEntry, AChangeWithoutAValueIsTheDefaultAgain) {
    TrayMenuEntry entry = trayMenuEntry(
        1, {{"label", "A"}, {"enabled", false}, {"toggle-state", 1}, {"children-display", "submenu"}});
    applyTrayMenuChange(entry,
                        {{"enabled", QVariant()}, {"toggle-state", QVariant()}, {"children-display", {}}});
    EXPECT_TRUE(entry.isEnabled);
    EXPECT_FALSE(entry.isChecked);
    EXPECT_FALSE(entry.hasSubmenu);
    EXPECT_EQ(entry.label, "A");
    entry.children.emplace_back();
    applyTrayMenuChange(entry, {{"children-display", {}}});
    EXPECT_TRUE(entry.hasSubmenu) << "it still has children";
}

TEST_F(TrayMenuLayout, ReadsEntriesAndTheirChildren) {
    const TrayMenuEntry menu = carried(entry(
        0, "",
        {entry(1, "_Open"), entry(2, "More", {entry(21, "Here"), entry(22, "There")}), entry(3, "Quit")}));
    EXPECT_EQ(menu.id, 0);
    ASSERT_EQ(menu.children.size(), 3u);
    EXPECT_EQ(menu.children[0], trayMenuEntry(1, {{"label", "_Open"}}));
    EXPECT_EQ(menu.children[2], trayMenuEntry(3, {{"label", "Quit"}}));
    ASSERT_EQ(menu.children[1].children.size(), 2u);
    EXPECT_TRUE(menu.children[1].hasSubmenu) << "it has children, whatever it says";
    EXPECT_EQ(menu.children[1].children[1].id, 22);
    EXPECT_EQ(menu.children[1].children[1].label, "There");
}

TEST_F(TrayMenuLayout, ReadsShortcuts) {
    struct Row {
        const char* name;
        QList<QStringList> keys;
        QString expected;
    };
    const Row rows[] = {
        {"three", {{"Control", "Shift", "Q"}}, "Ctrl+Shift+Q"},
        {"small letter", {{"Alt", "x"}}, "Alt+X"},
        {"the first of two", {{"Super", "F5"}, {"F6"}}, "Super+F5"},
        {"named key", {{"Control", "Page_Up"}}, "Ctrl+Page Up"},
        {"signs", {{"Control", "plus"}}, "Ctrl++"},
        {"none", {}, ""},
        {"none within", {{}}, ""},
        {"endless", {QStringList(100000, "Control")}, "Ctrl+Ctrl+Ctrl+Ctrl+Ctrl+Ctrl"},
        {"control characters", {{"a\nb\tc"}}, "a b c"},
        {"long", {{QString(50000, 'k')}}, QString(20, 'k')},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const TrayMenuEntry menu = carried([&](QDBusArgument& argument) {
            writeEntry(argument, 1, {{"shortcut", QVariant::fromValue(row.keys)}});
        });
        EXPECT_EQ(menu.shortcut, row.expected);
    }
}

TEST_F(TrayMenuLayout, ReadsTheSameValueTwice) {
    const auto value =
        carrier_.carry({written(entry(0, "", {entry(1, "Open")}))}).value(0).value<QDBusArgument>();
    EXPECT_EQ(trayMenuLayout(value), trayMenuLayout(value));
    EXPECT_EQ(trayMenuLayout(value).children.size(), 1u);
}

TEST_F(TrayMenuLayout, IsBoundedInAll) {
    std::vector<Write> many;
    for (int id = 1; id <= 5000; ++id) {
        many.push_back(entry(id, "Entry"));
    }
    EXPECT_EQ(carried(entry(0, "", many)).children.size(),
              static_cast<std::size_t>(Linux::mostTrayMenuEntries));
    const TrayMenuEntry menu = carried(entry(0, "", {entry(6001, "Fat", many), entry(6002, "Quit")}));
    EXPECT_EQ(countBelow(menu), Linux::mostTrayMenuEntries);
    ASSERT_EQ(menu.children.size(), 2u) << "an overlong submenu does not cost the menu its last entry";
    EXPECT_EQ(menu.children[1].label, "Quit");
}

TEST_F(TrayMenuLayout, IsBoundedInDepth) {
    Write nested = entry(20, "Bottom");
    for (int id = 19; id >= 0; --id) {
        nested = entry(id, "Level", {nested});
    }
    const TrayMenuEntry menu = carried(nested);
    EXPECT_EQ(depthBelow(menu), Linux::deepestTrayMenu);
    const auto value = carrier_.carry({written(nested)}).value(0).value<QDBusArgument>();
    EXPECT_EQ(depthBelow(trayMenuLayout(value, 2)), 2);
    EXPECT_EQ(depthBelow(trayMenuLayout(value, 0)), 0);
    EXPECT_EQ(countBelow(trayMenuLayout(value, 8, 3)), 3);
    EXPECT_EQ(countBelow(trayMenuLayout(value, 8, 0)), 0);
}

TEST_F(TrayMenuLayout, WhatIsNoEntryIsLeftOut) {
    const TrayMenuEntry menu = carried([](QDBusArgument& argument) {
        argument.beginStructure();
        argument << 0 << QVariantMap{{"label", QVariantMap{{"a", "b"}}}, {"enabled", QVariantList{1, 2}}};
        argument.beginArray(QMetaType::fromType<QDBusVariant>());
        argument << QDBusVariant("text") << QDBusVariant(7) << QDBusVariant(QStringList{"a"});
        argument << QDBusVariant(QVariant::fromValue(QDBusVariant(written(entry(8, "Wrapped")))));
        argument << QDBusVariant(written([](QDBusArgument& inner) {
            inner.beginStructure();
            inner << 1 << QString("short");
            inner.endStructure();
        }));
        argument << QDBusVariant(written(entry(9, "Whole")));
        argument.endArray();
        argument.endStructure();
    });
    EXPECT_EQ(menu.label, "");
    EXPECT_TRUE(menu.isEnabled);
    ASSERT_EQ(menu.children.size(), 1u);
    EXPECT_EQ(menu.children[0].label, "Whole");
}

TEST_F(TrayMenuLayout, AnyOtherSignatureIsAnEmptyMenu) {
    const std::pair<const char*, Write> rows[] = {
        {"(i)",
         [](QDBusArgument& argument) {
             argument.beginStructure();
             argument << 1;
             argument.endStructure();
         }},
        {"(sa{sv}av)",
         [](QDBusArgument& argument) {
             argument.beginStructure();
             argument << QString("0") << QVariantMap{{"label", "a"}} << QVariantList{1};
             argument.endStructure();
         }},
        {"(ia{sv}as)",
         [](QDBusArgument& argument) {
             argument.beginStructure();
             argument << 5 << QVariantMap{{"label", "a"}} << QStringList{"b"};
             argument.endStructure();
         }},
        {"(ia{sv}avi)",
         [](QDBusArgument& argument) {
             argument.beginStructure();
             argument << 5 << QVariantMap{{"label", "a"}} << QVariantList{1} << 2;
             argument.endStructure();
         }},
        {"a(ia{sv})",
         [](QDBusArgument& argument) {
             argument << QList<Change>{{1, {{"label", "a"}}}};
         }},
        {"aas", [](QDBusArgument& argument) { argument << QList<QStringList>{{"a"}}; }},
        {"a{sv}",
         [](QDBusArgument& argument) {
             argument << QVariantMap{{"label", "a"}};
         }},
    };
    for (const auto& [signature, write] : rows) {
        SCOPED_TRACE(signature);
        const QVariant value = carrier_.carry({written(write)}).value(0);
        EXPECT_EQ(value.value<QDBusArgument>().currentSignature(), signature) << "it has travelled";
        EXPECT_EQ(trayMenuLayout(value.value<QDBusArgument>()), TrayMenuEntry());
        EXPECT_EQ(trayMenuEntry(1, {{"shortcut", value}, {"label", value}}).label, "");
        if (QByteArray(signature) != "a(ia{sv})") {
            EXPECT_TRUE(trayMenuChanges({value, value}).empty());
        }
    }
    EXPECT_EQ(trayMenuLayout(QDBusArgument()), TrayMenuEntry());
    EXPECT_EQ(trayMenuLayout(written(entry(1, "Only written")).value<QDBusArgument>()), TrayMenuEntry());
}

TEST_F(TrayMenuLayout, ReadsChangesOfProperties) {
    const QList<Change> changed{{1, {{"label", "A"}, {"enabled", false}}}, {7, {}}};
    const QList<Removal> removed{{2, {"label", "visible"}}};
    const auto changes =
        trayMenuChanges(carrier_.carry({QVariant::fromValue(changed), QVariant::fromValue(removed)}));
    ASSERT_EQ(changes.size(), 3u);
    EXPECT_EQ(changes[0].id, 1);
    EXPECT_EQ(changes[0].properties, (QVariantMap{{"label", "A"}, {"enabled", false}}));
    EXPECT_EQ(changes[1].id, 7);
    EXPECT_TRUE(changes[1].properties.isEmpty());
    EXPECT_EQ(changes[2].id, 2);
    EXPECT_EQ(changes[2].properties, (QVariantMap{{"label", {}}, {"visible", {}}}));
}

TEST_F(TrayMenuLayout, ChangesAreBoundedAndOfOneShape) {
    EXPECT_TRUE(trayMenuChanges({}).empty());
    EXPECT_TRUE(trayMenuChanges({1, "a"}).empty());
    EXPECT_TRUE(trayMenuChanges(carrier_.carry({QVariantMap{{"a", 1}}, QStringList{"b"}})).empty());
    EXPECT_EQ(trayMenuChanges(carrier_.carry({"a", QVariant::fromValue(QList<Removal>{{1, {}}})})).size(),
              1u);
    const QList<Change> many(5000, Change{1, {}});
    QVariantMap broad;
    for (int index = 0; index < 5000; ++index) {
        broad.insert(QString::number(index), index);
    }
    const auto changes = trayMenuChanges(carrier_.carry({QVariant::fromValue(many)}));
    EXPECT_EQ(changes.size(), static_cast<std::size_t>(Linux::mostTrayMenuEntries));
    const auto wide =
        trayMenuChanges(carrier_.carry({QVariant::fromValue(QList<Change>{{1, broad}, {2, {}}})}));
    ASSERT_EQ(wide.size(), 2u) << "the next one is still found";
    EXPECT_LT(wide[0].properties.size(), 100);
    EXPECT_EQ(wide[1].id, 2);
}

} // namespace
