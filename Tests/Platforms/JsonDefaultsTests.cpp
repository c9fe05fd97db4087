#include "Platforms/Linux/JsonDefaults.hpp"
#include "Platforms/Simulated/SimulatedMainLoop.hpp"
#include "Tests/DiskTrouble.hpp"
#include "Tests/TemporaryFolder.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cmath>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using Linux::JsonDefaults;
using Simulated::SimulatedMainLoop;
using Data = ZorbelKit::Defaults::Data;
namespace fs = std::filesystem;

namespace {

std::string contents(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void write(const fs::path& file, const std::string& text) {
    std::ofstream(file, std::ios::binary) << text;
}

std::set<std::string> namesIn(const fs::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        names.insert(entry.path().filename().string());
    }
    return names;
}

unsigned mode(const fs::path& path) {
    return static_cast<unsigned>(fs::status(path).permissions());
}

/// A settings file in a folder of its own, the loop that stores it and what was reported.
struct Desk {
    TemporaryFolder folder;
    fs::path file = folder.path() / "settings.json";
    SimulatedMainLoop loop;
    std::vector<std::string> reports;

    JsonDefaults open() { return openAt(file); }
    JsonDefaults openAt(const fs::path& place) {
        return {place, loop, [this](const std::string& line) { reports.push_back(line); }};
    }

    /// The one file that was set aside, or an empty path.
    fs::path setAside() const {
        fs::path found;
        for (const auto& name : namesIn(folder.path())) {
            if (name.starts_with("settings.json.damaged-")) {
                EXPECT_TRUE(found.empty()) << name;
                found = folder.path() / name;
            }
        }
        return found;
    }
};

/// Sees every file that is renamed in a folder: each write of the settings is one.
class FolderWatch {
public:
    explicit FolderWatch(const fs::path& folder)
        : descriptor_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
        EXPECT_GE(::inotify_add_watch(descriptor_, folder.c_str(), IN_MOVED_FROM), 0);
    }
    FolderWatch(const FolderWatch&) = delete;
    FolderWatch& operator=(const FolderWatch&) = delete;
    ~FolderWatch() { ::close(descriptor_); }

    /// The temporary names since the last call.
    std::vector<std::string> renamed() {
        std::vector<std::string> names;
        std::array<char, 4096> buffer{};
        ssize_t size = 0;
        while ((size = ::read(descriptor_, buffer.data(), buffer.size())) > 0) {
            for (std::size_t at = 0; at < static_cast<std::size_t>(size);) {
                inotify_event event{};
                std::memcpy(&event, buffer.data() + at, sizeof event);
                names.emplace_back(buffer.data() + at + sizeof event);
                at += sizeof event + event.len;
            }
        }
        return names;
    }
    std::size_t writes() { return renamed().size(); }

private:
    int descriptor_;
};

Data everyByte() {
    Data bytes;
    for (unsigned byte = 0; byte < 256; ++byte) {
        bytes.push_back(static_cast<std::uint8_t>(byte));
    }
    return bytes;
}

// ---- Values

TEST(JsonDefaults, StoresAFileAPersonCanRead) {
    Desk desk;
    {
        auto defaults = desk.open();
        defaults.setString("sivrel.name", "Çay \"☕\"");
        defaults.setNumber("pintho.opacity", 1.0);
        defaults.setData("mordan.pin", {0, 1, 2});
        defaults.setInteger("rusket.history", 60);
        defaults.setBoolean("hushel.isOn", true);
    }
    EXPECT_EQ(contents(desk.file), R"({
  "hushel.isOn": true,
  "mordan.pin": {
    "data": "AAEC"
  },
  "pintho.opacity": 1.0,
  "rusket.history": 60,
  "sivrel.name": "Çay \"☕\""
}
)");
    EXPECT_EQ(mode(desk.file), 0600U);
    EXPECT_TRUE(desk.reports.empty());
}

TEST(JsonDefaults, GivesBooleansBackInTheNextRun) {
    for (const bool value : {false, true}) {
        Desk desk;
        desk.open().setBoolean("key", value);
        EXPECT_EQ(desk.open().boolean("key"), value);
    }
}

TEST(JsonDefaults, GivesIntegersBackInTheNextRun) {
    using Limits = std::numeric_limits<std::int64_t>;
    for (const std::int64_t value : {Limits::min(), Limits::min() + 1, std::int64_t{-1}, std::int64_t{0},
                                     std::int64_t{1}, (std::int64_t{1} << 53) + 1, Limits::max()}) {
        SCOPED_TRACE(value);
        Desk desk;
        desk.open().setInteger("key", value);
        auto defaults = desk.open();
        EXPECT_EQ(defaults.integer("key"), value);
        EXPECT_EQ(defaults.number("key"), static_cast<double>(value));
    }
}

