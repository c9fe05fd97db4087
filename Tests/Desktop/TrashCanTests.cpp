#include "Platforms/Linux/Storage/Trash.hpp"
#include "Tests/Desktop/Desktop.hpp"
#include "Tests/Platforms/TrashReader.hpp"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QString>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using namespace Desktop;
using TrashReader::contents;
using TrashReader::pictureOf;

namespace {

constexpr auto service = "org.freedesktop.FileManager1";
constexpr auto servicePath = "/org/freedesktop/FileManager1";
constexpr int longestCall = 1000; // milliseconds, on a busy machine

/// A file manager that keeps what it is asked.
class FileManagerDouble : public QDBusVirtualObject {
public:
    enum class Answer { done, error, none };

    explicit FileManagerDouble(Answer answer = Answer::done)
        : answer_(answer) {
        QDBusConnection bus = QDBusConnection::sessionBus();
        EXPECT_TRUE(bus.registerVirtualObject(servicePath, this));
        EXPECT_TRUE(bus.registerService(service));
    }
    ~FileManagerDouble() override {
        QDBusConnection bus = QDBusConnection::sessionBus();
        bus.unregisterService(service);
        bus.unregisterObject(servicePath);
    }

    std::vector<QDBusMessage> questions;

private:
    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& question, const QDBusConnection& bus) override {
        questions.push_back(question);
        if (answer_ == Answer::done) {
            bus.send(question.createReply());
        } else if (answer_ == Answer::error) {
            bus.send(question.createErrorReply(QDBusError::Failed, "Not today"));
        }
        return true;
    }

    const Answer answer_;
};

/// The session's own data folder and Trash, and a folder for what is moved to it.
class TrashCan : public testing::Test {
protected:
    void SetUp() override {
        const char* dataFolder = std::getenv("XDG_DATA_HOME");
        const char* home = std::getenv("HOME");
        ASSERT_TRUE(dataFolder && home && std::getenv("DESKTOP_SESSION_TAG"))
            << "to be run in a desktop-session";
        data = dataFolder;
        trash = std::make_unique<Linux::Trash>(data, home);
        folder = fs::path(home) / "things";
        fs::create_directories(folder / "tools");
        std::ofstream(folder / "tools" / "xdg-open")
            << "#!/bin/sh\nprintf '%s\\n' \"$@\" >> " << opened() << "\n";
        ::chmod((folder / "tools" / "xdg-open").c_str(), 0755);
    }

    void TearDown() override {
        fs::remove_all(data / "Trash");
        fs::remove_all(folder);
    }

    static std::string gio(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "gio");
        Program program(arguments);
        EXPECT_EQ(program.waitForEnd(), 0) << program.output();
        return program.output();
    }

    struct Line {
        std::string url;   // what the desktop calls it
        std::string place; // where it came from, in the letters of `printed`
    };

    /// What the desktop has in its Trash, once it is so much.
    static std::vector<Line> listed(std::size_t count) {
        std::vector<Line> lines;
        EXPECT_TRUE(until([&] {
            lines.clear();
            std::istringstream output(gio({"trash", "--list"}));
            for (std::string line; std::getline(output, line);) {
                const std::size_t tab = line.find('\t');
                lines.push_back({line.substr(0, tab), line.substr(tab + 1)});
            }
            return lines.size() == count;
        }));
        return lines;
    }

    /// A path as gio prints it: bytes that are not plain ASCII as \xNN.
    static std::string printed(const std::string& path) {
        std::string result;
        for (const char byte : path) {
            if (byte >= ' ' && byte <= '~' && byte != '\\') {
                result += byte;
            } else {
                result += QString::asprintf("\\x%02x", static_cast<unsigned char>(byte)).toStdString();
            }
        }
        return result;
    }

    /// Has the desktop put something back. What gio itself puts back it names as it prints it, so that only
    /// plain names come out as they were; other names need to be told, as a file manager tells them.
    static void restore(const Line& line, const fs::path& item) {
        EXPECT_EQ(line.place, printed(item));
        if (line.place == item) {
            gio({"trash", "--restore", line.url});
        } else {
            gio({"move", line.url, item});
        }
    }

    fs::path opened() const { return folder / "opened"; }

    /// Shows files, in a program that finds xdg-open here.
    Program& reveal(const std::vector<std::string>& files, Program::Environment changes = {}) {
        std::vector<std::string> command{FILE_REVEALER};
        command.insert(command.end(), files.begin(), files.end());
        changes["PATH"] = (folder / "tools").native() + ":" + std::getenv("PATH");
        changes["XDG_CURRENT_DESKTOP"] = "";
        program_ = std::make_unique<Program>(command, changes);
        EXPECT_TRUE(until([this] { return program_->output().find('\n') != std::string::npos; }));
        EXPECT_LT(std::atoi(program_->output().c_str()), longestCall) << program_->output();
        return *program_;
    }

    void endRevealer() {
        program_->send(SIGTERM);
        EXPECT_EQ(program_->waitForEnd(), 0) << program_->output();
    }

    fs::path data;
    fs::path folder;
    std::unique_ptr<Linux::Trash> trash;

private:
    std::unique_ptr<Program> program_;
};

} // namespace

