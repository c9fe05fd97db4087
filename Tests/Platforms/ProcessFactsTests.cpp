#include "Platforms/Linux/ProcessFacts.hpp"
#include "Tests/TemporaryFolder.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

using Linux::processFacts;
using Linux::ProcessFacts;
using Linux::Sandbox;
using Linux::sandboxOfGroups;

namespace fs = std::filesystem;

/// A folder that stands for "/proc"; it knows this process and the process 4711.
class FakeProc {
public:
    FakeProc() {
        for (const fs::path& folder : {process() / "root", process() / "ns", folder_.path() / "self/ns"}) {
            fs::create_directories(folder);
        }
        fs::create_symlink("mnt:[1]", folder_.path() / "self/ns/mnt");
        fs::create_symlink("/usr/bin/kettle", process() / "exe");
    }

    fs::path process() const { return folder_.path() / "4711"; }
    void write(const std::string& file, const std::string& text) const {
        std::ofstream(process() / file, std::ios::binary) << text;
    }
    void liesIn(const std::string& files) const { fs::create_symlink(files, process() / "ns/mnt"); }
    ProcessFacts facts() const { return processFacts(4711, folder_.path()); }

private:
    TemporaryFolder folder_;
};

constexpr auto flatpakInfo = "[Application]\nname=org.kettle.Kettle\n";

} // namespace

TEST(ProcessFacts, ControlGroupsTellOfASandbox) {
    constexpr auto uuid = "01234567-89ab-cdef-0123-456789abcdef";
    const std::string user = "0::/user.slice/user-1000.slice/user@1000.service/app.slice/";
    const struct {
        const char* name;
        std::string groups;
        Sandbox sandbox;
    } rows[] = {
        {"native", user + "app-gnome-kettle-4711.scope\n", {}},
        {"none", "", {}},
        {"the root", "0::/\n", {}},
        {"flatpak",
         user + "app-flatpak-org.kettle.Kettle-4711.scope\n",
         {Sandbox::Kind::flatpak, "org.kettle.Kettle"}},
        {"flatpak with an escaped hyphen",
         user + "app-flatpak-org.kettle.Kettle\\x2dBeta-4711.scope\n",
         {Sandbox::Kind::flatpak, "org.kettle.Kettle-Beta"}},
        {"flatpak of the first version of groups",
         "12:pids:/x\n1:name=systemd:/user.slice/app-flatpak-org.a.B-1.scope\n",
         {Sandbox::Kind::flatpak, "org.a.B"}},
        {"flatpak, a group inside of its own",
         user + "app-flatpak-org.a.B-1.scope/inner\n",
         {Sandbox::Kind::flatpak, "org.a.B"}},
        {"flatpak without a name", user + "app-flatpak--4711.scope\n", {}},
        {"flatpak with a path for a name", user + "app-flatpak-a\\x2fb-4711.scope\n", {}},
        {"snap", user + "snap.kettle.app-" + uuid + ".scope\n", {Sandbox::Kind::snap, "kettle_app"}},
        {"snap of an older kind",
         user + "snap.kettle.app." + uuid + ".scope\n",
         {Sandbox::Kind::snap, "kettle_app"}},
        {"snap with hyphens",
         user + "snap.hello-world.hello-world-" + uuid + ".scope\n",
         {Sandbox::Kind::snap, "hello-world_hello-world"}},
        {"snap that is a service",
         "0::/system.slice/snap.kettle.daemon.service\n",
         {Sandbox::Kind::snap, "kettle_daemon"}},
        {"snap without a program", user + "snap.kettle.scope\n", {}},
        {"a folder that only sounds like one", "0::/snap.kettle.app/x\n", {}},
        {"an escape cut off", user + "app-flatpak-org.a.B\\x2-1.scope\n", {}},
        {"bytes of all kinds", user + "app-flatpak-\xff\x01-1.scope\n", {}},
        {"slashes", std::string(8000, '/'), {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(sandboxOfGroups(row.groups), row.sandbox);
    }
}

TEST(ProcessFacts, NameTheExecutable) {
    const FakeProc proc;
    EXPECT_EQ(proc.facts(), (ProcessFacts{{}, "kettle"}));
    EXPECT_EQ(processFacts(0), ProcessFacts{});
    EXPECT_EQ(processFacts(-5), ProcessFacts{});
    EXPECT_EQ(processFacts(::getpid()).executable, fs::read_symlink("/proc/self/exe").filename());
}

TEST(ProcessFacts, AFlatpakIsKnownByTheFileInItsSandboxToo) {
    const FakeProc proc;
    proc.write("root/.flatpak-info", flatpakInfo);
    proc.write("cgroup", "0::/user.slice\n");
    proc.liesIn("mnt:[2]");
    EXPECT_EQ(proc.facts(), (ProcessFacts{{Sandbox::Kind::flatpak, "org.kettle.Kettle"}, "kettle"}));
}

TEST(ProcessFacts, TheFilesOfAProcessInNoSandboxAreNotLookedAt) {
    const FakeProc same;
    same.write("root/.flatpak-info", flatpakInfo);
    same.liesIn("mnt:[1]");
    EXPECT_EQ(same.facts().sandbox, Sandbox{});

    const FakeProc secret; // another user's
    secret.write("root/.flatpak-info", flatpakInfo);
    EXPECT_EQ(secret.facts().sandbox, Sandbox{});
}

TEST(ProcessFacts, WhatAProcessPutsInTheWayIsNotOpened) {
    const FakeProc pipe;
    ASSERT_EQ(::mkfifo((pipe.process() / "root/.flatpak-info").c_str(), 0600), 0);
    pipe.liesIn("mnt:[2]");
    EXPECT_EQ(pipe.facts(), (ProcessFacts{{}, "kettle"}));
}