TEST(JsonDefaults, GivesNumbersBackToTheLastBit) {
    using Limits = std::numeric_limits<double>;
    for (const double value :
         {0.0, -0.0, 1.0, -1.0, 0.1, 1.0 / 3.0, 1e15, 1e16, 9007199254740993.0, 1e300, -1e300, 1e-300,
          Limits::min(), Limits::denorm_min(), Limits::max(), Limits::lowest()}) {
        SCOPED_TRACE(value);
        Desk desk;
        desk.open().setNumber("key", value);
        auto defaults = desk.open();
        ASSERT_TRUE(defaults.number("key"));
        EXPECT_EQ(std::bit_cast<std::uint64_t>(*defaults.number("key")), std::bit_cast<std::uint64_t>(value));
        EXPECT_EQ(defaults.integer("key"), std::nullopt);
    }
}

TEST(JsonDefaults, GivesStringsBackInTheNextRun) {
    const std::string zeroInside("a\0b", 3);
    for (const std::string& value :
         {std::string(), std::string("plain"), std::string("çay ☕ 🫖 e\u0301"), zeroInside,
          std::string("\"\\/\n\r\t\x01\x7f"), std::string(100000, 'x')}) {
        SCOPED_TRACE(value.substr(0, 20));
        Desk desk;
        desk.open().setString(value.substr(0, 20), value); // a key may be any text too
        EXPECT_EQ(desk.open().string(value.substr(0, 20)), value);
    }
}

TEST(JsonDefaults, GivesDataBackInTheNextRun) {
    const Data all = everyByte();
    for (std::size_t size : {0U, 1U, 2U, 3U, 4U, 255U, 256U}) {
        SCOPED_TRACE(size);
        const Data value(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(size));
        Desk desk;
        desk.open().setData("key", value);
        EXPECT_EQ(desk.open().data("key"), value);
    }
}

TEST(JsonDefaults, HoldsForThisRunWhatJsonCannotSay) {
    Desk desk;
    {
        auto defaults = desk.open();
        defaults.setNumber("infinite", std::numeric_limits<double>::infinity());
        defaults.setNumber("nan", std::numeric_limits<double>::quiet_NaN());
        defaults.setString("odd", "a\xff");
        EXPECT_EQ(defaults.number("infinite"), std::numeric_limits<double>::infinity());
        EXPECT_TRUE(std::isnan(defaults.number("nan").value()));
        EXPECT_EQ(defaults.string("odd"), "a\xff");
    }
    auto next = desk.open();
    EXPECT_EQ(next.number("infinite"), std::nullopt);
    EXPECT_EQ(next.number("nan"), std::nullopt);
    EXPECT_EQ(next.string("odd"), "a\uFFFD");
    EXPECT_TRUE(desk.reports.empty());
}

TEST(JsonDefaults, ReadsAValueOnlyAsTheTypeItHas) {
    struct Row {
        const char* json;
        bool isBoolean, isInteger, isNumber, isString, isData;
    };
    const Row rows[] = {
        {"true", true, false, false, false, false},
        {"false", true, false, false, false, false},
        {"0", false, true, true, false, false},
        {"1", false, true, true, false, false},
        {"9223372036854775807", false, true, true, false, false},
        {"-9223372036854775808", false, true, true, false, false},
        {"9223372036854775808", false, false, true, false, false},
        {"1.0", false, false, true, false, false},
        {"1e2", false, false, true, false, false},
        {"\"\"", false, false, false, true, false},
        {"\"true\"", false, false, false, true, false},
        {"\"AAEC\"", false, false, false, true, false},
        {R"({"data": ""})", false, false, false, false, true},
        {R"({"data": "AAEC"})", false, false, false, false, true},
        {R"({"data": "AA=="})", false, false, false, false, true},
        {R"({"data": "AAE"})", false, false, false, false, false},
        {R"({"data": "A==="})", false, false, false, false, false},
        {R"({"data": "===="})", false, false, false, false, false},
        {R"({"data": "AA=A"})", false, false, false, false, false},
        {R"({"data": "AA C"})", false, false, false, false, false},
        {R"({"data": 1})", false, false, false, false, false},
        {R"({"data": "AAEC", "more": 1})", false, false, false, false, false},
        {R"({"date": "AAEC"})", false, false, false, false, false},
        {"{}", false, false, false, false, false},
        {"[]", false, false, false, false, false},
        {"[true]", false, false, false, false, false},
        {"null", false, false, false, false, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.json);
        Desk desk;
        write(desk.file, std::string(R"({"key": )") + row.json + R"(, "other": 7})");
        auto defaults = desk.open();
        EXPECT_EQ(defaults.boolean("key").has_value(), row.isBoolean);
        EXPECT_EQ(defaults.integer("key").has_value(), row.isInteger);
        EXPECT_EQ(defaults.number("key").has_value(), row.isNumber);
        EXPECT_EQ(defaults.string("key").has_value(), row.isString);
        EXPECT_EQ(defaults.data("key").has_value(), row.isData);
        EXPECT_EQ(defaults.integer("other"), 7);
        EXPECT_EQ(defaults.integer("absent"), std::nullopt);
        EXPECT_TRUE(desk.reports.empty());

        // What could not be read is kept through a rewrite, until it is set.
        defaults.setInteger("other", 8);
        desk.loop.settle();
        const auto kept = nlohmann::json::parse(contents(desk.file));
        EXPECT_EQ(kept.at("key").dump(), nlohmann::json::parse(row.json).dump());
        defaults.setString("key", "set");
        EXPECT_EQ(defaults.string("key"), "set");
        EXPECT_TRUE(defaults.flush());
        EXPECT_EQ(desk.open().string("key"), "set");
    }
}

