#include "Platforms/Linux/MenuBar/BusNames.hpp"
#include "Platforms/Linux/MenuBar/TrayItemAddress.hpp"

#include <gtest/gtest.h>

namespace {

using Linux::isBusName;
using Linux::isObjectPath;
using Linux::listedAddress;
using Linux::registeredAddress;
using Linux::TrayItemAddress;

constexpr auto sender = ":1.9";

TEST(BusNames, FollowTheRulesOfTheBus) {
    const struct {
        const char* name;
        QString text;
        bool isName;
    } rows[] = {
        {"unique", ":1.42", true},
        {"unique with letters", ":a-b._c.1", true},
        {"well-known", "org.kde.StatusNotifierItem-24724-1", true},
        {"two elements", "a.b", true},
        {"dash and underscore first", "-a._b", true},
        {"digits later", "a1.b2", true},
        {"empty", "", false},
        {"a colon alone", ":", false},
        {"unique of one element", ":1", false},
        {"one element", "org", false},
        {"a dot alone", ".", false},
        {"a dot first", ".a.b", false},
        {"a dot last", "a.b.", false},
        {"two dots", "a..b", false},
        {"a colon and a dot", ":.", false},
        {"a digit first", "org.1a", false},
        {"a digit at the very start", "1.42", false},
        {"a second colon", ":1.4:2", false},
        {"a space", "org.kde item", false},
        {"a slash", "org.kde/item", false},
        {"a letter the bus does not know", QString::fromUtf8("org.kdé"), false},
        {"a digit the bus does not know", QString::fromUtf8(":1.٣"), false},
        {"a zero byte", QString("org.kde") + QChar(0), false},
        {"as long as may be", "a." + QString(253, 'b'), true},
        {"one longer", "a." + QString(254, 'b'), false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(isBusName(row.text), row.isName);
    }
}

TEST(BusNames, PathsFollowTheRulesOfTheBus) {
    const struct {
        const char* name;
        QString text;
        bool isPath;
    } rows[] = {
        {"root", "/", true},
        {"usual", "/StatusNotifierItem", true},
        {"deep", "/org/ayatana/NotificationItem/copyq_1", true},
        {"digits first", "/1/2", true},
        {"empty", "", false},
        {"no slash first", "StatusNotifierItem", false},
        {"a slash last", "/a/", false},
        {"two slashes", "//", false},
        {"two slashes inside", "/a//b", false},
        {"a dash", "/a-b", false},
        {"a dot", "/a.b", false},
        {"a space", "/a b", false},
        {"a letter the bus does not know", QString::fromUtf8("/é"), false},
        {"as long as may be", "/" + QString(254, 'a'), true},
        {"one longer", "/" + QString(255, 'a'), false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(isObjectPath(row.text), row.isPath);
    }
}

TEST(TrayItemAddress, UnderstandsEveryShapeOfARegistration) {
    const struct {
        const char* name;
        QString argument;
        TrayItemAddress address;
    } rows[] = {
        {"the sender's own name", ":1.9", {":1.9", "/StatusNotifierItem"}},
        {"a well-known name",
         "org.kde.StatusNotifierItem-24724-1",
         {"org.kde.StatusNotifierItem-24724-1", "/StatusNotifierItem"}},
        {"the name of a second connection", ":1.10", {":1.10", "/StatusNotifierItem"}},
        {"a path", "/org/ayatana/NotificationItem/x", {":1.9", "/org/ayatana/NotificationItem/x"}},
        {"name and path in one",
         "org.freedesktop.StatusNotifierItem-1-1/StatusNotifierItem/1",
         {"org.freedesktop.StatusNotifierItem-1-1", "/StatusNotifierItem/1"}},
        {"unique name and path in one", ":1.18/org/x", {":1.18", "/org/x"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(registeredAddress(row.argument, sender), row.address);
    }
}

TEST(TrayItemAddress, RefusesWhatIsNoNameAndPath) {
    const QString rows[] = {
        "",
        " ",
        "   ",
        "//",
        "/a/",
        "/a b",
        QString(3000, 'x'),
        "nobody",
        "a b.c",
        ":1",
        "org.kde//",
        "org.kde/a/",
        "/" + QString(3000, 'x'),
        "org..kde",
        "org.kde a/b",
        ":1.4/a-b",
        "\n",
        "org.kde\n",
        "1.2",
        "file:///etc/passwd",
        "../x",
        "org.kde/" + QString(255, 'x'),
        QString(254, 'x') + ".y/z",
    };
    for (const QString& argument : rows) {
        SCOPED_TRACE(argument.left(40).toStdString());
        EXPECT_EQ(registeredAddress(argument, sender), std::nullopt);
        EXPECT_EQ(listedAddress(argument), std::nullopt);
    }
    EXPECT_EQ(registeredAddress("/StatusNotifierItem", ""), std::nullopt) << "from nobody";
    EXPECT_EQ(registeredAddress("/StatusNotifierItem", "junk"), std::nullopt);
}

TEST(TrayItemAddress, IsTheSameByNameAndPath) {
    const TrayItemAddress item{":1.4", "/b"};
    EXPECT_EQ(item, (TrayItemAddress{":1.4", "/b"}));
    EXPECT_LT((TrayItemAddress{":1.4", "/a"}), item);
    EXPECT_LT(item, (TrayItemAddress{":1.5", "/a"}));
}

TEST(TrayItemAddress, ReadsAWatchersListAsItIsWritten) {
    const TrayItemAddress addresses[] = {{":1.18", "/org/ayatana/NotificationItem/probe"},
                                         {"org.kde.StatusNotifierItem-1-1", "/StatusNotifierItem"},
                                         {":1.4", "/"}};
    for (const TrayItemAddress& address : addresses) {
        SCOPED_TRACE(address.text().toStdString());
        EXPECT_EQ(listedAddress(address.text()), address);
    }
    EXPECT_EQ(listedAddress(":1.4"), (TrayItemAddress{":1.4", "/StatusNotifierItem"}));
    EXPECT_EQ(listedAddress("/StatusNotifierItem"), std::nullopt) << "a list has no sender";
}

} // namespace
