#include "Platforms/Qt/QtSavePanel.hpp"
#include "Tests/TemporaryFolder.hpp"
#include "Tests/TestFiles.hpp"
#include "Tests/Views/ViewTests.hpp"

#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QStandardPaths>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace Views;
namespace fs = std::filesystem;

/// The panel in a home of the test's own.
class SavePanel : public testing::Test {
protected:
    SavePanel() {
        for (const auto& [name, place] :
             {std::pair<const char*, fs::path>{"HOME", home()}, {"XDG_CONFIG_HOME", home() / "config"}}) {
            const char* before = std::getenv(name);
            environment_.emplace_back(name, before ? std::optional<std::string>(before) : std::nullopt);
            ::setenv(name, place.c_str(), 1);
        }
        fs::create_directories(pictures());
        fs::create_directories(home() / "config");
    }
    ~SavePanel() override {
        panel.reset();
        for (const auto& [name, value] : environment_) {
            value ? ::setenv(name, value->c_str(), 1) : ::unsetenv(name);
        }
    }

    fs::path home() const { return home_.path(); }
    fs::path pictures() const { return home() / "Pictures"; }

    void open(const std::string& name) {
        panel->open(name, [this](const fs::path& file) { files.push_back(file); });
        settle();
    }

    static std::vector<QFileDialog*> dialogs() {
        std::vector<QFileDialog*> open;
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (auto* dialog = qobject_cast<QFileDialog*>(window); dialog && dialog->isVisible()) {
                open.push_back(dialog);
            }
        }
        return open;
    }
    static QFileDialog& dialog() { return *dialogs().at(0); }
    static QLineEdit& nameEdit() { return *dialog().findChild<QLineEdit*>("fileNameEdit"); }

    /// As a user does it who has the keyboard in the name.
    void typeAndConfirm(const QString& name) {
        nameEdit().setText(name);
        QTest::keyClick(&nameEdit(), Qt::Key_Return);
        settle();
    }

    /// Answers the question that comes up meanwhile. Whether there was one.
    static bool answer(QMessageBox::StandardButton choice, const std::function<void()>& act) {
        bool wasAsked = false;
        QTimer poll;
        QObject::connect(&poll, &QTimer::timeout, &poll, [&] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                wasAsked = true;
                box->button(choice)->click();
            }
        });
        poll.start(1);
        act();
        return wasAsked;
    }

    std::optional<QtPlatform::QtSavePanel> panel{std::in_place};
    std::vector<fs::path> files; // that were chosen

private:
    TemporaryFolder home_;
    std::vector<std::pair<const char*, std::optional<std::string>>> environment_;
};

TEST_F(SavePanel, AsksForAPngInTheFolderOfPictures) {
    open("Fotrel Nov 21, 2026, 9:56:07 PM.png");
    ASSERT_EQ(dialogs().size(), 1U);
    EXPECT_EQ(dialog().acceptMode(), QFileDialog::AcceptSave);
    EXPECT_EQ(dialog().directory().path().toStdString(), pictures().string());
    ASSERT_EQ(dialog().nameFilters().size(), 1);
    EXPECT_TRUE(dialog().nameFilters().front().contains("(*.png)"));
    EXPECT_EQ(nameEdit().text().toStdString(), "Fotrel Nov 21, 2026, 9:56:07 PM.png");
    EXPECT_EQ(nameEdit().selectedText().toStdString(), "Fotrel Nov 21, 2026, 9:56:07 PM");
    savePicture(dialog(), "fotrel-save");
    QTest::keyClick(&nameEdit(), Qt::Key_Return);
    settle();
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(files.front(), pictures() / "Fotrel Nov 21, 2026, 9:56:07 PM.png");
    EXPECT_TRUE(dialogs().empty());
}

TEST_F(SavePanel, HomeStandsInForAFolderOfPicturesThatIsNotThere) {
    fs::remove(pictures());
    open("A.png");
    EXPECT_EQ(dialog().directory().path().toStdString(), home().string());
}

TEST_F(SavePanel, TheKeyboardIsInTheName) {
    open("A.png");
    EXPECT_EQ(dialog().focusWidget(), &nameEdit());
    EXPECT_EQ(QApplication::activeWindow(), &dialog());
}

TEST_F(SavePanel, CancellingChoosesNothing) {
    open("A.png");
    QTest::keyClick(&nameEdit(), Qt::Key_Escape);
    settle();
    EXPECT_TRUE(dialogs().empty());
    open("A.png");
    dialog().close();
    settle();
    EXPECT_TRUE(dialogs().empty());
    EXPECT_TRUE(files.empty());
}