TEST(JsonDefaults, ChangesTheTypeOfAValueWhenSet) {
    struct Type {
        const char* name;
        void (*set)(JsonDefaults&);
        bool (*isRead)(const JsonDefaults&);
    };
    // Values that look alike, so that a comparison across types would skip the write.
    const Type types[] = {
        {"boolean", [](JsonDefaults& d) { d.setBoolean("key", true); },
         [](const JsonDefaults& d) { return d.boolean("key") == true && !d.number("key"); }},
        {"integer", [](JsonDefaults& d) { d.setInteger("key", 1); },
         [](const JsonDefaults& d) { return d.integer("key") == 1 && d.number("key") == 1.0; }},
        {"number", [](JsonDefaults& d) { d.setNumber("key", 1.0); },
         [](const JsonDefaults& d) { return d.number("key") == 1.0 && !d.integer("key"); }},
        {"string", [](JsonDefaults& d) { d.setString("key", "1"); },
         [](const JsonDefaults& d) { return d.string("key") == "1" && !d.data("key"); }},
        {"data", [](JsonDefaults& d) { d.setData("key", {1}); },
         [](const JsonDefaults& d) { return d.data("key") == Data{1} && !d.string("key"); }},
    };
    for (const Type& before : types) {
        for (const Type& after : types) {
            SCOPED_TRACE(std::string(before.name) + " to " + after.name);
            Desk desk;
            {
                auto defaults = desk.open();
                before.set(defaults);
                EXPECT_TRUE(before.isRead(defaults));
                EXPECT_TRUE(defaults.flush());
                after.set(defaults);
                EXPECT_TRUE(after.isRead(defaults));
            }
            EXPECT_TRUE(after.isRead(desk.open()));
        }
    }
}

TEST(JsonDefaults, KeepsWhatItDoesNotKnow) {
    Desk desk;
    const std::string unknown =
        R"({"list":[1,2.5,"x",null,{"deep":[true]}],"nested":{"a":{"b":-0.0}},"none":null,)"
        R"("big":18446744073709551615,"":"empty key"})";
    write(desk.file, unknown);
    {
        auto defaults = desk.open();
        defaults.setInteger("mine", 1);
    }
    auto kept = nlohmann::json::parse(contents(desk.file));
    EXPECT_EQ(kept.at("mine"), 1);
    kept.erase("mine");
    EXPECT_EQ(kept.dump(), nlohmann::json::parse(unknown).dump());
}

TEST(JsonDefaults, RemovesAValue) {
    Desk desk;
    write(desk.file, R"({"gone": 1, "list": [1], "kept": 2})");
    {
        auto defaults = desk.open();
        defaults.remove("gone");
        defaults.remove("list");
        EXPECT_EQ(defaults.integer("gone"), std::nullopt);
    }
    EXPECT_EQ(contents(desk.file), "{\n  \"kept\": 2\n}\n");
}

// ---- The file as found

TEST(JsonDefaults, StartsEmptyAndSilentWhereThereIsNoFile) {
    Desk desk;
    const auto place = desk.folder.path() / "config" / "zorbel" / "settings.json";
    auto defaults = desk.openAt(place);
    EXPECT_EQ(defaults.integer("key"), std::nullopt);
    EXPECT_TRUE(defaults.flush());
    EXPECT_TRUE(fs::is_empty(desk.folder.path()));

    defaults.setInteger("key", 1);
    desk.loop.settle();
    EXPECT_EQ(desk.openAt(place).integer("key"), 1);
    EXPECT_EQ(mode(place), 0600U);
    EXPECT_EQ(mode(place.parent_path()), 0700U);
    EXPECT_EQ(mode(desk.folder.path() / "config"), 0700U);
    EXPECT_TRUE(desk.reports.empty());
}

