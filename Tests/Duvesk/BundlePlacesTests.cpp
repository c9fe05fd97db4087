#include "Duvesk/BundlePlaces.hpp"
#include "Platforms/Linux/Storage/DirectoryWalker.hpp"
#include "Tests/TemporaryFolder.hpp"
#include "Tests/TestFiles.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace fs = std::filesystem;
using Duvesk::BundlePlaces;

namespace {

using Identifiers = std::set<std::string, std::less<>>;

/// The text that stands between two others after a third.
std::optional<std::string> between(const std::string& text, const std::string& after, const std::string& open,
                                   const std::string& close) {
    const auto label = text.find(after);
    const auto start = label == std::string::npos ? label : text.find(open, label);
    const auto end = start == std::string::npos ? start : text.find(close, start);
    return end == std::string::npos
               ? std::nullopt
               : std::optional(text.substr(start + open.size(), end - start - open.size()));
}

struct Disk {
    TemporaryFolder folder;
    fs::path applications = folder.path() / "Applications";
    fs::path own = folder.path() / "home/Applications";
    std::vector<fs::path> read; // information files that were opened
    BundlePlaces places{folder.path() / "home",
                        {applications, folder.path() / "missing", own},
                        std::make_shared<const Linux::DirectoryWalker>(),
                        [this](const fs::path& file) {
                            read.push_back(file);
                            std::ifstream stream(file);
                            const std::string text{std::istreambuf_iterator<char>(stream), {}};
                            return between(text, "<key>CFBundleIdentifier</key>", "<string>", "</string>");
                        }};

    void install(const fs::path& bundle, const std::string& identifier) const {
        write(bundle, "<plist><dict><key>CFBundleName</key><string>Name</string>"
                      "<key>CFBundleIdentifier</key><string>" +
                          identifier + "</string></dict></plist>");
    }
    void write(const fs::path& bundle, const std::string& text) const {
        fs::create_directories(bundle / "Contents");
        std::ofstream(bundle / "Contents/Info.plist") << text;
    }
};

} // namespace

TEST(BundlePlaces, LieInTheHomeFolder) {
    Disk disk;
    const fs::path home = disk.folder.path() / "home";
    EXPECT_EQ(disk.places.caches(), home / "Library/Caches");
    EXPECT_EQ(disk.places.supportFolders(), std::vector<fs::path>{home / "Library/Application Support"});
    std::vector<std::string> names;
    for (const auto& root : disk.places.largeFileRoots()) {
        names.push_back(root.name);
        EXPECT_EQ(root.folder, home / root.name);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"Downloads", "Desktop", "Documents", "Movies"}));
    EXPECT_TRUE(disk.places.mayBeLeftBehind(home / "Library/Application Support/com.example.tea"));
}

TEST(BundlePlaces, ProgramsAreFoundInEachFolder) {
    Disk disk;
    disk.install(disk.applications / "Tea.app", "com.example.tea");
    disk.install(disk.applications / ".Hidden.app", "com.example.hidden");
    disk.install(disk.own / "Milk.app", "com.example.milk");
    EXPECT_EQ(disk.places.installedBundleIDs(),
              (Identifiers{"com.example.hidden", "com.example.milk", "com.example.tea"}));
}

TEST(BundlePlaces, OneLevelOfFoldersIsSearched) {
    Disk disk;
    disk.install(disk.applications / "Utilities/Inner.app", "com.example.inner");
    disk.install(disk.applications / "Utilities/More/Deep.app", "com.example.deep");
    disk.install(disk.applications / "Tea.app/Contents/Helper.app", "com.example.helper");
    EXPECT_EQ(disk.places.installedBundleIDs(), Identifiers{"com.example.inner"});
}

TEST(BundlePlaces, OnlyProgramsTellTheirIdentifier) {
    Disk disk;
    disk.install(disk.applications / "Tea.bundle", "com.example.bundle");
    disk.install(disk.applications / "Tea.APP", "com.example.capitals");
    disk.install(disk.applications / "Teaapp", "com.example.undotted");
    makeFile(disk.applications / "File.app", 100);
    makeFile(disk.applications / "file", 100);
    fs::create_directories(disk.applications / "Empty.app");
    fs::create_directories(disk.applications / "Folder.app/Contents/Info.plist");
    EXPECT_TRUE(disk.places.installedBundleIDs().empty());
    EXPECT_TRUE(disk.read.empty());
}

TEST(BundlePlaces, DamagedInformationIsPassedOver) {
    Disk disk;
    disk.write(disk.applications / "Damaged.app", "<plist><dict><key>CFBundleIdent");
    disk.write(disk.applications / "Nameless.app", "<plist><dict></dict></plist>");
    disk.write(disk.applications / "Nothing.app", "");
    disk.install(disk.applications / "Tea.app", "com.example.tea");
    EXPECT_EQ(disk.places.installedBundleIDs(), Identifiers{"com.example.tea"});
    EXPECT_EQ(disk.read.size(), 4U);
}

TEST(BundlePlaces, InformationThatIsNoneIsNotEvenOpened) {
    Disk disk;
    makeFile(disk.applications / "Endless.app/Contents/Info.plist", 100'000'000);
    makeFile(disk.applications / "Long.app/Contents/Info.plist", BundlePlaces::longestInformation + 1);
    fs::create_directories(disk.applications / "Pipe.app/Contents");
    ASSERT_EQ(::mkfifo((disk.applications / "Pipe.app/Contents/Info.plist").c_str(), 0644), 0);
    fs::create_directories(disk.applications / "Lost.app/Contents");
    fs::create_symlink("nothing", disk.applications / "Lost.app/Contents/Info.plist");
    EXPECT_TRUE(disk.places.installedBundleIDs().empty());
    EXPECT_TRUE(disk.read.empty());
    makeFile(disk.applications / "Longest.app/Contents/Info.plist", BundlePlaces::longestInformation);
    disk.places.installedBundleIDs();
    EXPECT_EQ(disk.read.size(), 1U);
}

TEST(BundlePlaces, ProgramsAndFoldersMayBeLinks) {
    Disk disk;
    disk.install(disk.folder.path() / "elsewhere/Real.app", "com.example.real");
    disk.install(disk.folder.path() / "tools/Tool.app", "com.example.tool");
    disk.install(disk.folder.path() / "home-of-all/Own.app", "com.example.own");
    fs::create_directories(disk.applications);
    fs::create_directories(disk.own.parent_path());
    fs::create_directory_symlink(disk.folder.path() / "elsewhere/Real.app", disk.applications / "Link.app");
    fs::create_directory_symlink(disk.folder.path() / "tools", disk.applications / "Utilities");
    fs::create_directory_symlink("nothing", disk.applications / "Lost");
    fs::create_directory_symlink("Round", disk.applications / "Round");
    fs::create_directory_symlink(disk.folder.path() / "home-of-all", disk.own);
    EXPECT_EQ(disk.places.installedBundleIDs(),
              (Identifiers{"com.example.own", "com.example.real", "com.example.tool"}));
}