TEST_F(SavePanel, TheEndingIsAlwaysThatOfAPng) {
    const struct {
        const char* name;
        const char* typed;
        const char* file;
    } rows[] = {{"none", "shot", "shot.png"},
                {"it", "shot.png", "shot.png"},
                {"it, loud", "shot.PNG", "shot.PNG"},
                {"another", "shot.jpg", "shot.jpg.png"},
                {"a date", "shot of 21.11.2026", "shot of 21.11.2026.png"},
                {"a path", "../elsewhere", "../elsewhere.png"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        files.clear();
        open("A.png");
        typeAndConfirm(row.typed);
        ASSERT_EQ(files.size(), 1U);
        EXPECT_EQ(fs::weakly_canonical(files.front()), fs::weakly_canonical(pictures() / row.file));
    }
    files.clear();
    open("A.png");
    typeAndConfirm("~/shot");
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(files.front(), home() / "shot.png");
}

TEST_F(SavePanel, AFolderThatIsTypedIsGoneInto) {
    fs::create_directories(pictures() / "below");
    open("A.png");
    typeAndConfirm("below");
    EXPECT_TRUE(files.empty());
    ASSERT_EQ(dialogs().size(), 1U);
    EXPECT_EQ(dialog().directory().path().toStdString(), (pictures() / "below").string());
    typeAndConfirm("shot");
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(files.front(), pictures() / "below" / "shot.png");
}

TEST_F(SavePanel, F16_AFileIsReplacedOnlyWhenTheUserSaysSo) {
    makeFile(pictures() / "shot.png");
    open("A.png");
    EXPECT_TRUE(answer(QMessageBox::No, [&] { typeAndConfirm("shot"); }));
    EXPECT_TRUE(files.empty());
    ASSERT_EQ(dialogs().size(), 1U) << "the user goes on";
    EXPECT_TRUE(answer(QMessageBox::Yes, [&] { typeAndConfirm("shot.png"); }));
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(files.front(), pictures() / "shot.png");
    EXPECT_TRUE(dialogs().empty());
}

TEST_F(SavePanel, WhateverIsSuggestedStaysTheNameOfOneFile) {
    const struct {
        const char* suggested;
        const char* name;
    } rows[] = {{"a/b.png", "a-b.png"},
                {"/etc/passwd.png", "-etc-passwd.png"},
                {"../up.png", "-.-up.png"},
                {"~root.png", "-root.png"},
                {"\"one\" \"two\".png", "-one- -two-.png"},
                {"two\nlines\x01.png", "two-lines-.png"},
                {"Größe – 你好 👩‍👩‍👧.png", "Größe – 你好 👩‍👩‍👧.png"},
                {"%1 & <b>.png", "%1 & <b>.png"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.suggested);
        files.clear();
        open(row.suggested);
        QTest::keyClick(&nameEdit(), Qt::Key_Return);
        settle();
        ASSERT_EQ(files.size(), 1U);
        EXPECT_EQ(files.front(), pictures() / row.name);
    }
}

TEST_F(SavePanel, SeveralAreAskedForAndEachHasItsAnswer) {
    open("First.png");
    QFileDialog& first = dialog();
    open("Second.png");
    ASSERT_EQ(dialogs().size(), 2U);
    QTest::keyClick(first.findChild<QLineEdit*>("fileNameEdit"), Qt::Key_Return);
    settle();
    ASSERT_EQ(dialogs().size(), 1U);
    QTest::keyClick(&nameEdit(), Qt::Key_Return);
    settle();
    EXPECT_EQ(files, (std::vector<fs::path>{pictures() / "First.png", pictures() / "Second.png"}));
}

TEST_F(SavePanel, ItBelongsToTheWindowTheUserIsInAndLeavesOthersAlone) {
    QWidget other;
    show(other, {300, 200});
    auto window = std::make_unique<QWidget>();
    show(*window, {300, 200});
    window->activateWindow();
    settle();
    open("A.png");
    EXPECT_EQ(dialog().parentWidget(), window.get());
    EXPECT_EQ(dialog().windowModality(), Qt::WindowModal);
    window.reset();
    settle();
    EXPECT_TRUE(dialogs().empty()) << "it goes with its window";
    panel.reset();
    EXPECT_TRUE(files.empty());
}

TEST_F(SavePanel, WhatIsOpenAtTheEndIsClosedUnanswered) {
    open("A.png");
    open("B.png");
    panel.reset();
    settle();
    EXPECT_TRUE(dialogs().empty());
    EXPECT_TRUE(files.empty());
}

} // namespace