TEST(JsonDefaults, SetsADamagedFileAside) {
    const Data bytes = everyByte();
    const std::string nothing(3, '\0');
    struct Row {
        const char* name;
        std::string contents;
    };
    const Row rows[] = {
        {"empty", ""},
        {"only white space", " \n\t\n"},
        {"truncated in an object", R"({"a": 1, "b)"},
        {"truncated by one byte", R"({"a": 1)"},
        {"binary", std::string(bytes.begin(), bytes.end())},
        {"all zero", nothing},
        {"zeros after the end", "{\"a\": 1}\n" + nothing},
        {"text after the end", "{\"a\": 1}\n}"},
        {"two objects", "{} {}"},
        {"an array", "[1, 2]"},
        {"a string", "\"settings\""},
        {"a number", "1"},
        {"null", "null"},
        {"words", "hello"},
        {"a comment", "{} // mine"},
        {"a trailing comma", R"({"a": 1,})"},
        {"no UTF-8 in a value", "{\"a\": \"\xff\"}"},
        {"no UTF-8 in a key", "{\"\xc3\": 1}"},
        {"an overlong encoding", "{\"a\": \"\xc0\xaf\"}"},
        {"half a surrogate pair", R"({"a": "\ud800"})"},
        {"a number out of range", R"({"a": 1e999})"},
        {"too large", "{}" + std::string(JsonDefaults::largestFile - 1, ' ')},
        {"deep and open", std::string(100000, '[')},
        {"deep and closed", R"({"a": )" + std::string(100000, '[') + std::string(100000, ']') + "}"},
        {"deep objects",
         [] {
             std::string text;
             for (int level = 0; level < 100000; ++level) {
                 text += R"({"a":)";
             }
             return text + "1" + std::string(100000, '}');
         }()},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Desk desk;
        write(desk.file, row.contents);
        {
            auto defaults = desk.open();
            const auto aside = desk.setAside();
            ASSERT_FALSE(aside.empty());
            EXPECT_EQ(contents(aside), row.contents);
            EXPECT_FALSE(fs::exists(desk.file));
            ASSERT_EQ(desk.reports.size(), 1U);
            EXPECT_NE(desk.reports[0].find(aside.string()), std::string::npos) << desk.reports[0];
            EXPECT_EQ(desk.reports[0].find('\n'), std::string::npos);
            EXPECT_EQ(defaults.integer("a"), std::nullopt);
            defaults.setInteger("new", 1);
        }
        EXPECT_EQ(desk.open().integer("new"), 1);
        EXPECT_EQ(contents(desk.setAside()), row.contents);
        EXPECT_EQ(desk.reports.size(), 1U);
    }
}