TEST_F(TrashCan, S15_TheDesktopListsAndRestoresWhatWasMoved) {
    const std::string names[] = {
        "plain.txt", "100% of %41 + 1",   "two\nlines",  "Ärger € ß.pdf", "caf\xe9",
        "-rf",       "a \"b\" 'c' #5?&;", "back\\slash", ".hidden",       std::string(250, 'n') + ".iso"};
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        const fs::path item = folder / name;
        fs::create_directories(item);
        std::ofstream(item / name, std::ios::binary) << "contents of " << name;
        fs::create_symlink("nowhere", item / "link");
        const auto before = pictureOf(item);
        ASSERT_TRUE(trash->move(item));
        const auto lines = listed(1);
        ASSERT_EQ(lines.size(), 1U);
        restore(lines.front(), item);
        EXPECT_EQ(pictureOf(item), before);
        EXPECT_TRUE(fs::is_empty(data / "Trash" / "info"));
        EXPECT_TRUE(fs::is_empty(data / "Trash" / "files"));
        fs::remove_all(item);
    }
}

TEST_F(TrashCan, S16_TheDesktopRestoresBothOfOneName) {
    const fs::path one = folder / "one" / "report.txt";
    const fs::path two = folder / "two" / "report.txt";
    for (const fs::path& file : {one, two}) {
        fs::create_directories(file.parent_path());
        std::ofstream(file) << file.native();
        ASSERT_TRUE(trash->move(file));
    }
    const auto lines = listed(2);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(std::set({lines[0].place, lines[1].place}), (std::set{one.native(), two.native()}));
    for (const auto& line : lines) {
        EXPECT_FALSE(fs::exists(line.place));
        restore(line, line.place);
        EXPECT_EQ(contents(line.place), line.place);
    }
}

TEST_F(TrashCan, TheFileManagerIsAskedForTheItems) {
    FileManagerDouble fileManager;
    reveal({folder / "100% of\n\xc3\xbc\xe9", folder / "-_.~+#?", folder / "not there"});
    ASSERT_TRUE(until([&] { return !fileManager.questions.empty(); }));
    const QDBusMessage& question = fileManager.questions.front();
    EXPECT_EQ(question.interface(), service);
    EXPECT_EQ(question.member(), "ShowItems");
    EXPECT_EQ(question.signature(), "ass");
    const QString start = "file://" + QString::fromStdString(folder.native());
    const QStringList expected{start + "/100%25%20of%0A%C3%BC%E9", start + "/-_.~%2B%23%3F",
                               start + "/not%20there"};
    EXPECT_EQ(question.arguments().at(0).toStringList(), expected);
    EXPECT_EQ(question.arguments().at(1).toString(), "");
    EXPECT_TRUE(
        holds([&] { return fileManager.questions.size() == 1 && !fs::exists(opened()); }, Seconds{1}));
    endRevealer();
}

TEST_F(TrashCan, WithoutAFileManagerTheFolderIsOpened) {
    ASSERT_FALSE(QDBusConnection::sessionBus().interface()->isServiceRegistered(service));
    const fs::path strange = folder / "100% of\n\xc3\xbc\xe9 + \"x\" 'y'";
    reveal({strange / "a", folder / "b"});
    ASSERT_TRUE(until([&] { return fs::exists(opened()) && contents(opened()).ends_with("\n"); }));
    EXPECT_EQ(TrashReader::decoded(contents(opened())), "file://" + strange.native() + "\n");
    endRevealer();
}

TEST_F(TrashCan, AFileManagerThatRefusesIsDoneWithout) {
    FileManagerDouble fileManager(FileManagerDouble::Answer::error);
    reveal({folder / "a"});
    ASSERT_TRUE(until([&] { return fs::exists(opened()) && contents(opened()).ends_with("\n"); }));
    EXPECT_EQ(contents(opened()), "file://" + folder.native() + "\n");
    endRevealer();
}

TEST_F(TrashCan, NobodyWaitsForAFileManagerThatIsSilent) {
    FileManagerDouble fileManager(FileManagerDouble::Answer::none);
    reveal({folder / "a"});
    ASSERT_TRUE(until([&] { return !fileManager.questions.empty(); }));
    EXPECT_FALSE(fs::exists(opened())) << "it may only be slow";
    EXPECT_TRUE(until([&] { return fs::exists(opened()) && contents(opened()).ends_with("\n"); }));
    EXPECT_EQ(contents(opened()), "file://" + folder.native() + "\n");
    endRevealer();
}

TEST_F(TrashCan, AQuestionEndsWithTheProgram) {
    FileManagerDouble fileManager(FileManagerDouble::Answer::none);
    reveal({folder / "a"});
    ASSERT_TRUE(until([&] { return !fileManager.questions.empty(); }));
    endRevealer();
}

TEST_F(TrashCan, WithoutABusTheFolderIsOpened) {
    reveal({folder / "a"}, {{"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere/bus"}});
    ASSERT_TRUE(until([&] { return fs::exists(opened()) && contents(opened()).ends_with("\n"); }));
    EXPECT_EQ(contents(opened()), "file://" + folder.native() + "\n");
    endRevealer();
}

TEST_F(TrashCan, NothingIsShownForNothing) {
    FileManagerDouble fileManager;
    reveal({});
    EXPECT_TRUE(holds([&] { return fileManager.questions.empty() && !fs::exists(opened()); }, Seconds{1}));
    endRevealer();
}
