#include "Platforms/Linux/InstalledPrograms.hpp"
#include "Platforms/Simulated/SimulatedMainLoop.hpp"
#include "Tests/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>

using Linux::DesktopEntries;
using Linux::InstalledPrograms;

namespace fs = std::filesystem;

namespace {

class InstalledProgramsTest : public testing::Test {
protected:
    InstalledProgramsTest() {
        install("xterm", "Terminal");
        programs = std::make_unique<InstalledPrograms>(loop, std::vector{folder_.path()}, "en");
    }

    /// As if some time had passed since the last time.
    void install(const std::string& id, const std::string& name) {
        std::ofstream(folder_.path() / (id + ".desktop"))
            << "[Desktop Entry]\nName=" << name << "\nIcon=pot\n";
        fs::last_write_time(folder_.path(),
                            fs::file_time_type::clock::now() + std::chrono::seconds(++installations_));
    }

    std::string nameOf(const std::string& className, const std::string& instance = "") {
        const auto entries = programs->entries();
        const auto known = programs->ofWindow({.windowClass = {instance, className}});
        return known && entries && entries->withId(known->id) ? known->name : "unknown";
    }

private:
    TemporaryFolder folder_;
    int installations_ = 0;

protected:
    Simulated::SimulatedMainLoop loop;
    std::unique_ptr<InstalledPrograms> programs;
};

} // namespace

TEST_F(InstalledProgramsTest, AreReadBesideTheMainThread) {
    EXPECT_EQ(nameOf("XTerm", "xterm"), "unknown") << "nobody waits";
    EXPECT_EQ(programs->withId("xterm"), std::nullopt);
    loop.settle();
    EXPECT_EQ(nameOf("XTerm", "xterm"), "Terminal");
    EXPECT_EQ(programs->withId("xterm"), (DesktopEntries::Entry{"xterm", "Terminal", "pot"}));
}

TEST_F(InstalledProgramsTest, AreKnownByEitherHalfOfTheClassTheFirstBefore) {
    install("kettle", "Kettle");
    nameOf("");
    loop.settle();
    EXPECT_EQ(nameOf("Kettle", "xterm"), "Kettle");
    EXPECT_EQ(nameOf("XTerm", "kettle"), "Terminal");
    EXPECT_EQ(nameOf("", "kettle"), "Kettle");
    EXPECT_EQ(nameOf("pot", "kettle"), "Kettle");
    EXPECT_EQ(nameOf("pot", ""), "unknown");
}

TEST_F(InstalledProgramsTest, AreLookedForAgainWhenAnotherWindowComesToTheFront) {
    nameOf("kettle");
    loop.settle();
    install("kettle", "Kettle");
    EXPECT_EQ(nameOf("kettle"), "unknown");
    loop.settle();
    EXPECT_EQ(nameOf("kettle"), "unknown") << "the same window asks for nothing new";
    nameOf("xterm");
    loop.settle();
    EXPECT_EQ(nameOf("kettle"), "Kettle");
}

TEST_F(InstalledProgramsTest, AnAnswerOnItsWayMayComeTooLate) {
    nameOf("xterm");
    programs.reset();
    loop.settle();
}