TEST(JsonDefaults, ReadsWhatIsJustWithinTheLimits) {
    struct Row {
        const char* name;
        std::string contents;
    };
    const Row rows[] = {
        {"the largest file", R"({"a":1})" + std::string(JsonDefaults::largestFile - 7, ' ')},
        {"a byte order mark", "\xef\xbb\xbf{\"a\": 1}"},
        {"ninety lists in one another", R"({"a":1,"b":)" + std::string(90, '[') + std::string(90, ']') + "}"},
        {"lines ended the other way", "{\r\n\"a\": 1\r\n}\r\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Desk desk;
        write(desk.file, row.contents);
        EXPECT_EQ(desk.open().integer("a"), 1);
        EXPECT_TRUE(desk.reports.empty());
        EXPECT_EQ(contents(desk.file), row.contents);
    }
}

TEST(JsonDefaults, SetsAFolderOfThatNameAside) {
    Desk desk;
    fs::create_directory(desk.file);
    write(desk.file / "precious", "text");
    desk.open().setInteger("new", 1);
    EXPECT_EQ(desk.reports.size(), 1U);
    EXPECT_EQ(contents(desk.setAside() / "precious"), "text");
    EXPECT_EQ(desk.open().integer("new"), 1);
}

TEST(JsonDefaults, NeverSetsAsideOverAnotherFile) {
    Desk desk;
    // Whatever second it is by the time the file is read, both of its first names are taken.
    std::set<std::string> taken;
    for (int second = 0; second < 60; ++second) {
        const std::time_t moment = std::time(nullptr) + second;
        char stamp[64];
        std::tm parts{};
        std::strftime(stamp, sizeof stamp, "settings.json.damaged-%Y%m%dT%H%M%SZ",
                      ::gmtime_r(&moment, &parts));
        for (const char* suffix : {"", "-2"}) {
            taken.insert(std::string(stamp) + suffix);
        }
    }
    for (const auto& name : taken) {
        write(desk.folder.path() / name, name);
    }
    write(desk.file, "damaged");
    (void)desk.open();
    EXPECT_EQ(desk.reports.size(), 1U);
    int found = 0;
    for (const auto& name : namesIn(desk.folder.path())) {
        if (taken.contains(name)) {
            EXPECT_EQ(contents(desk.folder.path() / name), name);
        } else {
            ++found;
            EXPECT_TRUE(name.ends_with("Z-3")) << name;
            EXPECT_EQ(contents(desk.folder.path() / name), "damaged");
        }
    }
    EXPECT_EQ(found, 1);
}

TEST(JsonDefaults, LivesInMemoryWhereTheFileMustBeLeftAlone) {
    struct Row {
        const char* name;
        void (*prepare)(const fs::path& file);
        const char* contents = nullptr; // of a regular file
    };
    const Row rows[] = {
        {"a file that cannot be read",
         [](const fs::path& file) {
             write(file, R"({"key": 5})");
             fs::permissions(file, fs::perms::none);
         },
         R"({"key": 5})"},
        {"a damaged file that cannot be renamed",
         [](const fs::path& file) {
             write(file, "damaged");
             fs::permissions(file.parent_path(), fs::perms::owner_read | fs::perms::owner_exec);
         },
         "damaged"},
        {"a link to itself", [](const fs::path& file) { fs::create_symlink(file, file); }},
        {"a link to a folder",
         [](const fs::path& file) {
             fs::create_directory(file.parent_path() / "folder");
             fs::create_symlink("folder", file);
         }},
        {"a link to a device", [](const fs::path& file) { fs::create_symlink("/dev/null", file); }},
        {"a pipe", [](const fs::path& file) { ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0); }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const Unprivileged unprivileged;
        Desk desk;
        row.prepare(desk.file);
        const auto names = namesIn(desk.folder.path());
        const auto status = fs::symlink_status(desk.file);
        {
            auto defaults = desk.open();
            EXPECT_EQ(desk.reports.size(), 1U);
            EXPECT_TRUE(defaults.flush()) << "nothing is waiting yet";
            defaults.setInteger("key", 1);
            desk.loop.settle();
            defaults.setInteger("key", 2);
            EXPECT_EQ(defaults.integer("key"), 2);
            EXPECT_FALSE(defaults.flush());
        }
        EXPECT_EQ(desk.reports.size(), 1U);
        EXPECT_EQ(namesIn(desk.folder.path()), names);
        EXPECT_EQ(fs::symlink_status(desk.file).type(), status.type());
        EXPECT_EQ(fs::symlink_status(desk.file).permissions(), status.permissions());
        fs::permissions(desk.folder.path(), fs::perms::owner_all);
        if (row.contents) {
            fs::permissions(desk.file, fs::perms::owner_all);
            EXPECT_EQ(contents(desk.file), row.contents);
        }
    }
}

// ---- Storing

TEST(JsonDefaults, StoresInTheBackground) {
    Desk desk;
    auto defaults = desk.open();
    defaults.setInteger("key", 1);
    EXPECT_EQ(defaults.integer("key"), 1);
    EXPECT_FALSE(fs::exists(desk.file));
    desk.loop.settle();
    EXPECT_TRUE(fs::exists(desk.file));
    EXPECT_EQ(namesIn(desk.folder.path()), std::set<std::string>{"settings.json"});
}

TEST(JsonDefaults, MakesOneWriteOfAHundredChanges) {
    Desk desk;
    FolderWatch watch(desk.folder.path());
    auto defaults = desk.open();
    for (int change = 1; change <= 100; ++change) {
        defaults.setInteger("key", change);
    }
    desk.loop.settle();
    EXPECT_EQ(watch.writes(), 1U);
    EXPECT_EQ(desk.open().integer("key"), 100);
}

TEST(JsonDefaults, WritesNothingWhenNothingChanged) {
    Desk desk;
    write(desk.file, R"({"boolean": true, "integer": 1, "negative": -1, "number": 1.0, "string": "s",
                         "data": {"data": "AQ=="}})");
    const auto before = contents(desk.file);
    FolderWatch watch(desk.folder.path());
    {
        auto defaults = desk.open();
        defaults.setBoolean("boolean", true);
        defaults.setInteger("integer", 1);
        defaults.setInteger("negative", -1);
        defaults.setNumber("number", 1.0);
        defaults.setString("string", "s");
        defaults.setData("data", {1});
        defaults.remove("absent");
        desk.loop.settle();
        EXPECT_TRUE(defaults.flush());
        EXPECT_TRUE(defaults.flush());
    }
    EXPECT_EQ(watch.writes(), 0U);
    EXPECT_EQ(contents(desk.file), before);
}

TEST(JsonDefaults, TellsZeroFromMinusZero) {
    Desk desk;
    auto defaults = desk.open();
    defaults.setNumber("key", 0.0);
    defaults.setNumber("key", -0.0);
    EXPECT_TRUE(std::signbit(defaults.number("key").value()));
    EXPECT_TRUE(defaults.flush());
    EXPECT_EQ(contents(desk.file), "{\n  \"key\": -0.0\n}\n");
}

TEST(JsonDefaults, StoresOneChangeAfterAnother) {
    Desk desk;
    FolderWatch watch(desk.folder.path());
    auto defaults = desk.open();
    for (int value = 1; value <= 2; ++value) {
        defaults.setInteger("key", value);
        desk.loop.settle();
        EXPECT_EQ(watch.writes(), 1U);
        EXPECT_EQ(desk.open().integer("key"), value);
    }
}

TEST(JsonDefaults, FlushStoresAtOnceAndLeavesTheTaskNothingToDo) {
    Desk desk;
    FolderWatch watch(desk.folder.path());
    auto defaults = desk.open();
    defaults.setInteger("key", 1);
    EXPECT_TRUE(defaults.flush());
    EXPECT_EQ(desk.open().integer("key"), 1);
    desk.loop.settle();
    EXPECT_EQ(watch.writes(), 1U);
}

TEST(JsonDefaults, StoresAChangeMadeBetweenFlushAndTheTask) {
    Desk desk;
    auto defaults = desk.open();
    defaults.setInteger("key", 1);
    EXPECT_TRUE(defaults.flush());
    defaults.setInteger("key", 2);
    desk.loop.settle();
    EXPECT_EQ(desk.open().integer("key"), 2);
}

