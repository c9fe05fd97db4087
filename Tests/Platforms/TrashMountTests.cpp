#include "Tests/Platforms/TrashMounts.hpp"

#include <gtest/gtest.h>
#include <sys/mount.h>

#include <string>

namespace fs = std::filesystem;
using TrashReader::entries;
using TrashReader::names;
using TrashReader::pictureOf;

TEST_F(TrashMounts, S15_ASecondDiskHasATrashOfItsOwn) {
    onTwoDisks([this] {
        const fs::path item = disk / "a b" / "100%\n\xe9";
        write(item / "inner" / "file");
        const auto before = pictureOf(item);
        ASSERT_TRUE(trash.move(item));
        const fs::path own = disk / trashOfUser();
        EXPECT_EQ(fs::status(own).permissions(), fs::perms::owner_all);
        EXPECT_EQ(entries(own).at(0).place, "a b/100%\n\xe9") << "wherever the disk is mounted next time";
        expectRestored(own, disk, item, before);
        ASSERT_TRUE(trash.move(write(disk / "at the top")));
        EXPECT_EQ(entries(own).at(0).place, "at the top");
        EXPECT_EQ(names(homeTrash() / "files"), Names{}) << "nothing is copied";
    });
}

TEST_F(TrashMounts, S15_ALinkLiesWhereItIsAndNotWhereItLeads) {
    onTwoDisks([this] {
        write(disk / "file");
        fs::create_symlink(disk / "file", home / "link");
        fs::create_symlink(home, disk / "link");
        ASSERT_TRUE(trash.move(home / "link"));
        ASSERT_TRUE(trash.move(disk / "link"));
        EXPECT_EQ(names(homeTrash() / "files"), Names{"link"});
        EXPECT_EQ(names(disk / trashOfUser() / "files"), Names{"link"});
        fs::create_symlink(disk, home / "disk");
        ASSERT_TRUE(trash.move(home / "disk" / "file"));
        EXPECT_EQ(names(disk / trashOfUser() / "files"), (Names{"file", "link"}));
    });
}

TEST_F(TrashMounts, S15_ABindMountHasATrashOfItsOwn) {
    onTwoDisks([this] {
        const fs::path item = write(home / "real" / "deep" / "file");
        fs::create_directories(home / "bound");
        ASSERT_EQ(::mount((home / "real").c_str(), (home / "bound").c_str(), nullptr, MS_BIND, nullptr), 0);
        const auto before = pictureOf(item);
        ASSERT_TRUE(trash.move(home / "bound" / "deep" / "file"));
        expectRestored(home / "bound" / trashOfUser(), home / "bound", home / "bound" / "deep" / "file",
                       before);
        ASSERT_TRUE(trash.move(item)) << "where it lies on the home's own mount";
        EXPECT_EQ(names(homeTrash() / "files"), Names{"file"});
    });
}

TEST_F(TrashMounts, S15_AReadOnlyDiskKeepsAll) {
    onTwoDisks([this] {
        const fs::path item = write(disk / "file");
        ASSERT_EQ(::mount(nullptr, disk.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr), 0);
        EXPECT_FALSE(trash.move(item));
        EXPECT_EQ(names(disk), Names{"file"});
    });
}

TEST_F(TrashMounts, S15_AnOverlayLosesNothing) {
    onTwoDisks([this] {
        write(disk / "lower" / "home" / "file");
        write(disk / "lower" / "home" / "folder" / "file");
        fs::create_directories(disk / "upper");
        fs::create_directories(disk / "work");
        fs::create_directories(root / "overlay");
        const std::string options = "lowerdir=" + (disk / "lower").native() +
                                    ",upperdir=" + (disk / "upper").native() +
                                    ",workdir=" + (disk / "work").native();
        if (::mount("overlay", (root / "overlay").c_str(), "overlay", 0, options.c_str()) != 0) {
            ::_exit(notPermitted);
        }
        const fs::path top = root / "overlay";
        const Linux::Trash own(top / "home" / "share", top / "home");
        const fs::path ownTrash = top / "home" / "share" / "Trash";
        const auto before = pictureOf(top / "home" / "file");
        ASSERT_TRUE(own.move(top / "home" / "file"));
        expectRestored(ownTrash, "/", top / "home" / "file", before);
        const auto folderBefore = pictureOf(top / "home" / "folder");
        if (own.move(top / "home" / "folder")) {
            expectRestored(ownTrash, "/", top / "home" / "folder", folderBefore);
        } else { // many overlays cannot rename a folder of the lower disk
            EXPECT_EQ(pictureOf(top / "home" / "folder"), folderBefore);
            EXPECT_EQ(names(ownTrash / "info"), Names{});
            EXPECT_EQ(names(top / trashOfUser() / "info"), Names{});
        }
        ASSERT_TRUE(own.move(write(top / "home" / "new" / "file").parent_path()));
    });
}

TEST_F(TrashMounts, MountPointsStayAndWhatTheyAreIn) {
    onTwoDisks([this] {
        write(disk / "file");
        const fs::path inner = home / "outer" / "in ner";
        ASSERT_TRUE(mountMemory(inner));
        write(inner / "file");
        const fs::path boundFile = write(home / "bound file");
        ASSERT_EQ(::mount((disk / "file").c_str(), boundFile.c_str(), nullptr, MS_BIND, nullptr), 0);
        for (const fs::path& kept : {disk, inner, home / "outer", boundFile}) {
            EXPECT_FALSE(trash.move(kept)) << kept;
        }
        EXPECT_TRUE(isThere(inner / "file"));
        ASSERT_EQ(::umount2(inner.c_str(), MNT_DETACH), 0);
        EXPECT_TRUE(trash.move(home / "outer"));
    });
}