TEST(JsonDefaults, StoresWhenDestroyedBeforeTheTask) {
    Desk desk;
    FolderWatch watch(desk.folder.path());
    desk.open().setInteger("key", 1);
    EXPECT_EQ(watch.writes(), 1U);
    write(desk.file, R"({"key": 2})");
    desk.loop.settle(); // the task finds nobody
    EXPECT_EQ(watch.writes(), 0U);
    EXPECT_EQ(contents(desk.file), R"({"key": 2})");
}

TEST(JsonDefaults, KeepsASymbolicLinkAndReplacesWhatItLeadsTo) {
    struct Row {
        const char* name;
        const char* place; // of the real file, below the folder
        std::vector<std::pair<const char*, const char*>> links;
    };
    const Row rows[] = {
        {"relative", "dotfiles/real.json", {{"settings.json", "dotfiles/real.json"}}},
        {"through a second link",
         "dotfiles/real.json",
         {{"settings.json", "next"}, {"next", "dotfiles/real.json"}}},
        {"through a linked folder",
         "dotfiles/real.json",
         {{"settings.json", "folder/real.json"}, {"folder", "dotfiles"}}},
    };
    for (const Row& row : rows) {
        for (const char* before : {R"({"key": 1})", ""}) { // there, or a link that leads nowhere yet
            SCOPED_TRACE(std::string(row.name) + (*before ? "" : ", dangling"));
            Desk desk;
            const auto real = desk.folder.path() / row.place;
            fs::create_directories(real.parent_path());
            if (*before) {
                write(real, before);
            }
            for (const auto& [name, target] : row.links) {
                fs::create_symlink(target, desk.folder.path() / name);
            }
            desk.open().setInteger("key", 2);
            EXPECT_TRUE(fs::is_symlink(desk.file));
            EXPECT_EQ(fs::read_symlink(desk.file), row.links.front().second);
            EXPECT_FALSE(fs::is_symlink(real));
            EXPECT_EQ(contents(real), "{\n  \"key\": 2\n}\n");
            EXPECT_EQ(namesIn(real.parent_path()), std::set<std::string>{"real.json"});
            EXPECT_TRUE(desk.reports.empty());
        }
    }
}

TEST(JsonDefaults, SetsADamagedFileBehindALinkAsideInItsOwnFolder) {
    Desk desk;
    TemporaryFolder dotfiles;
    write(dotfiles.path() / "real.json", "damaged");
    fs::create_symlink(dotfiles.path() / "real.json", desk.file);
    desk.open().setInteger("key", 1);
    EXPECT_TRUE(fs::is_symlink(desk.file));
    const auto names = namesIn(dotfiles.path());
    ASSERT_EQ(names.size(), 2U);
    EXPECT_TRUE(names.rbegin()->starts_with("real.json.damaged-"));
    EXPECT_EQ(contents(dotfiles.path() / *names.rbegin()), "damaged");
    EXPECT_EQ(desk.open().integer("key"), 1);
}

TEST(JsonDefaults, ReplacesAReadOnlyFile) {
    const Unprivileged unprivileged;
    Desk desk;
    write(desk.file, R"({"key": 1})");
    fs::permissions(desk.file, fs::perms::owner_read);
    desk.open().setInteger("key", 2);
    EXPECT_EQ(desk.open().integer("key"), 2);
    EXPECT_EQ(mode(desk.file), 0600U);
    EXPECT_TRUE(desk.reports.empty());
}

TEST(JsonDefaults, OurWriteWinsOverAChangeFromOutside) {
    Desk desk;
    write(desk.file, R"({"key": 1, "kept": true})");
    auto defaults = desk.open();
    write(desk.file, "the user was here");
    defaults.setInteger("key", 2);
    EXPECT_TRUE(defaults.flush());
    EXPECT_EQ(contents(desk.file), "{\n  \"kept\": true,\n  \"key\": 2\n}\n");
}

TEST(JsonDefaults, PassesOverTheTemporaryFilesOfAnEarlierCrash) {
    Desk desk;
    FolderWatch watch(desk.folder.path());
    desk.open().setInteger("key", 1);
    const auto used = watch.renamed();
    ASSERT_EQ(used.size(), 1U);
    const std::string prefix = "settings.json." + std::to_string(::getpid()) + "-";
    ASSERT_TRUE(used[0].starts_with(prefix)) << used[0];

    // An earlier process of the same id left the very names that come next.
    const int last = std::stoi(used[0].substr(prefix.size()));
    const std::set<std::string> leftovers{"settings.json.1-1.tmp", prefix + std::to_string(last + 1) + ".tmp",
                                          prefix + std::to_string(last + 2) + ".tmp"};
    for (const auto& name : leftovers) {
        write(desk.folder.path() / name, "half a fi");
    }
    desk.open().setInteger("key", 2);
    EXPECT_TRUE(desk.reports.empty());
    EXPECT_EQ(desk.open().integer("key"), 2);
    EXPECT_EQ(watch.renamed(), std::vector<std::string>{prefix + std::to_string(last + 3) + ".tmp"});
    for (const auto& name : leftovers) {
        EXPECT_EQ(contents(desk.folder.path() / name), "half a fi");
    }
    EXPECT_EQ(namesIn(desk.folder.path()).size(), leftovers.size() + 1);
}

// ---- Storing fails

TEST(JsonDefaults, LivesOnWhereTheFolderCannotBeMade) {
    struct Row {
        const char* name;
        fs::path (*place)(const fs::path& folder);
    };
    const Row rows[] = {
        {"the parent is a file",
         [](const fs::path& folder) {
             write(folder / "file", "text");
             return folder / "file" / "settings.json";
         }},
        {"the parent's parent is a file",
         [](const fs::path& folder) {
             write(folder / "file", "text");
             return folder / "file" / "zorbel" / "settings.json";
         }},
        {"a system folder", [](const fs::path&) { return fs::path("/proc/config/zorbel/settings.json"); }},
        {"a folder that is not ours to write",
         [](const fs::path& folder) {
             fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec);
             return folder / "zorbel" / "settings.json";
         }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const Unprivileged unprivileged;
        Desk desk;
        const auto place = row.place(desk.folder.path());
        const auto names = namesIn(desk.folder.path());
        {
            auto defaults = desk.openAt(place);
            EXPECT_TRUE(desk.reports.empty());
            defaults.setInteger("key", 1);
            desk.loop.settle();
            EXPECT_EQ(desk.reports.size(), 1U);
            defaults.setInteger("key", 2);
            desk.loop.settle();
            EXPECT_EQ(defaults.integer("key"), 2);
            EXPECT_FALSE(defaults.flush());
        }
        EXPECT_EQ(desk.reports.size(), 1U);
        EXPECT_EQ(namesIn(desk.folder.path()), names);
        fs::permissions(desk.folder.path(), fs::perms::owner_all);
    }
}

TEST(JsonDefaults, KeepsTheOldFileWhileTheDiskIsFullAndTriesAgain) {
    Desk desk;
    auto defaults = desk.open();
    defaults.setInteger("key", 1);
    ASSERT_TRUE(defaults.flush());
    const auto before = contents(desk.file);
    const std::string large(20000, 'x');

    std::vector<std::size_t> reports; // after each attempt
    bool isFlushed = true;
    std::string during;
    {
        const FullDisk full(4096);
        defaults.setString("large", large);
        desk.loop.settle();
        reports.push_back(desk.reports.size());
        defaults.setInteger("key", 2);
        desk.loop.settle();
        reports.push_back(desk.reports.size());
        isFlushed = defaults.flush();
        reports.push_back(desk.reports.size());
        during = contents(desk.file);
    }
    EXPECT_EQ(reports, (std::vector<std::size_t>{1, 1, 1}));
    EXPECT_FALSE(isFlushed);
    EXPECT_EQ(during, before);
    EXPECT_EQ(namesIn(desk.folder.path()), std::set<std::string>{"settings.json"});
    EXPECT_EQ(defaults.string("large"), large);

    // The next change takes along what waited.
    defaults.setBoolean("more", true);
    desk.loop.settle();
    {
        auto next = desk.open();
        EXPECT_EQ(next.string("large"), large);
        EXPECT_EQ(next.integer("key"), 2);
        EXPECT_EQ(next.boolean("more"), true);
    }
    EXPECT_EQ(desk.reports.size(), 1U);

    // After a success, a new run of failures is worth a new line; flush alone tries again.
    {
        const FullDisk full(4096);
        defaults.setInteger("key", 3);
        isFlushed = defaults.flush();
    }
    EXPECT_FALSE(isFlushed);
    EXPECT_EQ(desk.reports.size(), 2U);
    EXPECT_TRUE(defaults.flush());
    EXPECT_EQ(desk.open().integer("key"), 3);
    EXPECT_EQ(desk.reports.size(), 2U);
}

TEST(JsonDefaults, TriesOnceMoreWhenDestroyed) {
    Desk desk;
    {
        auto defaults = desk.open();
        const FullDisk full(0);
        defaults.setInteger("key", 1);
        desk.loop.settle();
        defaults.setInteger("key", 2); // whose task is still waiting when the owner goes
        EXPECT_FALSE(defaults.flush());
    }
    EXPECT_TRUE(fs::exists(desk.file));
    desk.loop.settle();
    EXPECT_EQ(desk.open().integer("key"), 2);
    EXPECT_EQ(desk.reports.size(), 1U);
}

TEST(JsonDefaults, NeverWritesAFileItWouldNotRead) {
    Desk desk;
    auto defaults = desk.open();
    defaults.setInteger("key", 1);
    ASSERT_TRUE(defaults.flush());
    const std::size_t frame = contents(desk.file).size() + std::string(",\n  \"text\": \"\"").size();
    const std::size_t room = JsonDefaults::largestFile - frame;
    defaults.setString("text", std::string(room + 1, 'x'));
    EXPECT_FALSE(defaults.flush());
    EXPECT_EQ(desk.reports.size(), 1U);
    EXPECT_EQ(desk.open().integer("key"), 1);
    defaults.setString("text", std::string(room, 'x'));
    EXPECT_TRUE(defaults.flush());
    EXPECT_EQ(fs::file_size(desk.file), JsonDefaults::largestFile);
    EXPECT_EQ(desk.open().string("text"), std::string(room, 'x'));
    EXPECT_EQ(desk.reports.size(), 1U);
}

TEST(JsonDefaults, ReportsInOneLineEvenInAFolderOfTwo) {
    Desk desk;
    const auto folder = desk.folder.path() / "two\nlines";
    fs::create_directory(folder);
    write(folder / "settings.json", "damaged");
    (void)desk.openAt(folder / "settings.json");
    ASSERT_EQ(desk.reports.size(), 1U);
    EXPECT_EQ(desk.reports[0].find('\n'), std::string::npos);
}

TEST(JsonDefaults, PrintsReportsOnStandardError) {
    TemporaryFolder folder;
    write(folder.path() / "settings.json", "damaged");
    SimulatedMainLoop loop;
    ::testing::internal::CaptureStderr();
    (void)JsonDefaults(folder.path() / "settings.json", loop);
    const auto printed = ::testing::internal::GetCapturedStderr();
    EXPECT_TRUE(printed.starts_with("zorbel: the settings in ")) << printed;
    EXPECT_EQ(std::count(printed.begin(), printed.end(), '\n'), 1) << printed;
    EXPECT_TRUE(printed.ends_with('\n')) << printed;
}

// ---- Threads

/// Runs background work on two threads of its own; nothing else is needed here.
class ThreadedLoop : public ZorbelKit::MainLoop {
public:
    ThreadedLoop() {
        for (auto& thread : threads_) {
            thread = std::thread([this] { work(); });
        }
    }
    ThreadedLoop(const ThreadedLoop&) = delete;
    ThreadedLoop& operator=(const ThreadedLoop&) = delete;
    ~ThreadedLoop() override {
        {
            const std::lock_guard guard(lock_);
            isEnding_ = true;
        }
        wake_.notify_all();
        for (auto& thread : threads_) {
            thread.join();
        }
    }

    ZorbelKit::Token every(ZorbelKit::Seconds, Task) override { return {}; }
    ZorbelKit::Token after(ZorbelKit::Seconds, Task) override { return {}; }
    void post(Task) override {}
    void background(ZorbelKit::Priority, Task task) override {
        {
            const std::lock_guard guard(lock_);
            tasks_.push_back(std::move(task));
        }
        wake_.notify_one();
    }
    bool isMainThread() const override { return true; }

private:
    void work() {
        std::unique_lock guard(lock_);
        for (;;) {
            wake_.wait(guard, [this] { return isEnding_ || !tasks_.empty(); });
            if (tasks_.empty()) {
                return;
            }
            const Task task = std::move(tasks_.front());
            tasks_.pop_front();
            guard.unlock();
            task();
            guard.lock();
        }
    }

    std::mutex lock_;
    std::condition_variable wake_;
    std::deque<Task> tasks_;
    bool isEnding_ = false;
    std::array<std::thread, 2> threads_;
};

TEST(JsonDefaults, StoresWholeAndInOrderWhileTheMainThreadGoesOn) {
    TemporaryFolder folder;
    const auto file = folder.path() / "settings.json";
    std::atomic<int> reports{0};
    std::atomic<bool> isDone{false};
    std::int64_t lastSeen = 0;
    int torn = 0;
    int backwards = 0;
    constexpr int changes = 500;

    const auto read = [&] {
        const auto values = nlohmann::json::parse(contents(file), nullptr, /*allow_exceptions=*/false);
        if (!values.is_object()) {
            ++torn;
            return;
        }
        const auto seen = values.at("key").get<std::int64_t>();
        backwards += seen < lastSeen ? 1 : 0;
        lastSeen = seen;
    };

    ThreadedLoop loop;
    std::thread reader;
    for (int owner = 0; owner < 4; ++owner) {
        JsonDefaults defaults(file, loop, [&](const std::string&) { ++reports; });
        if (owner == 0) {
            defaults.setInteger("key", 0);
            ASSERT_TRUE(defaults.flush());
            reader = std::thread([&] {
                while (!isDone) {
                    read();
                }
            });
        }
        for (int change = 1; change <= changes; ++change) {
            const std::int64_t value = owner * changes + change;
            defaults.setInteger("key", value);
            EXPECT_EQ(defaults.integer("key"), value);
            if (change % 100 == 0) {
                EXPECT_TRUE(defaults.flush());
            }
        }
    }
    isDone = true;
    reader.join();
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(backwards, 0);
    EXPECT_EQ(reports, 0);
    read();
    EXPECT_EQ(lastSeen, 4 * changes);
    EXPECT_EQ(namesIn(folder.path()), std::set<std::string>{"settings.json"});
}

} // namespace
